#pragma once

namespace vyn {

/// Index `i` folded into 0 .. length - 1 by mirrored borders: period 2 * length - 2, the border
/// sample not repeated.
static inline int mirrored_index(int i, int length) {
    if (length == 1) return 0;
    const int period = 2 * length - 2;
    int folded = i % period;
    if (folded < 0) folded += period;
    return folded < length ? folded : period - folded;
}

}  // namespace vyn
