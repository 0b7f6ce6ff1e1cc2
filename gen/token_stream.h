// Reads the words of one file in order, reports what does not fit, and finds the place to go on behind an error.
#pragma once

#include "lexer.h"

namespace kzgen {

// Thrown after an error is on record, to where the reading can go on.
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
    // The ';' that ends a declaration. One forgotten at the end of a line is reported, and reading goes on where the next
    // line begins.
    void expectEnd();

    // Reports the next word and leaves by SyntaxError.
    [[noreturn]] void fail(std::string_view expected);
    // Reports a word that is already read; reading goes on.
    void reject(const Token& token, std::string_view expected) { m_errors.error(token.at, describe(token), expected); }

    // Behind the next ';' that stands outside of braces.
    void skipDeclaration();
    // Behind the next ';', or before the '}' that comes first.
    void skipMethod();

    // The comments that belong to a declaration which begins with this word and ends with the one just read.
    [[nodiscard]] std::string summaryFrom(const Token& first) const {
        return m_lexed.comments.summary(first.at.line, previous().at.line);
    }

    [[nodiscard]] const Comments& comments() const { return m_lexed.comments; }

private:
    Diagnostics& m_errors;
    LexedFile m_lexed;
    size_t m_next = 0;
};

}  // namespace kzgen
