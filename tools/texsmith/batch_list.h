// The files that a command converts, each with its destination and options.
#pragma once

#include "conversion_options.h"
#include "options.h"

#include <cstddef>
#include <string>
#include <vector>

namespace Tool {

struct BatchSettings {
    ConversionOptions m_options;
    std::vector<std::string>
        m_arguments; // the same, as they would stand on the command line, in a fixed order

    std::string text() const; // the arguments as one line, for comparing
};

struct BatchFile {
    std::string m_source, m_destination;
    std::size_t m_settings; // index into those of the batch
};

struct Batch {
    std::vector<BatchFile> m_files;
    std::vector<BatchSettings> m_settings;
    std::vector<std::string> m_passedOver; // sources that the recipe leaves out
    std::vector<std::string> m_folders;    // that were searched
    bool m_isOnePair = false;              // a source and its destination, both named
};

// Every option of the groups that was given, as an argument, in the order in which they are described.
std::vector<std::string> argumentsIn(const Options& options, std::span<const OptionGroup> groups);

// From the operands and options of a convert command. Throws UsageFailure for what contradicts itself, as two
// sources of one destination do, before anything is written.
Batch makeBatch(const Options& options);

} // namespace Tool
