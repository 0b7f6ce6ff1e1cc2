// Words of the description language, with the comments kept beside them.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "source.h"

namespace kzgen {

enum class TokenKind { Name, Number, Text, CharCode, Mark, End };

struct Token {
    TokenKind kind = TokenKind::End;
    std::string text;  // of a Text its value without quotes and escapes
    Place at;
};

// How an error message calls the token.
std::string describe(const Token& token);

// The comments of a file by line. A declaration's summary is the block directly above it and the comment behind it.
class Comments {
public:
    void add(uint32_t line, uint32_t column, bool ownLine, std::string text);
    [[nodiscard]] std::string summary(uint32_t firstLine, uint32_t lastLine) const;
    // The block directly above alone.
    [[nodiscard]] std::string above(uint32_t line) const;

    // True when the comment on this line goes on the one behind the declaration above it.
    [[nodiscard]] bool continuesTrailing(uint32_t line) const;

private:
    struct Comment {
        uint32_t column = 0;
        bool ownLine = false;
        std::string text;
    };
    [[nodiscard]] const Comment* at(uint32_t line) const;

    std::map<uint32_t, Comment> m_byLine;
};

struct LexedFile {
    std::vector<Token> tokens;  // the last is always End
    Comments comments;
};

LexedFile lex(const SourceFile& file, Diagnostics& diagnostics);

}  // namespace kzgen
