// Measures that read through a transform of their own lend the configuration's for it.
#pragma once

#include "qor/texsmith/raw/configuration.h"

namespace qor::Texsmith::Raw {

// Gives the decoder's transform back at the end of the scope, whether that is left by return or by exception.
class RestoredTransform {
public:
    explicit RestoredTransform(Configuration* configuration)
        : m_transform(&configuration->m_decoderConfiguration.m_transform), m_saved(*m_transform) {}
    ~RestoredTransform() { *m_transform = m_saved; }
    RestoredTransform(const RestoredTransform&) = delete;
    RestoredTransform& operator=(const RestoredTransform&) = delete;

private:
    Transform* m_transform;
    Transform m_saved;
};

} // namespace qor::Texsmith::Raw
