// Pruned transforms of the cell grid, as passes of one-dimensional transforms.
#include "engine/transforms/CellTransform.h"

#include "util/Assert.h"

namespace {

// Pruning pays while the y and z passes skip at least a quarter of the columns.
bool WorthPruning(int columns, int uMax) { return 4 * (uMax + 1) <= 3 * columns; }

// The library plans every shape made here; a null plan would be a broken build.
fftw_plan Checked(fftw_plan plan) {
    HV_ASSERT(plan != nullptr);
    return plan;
}

// One-dimensional complex transforms along an axis of the half-complex array,
// in place, of every line whose first index is at most uMax. `along` is the
// axis (1 = y, 2 = z); `across` the other one of the two.
fftw_plan LinePass(const int* n, int uMax, int along, int sign, fftw_complex* a) {
    const int columns = n[0] / 2 + 1;
    const int stride[3] = {1, columns, columns * n[1]};
    const int across = along == 1 ? 2 : 1;
    fftw_iodim line = {n[along], stride[along], stride[along]};
    fftw_iodim lines[2] = {{n[across], stride[across], stride[across]}, {uMax + 1, 1, 1}};
    return Checked(fftw_plan_guru_dft(1, &line, 2, lines, a, a, sign, FFTW_MEASURE));
}

}  // namespace

CellTransform::CellTransform(const int* n, int uMax, double* realGrid, fftw_complex* spectrum) {
    const int nx = n[0], ny = n[1], nz = n[2];
    const int columns = nx / 2 + 1;
    pruned_ = WorthPruning(columns, uMax);
    if (!pruned_) {
        forward_.push_back(Checked(fftw_plan_dft_r2c_3d(nz, ny, nx, realGrid, spectrum, FFTW_MEASURE)));
        backward_.push_back(Checked(fftw_plan_dft_c2r_3d(nz, ny, nx, spectrum, realGrid, FFTW_MEASURE)));
        return;
    }
    const int rows = ny * nz;
    forward_.push_back(Checked(fftw_plan_many_dft_r2c(1, &nx, rows, realGrid, nullptr, 1, nx, spectrum,
                                                      nullptr, 1, columns, FFTW_MEASURE)));
    forward_.push_back(LinePass(n, uMax, 1, FFTW_FORWARD, spectrum));
    forward_.push_back(LinePass(n, uMax, 2, FFTW_FORWARD, spectrum));
    backward_.push_back(LinePass(n, uMax, 2, FFTW_BACKWARD, spectrum));
    backward_.push_back(LinePass(n, uMax, 1, FFTW_BACKWARD, spectrum));
    backward_.push_back(Checked(fftw_plan_many_dft_c2r(1, &nx, rows, spectrum, nullptr, 1, columns, realGrid,
                                                       nullptr, 1, nx, FFTW_MEASURE)));
}

CellTransform::~CellTransform() {
    for (fftw_plan plan : forward_) fftw_destroy_plan(plan);
    for (fftw_plan plan : backward_) fftw_destroy_plan(plan);
}

void CellTransform::Forward() const {
    for (fftw_plan plan : forward_) fftw_execute(plan);
}

void CellTransform::Backward() const {
    for (fftw_plan plan : backward_) fftw_execute(plan);
}
