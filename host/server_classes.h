// What the host does with servers of the classes that it uses: image files, trees and value types.
#pragma once

#include "host/core.h"
#include "host/objects/image.h"

#include <functional>
#include <string>
#include <vector>

// Reads an image file: a PNG by itself, others with the first loader that recognises them. Throws NOTFOUND when there is
// no such file, NOTSUPPORTED when nobody recognises it, and the code with which a loader fails. The monitor may be null.
CHostRef<CImage> kzLoadImage(CHostCore& core, const std::string& path, IKzUnknown* monitor);
// Writes it with the named saver or, without a name, with the one for the file's extension. NOTSUPPORTED when there is
// none. The file is replaced only when the saver is done.
KzResult kzSaveImage(CHostCore& core, IKzUnknown* image, const std::string& path, const std::string& saver,
                     IKzUnknown* monitor);

// One node of a tree: how deep it is, and its texts, one for each column of the tree's view.
struct TreeRow {
    std::uint32_t depth = 0;
    std::vector<std::string> cells;
};
// Walks the whole tree from its root. Throws the code with which an operation fails.
void kzWalkTree(IKzUnknown* tree, const std::function<void(const TreeRow&)>& take);

// A new value of a type that a module serves; NOTFOUND when none does.
KzResult kzServedValue(CHostCore& core, std::string_view type, IKzUnknown** value);
// A served value's text as its conversion has it, for people or exact; NOTIMPL when it has no such conversion.
KzResult kzEncodeServed(IKzUnknown* value, bool nice, char* buffer, std::uint32_t length);
KzResult kzDecodeServed(IKzUnknown* value, bool nice, const char* text);
// The choices that the hints of a served type offer, by their internal names.
std::vector<std::string> kzChoicesOf(CHostCore& core, std::string_view type);
