// Scenes: their items by type, name and identifier.
#pragma once

#include "host/objects/arguments.h"
#include "host/objects/item_types.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace kzhost {

class CItem;

class CScene final : public CHosted<"scene", CScene, CKzIfc_Scene>, public CHostSelf<CScene> {
public:
    // A new scene with its root item.
    static CHostRef<CScene> open(std::string name);
    explicit CScene(std::string name) : m_name(std::move(name)) {}
    ~CScene() override;

    KzResult scene_Filename(const char** path) override;
    KzResult scene_SetFilename(const char* path) override;
    KzResult scene_Name(const char** name) override;
    KzResult scene_Root(IKzUnknown** item) override;
    bool scene_IsModified() override { return m_isModified; }
    KzResult scene_SetModified(std::int32_t modified) override;
    KzResult scene_ItemAdd(std::int32_t type, IKzUnknown** item) override;
    KzResult scene_ItemRemove(IKzUnknown* item) override;
    std::uint32_t scene_ItemCount(std::int32_t type) override;
    KzResult scene_ItemByIndex(std::int32_t type, std::uint32_t index, IKzUnknown** item) override;
    KzResult scene_ItemLookup(const char* name, IKzUnknown** item) override;
    KzResult scene_ItemByIdent(const char* ident, IKzUnknown** item) override;
    KzResult scene_Channels(const char* action, double time, IKzUnknown** read) override;
    KzResult scene_WriteChannels(const char* action, double time, IKzUnknown** write) override;

    const std::string& filename() const { return m_filename; }
    void touch() { m_isModified = true; }
    // The item's name, with a number appended if earlier items have the same name.
    std::string uniqueName(const CItem& item) const;
    // The items without a parent.
    std::vector<CItem*>& roots() { return m_roots; }
    // Removes all items. Items that are still referenced become invalid.
    void close();

private:
    CHostRef<CItem> add(const ItemType& type);

    std::string m_name, m_filename;
    bool m_isModified = false;
    std::uint32_t m_nextIdent = 1;
    std::vector<CHostRef<CItem>> m_items;  // the root item first
    std::vector<CItem*> m_roots;
};

}  // namespace kzhost
