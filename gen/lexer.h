// The tokens of the description language, and its comments.
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

// The token as an error message names it.
std::string describe(const Token& token);

// The comments of a file by line. A declaration's summary is the block directly above it and the comment behind it.
class Comments {
public:
    void add(std::uint32_t line, std::uint32_t column, bool ownLine, std::string text);
    [[nodiscard]] std::string summary(std::uint32_t firstLine, std::uint32_t lastLine) const;
    // Its parts: only the block directly above, and only the comment behind with the lines that continue it.
    [[nodiscard]] std::string above(std::uint32_t line) const;
    [[nodiscard]] std::string behind(std::uint32_t line) const;

    // True if the comment on this line continues the one behind the declaration above it.
    [[nodiscard]] bool continuesTrailing(std::uint32_t line) const;

private:
    struct Comment {
        std::uint32_t column = 0;
        bool ownLine = false;
        std::string text;
    };
    [[nodiscard]] const Comment* at(std::uint32_t line) const;

    std::map<std::uint32_t, Comment> m_byLine;
};

struct LexedFile {
    std::vector<Token> tokens;  // the last is always End
    Comments comments;
};

LexedFile lex(const SourceFile& file, Diagnostics& diagnostics);

}  // namespace kzgen
