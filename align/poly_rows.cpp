#include "align/kernels/poly_kernels.h"
#include "align/poly_transform.h"
#include "api/isa.h"

namespace vyn {

VYN_CHOOSE_KERNELS(PolyKernels, poly_kernels)

RowMap row_map(const PolyTransform& map) {
    apply_poly(map, {});  // refuses a wrong count before any row
    if (map.n < 3) {
        const double shift_x = map.n == 1 ? map.ax[0] : 0;
        const double shift_y = map.n == 1 ? map.ay[0] : 0;
        return [shift_x, shift_y](int x0, int n, int y, double* x, double* y_out) {
            for (int i = 0; i < n; ++i) {
                x[i] = x0 + i + shift_x;
                y_out[i] = y + shift_y;
            }
        };
    }
    return [map, &kernels = active_poly_kernels()](int x0, int n, int y, double* source_x,
                                                   double* source_y) {
        kernels.row(map.ax.data(), map.n, x0, n, y, source_x);
        kernels.row(map.ay.data(), map.n, x0, n, y, source_y);
    };
}

void apply_poly(const PolyTransform& map, int n, double* x, double* y) {
    apply_poly(map, {});  // refuses a wrong count
    if (map.n == 0) return;
    if (map.n == 1) {
        for (int i = 0; i < n; ++i) {
            x[i] += map.ax[0];
            y[i] += map.ay[0];
        }
        return;
    }
    active_poly_kernels().points(map.ax.data(), map.ay.data(), map.n, n, x, y);
}

}  // namespace vyn
