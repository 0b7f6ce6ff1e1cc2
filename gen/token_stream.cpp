// Steps through the tokens of a file.
#include "token_stream.h"

namespace kzgen {

bool TokenStream::at(std::string_view text) const {
    return (peek().kind == TokenKind::Mark || peek().kind == TokenKind::Name) && peek().text == text;
}

Token TokenStream::take() { return atEnd() ? peek() : m_lexed.tokens[m_next++]; }

bool TokenStream::accept(std::string_view text) {
    const bool matches = at(text);
    if (matches) take();
    return matches;
}

void TokenStream::expect(std::string_view text) {
    if (!accept(text)) fail(inQuotes(text));
}

Token TokenStream::expectKind(TokenKind kind, std::string_view what) {
    if (peek().kind != kind) fail(what);
    return take();
}

void TokenStream::expectEnd() {
    if (accept(";")) return;
    reject(peek(), "';'");
    if (peek().at.line == previous().at.line) throw SyntaxError{};
}

void TokenStream::fail(std::string_view expected) {
    reject(peek(), expected);
    throw SyntaxError{};
}

void TokenStream::skipDeclaration() {
    for (std::size_t depth = 0; !atEnd();) {
        const Token token = take();
        if (token.kind != TokenKind::Mark) continue;
        if (token.text == "{") ++depth;
        else if (token.text == "}" && depth > 0) --depth;
        else if (token.text == ";" && depth == 0) return;
    }
}

void TokenStream::skipMethod() {
    while (!atEnd() && !at("}")) {
        if (accept(";")) return;
        take();
    }
}

}  // namespace kzgen
