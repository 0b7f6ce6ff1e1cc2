// The object that stands for a document.
#pragma once

#include "host/document/graphs.h"
#include "host/objects/item.h"

#include <memory>
#include <optional>
#include <string>

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
    std::uint32_t scene_SubSceneCount() override;
    KzResult scene_SubSceneByIndex(std::uint32_t index, IKzUnknown** scene) override;

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

// A walker that stands nowhere yet.
IKzUnknown* kzMakeTransformScan();

IKzUnknown* kzMakeSceneGraph(CHostRef<CScene> scene, const GraphInfo& graph);

// Readers and writers of the channels of a scene's items.
IKzUnknown* kzMakeChannelRead(CHostRef<CScene> scene, std::string action, double time);
IKzUnknown* kzMakeChannelWrite(CHostRef<CScene> scene, std::string action, double time);
// Sets the value of a channel; throws a code, and logs the reason, if it takes no such value.
void kzWriteChannel(Item& item, const ChannelInfo& channel, KzCell cell, CEdit& edit);

// The matrices of locators, from their channels and their parents. The lock must be held.
// Scales first, then rotates, then moves. The identity for an item that is no locator.
KzMatrix4 kzLocalMatrix(const Item& item);
KzMatrix4 kzScaleOf(const Item& item);
KzMatrix4 kzRotationOf(const Item& item);
KzMatrix4 kzWorldMatrix(const Item& item);
// The box of the meshes of the item and of all that is below it, in the item's own space. Nothing if there are no points.
std::optional<KzBounds> kzBoundsOf(Item& item);
// The value of a channel that is a matrix; nothing for others.
std::optional<KzMatrix4> kzMatrixOf(const Item& item, const ChannelInfo& channel);

}  // namespace kzhost
