// The channel UI service: names, texts and states of channels for people. ChannelUI servers that are called as the type of
// an item, or as the package that has brought a channel, are asked first.
#include "host/services/channel_ui_service.h"

#include "host/core/command_text.h"
#include "host/core/module_table.h"
#include "host/core/reasons.h"
#include "host/core/service_base.h"
#include "host/core/ui_hints.h"
#include "host/core/value_type_registry.h"
#include "host/objects/item.h"
#include "host/objects/open_scenes.h"
#include "host/state/text.h"

#include "kz/base/object_output.h"
#include "kz/channel.h"
#include "kz/channel_ui.h"
#include "kz/envelope.h"
#include "kz/item.h"
#include "kz/result.h"
#include "kz/scene.h"

#include <fmt/format.h>

#include <array>
#include <cctype>
#include <cmath>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

// A channel as it was when it was asked about.
struct ShownChannel {
    CHostRef<CItem> item;
    ChannelInfo info;
    std::string type;   // of its item
    std::string ident;  // of its item
};

ShownChannel shownChannel(IKzUnknown* object, std::int32_t channel) {
    ShownChannel shown;
    shown.item = kzOwn<CItem>(object);
    const auto item = shown.item->read();
    shown.info = kzChannelAt(*item, channel);
    shown.type = kzString(item->type.name);
    shown.ident = item->ident;
    return shown;
}

// The server for the channels of a type or package; empty without one.
void findChannelServer(const CModuleTable& modules, const std::string& name, CKzUser_ChannelUI& server) {
    const auto found = name.empty() ? std::nullopt : modules.find(KZa_CHANNELUI, name);
    if (!found) return;
    CKzLoc_Unknown object;
    server.set(CModuleTable::spawn(*found, object).raw());
}

class CChannelServers {
public:
    CChannelServers(const CModuleTable& modules, const std::string& package, const std::string& type) {
        findChannelServer(modules, package, m_servers[0]);
        findChannelServer(modules, type, m_servers[1]);
    }
    // The first answer; empty if nobody has one.
    template <class Ask> std::string text(const Ask& ask) const {
        for (const CKzUser_ChannelUI& server : m_servers)
            if (server)
                if (std::string text = kzAnswer([&](const char** out) { return ask(server, out); }); !text.empty())
                    return text;
        return {};
    }
    const std::array<CKzUser_ChannelUI, 2>& all() const { return m_servers; }

private:
    std::array<CKzUser_ChannelUI, 2> m_servers;
};

// "posX" becomes "Pos X", and "line_width" "Line width".
std::string nameForPeople(const std::string& name) {
    std::string text;
    for (const char each : name) {
        const auto letter = static_cast<unsigned char>(each);
        const bool isBreak = each == '_' || each == '.';
        if (!text.empty() && (isBreak || (std::isupper(letter) != 0 && text.back() != ' '))) text += ' ';
        if (!isBreak) text += text.empty() ? static_cast<char>(std::toupper(letter)) : each;
    }
    return text.empty() ? name : text;
}

class CChannelUIService final : public CHosted<"channel UI service", CChannelUIService, CKzIfc_ChannelUIService>,
                                CServiceBase {
public:
    CChannelUIService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CModuleTable> modules,
                      std::shared_ptr<CValueTypeRegistry> types, std::shared_ptr<OpenScenes> scenes)
        : CServiceBase(std::move(context)), m_modules(std::move(modules)), m_types(std::move(types)),
          m_scenes(std::move(scenes)) {}

    KzResult channeluiservice_UserName(IKzUnknown* item, std::int32_t channel, char* name,
                                       std::uint32_t length) override {
        enter("ChannelUI.UserName");
        const ShownChannel shown = shownChannel(item, channel);
        return kzFillText(userName(shown.info.name, shown.info.package, shown.type), name, length);
    }
    KzResult channeluiservice_TypeUserName(std::int32_t itemType, const char* channel, char* name,
                                           std::uint32_t length) override {
        enter("ChannelUI.TypeUserName");
        const char* type = nullptr;
        const ItemType* row = kzFindItemType(itemType);
        if (row != nullptr) type = row->name;
        if (row == nullptr || kzTextOf(channel).empty())
            return kzBecause(KZe_NOTFOUND, "ChannelUI.TypeUserName", [&] {
                return row == nullptr ? fmt::format("there is no item type {}", itemType) : "a channel needs a name";
            });
        return kzFillText(userName(kzString(channel), {}, kzString(type)), name, length);
    }
    KzResult channeluiservice_Tooltip(IKzUnknown* item, std::int32_t channel, char* tooltip,
                                      std::uint32_t length) override {
        enter("ChannelUI.Tooltip");
        const ShownChannel shown = shownChannel(item, channel);
        const std::string text = serversOf(shown).text([&](const CKzUser_ChannelUI& server, const char** out) {
            return server.Tooltip(shown.info.name.c_str(), out);
        });
        return text.empty() ? KZe_NOTFOUND : kzFillText(text, tooltip, length);
    }
    KzResult channeluiservice_ValueText(IKzUnknown* item, std::int32_t channel, double time, char* text,
                                        std::uint32_t length) override;
    bool channeluiservice_IsEnabled(IKzUnknown* item, std::int32_t channel) override;
    std::uint32_t channeluiservice_State(IKzUnknown* item, std::int32_t channel, double time) override;
    KzResult channeluiservice_StateColor(std::uint32_t state, KzFVector3* color) override;
    KzResult channeluiservice_CommandText(IKzUnknown* item, std::int32_t channel, char* command,
                                          std::uint32_t length) override;

