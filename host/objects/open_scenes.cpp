// The scenes that are open in a host, and who hears of them.
#include "host/objects/open_scenes.h"

#include "host/core/listener_table.h"
#include "host/state/function_ref.h"
#include "host/state/value_types.h"

#include "kz/action.h"
#include "kz/scene_event.h"

#include <algorithm>

namespace kzhost {

CHostRef<CScene> OpenScenes::find(const CDocument* document) const {
    for (const auto& scene : list)
        if (&scene->document() == document) return scene;
    return {};
}

double OpenScenes::currentTime() const {
    if (list.empty()) return 0;
    const Item& root = *list.back()->document().root();
    return kzNumberOf(root.valueOf(*root.type.channel(KZsICHAN_SCENETIME_CURRENT))).value_or(0);
}

bool OpenScenes::isOpen(const CScene& scene) const {
    const CReading reading(*workspace);
    return static_cast<bool>(find(&scene.document()));
}

void OpenScenes::tell(CFunctionRef<void(IKzSceneItemListener&)> call) const {
    if (listeners != nullptr) listeners->each<CKzLoc_SceneItemListener>(call);
}

void OpenScenes::add(const CHostRef<CScene>& scene) {
    const auto previous = change([&] { list.push_back(scene); });
    tell([&](IKzSceneItemListener& each) { each.SceneCreated(scene.raw()); });
    tellCurrent(previous);
}

bool OpenScenes::close(const CHostRef<CScene>& scene) {
    if (!isOpen(*scene)) return false;
    tell([&](IKzSceneItemListener& each) { each.SceneClosing(scene.raw()); });
    if (!isOpen(*scene)) return true;  // a listener was faster
    const std::string path = scene->document().filename();
    auto previous =
        change([&] { std::erase_if(list, [&](const auto& each) { return each.object() == scene.object(); }); });
    scene->close();
    tell([&](IKzSceneItemListener& each) { each.SceneClosed(path.empty() ? nullptr : path.c_str()); });
    if (listeners != nullptr && !path.empty())
        listeners->session([&](IKzSessionListener& each) { each.FileClosed(path.c_str()); });
    const bool wasCurrent = previous.object() == scene.object();
    tellCurrent(wasCurrent ? CHostRef<CScene>() : previous, wasCurrent);
    return true;
}

bool OpenScenes::makeCurrent(const CHostRef<CScene>& scene) {
    bool isThere = false;
    tellCurrent(change([&] {
        const auto place =
            std::find_if(list.begin(), list.end(), [&](const auto& each) { return each.object() == scene.object(); });
        isThere = place != list.end();
        if (isThere) std::rotate(place, place + 1, list.end());
    }));
    return isThere;
}

template <class Change> CHostRef<CScene> OpenScenes::change(const Change& change) {
    CEdit edit(*workspace);
    auto before = current();
    change();
    if (current().object() != before.object()) workspace->selection().sceneChanged(edit);
    edit.commit();
    return before;
}

void OpenScenes::tellCurrent(const CHostRef<CScene>& previous, bool isClosed) const {
    CHostRef<CScene> now;
    {
        const CReading reading(*workspace);
        now = current();
    }
    if (!now || (now.object() == previous.object() && !isClosed)) return;
    tell([&](IKzSceneItemListener& each) { each.SceneCurrent(now.raw(), previous ? previous.raw() : now.raw()); });
}

}  // namespace kzhost
