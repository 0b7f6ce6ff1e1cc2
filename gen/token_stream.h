// The tokens of one file in order, with error reports and recovery.
#pragma once

#include "lexer.h"

namespace kzgen {

// Thrown after an error has been reported, to where parsing can go on.
struct SyntaxError {};

class TokenStream {
public:
    TokenStream(const SourceFile& file, Diagnostics& diagnostics)
        : m_errors(diagnostics), m_lexed(lex(file, diagnostics)) {}

    [[nodiscard]] const Token& peek() const { return m_lexed.tokens[m_next]; }
    [[nodiscard]] const Token& previous() const { return m_lexed.tokens[m_next - 1]; }
    [[nodiscard]] bool atEnd() const { return peek().kind == TokenKind::End; }
    [[nodiscard]] bool at(std::string_view text) const;

    Token take();
    bool accept(std::string_view text);
    void expect(std::string_view text);
    Token expectKind(TokenKind kind, std::string_view what);
    Token expectName(std::string_view what) { return expectKind(TokenKind::Name, what); }
    // The ';' that ends a declaration. If one is missing at the end of a line, reports that and goes on with the next line.
    void expectEnd();

    // Reports the next token and throws SyntaxError.
    [[noreturn]] void fail(std::string_view expected);
    // Reports a token that has been read already.
    void reject(const Token& token, std::string_view expected) { m_errors.error(token.at, describe(token), expected); }

    // Skips to behind the next ';' outside of braces.
    void skipDeclaration();
    // Skips to behind the next ';' or before the next '}', whichever comes first.
    void skipMethod();

    // The summary of the declaration that starts with this token and ends with the one just read.
    [[nodiscard]] std::string summaryFrom(const Token& first) const {
        return m_lexed.comments.summary(first.at.line, previous().at.line);
    }

    [[nodiscard]] const Comments& comments() const { return m_lexed.comments; }

private:
    Diagnostics& m_errors;
    LexedFile m_lexed;
    std::size_t m_next = 0;
};

}  // namespace kzgen
