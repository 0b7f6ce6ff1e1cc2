// The values of numbers and four-character codes.
#pragma once

#include "lexer.h"
#include "model.h"

namespace kzgen {

// 12, -3, 0x1F, 7L. Anything else is reported and becomes 0.
IntegerValue integerLiteral(const Token& token, Diagnostics& diagnostics);
// 0.5, 1.5e-3. Anything without a point is reported.
RealValue realLiteral(const Token& token, Diagnostics& diagnostics);
// The four characters as the bytes of a number, the first one highest.
IntegerValue charCodeLiteral(const Token& token);

// True if the number is written as a real one.
bool looksReal(const Token& token);

}  // namespace kzgen
