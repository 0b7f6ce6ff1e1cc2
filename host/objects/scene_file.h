// Scenes as text: everything that a document holds, in the host's own format, which docs/scene_format.md describes.
#pragma once

#include "host/document/edit.h"
#include "host/objects/item_packages.h"
#include "host/objects/scene_words.h"

#include <string>
#include <string_view>

namespace kzhost {

inline constexpr int kzSceneFormatVersion = 1;

// Whether items of other scenes, to which the document refers, are written as if they were its own, or left out.
enum class ReferencedItems { leftOut, included };
// Equal documents have equal texts. The lock must be held.
std::string kzWriteScene(const CDocument& document, ReferencedItems referenced = ReferencedItems::leftOut);
// What is stored for a channel, as statements that stand below an item. The lock must be held.
std::string kzWriteChannel(const ChannelInfo& channel, const ChannelState& state);
// Gives an item what such statements say, for each channel that they name. Throws SceneFileError.
void kzReadChannels(std::string_view text, Item& item, CEdit& edit);

// The name that the document of that text had. Throws SceneFileError.
std::string kzSceneName(std::string_view text);

// Adds what the text describes, and returns the identifiers that an import has replaced. A new document becomes the one that was written; with `isImport`, the document keeps what it
// has, also as scene item, and items whose identifiers are taken get new ones. Throws SceneFileError, and then the caller's
// edit is to be dropped.
RenamedItems kzReadScene(std::string_view text, CDocument& document, CEdit& edit, bool isImport);
// Imports a text as what that item refers to: its items get identifiers that begin with the reference's, so they are the same
// whenever it is loaded, and are placed below it.
RenamedItems kzReadReferenced(std::string_view text, Item& reference, CEdit& edit);

}  // namespace kzhost
