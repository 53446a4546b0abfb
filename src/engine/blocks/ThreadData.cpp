// ThreadData lifecycle: the block's voxel lists, start densities, grid pointers and phase tables.
#include "engine/blocks/ThreadData.h"

#include <algorithm>
#include <complex>
#include <vector>

#include "engine/blocks/AlignedArray.h"
#include "engine/blocks/GridSymmetry.h"

namespace {

// Every vector of a block; each holds one reference of the block itself.
VectorXD ThreadData::*const kVectors[] = {&ThreadData::rho1Old, &ThreadData::rho1,  &ThreadData::rho2Old,
                                          &ThreadData::rho2,    &ThreadData::rho12, &ThreadData::dCdR,
                                          &ThreadData::dQdRho1, &ThreadData::curv1, &ThreadData::step1,
                                          &ThreadData::dQdRho2, &ThreadData::curv2, &ThreadData::step2};

// The vectors of the Newton-like steps, of the positive and the negative side:
// gradient, curvature and step.
VectorXD ThreadData::*const kNewtonVectors[2][3] = {
    {&ThreadData::dQdRho1, &ThreadData::curv1, &ThreadData::step1},
    {&ThreadData::dQdRho2, &ThreadData::curv2, &ThreadData::step2}};

void Allocate(VectorXD& x, int n, double value) {
    x.Resize(n);
    std::fill(x.p_, x.p_ + n, value);
}

// exp(2 pi i j / n) for j = 0 .. n - 1: every phase factor of one axis of the grid.
std::vector<std::complex<double>> AxisPhases(int n) {
    std::vector<std::complex<double>> e(n);
    for (int j = 0; j < n; ++j) e[j] = std::polar(1.0, 6.283185307179586 * j / n);
    return e;
}

// a b of finite complex numbers, without the library's checks for infinities.
std::complex<double> Product(std::complex<double> a, std::complex<double> b) {
    return {a.real() * b.real() - a.imag() * b.imag(), a.real() * b.imag() + a.imag() * b.real()};
}

std::complex<double> Product(std::complex<double> a, std::complex<double> b, std::complex<double> c) {
    return Product(Product(a, b), c);
}

}  // namespace

ThreadData::ThreadData(int nReflFG, int nVoxel, int offset)
    : nVoxel(nVoxel), offset(offset), nReflFG(nReflFG) {
    for (VectorXD ThreadData::*member : kVectors) (this->*member).refCount = 1;
}

ThreadData::~ThreadData() {
    // A run of the analysis's densitySum is not the vector's own to free.
    if (sumIsShared) {
        rho12.p_ = nullptr;
        rho12.dim_ = 0;
    }
    FreeAligned(prior1);
    FreeAligned(prior2);
    FreeAligned(partialA);
    FreeAligned(partialB);
    FreeAligned(cosTable);
    FreeAligned(sinTable);
}

void ThreadData::Create(int dim, const int* gridSize, double Fp, double Fm, const int* pointList,
                        const int* multiplicityList, double* realGrid, double* densitySum,
                        ObjVector<StructureFactor>& refl, int nReflAll, const int* ops, int nOps, int nCenter,
                        int centroFactor, bool fft, int nReflReportOnly) {
    std::fill(size, size + 6, 0);
    std::copy(gridSize, gridSize + std::min(dim, 6), size);
    F000Plus = Fp;
    F000Minus = Fm;
    nRefl = nReflAll;
    nReflE = nReflReportOnly;
    nVoxelCell = size[0] * size[1] * size[2];
    flatPrior1 = F000Plus / nVoxelCell;
    flatPrior2 = F000Minus / nVoxelCell;

    gridIndex = pointList;
    multiplicity = multiplicityList;
    Allocate(rho1Old, nVoxel, flatPrior1);
    Allocate(rho1, nVoxel, flatPrior1);
    Allocate(dCdR, nVoxel, 0.0);
    if (densitySum) {
        rho12.p_ = densitySum + offset;
        rho12.dim_ = nVoxel;
        sumIsShared = true;
        std::fill(rho12.p_, rho12.p_ + nVoxel, flatPrior1 + flatPrior2);
    } else {
        Allocate(rho12, nVoxel, flatPrior1 + flatPrior2);
    }
    if (HasMinus()) ReserveMinusSide();

    useFFT = fft;
    if (useFFT)
        this->realGrid = realGrid;
    else
        MakePhaseTable(refl, ops, nOps, nCenter, centroFactor);
}

void ThreadData::ReserveMinusSide() {
    if (StoresMinus()) return;
    Allocate(rho2Old, nVoxel, flatPrior2);
    Allocate(rho2, nVoxel, flatPrior2);
}

void ThreadData::ReservePriors() {
    if (prior1) return;
    prior1 = AllocateAligned<double>(nVoxel);
    prior2 = AllocateAligned<double>(nVoxel);
    std::fill(prior1, prior1 + nVoxel, flatPrior1);
    std::fill(prior2, prior2 + nVoxel, flatPrior2);
}

