// Forward and backward maps between the asymmetric-unit density and the reflections,
// by transform of the whole cell or by direct sums over the phase tables.
#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <algorithm>
#include <cmath>
#include <cstring>

#include "engine/transforms/HalfComplex.h"
#include "engine/MEMData3D.h"
#include "engine/blocks/ThreadData.h"

namespace {

// The whole symmetry expansion: each orbit's one value lands on all its
// points. A flat loop through the owner table, split into even runs of the
// cell over the team. The grid is far larger than any cache and is next read
// by the transform, so it is written past the cache, in pairs from an even
// point on (the grid is aligned to 16 bytes at least), which saves reading
// each line before it is overwritten.
void GatherCell(double* __restrict grid, const double* __restrict density, const int* __restrict owner, int n,
                int nThreads) {
    ForEachShare(n, nThreads, [=](long begin, long end) {
        long j = begin;
#ifdef __SSE2__
        if (j % 2 != 0 && j < end) {
            grid[j] = density[owner[j]];
            ++j;
        }
        for (; j + 1 < end; j += 2)
            _mm_stream_pd(grid + j, _mm_set_pd(density[owner[j + 1]], density[owner[j]]));
        _mm_sfence();
#endif
        for (; j < end; ++j) grid[j] = density[owner[j]];
    });
}

// Zeroes a complex grid, each thread its own run of it; the C library's
// fill writes runs this long past the cache.
void ClearGrid(fftw_complex* grid, long n, int nThreads) {
    if (!grid) return;
    ForEachShare(n, nThreads, [=](long begin, long end) {
        std::memset(static_cast<void*>(grid + begin), 0, sizeof(fftw_complex) * (end - begin));
    });
}

}  // namespace

void MEMData::CalcFcalc(int withE) {
    if (!useFFT) {
        ForEachBlock(threads, nThreads, [=](int, ThreadData& block) {
            block.Add_Rho12();
            block.Calc_Partial_Fcalc(withE);
        });
    } else {
        GatherCell(realGrid, densitySum, cellOwner.data(), nVoxelCell, nThreads);
        transform->Forward();
    }
    CalcFcalc_impl(withE);
}

void MEMData3D::CalcFcalc_impl(int withE) {
    int n = nRefUnobs + nRefF + nRefG + (withE ? nRefE : 0);
    if (n > reflections.size()) n = reflections.size();

    if (!useFFT) {
        // Block by block in block order for every reflection, so that the sums
        // do not depend on scheduling; the reflections are split over the team.
        ForEachShare(n, nThreads, [&](long begin, long end) {
            for (long i = begin; i < end; ++i) {
                double A = 0.0, B = 0.0;
                for (int t = 0; t < threads.size(); ++t) {
                    const ThreadData* block = threads[t];
                    A += block->partialA[i];
                    if (block->partialB) B += block->partialB[i];
                }
                reflections[i]->A = A;
                reflections[i]->B = B;
            }
        });
    } else {
        // B is zero by symmetry in a centrosymmetric structure, and is set so:
        // scaling the transform's rounding noise by zero would leave zeros of
        // either sign, which the report prints as "0" or "-0" by chance.
        const bool centric = centroFactor == 2;
        ForEachShare(n, nThreads, [&](long begin, long end) {
            for (long i = begin; i < end; ++i) {
                StructureFactor* f = reflections[i];
                const int* h = f->hkl.item(0);
                const HalfComplexEntry e = ForwardEntry(h[0], h[1], h[2], gridSize);
                f->A = f->B = 0.0;
                if (fourierGrid) {
                    f->A = fourierGrid[e.index][0];
                    if (!centric) f->B = fourierGrid[e.index][1] * e.sign;
                }
                if (gridPowerB[1]) {
                    f->A += gridPowerB[1][e.index][0];
                    if (!centric) f->B += gridPowerB[1][e.index][1] * e.sign;
                }
            }
        });
    }

    // The present totals of both channels, and their powers as for the targets.
    // Each block sums its own voxels, unless the pass that formed the density
    // did; the block sums are added in block order.
    if (!totalsCurrent) ForEachBlock(threads, nThreads, [](int, ThreadData& block) { block.SumTotals(); });
    totalsCurrent = false;
    double Qp = 0.0, Qm = 0.0;
    for (const ThreadData* block : threads) {
        Qp += block->totalPlus;
        Qm += block->totalMinus;
    }
    calcMoment[0] = Qp;
    calcMoment[1] = Qm;
    for (int k = 2; k < 16; k += 2) {
        calcMoment[k] = Qp * calcMoment[k - 2] + Qm * calcMoment[k - 1];
        calcMoment[k + 1] = Qm * calcMoment[k - 2] + Qp * calcMoment[k - 1];
    }
}

