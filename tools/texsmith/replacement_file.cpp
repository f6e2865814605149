#include "replacement_file.h"

namespace Tool {
namespace {

qor::Texsmith::Raw::ReplacementFile* s_unfinished = nullptr;

} // namespace

ReplacementFile::ReplacementFile(const std::string& destination) : m_file(destination.c_str()) {
    s_unfinished = &m_file;
}

ReplacementFile::~ReplacementFile() { s_unfinished = nullptr; }

void ReplacementFile::removeUnfinished() {
    if (s_unfinished != nullptr) {
        s_unfinished->remove();
    }
}

} // namespace Tool