void ThreadData::ReserveNewtonVectors() { ReserveSideVectors({0, 1, 2}); }

void ThreadData::ReserveMinimiserVectors() { ReserveSideVectors({0, 2}); }

void ThreadData::ReserveSideVectors(std::initializer_list<int> kinds) {
    for (int side = 0; side < 2; ++side) {
        if (side == 0 ? !HasPlus() : !HasMinus()) continue;
        for (int k : kinds) {
            VectorXD& x = this->*kNewtonVectors[side][k];
            if (x.dim_ != nVoxel) Allocate(x, nVoxel, 0.0);
        }
    }
}

// An entry is multiplicity[v] times the mean of cos (sin) of 2 pi h.x over the
// images of the voxel under all operators: a structure factor is then one dot
// product of rho12 with a column, and the derivative of a structure factor by
// the orbit's density is the entry itself.
//
// Only the operators of one lattice point are visited: the other blocks of the
// list differ by a lattice translation c_k alone, which multiplies every term
// by exp(2 pi i h.c_k), so their mean is folded in as one factor per
// reflection (1 for allowed reflections, 0 for those the lattice forbids). In a
// centrosymmetric group each operator is followed by its inverse image, whose
// cosine is equal and whose sine is opposite, so every second one suffices and
// no sine table is kept. A list not built in this order is visited in full.
//
// The phase of an image is 2 pi (h x'/nx + k y'/ny + l z'/nz) with integer
// x', y', z'; its factor is formed exactly from the three axis phases of the
// reduced products h x' mod nx etc., which is both faster and more accurate
// than evaluating sine and cosine of the summed angle.
void ThreadData::MakePhaseTable(ObjVector<StructureFactor>& refl, const int* ops, int nOps, int nCenter,
                                int centroFactor) {
    const bool centric = centroFactor == 2;
    const std::size_t cells = static_cast<std::size_t>(nVoxel) * nRefl;
    cosTable = AllocateZeroed<double>(cells);
    partialA = AllocateZeroed<double>(nRefl);
    if (!centric) {
        sinTable = AllocateZeroed<double>(cells);
        partialB = AllocateZeroed<double>(nRefl);
    }
    const int nx = size[0], ny = size[1], nz = size[2];
    const auto ex = AxisPhases(nx), ey = AxisPhases(ny), ez = AxisPhases(nz);
    auto phaseOf = [&](const int* h, long long x, long long y, long long z) {
        return Product(ex[WrapIndex(h[0] * x, nx)], ey[WrapIndex(h[1] * y, ny)], ez[WrapIndex(h[2] * z, nz)]);
    };

    const std::vector<int> shifts = LatticeShifts(ops, nOps, nCenter, size);
    const int nBlocks = static_cast<int>(shifts.size() / 3);
    std::vector<int> hkl(3 * static_cast<std::size_t>(nRefl), 0);
    std::vector<std::complex<double>> lattice(nRefl, 0.0);
    for (int i = 0; i < nRefl; ++i) {
        int* h = &hkl[3 * i];
        if (refl[i]->hkl.nItems() > 0) std::copy(refl[i]->hkl.item(0), refl[i]->hkl.item(0) + 3, h);
        for (int k = 0; k < nBlocks; ++k)
            lattice[i] += phaseOf(h, shifts[3 * k], shifts[3 * k + 1], shifts[3 * k + 2]);
        lattice[i] /= nBlocks;
    }

    const int nPrimitive = nOps / nBlocks;
    const int stride = centric && InversionPairs(ops, nPrimitive, size) ? 2 : 1;
    const double fold = static_cast<double>(stride) / nPrimitive;
    for (int v = 0; v < nVoxel; ++v) {
        const int p[3] = {gridIndex[v] % nx, gridIndex[v] / nx % ny, gridIndex[v] / nx / ny};
        const double scale = multiplicity[v] * fold;
        double* cosRow = cosTable + static_cast<std::size_t>(v) * nRefl;
        double* sinRow = centric ? nullptr : sinTable + static_cast<std::size_t>(v) * nRefl;
        for (int o = 0; o < nPrimitive; o += stride) {
            const int* op = ops + 16 * o;
            const long long x = op[0] * p[0] + op[4] * p[1] + op[8] * p[2] + op[12];
            const long long y = op[1] * p[0] + op[5] * p[1] + op[9] * p[2] + op[13];
            const long long z = op[2] * p[0] + op[6] * p[1] + op[10] * p[2] + op[14];
            for (int i = 0; i < nRefl; ++i) {
                const std::complex<double> e = Product(phaseOf(&hkl[3 * i], x, y, z), lattice[i]);
                cosRow[i] += e.real() * scale;
                if (sinRow) sinRow[i] += e.imag() * scale;
            }
        }
    }
}
