// What stands in a DDS file before its texels: checking and making it.
#pragma once

#include "qor/texsmith/raw/element_provider.h"
#include "raw/dds_layout/file_header.h"

namespace qor::Texsmith::Raw {

// Makes and reports every check, whatever the first ones say. `length` is that of the file.
bool checkDdsHeader(const DdsFileHeader& header, Vex::DataFormat format, std::uint64_t length);
bool checkDdsSurfaceFormat(Vex::DataFormat format);
void reportNoDdsFormat();

// For an image whose descriptor is set up.
DdsFileHeader makeDdsHeader(const ElementProvider& image, bool isDx10);

} // namespace qor::Texsmith::Raw
