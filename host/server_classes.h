// What the host does with servers of the classes that it uses: image files, trees and value types.
#pragma once

#include "host/core.h"
#include "host/objects/image.h"
#include "host/values.h"

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

// A value type by its name, the host's own or a module's; null for neither.
const KzValueType* kzTypeNamed(CHostCore& core, std::string_view name);
// The names of all of them.
std::vector<std::string> kzTypeNames(CHostCore& core);
// kzTypeNamed, where there must be one: throws the code, and says what there is.
const KzValueType& kzNeedType(CHostCore& core, KzResult code, const char* place, std::string_view name);
// What text the type reads, for messages.
std::string kzExpects(CHostCore& core, const KzValueType& type);

// A new value, or a new array, of a type of either kind. The value may be given a cell.
KzResult kzMakeValue(CHostCore& core, const KzValueType& type, IKzUnknown** value, const KzCell* cell = nullptr);
CHostRef<CValueArray> kzMakeArray(CHostCore& core, const KzValueType& type);
// The cell of a new value of that type once `set` has set it; nothing where it was refused.
std::optional<KzCell> kzCellBy(CHostCore& core, const KzValueType& type,
                               const std::function<KzResult(const CKzUser_Value& value)>& set);
std::optional<KzCell> kzCellOfText(CHostCore& core, const KzValueType& type, std::string_view text);

// A served value's text as its conversion has it, for people or exact; NOTIMPL when it has no such conversion.
KzResult kzEncodeServed(IKzUnknown* value, bool nice, char* buffer, std::uint32_t length);
KzResult kzDecodeServed(IKzUnknown* value, bool nice, const char* text);
// The choices that the hints of a served type offer, by their internal names.
std::vector<std::string> kzChoicesOf(CHostCore& core, std::string_view type);
