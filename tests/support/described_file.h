// A description of a file beside the image that it loads as.
#pragma once

#include "support/loaded_file.h"

#include <gtest/gtest.h>

namespace TestSupport {

inline qor::Texsmith::Raw::FileDescription
describe(const Bytes& bytes, const char* extension, const qor::Texsmith::Configuration& configuration = {},
         qor::Texsmith::Raw::Error expected = qor::Texsmith::Raw::kErrorNone) {
    HeapFile file(bytes);
    qor::Texsmith::Raw::FileDescription description;
    EXPECT_EQ(describeFile(&description, file.region(), extension, &configuration, 0), expected);
    return description;
}

inline void expectToDescribe(const qor::Texsmith::Raw::FileDescription& description,
                             const qor::Texsmith::Raw::Image& image) {
    const qor::Texsmith::Raw::SurfaceCount count = image.getSurfaceCount();
    EXPECT_EQ(description.m_width, image.getPixelsWide(0));
    EXPECT_EQ(description.m_height, image.getPixelsTall(0));
    EXPECT_EQ(description.m_depth, image.getDepth(0));
    EXPECT_EQ(description.m_mips, count.mips);
    EXPECT_EQ(description.m_faces, count.faces);
    EXPECT_EQ(description.m_arrayEntries, count.arrayEntries);
    EXPECT_EQ(description.m_fragments, count.fragments);
    EXPECT_EQ(description.m_format.m_word, image.getDataFormat().m_word);
    EXPECT_TRUE(description.m_type == qor::Texsmith::Raw::makeFileType(".VXF") ||
                description.m_texelBytes == image.getBytesTotal());
}

} // namespace TestSupport
