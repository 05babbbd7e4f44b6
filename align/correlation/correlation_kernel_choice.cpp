#include "align/correlation/correlation_kernel_choice.h"

#include "api/isa.h"

namespace vyn {

VYN_CHOOSE_KERNELS(CorrelationKernels, correlation_kernels)
VYN_CHOOSE_KERNELS(RegressionKernels, regression_kernels)

const CorrelationKernels& kernels_of_correlation() {
    return active_correlation_kernels();
}

const RegressionKernels& kernels_of_regression() {
    return active_regression_kernels();
}

}  // namespace vyn
