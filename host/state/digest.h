// Digests of bytes, as lower-case hexadecimal digits.
#pragma once

#include <span>
#include <string>

namespace kzhost {

std::string kzCrc32(std::span<const unsigned char> bytes);
std::string kzMd5(std::span<const unsigned char> bytes);
std::string kzSha1(std::span<const unsigned char> bytes);
std::string kzSha256(std::span<const unsigned char> bytes);

}  // namespace kzhost