private:
    CChannelServers serversOf(const ShownChannel& shown) const { return {*m_modules, shown.info.package, shown.type}; }
    std::string userName(const std::string& channel, const std::string& package, const std::string& type) const {
        const std::string text =
            CChannelServers(*m_modules, package, type).text([&](const CKzUser_ChannelUI& server, const char** out) {
                return server.UserName(channel.c_str(), out);
            });
        return text.empty() ? nameForPeople(channel) : text;
    }
    double now() const {
        const CReading reading(*m_scenes->workspace);
        return m_scenes->currentTime();
    }
    // The values of the scene of the item at a time.
    static void readScene(const ShownChannel& shown, double time, CKzLoc_Unknown& read) {
        CKzLoc_Unknown scene;
        if (const KzResult code = shown.item->item_Scene(scene.out()); kzFailed(code)) throw code;
        if (const KzResult code = CKzUser_Scene(scene.raw()).Channels(nullptr, time, read.out()); kzFailed(code))
            throw code;
    }

    std::shared_ptr<CModuleTable> m_modules;
    std::shared_ptr<CValueTypeRegistry> m_types;
    std::shared_ptr<OpenScenes> m_scenes;
};

KzResult CChannelUIService::channeluiservice_ValueText(IKzUnknown* item, std::int32_t channel, double time, char* text,
                                                       std::uint32_t length) {
    constexpr const char* place = "ChannelUI.ValueText";
    enter(place);
    if (!std::isfinite(time)) return kzBecause(KZe_INVALIDARG, place, [] { return "the time is no number"; });
    const ShownChannel shown = shownChannel(item, channel);
    if (shown.info.type == nullptr || shown.info.kind != ChannelKind::stored)
        return kzBecause(KZe_NOTSUPPORTED, place, [&] { return "\"" + shown.info.name + "\" has no value as text"; });
    CKzLoc_Unknown object;
    readScene(shown, time, object);
    const CKzUser_ChannelRead read(object.raw());
    CKzLoc_Unknown value;
    if (const KzResult code = m_types->makeValue(*shown.info.type, value.out()); kzFailed(code)) return code;
    if (const KzResult code = read.Value(item, channel, value.raw()); kzFailed(code)) return code;
    const auto own = CHostRef<CValue>::of(value.raw());
    if (!own) return kzGetValueText(value.raw(), text, length);
    const auto number = kzIntegerOf(own->cell());
    const char* word = shown.info.hints && number ? kzWordOf(shown.info.hints->rows(), *number) : nullptr;
    return kzFillText(word != nullptr ? word : m_types->shown(own->type(), own->cell()), text, length);
}

// A channel is greyed out if any server says so.
bool CChannelUIService::channeluiservice_IsEnabled(IKzUnknown* item, std::int32_t channel) {
    enter("ChannelUI.IsEnabled");
    const ShownChannel shown = shownChannel(item, channel);
    const CChannelServers servers = serversOf(shown);
    CKzLoc_Unknown read;
    for (const CKzUser_ChannelUI& server : servers.all()) {
        if (!server) continue;
        if (!read) readScene(shown, now(), read);
        if (!server.Enabled(shown.info.name.c_str(), item, read.raw())) return false;
    }
    return true;
}

