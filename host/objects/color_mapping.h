// A mapping from one colour space to another, as an object.
#pragma once

#include "kz/base/object.h"

#include <memory>
#include <string>

namespace kzhost {

class CImageFiles;

// Throws NOTFOUND for a space that is not known.
IKzUnknown* kzMakeColorMapping(std::shared_ptr<CImageFiles> images, const std::string& source,
                               const std::string& target);

}  // namespace kzhost
