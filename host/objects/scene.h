// The object that stands for a document.
#pragma once

#include "host/document/evaluation.h"
#include "host/document/graphs.h"
#include "host/objects/item.h"

#include <memory>
#include <span>
#include <string>
#include <vector>

namespace kzhost {

class CScene final : public CHosted<"scene", CScene, CKzIfc_Scene>, public CHostSelf<CScene> {
public:
    explicit CScene(std::shared_ptr<CDocument> document) : m_document(std::move(document)) {}
    ~CScene() override;

    KzResult scene_Filename(const char** path) override;
    KzResult scene_SetFilename(const char* path) override;
    KzResult scene_Name(const char** name) override;
    KzResult scene_Root(IKzUnknown** item) override;
    bool scene_IsModified() override;
    KzResult scene_SetModified(std::int32_t modified) override;
    bool scene_IsReference() override;
    KzResult scene_ItemAdd(std::int32_t type, IKzUnknown** item) override;
    KzResult scene_ItemAddReference(const char* ident, std::int32_t type, const char* path, IKzUnknown** item) override;
    KzResult scene_ItemRemove(IKzUnknown* item) override;
    std::uint32_t scene_ItemCount(std::int32_t type) override;
    KzResult scene_ItemByIndex(std::int32_t type, std::uint32_t index, IKzUnknown** item) override;
    KzResult scene_ItemLookup(const char* name, IKzUnknown** item) override;
    KzResult scene_ItemByIdent(const char* ident, IKzUnknown** item) override;
    KzResult scene_GraphLookup(const char* name, IKzUnknown** graph) override;
    KzResult scene_GraphByIndex(std::uint32_t index, IKzUnknown** graph) override;
    KzResult scene_Channels(const char* action, double time, IKzUnknown** read) override;
    KzResult scene_WriteChannels(const char* action, double time, IKzUnknown** write) override;
    KzResult scene_Contents(IKzUnknown** contents) override;
    std::uint32_t scene_ActionCount(std::uint32_t types) override;
    KzResult scene_ActionByIndex(std::uint32_t index, IKzUnknown** clip) override;
    KzResult scene_ActionAdd(const char* name, std::int32_t type, IKzUnknown** clip) override;
    std::uint32_t scene_SubSceneCount() override;
    KzResult scene_SubSceneByIndex(std::uint32_t index, IKzUnknown** scene) override;
    KzResult scene_Assets(IKzUnknown** assets) override;

    CDocument& document() const noexcept { return *m_document; }
    // Removes all items. Items that are still referenced become invalid.
    void close();

private:
    CDocument& open() const;  // throws NOTAVAILABLE once it is closed

    const std::shared_ptr<CDocument> m_document;
};

// A new document in that workspace, with its object.
CHostRef<CScene> kzOpenScene(CWorkspace& workspace, std::string name);
// The object of an open document: always the same one. The lock must be held.
CHostRef<CScene> kzObjectOf(CDocument& document);

// An empty part of a scene.
IKzUnknown* kzMakeSceneContents(std::shared_ptr<CWorkspace> workspace);

// Walkers that stand nowhere yet.
IKzUnknown* kzMakeTransformScan();
IKzUnknown* kzMakeGroupEnumerator();

// The files that the items of a scene name in their channels.
IKzUnknown* kzMakeSceneAssets(CHostRef<CScene> scene);

IKzUnknown* kzMakeSceneGraph(CHostRef<CScene> scene, const GraphInfo& graph);

// What the object of an action stands for. Throws INVALIDARG for another object.
struct SceneAction {
    CHostRef<CScene> scene;
    std::string action;
};
SceneAction kzActionOf(IKzUnknown* clip);
// An action as the document calls it.
IKzUnknown* kzMakeActionClip(CHostRef<CScene> scene, std::string action);
// The action that the object stands for; throws INVALIDARG for one of another document.
std::string kzActionOf(IKzUnknown* clip, const CDocument& document);

// Readers and writers of the channels of a scene's items.
IKzUnknown* kzMakeChannelRead(CHostRef<CScene> scene, std::string action, double time);
IKzUnknown* kzMakeChannelWrite(CHostRef<CScene> scene, std::string action, double time);
// Sets the value of a channel; throws a code, and logs the reason, if it takes no such value.
void kzWriteChannel(Item& item, const ChannelInfo& channel, KzCell cell, CEdit& edit);

// Several channels of an item, all of one moment; throws INVALIDARG for one that its type does not have. The caller must not
// hold the lock.
std::vector<EvaluatedValue> kzEvaluated(const CItem& item, std::span<const char* const> channels, double time);
// Where an item is at that time: from its own space to the world. The identity for one that is no locator. As above.
KzMatrix4 kzWorldMatrix(const CItem& item, double time);

}  // namespace kzhost
