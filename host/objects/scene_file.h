// Scenes as text: everything that a document holds, in the host's own format, which docs/scene_format.md describes.
#pragma once

#include "host/document/edit.h"
#include "host/objects/scene_words.h"

#include <string>
#include <string_view>

namespace kzhost {

inline constexpr int kzSceneFormatVersion = 1;

// Equal documents have equal texts. The lock must be held.
std::string kzWriteScene(const CDocument& document);

// The name that the document of that text had. Throws SceneFileError.
std::string kzSceneName(std::string_view text);

// Adds what the text describes. A new document becomes the one that was written; with `isImport`, the document keeps what it
// has, also as scene item, and items whose identifiers are taken get new ones. Throws SceneFileError, and then the caller's
// edit is to be dropped.
void kzReadScene(std::string_view text, CDocument& document, CEdit& edit, bool isImport);

}  // namespace kzhost
