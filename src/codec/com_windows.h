// References to COM objects, and the right to use them on a thread.
#pragma once

#ifndef WIN32_LEAN_AND_MEAN
#    define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#    define NOMINMAX
#endif
#include <windows.h>

#include <objbase.h>

namespace qor::Texsmith::Raw {

// Made on the thread that will use COM, and before all references. A thread that has an apartment of another
// kind keeps it: the objects used here do not mind.
class ComApartment {
public:
    ComApartment() : m_result(CoInitializeEx(nullptr, COINIT_MULTITHREADED)) {}
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;
    ~ComApartment() {
        if (SUCCEEDED(m_result)) {
            CoUninitialize();
        }
    }

private:
    HRESULT m_result;
};

template <typename Interface> class ComPointer {
public:
    ComPointer() = default;
    ComPointer(const ComPointer&) = delete;
    ComPointer& operator=(const ComPointer&) = delete;
    ~ComPointer() { release(); }

    Interface* get() const { return m_object; }
    Interface* operator->() const { return m_object; }
    // For calls that hand out a reference.
    Interface** place() {
        release();
        return &m_object;
    }
    void** untypedPlace() { return reinterpret_cast<void**>(place()); }
    // How many references others still have.
    ULONG release() {
        const ULONG left = m_object != nullptr ? m_object->Release() : 0;
        m_object = nullptr;
        return left;
    }

private:
    Interface* m_object = nullptr;
};

} // namespace qor::Texsmith::Raw
