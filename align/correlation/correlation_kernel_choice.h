#pragma once

#include "align/kernels/correlation_kernels.h"
#include "align/kernels/regression_kernels.h"

namespace vyn {

/// The kernels for the active instruction set.
const CorrelationKernels& kernels_of_correlation();
const RegressionKernels& kernels_of_regression();

}  // namespace vyn
