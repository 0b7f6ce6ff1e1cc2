// The drop service: drags from their beginning to the drop. Whoever drags says where the pointer is by a destination; only
// the picture under the pointer needs a window.
#include "host/services/drop_service.h"

#include "host/core/reasons.h"
#include "host/core/service_base.h"
#include "host/core/values.h"
#include "host/objects/drops.h"
#include "host/state/text.h"

#include "kz/selection.h"

#include <charconv>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

namespace kzhost {

namespace {

constexpr std::uint32_t allActions = KZf_DROP_COPY | KZf_DROP_LINK;

// What kind of source the object is, where nobody has said.
std::string typeOf(IKzUnknown* source) {
    if (CKzUser_ItemCollection(source)) return KZsDROPSOURCE_ITEMS;
    if (CKzUser_SelectionState(source)) return KZsDROPSOURCE_SELECTION;
    if (CKzUser_ValueArray(source)) return KZsDROPSOURCE_FILES;
    const CKzUser_Value value(source);
    const char* type = nullptr;
    if (!value) return {};
    return kzSucceeded(value.TypeName(&type)) && kzTextOf(type) == KZsTYPE_COLOR ? KZsDROPSOURCE_COLOR
                                                                                 : KZsDROPSOURCE_TEXT;
}

std::string withoutEscapes(std::string_view text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        unsigned code = 0;
        const char* digits = text.data() + i + 1;
        const bool isEscape = text[i] == '%' && i + 2 < text.size() &&
                              std::from_chars(digits, digits + 2, code, 16).ptr == digits + 2 && code != 0;
        plain += isEscape ? static_cast<char>(code) : text[i];
        if (isEscape) i += 2;
    }
    return plain;
}

// The paths of a list of URLs, one in a line.
CHostRef<CValueArray> pathsOf(const std::string& urls) {
    constexpr std::string_view scheme = "file://";
    auto paths = CHostRef<CValueArray>::make(KZsTYPE_STRING);
    std::istringstream in(urls);
    for (std::string line; std::getline(in, line);) {
        while (!line.empty() && line.back() == '\r') line.pop_back();
        if (!line.starts_with(scheme)) continue;
        const std::string_view place = std::string_view(line).substr(scheme.size());
        paths->va_AddString(withoutEscapes(place.substr(std::min(place.find('/'), place.size()))).c_str());
    }
    return paths;
}

class CDropService final : public CHosted<"drop service", CDropService, CKzIfc_DropService>, CServiceBase {
public:
    static constexpr std::string_view needsWindow[] = {"ImageSet"};

    CDropService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CDrops> drops)
        : CServiceBase(std::move(context)), m_drops(std::move(drops)) {}

