// The settings under which a provider's texels are read and written.
#pragma once

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/element_provider.h"
#include "qor/texsmith/raw/transform.h"

namespace qor::Texsmith::Raw {

// What a configuration says, for the provider's texture and with its modifiers. Matrices are composed: the
// provider's before the configuration's in decode, after it in encode. Of the two powers the provider's is
// taken, and the configuration's deliberately dropped.
inline DecoderConfiguration decoderFor(const ElementProvider& provider, DecoderConfiguration decoder) {
    const Transform& own = provider.getModifiers().m_decode;
    decoder.setTexture(&provider.getTexture());
    static_cast<Madd&>(decoder.m_transform) = composeMadd(own, decoder.m_transform);
    decoder.m_transform.m_power = own.m_power;
    return decoder;
}

inline EncoderConfiguration encoderFor(const ElementProvider& provider, EncoderConfiguration encoder) {
    const Transform& own = provider.getModifiers().m_encode;
    encoder.setTexture(&provider.getTexture());
    static_cast<Madd&>(encoder.m_transform) = composeMadd(encoder.m_transform, own);
    encoder.m_transform.m_power = own.m_power;
    return encoder;
}

} // namespace qor::Texsmith::Raw
