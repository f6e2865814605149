// What a provider's modifiers make of a configuration's transform.
#pragma once

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/transform.h"

namespace qor::Texsmith::Raw {

// Matrices are composed: the provider's before the configuration's in decode, after it in encode. Of the two
// powers the provider's is taken, and the configuration's deliberately dropped.
inline void composeDecoder(DecoderConfiguration* decoder, const Modifiers& modifiers) {
    static_cast<Madd&>(decoder->m_transform) = composeMadd(modifiers.m_decode, decoder->m_transform);
    decoder->m_transform.m_power = modifiers.m_decode.m_power;
}

inline void composeEncoder(EncoderConfiguration* encoder, const Modifiers& modifiers) {
    static_cast<Madd&>(encoder->m_transform) = composeMadd(encoder->m_transform, modifiers.m_encode);
    encoder->m_transform.m_power = modifiers.m_encode.m_power;
}

} // namespace qor::Texsmith::Raw
