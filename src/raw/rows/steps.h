// The steps of a change of format between two providers, with what stands in the way: their modifiers.
#pragma once

#include "qor/texsmith/raw/element_provider.h"
#include "raw/configuration/provider_settings.h"
#include "raw/texels/area_conversion.h"

namespace qor::Texsmith::Raw {

template <typename Conversion>
Conversion stepsBetween(const ElementProvider& source, const ElementProvider& destination,
                        const Configuration& configuration) {
    return Conversion(decoderFor(source, configuration.m_decoderConfiguration),
                      encoderFor(destination, configuration.m_encoderConfiguration));
}

} // namespace qor::Texsmith::Raw
