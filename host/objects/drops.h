// Dropping things on items, channels and places of a scene: who takes what is dropped, and what they can do with it.
//
// What is dragged, the source, is an object of one of the types that sDROPSOURCE names. A destination is an object of one of
// the kinds in `kzDropKinds`. Drop servers, those of modules and then the host's own, say what they could do with the source
// at the destination, and one of them does it. None of this needs a window: whoever has one makes destinations as the
// pointer moves, and a command makes one from its arguments.
#pragma once

#include "host/core/module_table.h"
#include "host/objects/open_scenes.h"

#include "kz/drop.h"

#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kzhost {

class CPresets;
class CSceneFiles;

// One kind of destinations.
struct DropKind {
    const char* name;     // for tags of servers, and for the command
    const KzGuid* iid;    // of the interface of its destinations
    const char* type;     // the server class of that interface
    const KzGuid* place;  // where such destinations are, for Drop.ServerFor
};
std::span<const DropKind> kzDropKinds() noexcept;
// The kind that the object is a destination of; null if it is none.
const DropKind* kzDropKindOf(IKzUnknown* destination);

// A way to drop.
struct DropAction {
    std::int32_t action = KZi_DROPACTION_DEFAULT;
    std::string message, icon;
    bool isDefault = false;  // when no key is held
};

// What a server of the host's own can do with a source at a destination.
struct DropWay {
    std::int32_t action;
    const char* message;
    std::function<void()> perform;  // throws a code
};
using DropWays = std::vector<DropWay>;

struct OwnDrops {
    const char* source;  // the type of sources
    std::function<DropWays(IKzUnknown* source, IKzUnknown* destination)> ways;
};

class CDrops {
public:
    // A server that has a use for what is dragged.
    struct Taker {
        std::string name;
        CKzUser_Drop server;
        std::string destinations;  // the kinds that it takes, by its tag; empty for all
    };
    // What is being dragged.
    struct Drag {
        std::string type;
        CKzLoc_Unknown source;
        std::uint32_t flags = 0;
        std::vector<std::shared_ptr<const Taker>> takers;
    };
    using DragRef = std::shared_ptr<const Drag>;
    // What one of the takers can do at a destination.
    struct Offer {
        std::shared_ptr<const Taker> taker;
        std::vector<DropAction> actions;
    };

    CDrops(std::shared_ptr<CModuleTable> modules, std::shared_ptr<OpenScenes> scenes, std::vector<OwnDrops> own)
        : m_modules(std::move(modules)), m_scenes(std::move(scenes)), m_own(std::move(own)) {}

    // Asks the servers who recognizes the source. An empty type stands for all types.
    DragRef begin(const std::string& type, IKzUnknown* source, std::uint32_t flags) const;
    // Those who have an action at the destination, by their priorities.
    std::vector<Offer> offers(const Drag& drag, IKzUnknown* destination) const;
    // Throws NOTSUPPORTED if nobody has that action, and otherwise the code with which the server fails. All that it changes
    // is one step of the history. The default action is the one without keys, or else the first.
    void drop(const Drag& drag, IKzUnknown* destination, std::int32_t action) const;

    // The drag that is going on, the only one of its time; null without one.
    DragRef active() const;
    // False if another has begun before.
    bool activate(DragRef drag);
    // Ends it. Whoever was asked about it is released with what this returns.
    DragRef end();

private:
    std::shared_ptr<CModuleTable> m_modules;
    std::shared_ptr<OpenScenes> m_scenes;
    const std::vector<OwnDrops> m_own;
    mutable std::mutex m_lock;
    DragRef m_active;
};

// The actions that every destination understands, as the command names them. 0 for an unknown name; a server's own actions
// are numbers.
std::int32_t kzDropAction(std::string_view name);
std::string kzDropActionName(std::int32_t action);

// What the host itself takes.
std::vector<OwnDrops> kzOwnDrops(const std::shared_ptr<OpenScenes>& scenes, const std::shared_ptr<CPresets>& presets,
                                 const std::shared_ptr<CSceneFiles>& files);

// A place in a scene as the command's arguments name it.
struct DropPlace {
    CHostRef<CScene> scene;
    CHostRef<CItem> item;        // empty beside all items
    std::int32_t channel = -1;   // of the item
    std::int32_t position = -1;  // among the children of the item, or of the root; -1 is the end
    double time = 0;             // seconds
};
// A destination of that kind at the place: an instance of the item's packages that is one, or else the host's own. Throws
// INVALIDARG for a place that cannot be one of that kind.
IKzUnknown* kzMakeDestination(const DropKind& kind, const DropPlace& where);

}  // namespace kzhost
