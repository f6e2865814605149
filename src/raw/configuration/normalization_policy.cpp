// The process-wide choice of how normalised block formats map their range.

#include "qor/texsmith/raw/normalization_policy.h"

namespace qor::Texsmith {

constinit NormalizationPolicy g_normalizationPolicy = kNormalizationPolicyUnit;

} // namespace qor::Texsmith
