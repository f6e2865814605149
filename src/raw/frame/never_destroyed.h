// Static storage for an object that must outlive every static destructor.
#pragma once

namespace qor::Texsmith::Raw {

// Constant-initialised where T's default constructor is constexpr.
template <class T> union NeverDestroyed {
    constexpr NeverDestroyed() : m_object() {}
    ~NeverDestroyed() {} // on purpose: the object stays
    NeverDestroyed(const NeverDestroyed&) = delete;
    NeverDestroyed& operator=(const NeverDestroyed&) = delete;

    T m_object;
};

} // namespace qor::Texsmith::Raw