    KzResult dropservice_Begin(const char* sourceType, IKzUnknown* source, std::uint32_t flags) override {
        enter("Drop.Begin");
        if (source == nullptr || (flags & ~(allActions | KZf_DROP_EXTERNAL)) != 0) return KZe_INVALIDARG;
        return begin(kzString(sourceType), source, flags);
    }
    KzResult dropservice_BeginNative(const char* format, std::uint32_t size, std::uint8_t* bytes,
                                     std::uint32_t flags) override {
        enter("Drop.BeginNative");
        if (size > 0 && bytes == nullptr) return KZe_INVALIDARG;
        const std::string text(reinterpret_cast<const char*>(bytes), size), type(kzTextOf(format));
        if (type == "text/plain") {
            const auto value = CHostRef<CValue>::make(KZsTYPE_STRING);
            if (const KzResult code = value->val_SetString(text.c_str()); kzFailed(code)) return code;
            return begin(KZsDROPSOURCE_TEXT, value.raw(), flags);
        }
        if (type == "text/uri-list") return begin(KZsDROPSOURCE_FILES, pathsOf(text).raw(), flags);
        return kzBecause(KZe_NOTSUPPORTED, "Drop.BeginNative",
                         [&] { return kzIsNot(type, "text/plain or text/uri-list"); });
    }
    KzResult dropservice_BeginFiles(IKzUnknown* paths) override {
        enter("Drop.BeginFiles");
        if (!CKzUser_ValueArray(paths)) return KZe_INVALIDARG;
        return begin(KZsDROPSOURCE_FILES, paths, allActions);
    }
    KzResult dropservice_Over(IKzUnknown* destination, std::int32_t /*x*/, std::int32_t /*y*/, bool* possible,
                              std::int32_t* action) override {
        enter("Drop.Over");
        if (destination == nullptr) return KZe_INVALIDARG;
        const auto drag = active();
        if (drag == nullptr) return notReady();
        const auto offers = m_drops->offers(*drag, destination);
        *possible = !offers.empty();
        *action = KZi_DROPACTION_DEFAULT;
        if (offers.empty()) return KZe_OK;
        const auto& actions = offers.front().actions;
        for (const DropAction& each : actions)
            if (each.isDefault || actions.size() == 1) *action = each.action;
        return KZe_OK;
    }
    KzResult dropservice_Finish(IKzUnknown* destination, std::int32_t action) override {
        enter("Drop.Finish");
        if (destination == nullptr) return KZe_INVALIDARG;
        const auto drag = m_drops->end();
        if (drag == nullptr) return notReady();
        m_drops->drop(*drag, destination, action);
        return KZe_OK;
    }
    KzResult dropservice_Cancel() override {
        enter("Drop.Cancel");
        return m_drops->end() != nullptr ? KZe_OK : notReady();
    }
    bool dropservice_IsActive() override {
        enter("Drop.IsActive");
        return active() != nullptr;
    }
    KzResult dropservice_Source(const char** sourceType, IKzUnknown** source) override {
        enter("Drop.Source");
        const auto drag = active();
        if (drag == nullptr) return notReady();
        *sourceType = lend(drag->type);
        return drag->source.get(source);
    }
    KzResult dropservice_ServerFor(IKzUnknown* source, IKzUnknown* destination, const KzGuid* destinationKind,
                                   IKzUnknown** server) override {
        enter("Drop.ServerFor");
        const DropKind* kind = kzDropKindOf(destination);
        if (source == nullptr || kind == nullptr) return KZe_INVALIDARG;
        if (destinationKind != nullptr && *destinationKind != *kind->place)
            return kzBecause(KZe_NOTFOUND, "Drop.ServerFor",
                             [&] { return std::string("a ") + kind->name + " is no destination of that kind"; });
        const auto current = active();
        const bool isDragged = current != nullptr && current->source.raw() == source;
        const auto drag = isDragged ? current : m_drops->begin(typeOf(source), source, allActions);
        const auto offers = m_drops->offers(*drag, destination);
        return offers.empty() ? KZe_NOTFOUND : offers.front().taker->server.get(server);
    }
    KzResult dropservice_ImageSet(IKzUnknown* /*image*/, std::int32_t /*hotX*/, std::int32_t /*hotY*/) override {
        enter("Drop.ImageSet");
        return kzBecause(KZe_NOTAVAILABLE, "Drop.ImageSet",
                         [] { return "there is no pointer in a program without windows"; });
    }

private:
    CDrops::DragRef active() const { return m_drops->active(); }
    // A drag that begins while servers are asked comes first.
    KzResult begin(const std::string& type, IKzUnknown* source, std::uint32_t flags) {
        auto drag = active() == nullptr ? m_drops->begin(type, source, flags) : nullptr;
        if (drag != nullptr && m_drops->activate(std::move(drag))) return KZe_OK;
        return kzBecause(KZe_NOTAVAILABLE, "Drop.Begin", [] { return "something else is being dragged"; });
    }
    static KzResult notReady() {
        return kzBecause(KZe_NOTREADY, "Drop", [] { return "nothing is being dragged"; });
    }

    std::shared_ptr<CDrops> m_drops;
};

}  // namespace

decltype(kzMakeDropService) kzMakeDropService = kzMakeService<CDropService>;

}  // namespace kzhost
