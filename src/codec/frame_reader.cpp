#include "codec/frame_reader.h"

#include "qor/texsmith/tools_assert.h"

#include <cstring>

namespace qor::Texsmith::Raw {

void keepFirstText(char (&kept)[200], const char* text) {
    if (kept[0] == '\0') {
        std::strncpy(kept, text, sizeof kept - 1);
        kept[sizeof kept - 1] = '\0';
    }
}

void reportFailure(const FileKind& kind, const ReadingProgress& progress) {
    if (progress.m_rowsInAll == 0) {
        // Nothing is said where the library's structures could not be made.
        const bool isSaid = progress.m_error[0] != '\0';
        refuseFile(kind, isSaid ? progress.m_error : "there is not enough memory");
        return;
    }
    toolsWarning(kind.m_sourcePath, __LINE__,
                 "The %s file is damaged: %s. %llu of its %llu rows are missing.", kind.m_name,
                 progress.m_error,
                 static_cast<unsigned long long>(progress.m_rowsInAll - progress.m_rowsDone),
                 static_cast<unsigned long long>(progress.m_rowsInAll));
}

void reportOddness(const FileKind& kind, const ReadingProgress& progress) {
    if (progress.m_warning[0] != '\0') {
        toolsWarning(kind.m_sourcePath, __LINE__, "The %s file is odd: %s.", kind.m_name, progress.m_warning);
    }
}

} // namespace qor::Texsmith::Raw
