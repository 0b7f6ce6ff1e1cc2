// The network service of a host that fetches only what lies on its own disks: URLs with the scheme "file".
#include "host/services/network_service.h"

#include "host/core/reasons.h"
#include "host/core/service_base.h"
#include "host/objects/safe_save.h"
#include "host/state/path_aliases.h"
#include "host/state/text.h"

#include "kz/buffer.h"
#include "kz/dialog.h"
#include "kz/kit.h"

#include <array>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <functional>
#include <utility>

namespace kzhost {

namespace {

// The path of a "file" URL with its escapes replaced; throws NOTAVAILABLE for another scheme, INVALIDARG for a bad escape.
std::string pathOf(const char* place, const char* url) {
    std::string_view text = kzTextOf(url);
    for (const std::string_view start : {"file://localhost/", "file:///"}) {
        if (!text.starts_with(start)) continue;
        text.remove_prefix(start.size() - 1);
        std::string path;
        for (std::size_t at = 0; at < text.size(); ++at) {
            unsigned code = static_cast<std::uint8_t>(text[at]);
            if (text[at] == '%') {
                const char* digits = text.data() + at + 1;
                if (text.size() - at < 3 || std::from_chars(digits, digits + 2, code, 16).ptr != digits + 2)
                    throw kzBecause(KZe_INVALIDARG, place, [&] { return kzIsNot(text, "a path with whole escapes"); });
                at += 2;
            }
            path += static_cast<char>(code);
        }
        return path;
    }
    throw kzBecause(KZe_NOTAVAILABLE, place,
                    [&] { return "\"" + kzString(url) + "\": this host fetches only file:///PATH"; });
}

class CNetworkService final : public CHosted<"network service", CNetworkService, CKzIfc_NetworkService>, CServiceBase {
public:
    CNetworkService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CPathAliases> files)
        : CServiceBase(std::move(context)), m_files(std::move(files)) {}

    // It never connects to anything.
    bool networkservice_IsOnline() override {
        enter("Network.IsOnline");
        return false;
    }
    KzResult networkservice_Fetch(const char* url, IKzUnknown* content, IKzUnknown* monitor) override {
        enter("Network.Fetch");
        const CKzUser_Buffer buffer(content);
        if (!buffer) return KZe_INVALIDARG;
        const CKzUser_Monitor progress(monitor);
        std::ifstream file = open("Network.Fetch", url);
        if (progress) progress.Initialize(1);
        if (const KzResult code = buffer.Clear(); kzFailed(code) && code != KZe_NOTIMPL) return code;
        std::uint32_t at = 0;
        std::array<std::uint8_t, 65536> piece{};
        while (file.read(reinterpret_cast<char*>(piece.data()), piece.size()) || file.gcount() > 0) {
            const auto count = static_cast<std::uint32_t>(file.gcount());
            if (const KzResult code = buffer.Write(at, count, piece.data()); kzFailed(code)) return code;
            at += count;
            if (progress && progress.Increment(0) == KZe_ABORT) return KZe_ABORT;
        }
        if (progress) progress.Increment(1);
        return KZe_OK;
    }
    KzResult networkservice_FetchFile(const char* url, const char* path, std::uint32_t flags) override {
        enter("Network.FetchFile");
        const std::string target = m_files->place(path);
        if (std::filesystem::exists(target) && (flags & (KZf_NET_OVERWRITE | KZf_NET_RESUME)) == 0)
            return KZe_ALREADYEXISTS;
        std::ifstream source = open("Network.FetchFile", url);
        CSafeSave save(target);
        std::ofstream file(save.path(), std::ios::binary);
        if (source.peek() != std::ifstream::traits_type::eof()) file << source.rdbuf();
        file.close();
        return file ? save.commit() : KZe_FAILED;
    }
    // Nobody has said that there are others.
    KzResult networkservice_PeerCount(std::uint32_t* count) override {
        enter("Network.PeerCount");
        *count = 0;
        return KZe_OK;
    }
    KzResult networkservice_PeerByIndex(std::uint32_t /*index*/, const char** /*name*/,
                                        const char** /*address*/) override {
        enter("Network.PeerByIndex");
        return KZe_OUTOFBOUNDS;
    }
    KzResult networkservice_Send(const char* peer, const char* /*text*/, double /*timeout*/) override {
        enter("Network.Send");
        return kzBecause(KZe_NOTAVAILABLE, "Network.Send",
                         [&] { return "there is no peer \"" + kzString(peer) + "\""; });
    }

private:
    static std::ifstream open(const char* place, const char* url) {
        const std::string path = pathOf(place, url);
        std::ifstream file;
        if (std::filesystem::is_regular_file(path)) file.open(path, std::ios::binary);
        if (!file.is_open())
            throw kzBecause(KZe_NOTFOUND, place, [&] { return "there is no file \"" + path + "\" to read"; });
        return file;
    }

    std::shared_ptr<CPathAliases> m_files;
};

}  // namespace

decltype(kzMakeNetworkService) kzMakeNetworkService = kzMakeService<CNetworkService>;

}  // namespace kzhost
