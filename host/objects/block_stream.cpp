// Streams of nested blocks. The binary flavour is a file of the bytes that a reader reads. The flavour for people has a
// line for each value, a word and the value, and is turned into those bytes when it is opened:
//
//   kzstream TEXT 3
//   block NAME
//     string "Slab"
//     vector 0 0.5 1
//   end
#include "host/objects/block_stream.h"

#include "host/core/reasons.h"
#include "host/objects/arguments.h"
#include "host/objects/safe_save.h"
#include "host/state/text.h"

#include "kz/item.h"

#include <fmt/format.h>

#include <bit>
#include <charconv>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>

namespace kzhost {

namespace {

static_assert(std::endian::native == std::endian::little, "files are little-endian");

constexpr std::string_view binaryMagic = "KZSTREAM";
constexpr std::string_view textMagic = "kzstream";
constexpr std::size_t blockHeader = 8;  // identifier and length

bool isForPeople(std::uint32_t type) { return type == KZi_STREAM_TEXT || type == KZi_STREAM_CONFIG; }

// A four-character code as its characters, or as a number if they would not print.
std::string codeText(std::uint32_t code) {
    std::string text;
    for (unsigned shift : {24U, 16U, 8U, 0U}) text += static_cast<char>(code >> shift & 0xFF);
    const auto prints = [](char each) { return each > ' ' && each < 0x7F && each != '#'; };
    return std::all_of(text.begin(), text.end(), prints) ? text : fmt::format("#{:08x}", code);
}

std::uint32_t codeOfText(std::string_view text) {
    std::uint32_t code = 0;
    if (text.starts_with('#')) {
        const auto [end, error] = std::from_chars(text.data() + 1, text.data() + text.size(), code, 16);
        if (error != std::errc() || end != text.data() + text.size()) throw KZe_IO_ERROR;
        return code;
    }
    if (text.size() != 4) throw KZe_IO_ERROR;
    for (const char each : text) code = code << 8U | static_cast<std::uint8_t>(each);
    return code;
}

std::string inQuotes(std::string_view text) {
    std::string shown = "\"";
    for (const char each : text) {
        if (each == '"' || each == '\\') shown += '\\';
        if (each == '\n') shown += "\\n";
        else shown += each;
    }
    return shown + '"';
}

std::string unquoted(std::string_view text) {
    if (text.size() < 2 || text.front() != '"' || text.back() != '"') throw KZe_IO_ERROR;
    std::string plain;
    for (std::size_t at = 1; at + 1 < text.size(); ++at) {
        if (text[at] == '\\' && at + 2 < text.size()) plain += text[++at] == 'n' ? '\n' : text[at];
        else plain += text[at];
    }
    return plain;
}

template <class Number> void append(std::string& bytes, Number value) {
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

// Turns the lines of a stream for people into bytes.
class CTextParser {
public:
    std::string parse(std::istream& lines) {
        for (std::string line; std::getline(lines, line);) {
            const std::size_t start = line.find_first_not_of(" \t\r");
            if (start != std::string::npos) take(line.substr(start));
        }
        if (!m_starts.empty()) throw KZe_IO_TRUNCATED;
        return std::move(m_bytes);
    }

private:
    void take(const std::string& line) {
        const std::size_t space = std::min(line.find(' '), line.size());
        const std::string word = line.substr(0, space);
        const std::string rest = space < line.size() ? line.substr(space + 1) : std::string();
        if (word == "block") open(codeOfText(rest));
        else if (word == "end") close();
        else if (word == "byte") append(m_bytes, static_cast<std::uint8_t>(number<unsigned>(rest)));
        else if (word == "int") append(m_bytes, number<std::int32_t>(rest));
        else if (word == "uint") append(m_bytes, number<std::uint32_t>(rest));
        else if (word == "float") append(m_bytes, number<float>(rest));
        else if (word == "double") append(m_bytes, number<double>(rest));
        else if (word == "vector") vector(rest);
        else if (word == "bytes") hexadecimal(rest);
        else if (word == "string" || word == "item") m_bytes.append(unquoted(rest)) += '\0';
        else throw KZe_IO_ERROR;
    }
    void open(std::uint32_t ident) {
        append(m_bytes, ident);
        append(m_bytes, std::uint32_t{0});
        m_starts.push_back(m_bytes.size());
    }
    void close() {
        if (m_starts.empty()) throw KZe_IO_ERROR;
        const auto size = static_cast<std::uint32_t>(m_bytes.size() - m_starts.back());
        std::memcpy(m_bytes.data() + m_starts.back() - sizeof size, &size, sizeof size);
        m_starts.pop_back();
    }
    template <class Number> static Number number(std::string_view text) {
        Number value{};
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        if (error != std::errc() || text.empty()) throw KZe_IO_ERROR;
        return value;
    }
    void vector(const std::string& text) {
        std::istringstream words(text);
        std::string word;
        for (int at = 0; at < 3; ++at) {
            if (!(words >> word)) throw KZe_IO_ERROR;
            append(m_bytes, number<double>(word));
        }
    }
    void hexadecimal(std::string_view text) {
        for (std::size_t at = 0; at + 1 < text.size(); at += 2) {
            std::uint8_t byte = 0;
            const auto [end, error] = std::from_chars(text.data() + at, text.data() + at + 2, byte, 16);
            if (error != std::errc() || end != text.data() + at + 2) throw KZe_IO_ERROR;
            append(m_bytes, byte);
        }
    }

    std::string m_bytes;
    std::vector<std::size_t> m_starts;
};

}  // namespace

StreamContent kzReadStream(const std::string& path, std::uint32_t type) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw KZe_NOTFOUND;
    StreamContent content;
    if (isForPeople(type)) {
        std::string magic, typeText, line;
        if (!(file >> magic >> typeText >> content.version) || magic != textMagic || typeText != codeText(type))
            throw KZe_IO_ERROR;
        std::getline(file, line);
        content.bytes = CTextParser().parse(file);
        return content;
    }
    char magic[binaryMagic.size()]{};
    std::uint32_t fileType = 0;
    file.read(magic, sizeof magic);
    file.read(reinterpret_cast<char*>(&fileType), sizeof fileType);
    file.read(reinterpret_cast<char*>(&content.version), sizeof content.version);
    if (!file || std::string_view(magic, sizeof magic) != binaryMagic || fileType != type) throw KZe_IO_ERROR;
    content.bytes.assign(std::istreambuf_iterator<char>(file), {});
    return content;
}

CBlockRead::CBlockRead(StreamContent content, FindItem findItem)
    : m_content(std::move(content)), m_findItem(std::move(findItem)), m_bytes(m_content.bytes) {}

KzResult CBlockRead::read(void* value, std::size_t size) {
    if (size > end() - m_at) return KZe_IO_SHORTREAD;
    std::memcpy(value, m_bytes.data() + m_at, size);
    m_at += size;
    return KZe_OK;
}

KzResult CBlockRead::blockread_Open(std::uint32_t* ident, std::uint32_t* bytes) {
    if (m_at == end()) return KZe_OUTOFBOUNDS;
    if (end() - m_at < blockHeader) return KZe_IO_TRUNCATED;
    std::uint32_t header[2];
    std::memcpy(header, m_bytes.data() + m_at, sizeof header);
    if (header[1] > end() - m_at - blockHeader) return KZe_IO_TRUNCATED;
    m_at += blockHeader;
    *ident = header[0];
    *bytes = header[1];
    m_ends.push_back(m_at + header[1]);
    return KZe_OK;
}

KzResult CBlockRead::blockread_Close() {
    if (m_ends.empty()) return KZe_NOTREADY;
    m_at = m_ends.back();
    m_ends.pop_back();
    return KZe_OK;
}

KzResult CBlockRead::blockread_ReadByte(std::int32_t* value) {
    std::uint8_t byte = 0;
    const KzResult code = read(&byte, 1);
    *value = byte;
    return code;
}

std::string_view CBlockRead::text() const {
    if (m_at == end()) throw KZe_IO_SHORTREAD;
    const std::string_view rest = m_bytes.substr(m_at, end() - m_at);
    const std::size_t length = rest.find('\0');
    if (length == std::string_view::npos) throw KZe_IO_PARTIALSTRING;
    return rest.substr(0, length);
}

// A text that does not fit stays unread.
KzResult CBlockRead::blockread_ReadString(char* value, std::uint32_t length) {
    const std::string_view found = text();
    const KzResult code = kzFillText(found, value, length);
    if (kzSucceeded(code)) m_at += found.size() + 1;
    return code;
}

KzResult CBlockRead::blockread_ReadItem(IKzUnknown** item) {
    const std::string ident(text());
    m_at += ident.size() + 1;
    if (ident.empty()) return KZe_NOTFOUND;
    *item = m_findItem(ident.c_str());
    return *item != nullptr ? KZe_OK : KZe_REF_BADID;
}

KzResult CBlockRead::blockread_ReadBytes(std::uint32_t size, std::uint8_t* bytes) {
    if (size > 0 && bytes == nullptr) return KZe_INVALIDARG;
    return size > 0 ? read(bytes, size) : KZe_OK;
}

CBlockWrite::~CBlockWrite() {
    try {
        while (!m_starts.empty()) blockwrite_Close();
        CSafeSave save(m_path);
        std::ofstream file(save.path(), std::ios::binary);
        if (isForPeople(m_type)) {
            file << textMagic << ' ' << codeText(m_type) << ' ' << m_version << '\n' << m_text;
        } else {
            file << binaryMagic;
            file.write(reinterpret_cast<const char*>(&m_type), sizeof m_type);
            file.write(reinterpret_cast<const char*>(&m_version), sizeof m_version);
            file << m_bytes;
        }
        file.close();
        if (!file || kzFailed(save.commit())) throw KZe_IO_ERROR;
    } catch (...) {
        kzBecause(KZe_IO_ERROR, "IO.OpenWrite", [this] { return "\"" + m_path + "\" cannot be written"; });
    }
}

KzResult CBlockWrite::add(const void* bytes, std::size_t size, const char* word, const std::string& shown) {
    if (size > UINT32_MAX - m_bytes.size()) return KZe_IO_ERROR;
    m_bytes.append(static_cast<const char*>(bytes), size);
    if (isForPeople(m_type)) m_text += fmt::format("{:{}}{} {}\n", "", 2 * m_starts.size(), word, shown);
    return KZe_OK;
}

KzResult CBlockWrite::blockwrite_Open(std::uint32_t ident) {
    const std::uint32_t header[2] = {ident, 0};
    if (const KzResult code = add(header, sizeof header, "block", codeText(ident)); kzFailed(code)) return code;
    m_starts.push_back(m_bytes.size());
    return KZe_OK;
}

KzResult CBlockWrite::blockwrite_Close() {
    if (m_starts.empty()) return KZe_NOTREADY;
    const auto size = static_cast<std::uint32_t>(m_bytes.size() - m_starts.back());
    std::memcpy(m_bytes.data() + m_starts.back() - sizeof size, &size, sizeof size);
    m_starts.pop_back();
    if (isForPeople(m_type)) m_text += fmt::format("{:{}}end\n", "", 2 * m_starts.size());
    return KZe_OK;
}

KzResult CBlockWrite::blockwrite_WriteByte(std::int32_t value) {
    if (value < 0 || value > 0xFF) return KZe_INVALIDARG;
    const auto byte = static_cast<std::uint8_t>(value);
    return add(&byte, 1, "byte", fmt::format("{}", byte));
}

KzResult CBlockWrite::blockwrite_WriteInt(std::int32_t value) {
    return add(&value, sizeof value, "int", fmt::format("{}", value));
}

KzResult CBlockWrite::blockwrite_WriteUInt(std::uint32_t value) {
    return add(&value, sizeof value, "uint", fmt::format("{}", value));
}

KzResult CBlockWrite::blockwrite_WriteFloat(float value) {
    return add(&value, sizeof value, "float", fmt::format("{}", value));
}

KzResult CBlockWrite::blockwrite_WriteDouble(double value) {
    return add(&value, sizeof value, "double", fmt::format("{}", value));
}

KzResult CBlockWrite::blockwrite_WriteString(const char* value) {
    const std::string text = kzString(value);
    return add(text.c_str(), text.size() + 1, "string", inQuotes(text));
}

KzResult CBlockWrite::blockwrite_WriteItem(IKzUnknown* item) {
    std::string ident;
    if (item != nullptr) {
        const CKzUser_Item user(item);
        if (!user) return KZe_INVALIDARG;
        ident = kzAnswer([&](const char** text) { return user.Ident(text); });
    }
    return add(ident.c_str(), ident.size() + 1, "item", inQuotes(ident));
}

KzResult CBlockWrite::blockwrite_WriteBytes(std::uint32_t size, std::uint8_t* bytes) {
    if (size > 0 && bytes == nullptr) return KZe_INVALIDARG;
    std::string shown;
    for (std::uint32_t at = 0; isForPeople(m_type) && at < size; ++at) shown += fmt::format("{:02x}", bytes[at]);
    return add(bytes, size, "bytes", shown);
}

KzResult CBlockWrite::blockwrite_WriteVector(const KzVector3* vector) {
    const auto& [x, y, z] = kzNotNull(vector).v;
    return add(vector->v, sizeof vector->v, "vector", fmt::format("{} {} {}", x, y, z));
}

}  // namespace kzhost