// The direct path sums over every column here, the report-only ones included,
// so that the report shows the same coefficients on both paths.
void MEMData3D::CalcFlnR() {
    int n = nRefUnobs + nRefF + nRefG + nRefE;
    if (n > reflections.size()) n = reflections.size();
    ForEachBlock(threads, nThreads, [](int, ThreadData& block) { block.CalcLnRho(); });

    if (!useFFT) {
        ForEachBlock(threads, nThreads, [](int, ThreadData& block) { block.Calc_Partial_Fcalc(1); });
        std::memset(dSdFRe, 0, sizeof(double) * n);
        std::memset(dSdFIm, 0, sizeof(double) * n);
        for (int t = 0; t < threads.size(); ++t) {
            const ThreadData* block = threads[t];
            for (int i = 0; i < n; ++i) {
                dSdFRe[i] += block->partialA[i];
                if (block->partialB) dSdFIm[i] += block->partialB[i];
            }
        }
        return;
    }
    GatherCell(realGrid, densitySum, cellOwner.data(), nVoxelCell, nThreads);
    transform->Forward();
    const bool centric = centroFactor == 2;  // imaginary parts zero, as for B
    ForEachShare(n, nThreads, [&](long begin, long end) {
        for (long i = begin; i < end; ++i) {
            const int* h = reflections[i]->hkl.item(0);
            const HalfComplexEntry e = ForwardEntry(h[0], h[1], h[2], gridSize);
            dSdFRe[i] = fourierGrid[e.index][0];
            dSdFIm[i] = centric ? 0.0 : fourierGrid[e.index][1] * e.sign;
        }
    });
}

namespace {

// Adds the derivatives (dRe, dIm) of reflection `f` by its A and B into the
// half-complex grid, equivalent by equivalent, each times `scale`. Only the
// half with a non-negative first index below the Nyquist limits is written:
// `shifts` holds cos and sin of the equivalents' phase shifts, in their order.
// the backward transform supplies the conjugate half. This assumes that the
// negative of an equivalent carries the conjugate phase shift, which holds in
// a centrosymmetric group and for Friedel mates, but not for reflections of a
// non-centrosymmetric group whose restricted phase is neither 0 nor pi.
// Only entries whose last index (wrapped) lies in [wBegin, wEnd) are written.
void ScatterEquivalents(const StructureFactor& f, const double* shifts, double dRe, double dIm, double scale,
                        const int* n, int wBegin, int wEnd, fftw_complex* grid) {
    const int M = static_cast<int>(f.hkl.nItems());
    for (int j = 0; j < M; ++j) {
        const int* h = f.hkl.item(j);
        const int u = -h[0], v = -h[1], w = -h[2];
        if (u < 0 || u >= n[0] / 2 || std::abs(v) >= n[1] / 2 || std::abs(w) >= n[2] / 2) continue;
        const int wrapped = WrapIndex(w, n[2]);
        if (wrapped < wBegin || wrapped >= wEnd) continue;
        const double c = shifts[2 * j], s = shifts[2 * j + 1], sign = f.phase.item(j)[1];
        const long at = HalfComplexIndex(u, v, w, n);
        grid[at][0] += (dRe * c - sign * s * dIm) * scale;
        grid[at][1] += (sign * c * dIm + dRe * s) * scale;
    }
}

// The derivatives of the first n reflections into `plus` (times scalePlus / M)
// and `minus` (times scaleMinus / M), either of which may be null. Equivalents
// of different reflections can meet in one entry, so each thread owns a run of
// planes of the grid and walks the whole list: no two threads write one entry,
// and every entry receives its terms in list order, as in a serial loop.
void ScatterDerivatives(const MEMData3D& d, int n, double scalePlus, double scaleMinus, fftw_complex* plus,
                        fftw_complex* minus) {
    const int* size = d.gridSize;
    n = std::min(n, d.reflections.size());
    ForEachShare(size[2], d.nThreads, [&](long begin, long end) {
        const int wBegin = static_cast<int>(begin), wEnd = static_cast<int>(end);
        for (int i = 0; i < n; ++i) {
            const StructureFactor& f = *d.reflections[i];
            const double M = static_cast<double>(f.hkl.nItems());
            const double* shifts = d.shiftFactors.data() + 2 * d.shiftStart[i];
            if (plus)
                ScatterEquivalents(f, shifts, d.mergedDerivRe[i], d.mergedDerivIm[i], scalePlus / M, size,
                                   wBegin, wEnd, plus);
            if (minus)
                ScatterEquivalents(f, shifts, d.mergedDerivRe[i], d.mergedDerivIm[i], scaleMinus / M, size,
                                   wBegin, wEnd, minus);
        }
    });
}

}  // namespace

// The merged derivatives stand at list positions, the unobserved reflections
// first, on both paths alike.
void MEMData3D::DFT_Derivatives() {
    if (!useFFT) {
        ForEachBlock(threads, nThreads,
                     [this](int, ThreadData& block) { block.Calc_dCdR_DFT(mergedDerivRe, mergedDerivIm); });
        return;
    }
    ClearGrid(derivGrid, nComplex, nThreads);
    ClearGrid(gridPowerB[5], nComplex, nThreads);
    ScatterDerivatives(*this, nRefUnobs + nRefF + nRefG, 1.0, 1.0, derivGrid, gridPowerB[5]);
    transform->Backward();
    ForEachBlock(threads, nThreads, [](int, ThreadData& block) { block.Calc_dCdR_FFT(); });
}
