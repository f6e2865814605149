// The Windows event log.

#include "platform/platform.h"
#include "platform/windows/text.h"
#include "platform/windows/win32.h"

#include <atomic>

namespace qor::Texsmith::Platform {

namespace {

constinit std::atomic<EventSink> s_sink{nullptr};

} // namespace

void* registerEventSource(const char* name) { return RegisterEventSourceW(nullptr, widen(name).c_str()); }

void deregisterEventSource(void* source) {
    if (source != nullptr) {
        DeregisterEventSource(source);
    }
}

void reportEvent(void* source, int type, int code, const char* text) {
    if (source == nullptr) {
        return;
    }
    if (const EventSink sink = s_sink.load(); sink != nullptr) {
        sink(type, code, text);
        return;
    }
    const std::wstring wide = widen(text);
    const wchar_t* strings[] = {wide.c_str()};
    ReportEventW(source, static_cast<WORD>(type), 0, static_cast<DWORD>(code), nullptr, 1, 0, strings,
                 nullptr);
}

void setEventSink(EventSink sink) { s_sink.store(sink); }

} // namespace qor::Texsmith::Platform
