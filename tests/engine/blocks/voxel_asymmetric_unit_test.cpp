// The asymmetric unit of the voxel grid against orbits found by brute force.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>

#include "numeric/Matrix4D.h"
#include "engine/blocks/GridSymmetry.h"
#include "engine/analysis_fixture.h"

namespace {

struct Orbits {
    std::vector<int> orbitOf;  // orbit number of every cell point
    std::vector<int> size;     // points of each orbit
};

// Applies every operator in floating point to the fractional coordinates of
// every point and collects the distinct images, without integer operators
// and without the scan's bookkeeping.
Orbits BruteForceOrbits(const ObjVector<MatrixD>& ops, const int* n) {
    const int cells = n[0] * n[1] * n[2];
    Orbits o;
    o.orbitOf.assign(cells, -1);
    for (int j = 0; j < cells; ++j) {
        if (o.orbitOf[j] >= 0) continue;
        const double f[3] = {double(j % n[0]) / n[0], double(j / n[0] % n[1]) / n[1],
                             double(j / (n[0] * n[1])) / n[2]};
        std::set<int> images;
        for (const MatrixD* m : ops) {
            int g[3];
            for (int r = 0; r < 3; ++r) {
                const double x =
                    ((*m)(r, 0) * f[0] + (*m)(r, 1) * f[1] + (*m)(r, 2) * f[2] + (*m)(r, 3)) * n[r];
                EXPECT_NEAR(x, std::round(x), 1e-9) << "grid does not fit the group";
                g[r] = ((static_cast<int>(std::round(x)) % n[r]) + n[r]) % n[r];
            }
            images.insert(g[0] + n[0] * (g[1] + n[1] * g[2]));
        }
        for (int i : images) o.orbitOf[i] = static_cast<int>(o.size.size());
        o.size.push_back(static_cast<int>(images.size()));
    }
    return o;
}

TEST(AsymmetricUnit, RepresentativesAreTheOrbits) {
    const struct {
        const char* symbol;
        std::array<int, 3> grid;
    } cases[] = {{"P 1", {5, 6, 7}},        {"P -1", {6, 4, 8}},        {"P 21/c", {8, 6, 10}},
                 {"P 42/m n m", {8, 8, 6}}, {"F m -3 m", {12, 12, 12}}, {"R -3 m", {6, 6, 12}},
                 {"P 63/m m c", {6, 6, 8}}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.symbol);
        const auto ops = ExpandOperators(GroupBySymbol(c.symbol));
        const AsymmetricUnit asu = FindAsymmetricUnit(c.grid.data(), MakeGridOperators(ops, c.grid.data()));
        const Orbits truth = BruteForceOrbits(ops, c.grid.data());

        ASSERT_EQ(asu.size(), static_cast<int>(truth.size.size()));
        std::vector<int> representativeOf(truth.size.size(), -1);
        for (int v = 0; v < asu.size(); ++v) {
            const int orbit = truth.orbitOf[asu.point[v]];
            EXPECT_EQ(representativeOf[orbit], -1) << "two representatives of one orbit";
            representativeOf[orbit] = v;
            EXPECT_EQ(asu.multiplicity[v], truth.size[orbit]) << "voxel " << v;
        }
        for (std::size_t j = 0; j < asu.owner.size(); ++j)
            ASSERT_EQ(asu.owner[j], representativeOf[truth.orbitOf[j]]) << "cell point " << j;
    }
}

// The direct sums rely on the table order of the operators only after checking it.
TEST(OperatorOrder, LatticeBlocksAndInversionPairsAreRecognised) {
    const int grid[3] = {12, 12, 12};
    auto ops = ExpandOperators(GroupBySymbol("F m -3 m"));
    const std::vector<int> f = MakeGridOperators(ops, grid);
    const int nF = static_cast<int>(f.size() / 16);
    EXPECT_EQ(LatticeShifts(f.data(), nF, 4, grid), (std::vector<int>{0, 0, 0, 0, 6, 6, 6, 0, 6, 6, 6, 0}));
    EXPECT_TRUE(InversionPairs(f.data(), nF / 4, grid));

    std::reverse(ops.v.begin() + 1, ops.v.end());
    const std::vector<int> shuffled = MakeGridOperators(ops, grid);
    EXPECT_EQ(LatticeShifts(shuffled.data(), nF, 4, grid), (std::vector<int>{0, 0, 0}));
    EXPECT_FALSE(InversionPairs(shuffled.data(), nF, grid));

    EXPECT_FALSE(InversionPairs(MakeGridOperators(ExpandOperators(GroupBySymbol("P 21 21 21")), grid).data(),
                                4, grid));
    EXPECT_TRUE(
        InversionPairs(MakeGridOperators(ExpandOperators(GroupBySymbol("P 21/c")), grid).data(), 4, grid));
}

TEST(ThreadBlocks, MoreThreadsThanVoxelsLeaveEmptyBlocks) {
    auto mem = MakeAnalysis({"P -1", {5.0f, 5.0f, 5.0f, 90.0f, 90.0f, 90.0f}, {2, 2, 1}, {{1, 0, 0}}});
    mem->nThreads = 7;
    PrepareQuietly(*mem);
    ASSERT_EQ(mem->threads.size(), 7);
    int covered = 0, empty = 0;
    for (ThreadData* b : mem->threads) {
        covered += b->nVoxel;
        empty += b->nVoxel == 0;
    }
    EXPECT_EQ(mem->NASYM, 4);
    EXPECT_EQ(covered, 4);
    EXPECT_EQ(empty, 3);
}

}  // namespace
