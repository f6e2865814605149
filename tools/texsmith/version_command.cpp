// texsmith version: the version, the kernels in use and the types of file.
#include "commands.h"
#include "console.h"
#include "json_output.h"

#include "qor/texsmith/raw/helpers.h"
#include "qor/texsmith/version.h"

#include <cstdio>

namespace Tool {
namespace {

using namespace qor::Texsmith;

const char* libraryOf(const Raw::FileTypeSupport& type) {
    return type.m_library != nullptr ? type.m_library : "";
}

Json describe(const Raw::FileTypeSupport& type) {
    return {{"extension", type.m_extension},
            {"isRead", type.m_isRead},
            {"isWritten", type.m_isWritten},
            {"library", type.m_library != nullptr ? Json(type.m_library) : Json()}};
}

void print(const Raw::FileTypeSupport& type) {
    const char* const what = type.m_isRead && type.m_isWritten ? "read and written"
                             : type.m_isRead                   ? "read"
                             : type.m_isWritten                ? "written"
                                                               : "not in this build";
    std::printf("%-8s %s%s%s\n", type.m_extension, what, type.m_library != nullptr ? " by " : "",
                libraryOf(type));
}

void run(const Options&) {
    if (!isJson()) {
        std::printf("texsmith %s\nkernels  %s\n", getLibraryVersionText(), getLibraryKernelsText());
    }
    Json types = Json::array();
    for (int index = 0; index < Raw::getFileTypeSupportCount(); ++index) {
        const Raw::FileTypeSupport type = Raw::getFileTypeSupport(index);
        types.push_back(describe(type));
        if (!isJson()) {
            print(type);
        }
    }
    if (isJson()) {
        printJson(
            kVersionCommand,
            {{"version", getLibraryVersionText()}, {"kernels", getLibraryKernelsText()}, {"types", types}});
    }
}

constexpr Example kExamples[] = {{"--version", "the same as 'texsmith version'"}};

} // namespace

const Command kVersionCommand = {
    .m_name = "version",
    .m_summary = "tells version, kernels in use and types of file",
    .m_examples = kExamples,
    .m_run = &run,
};

} // namespace Tool
