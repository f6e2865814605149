// Texts converted for the system or from it, in a local buffer where they fit.

#include "qor/texsmith/raw/text.h"

#include "platform/platform.h"

namespace qor::Texsmith::Raw {

namespace {

// Where the converted text goes: the local buffer when it fits, else a block, which may be null.
template <class Unit>
Unit* chooseBuffer(std::size_t needed, Unit* local, std::size_t localUnits, const IAllocator& allocator) {
    return needed <= localUnits ? local
                                : static_cast<Unit*>(allocator.allocate(needed * sizeof(Unit), sizeof(Unit)));
}

} // namespace

utf16::utf16(const char* text, IAllocator allocator) : m_allocator(allocator), m_text(nullptr) {
    if (text == nullptr) {
        return;
    }
    const std::size_t needed = Platform::toWide(text, nullptr, 0);
    m_text = chooseBuffer(needed, m_local, kLocalUnits, m_allocator);
    if (m_text != nullptr) {
        Platform::toWide(text, m_text, needed);
    }
}

utf16::~utf16() {
    if (m_text != m_local) {
        m_allocator.release(m_text);
    }
}

utf8::utf8(const wchar_t* text, IAllocator allocator) : m_allocator(allocator), m_text(nullptr) {
    if (text == nullptr) {
        return;
    }
    const std::size_t needed = Platform::toUtf8(text, nullptr, 0);
    m_text = chooseBuffer(needed, m_local, kLocalUnits, m_allocator);
    if (m_text != nullptr) {
        Platform::toUtf8(text, m_text, needed);
    }
}

utf8::~utf8() {
    if (m_text != m_local) {
        m_allocator.release(m_text);
    }
}

} // namespace qor::Texsmith::Raw
