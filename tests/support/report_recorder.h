// Catches assertions and warnings of the library for the life of the object, and restores the defaults.
#pragma once

#include "qor/texsmith/texsmith.h"
#include "raw/frame/report_text.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

namespace TestSupport {

struct Report {
    std::string m_file;
    std::string m_text;
};

class ReportRecorder {
public:
    enum Mode { kReturn, kThrow };

    explicit ReportRecorder(Mode mode = kReturn) {
        s_current = this;
        m_mode = mode;
        qor::Texsmith::setAssertCallback(&onAssert);
        qor::Texsmith::setWarningCallback(&onWarning);
    }
    ~ReportRecorder() {
        qor::Texsmith::setAssertCallback(static_cast<qor::Texsmith::ListCallback>(nullptr));
        qor::Texsmith::setWarningCallback(&qor::Texsmith::Raw::defaultWarningCallback);
        s_current = nullptr;
    }
    ReportRecorder(const ReportRecorder&) = delete;
    ReportRecorder& operator=(const ReportRecorder&) = delete;

    const std::vector<Report>& assertions() const { return m_assertions; }
    const std::vector<Report>& warnings() const { return m_warnings; }
    bool empty() const { return m_assertions.empty() && m_warnings.empty(); }
    void clear() {
        m_assertions.clear();
        m_warnings.clear();
    }
    // The texts of all assertions, one a line.
    std::string texts() const {
        std::string all;
        for (const Report& report : m_assertions) {
            all += report.m_text + "\n";
        }
        return all;
    }

private:
    static Report format(const char* file, const char* text, qor::Texsmith::ArgumentList* args) {
        char buffer[1024];
        va_list own;
        va_copy(own, *args);
        std::vsnprintf(buffer, sizeof buffer, text, own);
        va_end(own);
        return {file, buffer};
    }
    static void onAssert(const char* file, int, const char* text, qor::Texsmith::ArgumentList* args) {
        const Report report = format(file, text, args);
        {
            const std::scoped_lock lock(s_current->m_mutex);
            s_current->m_assertions.push_back(report);
        }
        if (s_current->m_mode == kThrow) {
            throw std::runtime_error(report.m_text);
        }
    }
    static void onWarning(const char* file, int, const char* text, qor::Texsmith::ArgumentList* args) {
        const std::scoped_lock lock(s_current->m_mutex);
        s_current->m_warnings.push_back(format(file, text, args));
    }

    static inline ReportRecorder* s_current = nullptr;
    std::mutex m_mutex;
    std::vector<Report> m_assertions;
    std::vector<Report> m_warnings;
    Mode m_mode;
};

} // namespace TestSupport
