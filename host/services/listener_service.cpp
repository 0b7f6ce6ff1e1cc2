// The listener service, and the ports through which listeners hear of one kind of events.
#include "host/services/listener_service.h"

#include "host/core/listener_table.h"
#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/core/service_base.h"
#include "host/objects/tree_views.h"
#include "host/state/text.h"

#include "kz/action.h"
#include "kz/eval.h"
#include "kz/listener.h"
#include "kz/result.h"
#include "kz/scene.h"
#include "kz/scene_event.h"
#include "kz/selection.h"
#include "kz/tree.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

namespace kzhost {

namespace {

// A port of the host's own. Its identity is empty where it has a name only.
struct PortRow {
    const char* name;
    const KzGuid* identity;
    const char* className;  // of the listeners that it takes
};
// What the trees tell that the host's commands have open.
constexpr const char* treePort = "trees";
constexpr PortRow ports[] = {
    {KZs_PORT_SESSION, nullptr, KZa_SESSIONLISTENER},
    {KZs_PORT_COMMANDS, nullptr, KZa_CMDSYSLISTENER},
    {KZs_PORT_LOG, nullptr, KZa_LOGLISTENER},
    {KZs_SCENEPORT_ITEMS, &KZu_SCENEPORT_ITEMS, KZa_SCENEITEMLISTENER},
    {KZs_SCENEPORT_VALUES, &KZu_SCENEPORT_VALUES, KZa_SCENEEVALLISTENER},
    {KZs_SCENEPORT_ACTIONS, &KZu_SCENEPORT_ACTIONS, KZa_ACTIONLISTENER},
    {KZs_SCENEPORT_ANIMATION, &KZu_SCENEPORT_ANIMATION, KZa_ANIMLISTENER},
    {KZs_SCENEPORT_SELECTION, &KZu_SCENEPORT_SELECTION, KZa_SELECTIONLISTENER},
    {treePort, nullptr, KZa_TREELISTENER},
};

// By name or identity; throws NOTFOUND.
const PortRow& portOf(const char* text, const char* place) {
    const std::string name = kzString(text);
    const auto identity = kzGuidOfText(name.c_str());
    const auto row = std::ranges::find_if(ports, [&](const PortRow& each) {
        return name == each.name || (identity && each.identity != nullptr && *identity == *each.identity);
    });
    if (row != std::end(ports)) return *row;
    throw kzBecause(KZe_NOTFOUND, place,
                    [&] { return kzThereIsNo("port", name, ports, [](const PortRow& each) { return each.name; }); });
}

class CListenerPort final : public CHosted<"listener port", CListenerPort, CKzIfc_ListenerPort> {
public:
    CListenerPort(std::shared_ptr<CListenerTable> listeners, const PortRow& row)
        : m_listeners(std::move(listeners)), m_row(row) {}
    KzResult lport_AddListener(IKzUnknown* listener) override {
        const KzResult code = m_listeners->addTo(m_row.className, listener);
        if (code != KZe_INVALIDARG) return code;
        return kzBecause(code, "ListenerPort.AddListener", [&] {
            return std::string("the port \"") + m_row.name + "\" takes objects of the kind " + m_row.className;
        });
    }
    KzResult lport_RemoveListener(IKzUnknown* listener) override {
        return m_listeners->removeFrom(m_row.className, listener);
    }

private:
    const std::shared_ptr<CListenerTable> m_listeners;
    const PortRow& m_row;
};

class CListenerService final : public CHosted<"listener service", CListenerService, CKzIfc_ListenerService>,
                               CServiceBase {
public:
    CListenerService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CListenerTable> listeners)
        : CServiceBase(std::move(context)), m_listeners(std::move(listeners)) {}

    KzResult listenerservice_AddListener(IKzUnknown* listener) override {
        enter("Listener.AddListener");
        return m_listeners->add(listener);
    }
    KzResult listenerservice_RemoveListener(IKzUnknown* listener) override {
        enter("Listener.RemoveListener");
        return m_listeners->remove(listener);
    }
    // The argument says what has changed: which of the listeners' calls that is follows from its type.
    KzResult listenerservice_FirePort(const char* port, IKzUnknown* argument) override {
        enter("Listener.FirePort");
        const PortRow& row = portOf(port, "Listener.FirePort");
        if (row.name == std::string_view(KZs_SCENEPORT_VALUES) && CKzLoc_Scene().set(argument)) {
            m_listeners->each<CKzLoc_SceneEvalListener>(
                [&](IKzSceneEvalListener& each) { each.AttributesInvalid(argument, everythingStale); });
            return KZe_OK;
        }
        if (row.name == std::string_view(KZs_SCENEPORT_ACTIONS) && CKzLoc_ActionClip().set(argument)) {
            m_listeners->each<CKzLoc_ActionListener>(
                [&](IKzActionListener& each) { each.ActionChange(argument, everyActionChange); });
            return KZe_OK;
        }
        if (row.name == std::string_view(treePort) && CKzLoc_Tree().set(argument)) {
            kzTellOfTrees(*m_listeners, [](IKzTreeListener& each) { each.NewShape(); });
            return KZe_OK;
        }
        return kzBecause(KZe_NOTAVAILABLE, "Listener.FirePort", [&] {
            return std::string("only the host knows which event of \"") + row.name + "\" that is; " +
                   KZs_SCENEPORT_VALUES + " takes a scene, " + KZs_SCENEPORT_ACTIONS + " an action and " + treePort +
                   " a tree";
        });
    }
    KzResult listenerservice_PortByName(const char* port, IKzUnknown** listenerPort) override {
        enter("Listener.PortByName");
        const PortRow& row = portOf(port, "Listener.PortByName");
        *listenerPort = kzMakeObject<CListenerPort>(m_listeners, row);
        return KZe_OK;
    }
    std::uint32_t listenerservice_ListenerCount(const char* type) override {
        enter("Listener.ListenerCount");
        return static_cast<std::uint32_t>(m_listeners->count(kzTextOf(type)));
    }

private:
    static constexpr std::uint32_t everythingStale = KZfEVALINVALID_TRANSFORM | KZfEVALINVALID_GEOMETRY |
                                                     KZfEVALINVALID_SHADING | KZfEVALINVALID_TIME |
                                                     KZfEVALINVALID_VISIBILITY | KZfEVALINVALID_HIERARCHY;
    static constexpr std::uint32_t everyActionChange = KZfACTIONCHANGE_NAME | KZfACTIONCHANGE_ACTIVE |
                                                       KZfACTIONCHANGE_CHANNELS | KZfACTIONCHANGE_RANGE |
                                                       KZfACTIONCHANGE_BLEND;

    std::shared_ptr<CListenerTable> m_listeners;
};

}  // namespace

decltype(kzMakeListenerService) kzMakeListenerService = kzMakeService<CListenerService>;

}  // namespace kzhost
