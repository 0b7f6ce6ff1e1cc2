// References to other scenes: an item names a file, and the items of that file stand below it. They are copies of those in a
// scene that nobody sees, which also tells what was changed of them: the file of the referring scene keeps the name of the
// other file and those changes.
#pragma once

#include "host/objects/open_scenes.h"
#include "host/objects/reference_loader.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace kzhost {

class CSceneFiles;

// Scenes that nobody refers to any more. They end when no lock is held, since their items may be a module's.
class CSpentScenes;

// What was changed of the items of another scene: statements about channels by the item's identifier there.
using Overrides = std::map<std::string, std::string>;

// What a reference keeps. It is replaced as a whole, as one change of the document.
struct ReferenceState final : ItemAttachment {
    ~ReferenceState() override;
    // Of a copy, which is not loaded: all that was changed of the items.
    std::shared_ptr<ItemAttachment> copy() const override;
    CHostRef<CScene> scene;      // empty while it is not loaded
    const Item* item = nullptr;  // that has this; null while it is not loaded
    Overrides kept;              // those that were not applied: their items are not here
    std::shared_ptr<CSpentScenes> spent;
};

// Null for an item that is no reference, or one that was never loaded and keeps nothing. The lock must be held for these.
ReferenceState* kzReferenceOf(const Item& item);
// The reference of its own document from which the item comes; null for an item of the document itself.
Item* kzReferenceAbove(const Item& item);
Overrides kzChangesKept(const Item& reference);
// For a reader of files, before the reference is loaded. False if something is kept of the item already.
bool kzKeepOverride(Item& reference, const std::string& ident, const std::string& text);
// The references that are the document's own.
std::vector<Item*> kzReferencesIn(const CDocument& document);

// Each change is one step of the history. The lock must not be held. Codes are thrown, with the reason in the log, and then
// nothing has changed.
class CSceneReferences final : public ReferenceLoader {
public:
    CSceneReferences(std::shared_ptr<OpenScenes> scenes, std::shared_ptr<CSceneFiles> files);

    // Throws INVALIDARG for an item that is none of its document's own references.
    static void demand(const CHostRef<CItem>& item);
    CHostRef<CItem> add(CScene& scene, const std::string& path) const;
    CHostRef<CItem> bringIn(CScene& scene, const std::string& ident, std::int32_t type,
                            const std::string& path) const override;
    // Reads the file again, or for the first time, and repeats what was changed of its items.
    void reload(const CHostRef<CItem>& reference) const;
    // Takes the items away; what was changed of them is kept.
    void unload(const CHostRef<CItem>& reference) const;
    void loadAll(CScene& scene) const override;
    void tellLoaded(CScene& scene) const override;

private:
    class CTold;
    CHostRef<CScene> open(const CDocument& document, const std::string& path, double offset) const;
    CHostRef<CItem> add(CScene& scene, const std::string& place, const CHostRef<CScene>& source) const;
    void attach(const CHostRef<CItem>& item, CHostRef<CScene> source) const;
    // The scene that was loaded; empty if none was.
    CHostRef<CScene> detach(const CHostRef<CItem>& reference) const;
    CHostRef<CScene> sceneOf(const CHostRef<CItem>& reference) const;
    void tell(const CHostRef<CScene>& scene, const CHostRef<CScene>& source, bool isLoaded) const;
    void make(CDocument& document, const CHostRef<CScene>& source, bool loads) const;

    std::shared_ptr<OpenScenes> m_scenes;
    std::shared_ptr<CSceneFiles> m_files;
    std::shared_ptr<CSpentScenes> m_spent;
};

std::shared_ptr<CSceneReferences> kzMakeSceneReferences(std::shared_ptr<OpenScenes> scenes,
                                                        std::shared_ptr<CSceneFiles> files);

}  // namespace kzhost
