// The text encoding service: encodings that the C library's iconv converts.
#include "host/services/text_encoding_service.h"

#include "host/core/reasons.h"
#include "host/core/service_base.h"
#include "host/objects/arguments.h"
#include "host/state/text.h"

#include "kz/buffer.h"

#include <array>
#include <iconv.h>
#include <iterator>
#include <langinfo.h>
#include <mutex>
#include <strings.h>
#include <utility>

namespace kzhost {

namespace {

struct Encoding {
    const char* name;
    const char* userName;
    std::uint32_t flags;
};

constexpr std::uint32_t multibyte = KZf_TEXTENC_MULTIBYTE, everything = KZf_TEXTENC_UNICODE;
constexpr std::uint32_t lossy = KZf_TEXTENC_LOSSY, ascii = KZf_TEXTENC_ASCII;
constexpr Encoding encodings[] = {
    {KZs_TEXTENC_EUCJP, "Japanese (EUC)", multibyte | lossy | ascii},
    {KZs_TEXTENC_GB18030, "Chinese (GB 18030)", multibyte | everything | ascii},
    {KZs_TEXTENC_LATIN1, "Western European (ISO)", lossy | ascii},
    {KZs_TEXTENC_LATIN2, "Central European (ISO)", lossy | ascii},
    {KZs_TEXTENC_CYRILLIC, "Cyrillic (ISO)", lossy | ascii},
    {KZs_TEXTENC_GREEK, "Greek (ISO)", lossy | ascii},
    {KZs_TEXTENC_SHIFTJIS, "Japanese (Shift JIS)", multibyte | lossy},
    {KZs_TEXTENC_ASCII, "ASCII", lossy | ascii},
    {KZs_TEXTENC_UTF16BE, "Unicode (UTF-16, big-endian)", multibyte | everything},
    {KZs_TEXTENC_UTF16LE, "Unicode (UTF-16, little-endian)", multibyte | everything},
    {KZs_TEXTENC_UTF32LE, "Unicode (UTF-32, little-endian)", multibyte | everything},
    {KZs_TEXTENC_UTF8, "Unicode (UTF-8)", multibyte | everything | ascii},
    {KZs_TEXTENC_WESTERN, "Western European (Windows)", lossy | ascii},
};

const Encoding* find(std::string_view name) {
    for (const Encoding& each : encodings)
        if (strcasecmp(each.name, std::string(name).c_str()) == 0) return &each;
    return nullptr;
}

// Throws INVALIDARG for bytes that are not valid, and for characters that the other encoding does not have.
std::string convert(std::string_view bytes, const char* from, const char* to) {
    struct Converter {
        Converter(const char* source, const char* target) : handle(iconv_open(target, source)) {}
        ~Converter() {
            if (isOpen()) iconv_close(handle);
        }
        bool isOpen() const { return handle != reinterpret_cast<iconv_t>(-1); }
        iconv_t handle;
    };
    const Converter converter(from, to);
    if (!converter.isOpen()) throw KZe_NOTSUPPORTED;
    std::string text;
    std::array<char, 4096> piece{};
    auto* input = const_cast<char*>(bytes.data());
    std::size_t left = bytes.size();
    while (left > 0) {
        char* output = piece.data();
        std::size_t room = piece.size();
        const std::size_t irreversible = iconv(converter.handle, &input, &left, &output, &room);
        if (irreversible == static_cast<std::size_t>(-1) && errno != E2BIG) throw KZe_INVALIDARG;
        text.append(piece.data(), piece.size() - room);
    }
    return text;
}

class CTextEncoding final : public CHosted<"text encoding", CTextEncoding, CKzIfc_TextEncoding> {
public:
    explicit CTextEncoding(const Encoding& encoding) : m_encoding(encoding) {}

