// The fields of the buffer descriptor, by register and bit.
#include "qor/vex/buffer.h"

#include "vex/register_field.h"

namespace qor::Vex {

namespace {

constexpr RegisterField kStride{16, 14};
constexpr RegisterField kSelects{0, 12};
constexpr RegisterField kChannelType{12, 4};
constexpr RegisterField kSurfaceFormat{16, 6};
constexpr RegisterField kMemoryType{22, 7};

} // namespace

DataFormat Buffer::getDataFormat() const {
    return {kSurfaceFormat.get(m_regs[3]) | kChannelType.get(m_regs[3]) << 8 | kSelects.get(m_regs[3]) << 12};
}

void Buffer::setFormat(DataFormat format) {
    kSelects.set(m_regs[3], format.getChannels());
    kChannelType.set(m_regs[3], format.getTextureChannelType());
    kSurfaceFormat.set(m_regs[3], format.getSurfaceFormat());
}

void Buffer::setStride(unsigned stride) { kStride.set(m_regs[1], stride); }

void Buffer::setResourceMemoryType(ResourceMemoryType value) { kMemoryType.set(m_regs[3], value); }

} // namespace qor::Vex
