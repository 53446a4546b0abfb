// ForEachBlock.h: the parallel loops of the engine: over the blocks of the
// asymmetric unit, and over even shares of a range.
#pragma once

#include <algorithm>
#include <vector>

#include <omp.h>

// The number of threads that a parallel region gets here: the number of
// blocks for the whole run. The one region that does nothing but count.
inline int TeamSize() {
    int n = 1;
#pragma omp parallel
#pragma omp single
    n = omp_get_num_threads();
    return n;
}

// Block b is handed to thread b modulo the team size. With as many blocks as
// threads each thread keeps the block whose memory it first touched, and a
// smaller team (OMP_NUM_THREADS, nested use) still visits every block once.
// `body(b, block)` must touch only block b's voxels and anything else indexed
// by b. This region is the engine's one loop over the blocks: every pass of a
// cycle comes through it, so that the rule above holds in one place.
template <class Blocks, class Body>
void ForEachBlock(const Blocks& blocks, int nThreads, Body body) {
    const int n = static_cast<int>(blocks.size());
#pragma omp parallel num_threads(nThreads)
    for (int b = omp_get_thread_num(); b < n; b += omp_get_num_threads()) body(b, *blocks[b]);
}

// Splits [0, n) into one contiguous run per thread of the team and calls
// body(begin, end) once for each: the loop for passes over the whole cell or
// over the reflections, where the work is even and needs no block structure.
// It stands apart from ForEachBlock because its shares follow the team, not
// the blocks.
template <class Body>
void ForEachShare(long n, int nThreads, Body body) {
#pragma omp parallel num_threads(nThreads)
    {
        const long t = omp_get_thread_num(), T = omp_get_num_threads();
        body(n * t / T, n * (t + 1) / T);
    }
}

// Sums over the voxels of every block, added in block order so that the
// totals do not depend on the thread count. The rows are sized once, before
// the cycles start, so a cycle allocates nothing.
class BlockSums {
public:
    BlockSums() = default;
    BlockSums(int nBlocks, int width) { Resize(nBlocks, width); }
    void Resize(int nBlocks, int width) {
        width_ = width;
        rows_.assign(static_cast<std::size_t>(nBlocks) * width, 0.0);
    }
    // The `width` sums of block b.
    double* Row(int b) { return rows_.data() + static_cast<std::size_t>(b) * width_; }
    // out[j] = sum over blocks b, in order, of Row(b)[j], for j < n <= width.
    void Total(int n, double* out) const {
        std::fill(out, out + n, 0.0);
        for (std::size_t r = 0; r < rows_.size(); r += width_)
            for (int j = 0; j < n; ++j) out[j] += rows_[r + j];
    }

private:
    int width_ = 0;
    std::vector<double> rows_;
};

// ForEachBlock for a body that returns up to `width` sums through the row it is
// handed, its first n entries zeroed; the block totals land in out[0..n).
template <class Blocks, class Body>
void SumOverBlocks(const Blocks& blocks, int nThreads, BlockSums& sums, int n, double* out, Body body) {
    ForEachBlock(blocks, nThreads, [&](int b, auto& block) {
        double* row = sums.Row(b);
        std::fill(row, row + n, 0.0);
        body(b, block, row);
    });
    sums.Total(n, out);
}
