// The I/O service.
#include "host/services/io_service.h"

#include "host/core/reasons.h"
#include "host/core/service_base.h"
#include "host/objects/arguments.h"
#include "host/objects/block_store.h"
#include "host/objects/block_stream.h"
#include "host/objects/file_redirect.h"
#include "host/objects/open_scenes.h"
#include "host/objects/proxy_options.h"
#include "host/state/path_aliases.h"
#include "host/state/text.h"

#include "kz/scene.h"

#include <algorithm>
#include <filesystem>
#include <utility>

namespace kzhost {

namespace {

bool isStreamType(std::uint32_t type) {
    constexpr std::uint32_t types[] = {KZi_STREAM_BINARY, KZi_STREAM_TEXT,   KZi_STREAM_SCENE,
                                       KZi_STREAM_PRESET, KZi_STREAM_CONFIG, KZi_STREAM_CACHE};
    return std::find(std::begin(types), std::end(types), type) != std::end(types);
}

class CIOService final : public CHosted<"I/O service", CIOService, CKzIfc_IOService>, CServiceBase {
public:
    CIOService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CPathAliases> files,
               std::shared_ptr<OpenScenes> scenes, std::shared_ptr<RedirectRules> redirects)
        : CServiceBase(std::move(context)), m_files(std::move(files)), m_scenes(std::move(scenes)),
          m_redirects(std::move(redirects)) {}

    KzResult ioservice_CreateOptions(IKzUnknown* attributes, IKzUnknown** options) override {
        enter("IO.CreateOptions");
        *options = kzMakeProxyOptions(attributes);
        return KZe_OK;
    }
    KzResult ioservice_OpenRead(const char* path, std::uint32_t type, IKzUnknown** stream) override {
        enter("IO.OpenRead");
        if (!isStreamType(type)) return KZe_INVALIDARG;
        const std::string place = m_files->place(path);
        try {
            return CHostRef<CBlockRead>::make(kzReadStream(place, type), items()).give(stream);
        } catch (KzResult code) {
            return kzBecause(code, "IO.OpenRead", [&] {
                return "\"" + place +
                       (code == KZe_NOTFOUND ? "\" does not exist" : "\" is no whole stream of that type");
            });
        }
    }
    KzResult ioservice_OpenWrite(const char* path, std::uint32_t type, std::uint32_t version,
                                 IKzUnknown** stream) override {
        enter("IO.OpenWrite");
        if (!isStreamType(type)) return KZe_INVALIDARG;
        const std::string place = m_files->place(path);
        const auto folder = std::filesystem::absolute(place).parent_path();
        if (!std::filesystem::is_directory(folder))
            return kzBecause(KZe_NOTFOUND, "IO.OpenWrite",
                             [&] { return "there is no folder \"" + folder.string() + "\""; });
        return CHostRef<CBlockWrite>::make(place, type, version).give(stream);
    }
    KzResult ioservice_OpenMemory(std::uint32_t size, std::uint8_t* bytes, IKzUnknown** stream) override {
        enter("IO.OpenMemory");
        if (size > 0 && bytes == nullptr) return KZe_INVALIDARG;
        // A copy, since scripts let go of the memory while they read.
        StreamContent content;
        content.bytes.assign(reinterpret_cast<const char*>(bytes), size);
        return CHostRef<CBlockRead>::make(std::move(content), items()).give(stream);
    }
    bool ioservice_OpenBlockStore(const char* filename, const char* format, std::uint32_t flags,
                                  IKzUnknown** store) override {
        enter("IO.OpenBlockStore");
        const std::string place = m_files->place(filename);
        try {
            return kzSucceeded(CHostRef<CBlockStore>::make(place, kzString(format), flags).give(store));
        } catch (KzResult code) {
            kzBecause(code, "IO.OpenBlockStore", [&] {
                if (code == KZe_NOTSUPPORTED) return std::string("this host does not compress blocks");
                if (code == KZe_INVALIDARG) return kzIsNot(kzTextOf(format), "a format, which are plain and indexed");
                return "\"" + place +
                       (code == KZe_NOTFOUND ? "\" does not exist" : "\" is no whole store of that format");
            });
            return false;
        }
    }
    KzResult ioservice_StoreBlocks(const char* filename, const char* format, const KzBlockList* content) override {
        enter("IO.StoreBlocks");
        const std::string place = m_files->place(filename);
        std::filesystem::path fresh = place + ".new";
        std::error_code error;
        std::filesystem::remove(fresh, error);
        {
            const auto store = CHostRef<CBlockStore>::make(fresh.string(), kzString(format), KZfBLOCKSTORE_CREATE);
            if (const KzResult code = store->blockstore_Append(content); kzFailed(code)) return code;
            if (const KzResult code = store->blockstore_Flush(); kzFailed(code)) return code;
        }
        std::filesystem::rename(fresh, place, error);
        return error ? KZe_IO_ERROR : KZe_OK;
    }
    bool ioservice_TestFormat(const char* filename, const char* format) override {
        enter("IO.TestFormat");
        return CBlockStore::test(m_files->place(filename), kzString(format));
    }
    KzResult ioservice_Redirect(IKzUnknown** redirect) override {
        enter("IO.Redirect");
        return CHostRef<CFileRedirect>::make(m_redirects).give(redirect);
    }

private:
    FindItem items() const {
        return [scenes = m_scenes](const char* ident) -> IKzUnknown* {
            for (const auto& each : scenes->list) {
                IKzUnknown* item = nullptr;
                const CKzUser_Scene scene(each.raw());
                if (kzSucceeded(scene.ItemByIdent(ident, &item))) return item;
            }
            return nullptr;
        };
    }

    std::shared_ptr<CPathAliases> m_files;
    std::shared_ptr<OpenScenes> m_scenes;
    std::shared_ptr<RedirectRules> m_redirects;
};

}  // namespace

decltype(kzMakeIOService) kzMakeIOService = kzMakeService<CIOService>;

}  // namespace kzhost
