#include "failure.h"

namespace Tool {

const char* errorText(qor::Texsmith::Raw::Error error) {
    using namespace qor::Texsmith::Raw;
    switch (error) {
    case kErrorTgaTooSmall:
        return "the file is too small for a TGA header";
    case kErrorTgaColorMapType:
        return "the TGA colour map type is unknown";
    case kErrorTgaImageType:
        return "the TGA image type is unknown";
    case kErrorTgaNoImageData:
        return "the TGA file holds no image";
    case kErrorTgaMissingColorMap:
        return "the TGA colour map is missing";
    case kErrorTgaUnexpectedColorMap:
        return "a TGA image without colour indices has a colour map";
    case kErrorTgaEmptyColorMap:
        return "the TGA colour map is empty";
    case kErrorTgaColorMapEntrySize:
        return "the TGA colour map has entries of an unknown size";
    case kErrorTgaZeroDimension:
        return "the TGA image has a width or height of zero";
    case kErrorTgaPixelDepth:
        return "the TGA image has an unknown number of bits per pixel";
    case kErrorTgaUnsupported:
        return "this kind of TGA image is not supported";
    case kErrorAborted:
        return "the work was aborted";
    default:
        return "this file cannot be processed";
    }
}

} // namespace Tool
