// The steps of a change of format between two providers, with what stands in the way: their modifiers.
#pragma once

#include "qor/texsmith/raw/element_provider.h"
#include "raw/configuration/compose_modifiers.h"
#include "raw/texels/area_conversion.h"

namespace qor::Texsmith::Raw {

template <typename Conversion>
Conversion stepsBetween(const ElementProvider& source, const ElementProvider& destination,
                        const Configuration& configuration) {
    DecoderConfiguration decoder = configuration.m_decoderConfiguration;
    EncoderConfiguration encoder = configuration.m_encoderConfiguration;
    decoder.setTexture(&source.getTexture());
    encoder.setTexture(&destination.getTexture());
    composeDecoder(&decoder, source.getModifiers());
    composeEncoder(&encoder, destination.getModifiers());
    return Conversion(decoder, encoder);
}

} // namespace qor::Texsmith::Raw
