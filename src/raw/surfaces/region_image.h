// An image over memory that is not its own.
#pragma once

#include "qor/texsmith/raw/image.h"

namespace qor::Texsmith::Raw {

class RegionImage : public Image {
public:
    RegionImage() { m_memoryRegion = &m_elements; }
    RegionImage(const Vex::Texture& texture, const MemoryRegion& elements) : RegionImage() {
        setup(texture, elements);
    }
    RegionImage(const RegionImage&) = delete;
    RegionImage& operator=(const RegionImage&) = delete;

    void setup(const Vex::Texture& texture, const MemoryRegion& elements) {
        m_elements = elements;
        setupAsVexTexture(&texture);
    }
    void setMemory(const MemoryRegion& elements) { m_elements = elements; }

private:
    const std::type_info* doGetRowsClass() const override { return &typeid(RegionImage); }

    MemoryRegion m_elements;
};

} // namespace qor::Texsmith::Raw
