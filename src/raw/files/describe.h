// What the headers of each type of file say. Nothing is reported, and nothing but headers is read.
#pragma once

#include "qor/texsmith/raw/file_description.h"
#include "qor/vex/texture.h"

namespace qor::Texsmith::Raw {

// What a description is made of.
struct DescribedFile {
    MemoryRegion m_region;
    const Configuration* m_configuration;
    int m_index; // of the texture
};

// Each fills in what it learns, in the order of the file. False where a header is cut or wrong.
bool describeBmp(FileDescription* description, const DescribedFile& file);
bool describeDds(FileDescription* description, const DescribedFile& file);
bool describeHdr(FileDescription* description, const DescribedFile& file);
bool describeJpeg(FileDescription* description, const DescribedFile& file);
bool describePfm(FileDescription* description, const DescribedFile& file);
bool describePng(FileDescription* description, const DescribedFile& file);
bool describeTga(FileDescription* description, const DescribedFile& file);
bool describeTsh(FileDescription* description, const DescribedFile& file);
bool describeVxf(FileDescription* description, const DescribedFile& file);

// ---- For those

void describeFlat(FileDescription* description, unsigned width, unsigned height, Vex::DataFormat format);
void describeTexture(FileDescription* description, const Vex::Texture& texture);
// `source` is cut to the room that there is.
void setTransfer(FileDescription* description, FileTransfer transfer, const char* source);
// As sRGB or linear, by the channel type.
void setTransferByFormat(FileDescription* description);
// By the name of an ICC profile, of which at most `length` characters count; an empty or a general one says
// nothing.
void setTransferByProfile(FileDescription* description, const char* name, std::size_t length);

} // namespace qor::Texsmith::Raw