    const char* textencoding_Name() override { return m_encoding.name; }
    const char* textencoding_UserName() override { return m_encoding.userName; }
    std::uint32_t textencoding_Flags() override { return m_encoding.flags; }
    KzResult textencoding_Decode(std::uint32_t count, std::uint8_t* bytes, char* text, std::uint32_t length) override {
        if (count > 0 && bytes == nullptr) return KZe_INVALIDARG;
        const std::string_view view(reinterpret_cast<const char*>(bytes), count);
        return kzFillText(convert(view, m_encoding.name, KZs_TEXTENC_UTF8), text, length);
    }
    KzResult textencoding_Encode(const char* text, IKzUnknown* target) override {
        const CKzUser_Buffer buffer(target);
        if (!buffer) return KZe_INVALIDARG;
        std::string bytes = convert(kzTextOf(text), KZs_TEXTENC_UTF8, m_encoding.name);
        if (const KzResult code = buffer.Clear(); kzFailed(code) && code != KZe_NOTIMPL) return code;
        return buffer.Write(0, static_cast<std::uint32_t>(bytes.size()), reinterpret_cast<std::uint8_t*>(bytes.data()));
    }
    // The bytes of a code are those of the number, the highest first.
    KzResult textencoding_CodePoint(std::uint32_t code, std::uint32_t* character) override {
        std::string bytes;
        for (unsigned shift : {24U, 16U, 8U, 0U})
            if (shift == 0 || code >> shift != 0) bytes += static_cast<char>(code >> shift & 0xFF);
        if ((m_encoding.flags & everything) != 0 && (m_encoding.flags & multibyte) != 0 &&
            std::string_view(m_encoding.name) != KZs_TEXTENC_GB18030) {
            if (code > 0x10FFFF || (code >= 0xD800 && code < 0xE000)) return KZe_NOTFOUND;
            *character = code;
            return KZe_OK;
        }
        try {
            const std::string found = convert(bytes, m_encoding.name, KZs_TEXTENC_UTF32LE);
            if (found.size() != 4) return KZe_NOTFOUND;
            *character = static_cast<std::uint8_t>(found[0]) |
                         static_cast<std::uint32_t>(static_cast<std::uint8_t>(found[1])) << 8U |
                         static_cast<std::uint32_t>(static_cast<std::uint8_t>(found[2])) << 16U;
            return KZe_OK;
        } catch (KzResult) {
            return KZe_NOTFOUND;
        }
    }
    bool textencoding_CanEncode(const char* text) override {
        try {
            convert(kzTextOf(text), KZs_TEXTENC_UTF8, m_encoding.name);
            return true;
        } catch (KzResult) {
            return false;
        }
    }

private:
    const Encoding& m_encoding;
};

// The defaults are the user's, and a process has one.
struct Defaults {
    std::mutex lock;
    std::array<const Encoding*, 4> encodings{find(KZs_TEXTENC_UTF8), find(KZs_TEXTENC_UTF8), find(KZs_TEXTENC_UTF8),
                                             find(KZs_TEXTENC_UTF8)};
};

Defaults& defaults() {
    static auto* theDefaults = new Defaults();
    return *theDefaults;
}

KzResult give(const Encoding& encoding, IKzUnknown** object) {
    return CHostRef<CTextEncoding>::make(encoding).give(object);
}

class CTextEncodingService final
    : public CHosted<"text encoding service", CTextEncodingService, CKzIfc_TextEncodingService>,
      CServiceBase {
public:
    using CServiceBase::CServiceBase;

    KzResult textencodingservice_Count(std::uint32_t* count) override {
        enter("TextEncoding.Count");
        *count = static_cast<std::uint32_t>(std::size(encodings));
        return KZe_OK;
    }
    KzResult textencodingservice_ByIndex(std::uint32_t index, IKzUnknown** encoding) override {
        enter("TextEncoding.ByIndex");
        return index < std::size(encodings) ? give(encodings[index], encoding) : KZe_OUTOFBOUNDS;
    }
    KzResult textencodingservice_Lookup(const char* name, IKzUnknown** encoding) override {
        enter("TextEncoding.Lookup");
        if (kzTextOf(name) == KZs_TEXTENC_DEFAULT) return textencodingservice_DefaultEncoding(0, encoding);
        const Encoding* found = find(kzTextOf(name));
        return found != nullptr ? give(*found, encoding) : unknown("TextEncoding.Lookup", name);
    }
    KzResult textencodingservice_System(IKzUnknown** encoding) override {
        enter("TextEncoding.System");
        const Encoding* found = find(nl_langinfo(CODESET));
        return give(found != nullptr ? *found : *find(KZs_TEXTENC_ASCII), encoding);
    }
    KzResult textencodingservice_DefaultEncoding(std::uint32_t usage, IKzUnknown** encoding) override {
        enter("TextEncoding.DefaultEncoding");
        const std::lock_guard lock(defaults().lock);
        return usage < defaults().encodings.size() ? give(*defaults().encodings[usage], encoding) : KZe_INVALIDARG;
    }
    KzResult textencodingservice_SetDefault(std::uint32_t usage, const char* name) override {
        enter("TextEncoding.SetDefault");
        const Encoding* found = find(kzTextOf(name));
        if (found == nullptr) return unknown("TextEncoding.SetDefault", name);
        const std::lock_guard lock(defaults().lock);
        if (usage >= defaults().encodings.size()) return KZe_INVALIDARG;
        defaults().encodings[usage] = found;
        return KZe_OK;
    }
    // A byte-order mark is certain; valid UTF-8 with a character beyond ASCII hardly happens by chance. Bytes that no
    // code of Windows' Western encoding uses leave Latin 1, which has all.
    KzResult textencodingservice_Detect(std::uint32_t count, std::uint8_t* bytes, IKzUnknown** encoding,
                                        double* confidence) override {
        enter("TextEncoding.Detect");
        if (count > 0 && bytes == nullptr) return KZe_INVALIDARG;
        const std::string_view view(reinterpret_cast<const char*>(bytes), count);
        const auto answer = [&](const char* name, double sure) {
            *confidence = sure;
            return give(*find(name), encoding);
        };
        if (view.starts_with("\xEF\xBB\xBF")) return answer(KZs_TEXTENC_UTF8, 1);
        if (view.starts_with(std::string_view("\xFF\xFE\0\0", 4))) return answer(KZs_TEXTENC_UTF32LE, 1);
        if (view.starts_with("\xFF\xFE")) return answer(KZs_TEXTENC_UTF16LE, 1);
        if (view.starts_with("\xFE\xFF")) return answer(KZs_TEXTENC_UTF16BE, 1);
        if (fits(view, KZs_TEXTENC_ASCII)) return answer(KZs_TEXTENC_ASCII, 1);
        if (fits(view, KZs_TEXTENC_UTF8)) return answer(KZs_TEXTENC_UTF8, 0.95);
        if (fits(view, KZs_TEXTENC_WESTERN)) return answer(KZs_TEXTENC_WESTERN, 0.4);
        return answer(KZs_TEXTENC_LATIN1, 0.2);
    }

private:
    static bool fits(std::string_view bytes, const char* name) {
        try {
            convert(bytes, name, KZs_TEXTENC_UTF8);
            return true;
        } catch (KzResult) {
            return false;
        }
    }
    static KzResult unknown(const char* place, const char* name) {
        return kzBecause(KZe_NOTFOUND, place, [&] {
            return kzThereIsNo("encoding", kzTextOf(name), encodings, [](const Encoding& each) { return each.name; });
        });
    }
};

}  // namespace

decltype(kzMakeTextEncodingService) kzMakeTextEncodingService = kzMakeService<CTextEncodingService>;

}  // namespace kzhost
