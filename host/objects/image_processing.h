// Settings of image processing, as objects that are changed, read and listened to.
#pragma once

#include "host/objects/image_looks.h"

#include "kz/base/object.h"

#include <memory>

namespace kzhost {

class CImageFiles;

IKzUnknown* kzMakeProcessing(const std::shared_ptr<CImageFiles>& files, const ImageLooks& looks);
// Follows later changes. Throws INVALIDARG unless the object is one of the host's settings.
IKzUnknown* kzMakeProcessingReader(IKzUnknown* settings);
// What settings or a reader say at present; INVALIDARG for other objects.
ImageLooks kzLooksOf(const char* place, IKzUnknown* object);
// Takes them all over, and tells the listeners.
void kzSetLooks(const char* place, IKzUnknown* settings, const ImageLooks& looks);
// As the channels of a render output say; INVALIDARG for another item.
ImageLooks kzLooksOfOutput(const char* place, IKzUnknown* output);

}  // namespace kzhost
