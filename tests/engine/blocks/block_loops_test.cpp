// The engine's parallel loops: every block and every index visited once for any
// team size, and block sums that do not depend on the team.
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "engine/blocks/ForEachBlock.h"

namespace {

struct Block {
    int visits = 0;
    std::vector<double> values;
};

using Blocks = std::vector<std::unique_ptr<Block>>;

// Values whose sum depends on the order of addition: 1e16 + 1 - 1e16 is 0 or
// 1 by the order, so a total in any order but the blocks' shows.
Blocks MakeBlocks(int n) {
    Blocks blocks;
    const double pattern[] = {1e16, 1.0, -1e16, 1.0, 3.0, -2.5e15, 0.125};
    for (int b = 0; b < n; ++b) {
        blocks.push_back(std::make_unique<Block>());
        blocks.back()->values = {pattern[b % 7], pattern[(b + 3) % 7] * 0.5};
    }
    return blocks;
}

// Teams smaller than, equal to and larger than the number of blocks.
TEST(BlockLoops, EveryBlockOnceAndSumsInBlockOrderForAnyTeam) {
    for (int nBlocks : {1, 2, 7}) {
        Blocks blocks = MakeBlocks(nBlocks);
        double expected[2] = {0.0, 0.0};
        for (const auto& block : blocks)
            for (int j = 0; j < 2; ++j) expected[j] += block->values[j];
        BlockSums sums(nBlocks, 3);
        for (int team : {1, 2, 3, 8}) {
            for (auto& block : blocks) block->visits = 0;
            ForEachBlock(blocks, team, [](int, Block& block) { ++block.visits; });
            for (const auto& block : blocks)
                EXPECT_EQ(block->visits, 1) << nBlocks << " blocks, team " << team;

            // The bodies add to their rows: what a former pass left there must not count.
            double total[2] = {-1.0, -1.0};
            for (int pass = 0; pass < 2; ++pass)
                SumOverBlocks(blocks, team, sums, 2, total, [](int, Block& block, double* row) {
                    row[0] += block.values[0];
                    row[1] += block.values[1];
                });
            EXPECT_EQ(total[0], expected[0]) << nBlocks << " blocks, team " << team;
            EXPECT_EQ(total[1], expected[1]) << nBlocks << " blocks, team " << team;
        }
    }
}

// Contiguous shares that cover the range once, also with fewer items than threads.
TEST(BlockLoops, SharesCoverTheRangeOnce) {
    for (long n : {0L, 1L, 5L, 1000L}) {
        for (int team : {1, 2, 4}) {
            std::vector<int> hits(n, 0);
            ForEachShare(n, team, [&](long begin, long end) {
                ASSERT_LE(0, begin);
                ASSERT_LE(begin, end);
                ASSERT_LE(end, n);
                for (long i = begin; i < end; ++i) ++hits[i];
            });
            for (long i = 0; i < n; ++i)
                ASSERT_EQ(hits[i], 1) << "n " << n << ", team " << team << ", item " << i;
        }
    }
}

}  // namespace
