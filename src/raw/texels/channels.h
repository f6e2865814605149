// Questions about channel types and swizzles.
#pragma once

#include "qor/texsmith/raw/vector_math.h"
#include "qor/vex/data_format.h"

namespace qor::Texsmith::Raw {

// False for UInt, SInt and UBInt, whose lanes hold integers. UBScaled is floating.
bool isFloatingChannelType(Vex::TextureChannelType type);
bool isSignedIntegerChannelType(Vex::TextureChannelType type);
bool isUnsignedIntegerChannelType(Vex::TextureChannelType type);
bool isIdentitySwizzle(Vex::DataFormat format);
// The values that a channel of the type can hold: those of a float for the types without a fixed range.
void getChannelTypeRange(VectorFloat* lowest, VectorFloat* highest, Vex::TextureChannelType type);

} // namespace qor::Texsmith::Raw