std::uint32_t CChannelUIService::channeluiservice_State(IKzUnknown* item, std::int32_t channel, double time) {
    enter("ChannelUI.State");
    const ShownChannel shown = shownChannel(item, channel);
    CKzLoc_Unknown description, curve, keys;
    bool isDriven = false;
    if (kzFailed(shown.item->item_ChannelByIndex(channel, description.out()))) return KZiCHANSTATE_NONE;
    const CKzUser_ItemChannel one(description.raw());
    if (kzSucceeded(one.IsDriven(&isDriven)) && isDriven) return KZiCHANSTATE_DRIVEN;
    if (kzFailed(one.Envelope(nullptr, curve.out()))) return KZiCHANSTATE_NONE;
    if (kzFailed(CKzUser_Envelope(curve.raw()).Keys(keys.out()))) return KZiCHANSTATE_ANIMATED;
    constexpr double sameTime = 1e-6;  // seconds
    const bool isKey = kzSucceeded(CKzUser_Keyframe(keys.raw()).Find(time, KZiENVSIDE_BOTH, sameTime));
    return isKey ? KZiCHANSTATE_KEYED : KZiCHANSTATE_ANIMATED;
}

KzResult CChannelUIService::channeluiservice_StateColor(std::uint32_t state, KzFVector3* color) {
    enter("ChannelUI.StateColor");
    static constexpr std::array<KzFVector3, 6> colors{{{{0.75F, 0.75F, 0.75F}},
                                                       {{0.2F, 0.7F, 0.3F}},
                                                       {{0.9F, 0.25F, 0.2F}},
                                                       {{0.95F, 0.6F, 0.15F}},
                                                       {{0.3F, 0.5F, 0.9F}},
                                                       {{0.6F, 0.4F, 0.7F}}}};
    if (state >= colors.size())
        return kzBecause(KZe_INVALIDARG, "ChannelUI.StateColor", [&] {
            return fmt::format("there is no state {}; they are 0 to {}", state, colors.size() - 1);
        });
    kzNotNull(color) = colors[state];
    return KZe_OK;
}

KzResult CChannelUIService::channeluiservice_CommandText(IKzUnknown* item, std::int32_t channel, char* command,
                                                         std::uint32_t length) {
    enter("ChannelUI.CommandText");
    const ShownChannel shown = shownChannel(item, channel);
    const std::string own = serversOf(shown).text([&](const CKzUser_ChannelUI& server, const char** out) {
        return server.DefaultCommand(shown.info.name.c_str(), out);
    });
    if (!own.empty()) return kzFillText(own, command, length);
    return kzFillText("channel.value " + kzWriteArgument("item", shown.ident) + " " +
                          kzWriteArgument("channel", shown.info.name),
                      command, length);
}

}  // namespace

KzResult kzGiveChannelHints(const CModuleTable& modules, const OpenScenes& scenes, const std::string& ident,
                            const std::string& channel, IKzUnknown** hints) {
    CHostRef<CItem> item;
    std::int32_t index = 0;
    {
        const CReading reading(*scenes.workspace);
        const CHostRef<CScene> scene = scenes.current();
        Item* found = scene ? scene->document().byIdent(ident) : nullptr;
        if (scene && found == nullptr) found = scene->document().byName(ident);
        if (found != nullptr) item = kzObjectOf(*found);
    }
    if (!item)
        return kzBecause(KZe_NOTFOUND, "UIHints",
                         [&] { return "there is no item \"" + ident + "\" in the current scene"; });
    if (const KzResult code = item->item_ChannelLookup(channel.c_str(), &index); kzFailed(code)) return code;
    const ShownChannel shown = shownChannel(item.raw(), index);
    auto made = CHostRef<CUIHints>::make();
    HintValues more;
    const CChannelServers servers(modules, shown.info.package, shown.type);
    for (const CKzUser_ChannelUI& server : servers.all())
        if (server) server.UIHints(channel.c_str(), made.raw());  // what was given before a failure holds
    const auto answered = [&](const auto& ask) {
        const std::string text = servers.text(ask);
        return text.empty() ? std::nullopt : std::optional(text);
    };
    more.label = answered(
        [&](const CKzUser_ChannelUI& server, const char** out) { return server.UserName(channel.c_str(), out); });
    if (!more.label) more.label = nameForPeople(channel);
    more.tooltip = answered(
        [&](const CKzUser_ChannelUI& server, const char** out) { return server.Tooltip(channel.c_str(), out); });
    more.icon =
        answered([&](const CKzUser_ChannelUI& server, const char** out) { return server.Icon(channel.c_str(), out); });
    made->add(more);
    if (shown.info.hints) made->setTable(shown.info.hints->rows());
    return made.give(hints);
}

decltype(kzMakeChannelUIService) kzMakeChannelUIService = kzMakeService<CChannelUIService>;

}  // namespace kzhost
