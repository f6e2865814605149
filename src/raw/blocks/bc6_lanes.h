// The kernels of bc6_kernels.h for any class of lanes. The order of all sums is the same for every width.
#pragma once

#include "raw/blocks/bc6_estimate_lanes.h"
#include "raw/blocks/bc6_evaluate_lanes.h"
#include "raw/blocks/bc6_fit_lanes.h"
#include "raw/blocks/bc6_group_lanes.h"
#include "raw/blocks/bc6_kernels.h"
#include "raw/blocks/bc6_prepare_lanes.h"

namespace qor::Texsmith::Raw {

template <typename Lanes> struct Bc6Lanes {
    static constexpr Bc6Kernels makeKernels() {
        return {&Bc6Prepare<Lanes>::prepare,     &Bc6Estimate<Lanes>::estimate,      &Bc6Fit<Lanes>::fit,
                &Bc6Evaluate<Lanes>::evaluate,   &Bc6Evaluate<Lanes>::evaluateSteps, &Bc6GroupFit<Lanes>::fit,
                &Bc6GroupFit<Lanes>::findIndices};
    }
};

} // namespace qor::Texsmith::Raw
