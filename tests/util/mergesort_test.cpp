// The merge sort against std::sort; its order of ties is checked through the
// generated reflection lists, where it shows.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "app/MergeSort.h"

namespace {

bool byValue(void* a, void* b) { return *static_cast<int*>(a) < *static_cast<int*>(b); }

TEST(MergeSort, SortsLikeStdSort) {
    std::mt19937 rng(7);
    for (int n : {1, 2, 5, 16, 17, 100, 1023}) {
        std::vector<int> keys(static_cast<size_t>(n));
        for (int& k : keys) k = static_cast<int>(rng() % 10);
        std::vector<void*> a, tmp(keys.size());
        for (int& k : keys) a.push_back(&k);
        MergeSort(a.data(), tmp.data(), 0, n - 1, byValue, 1);
        std::vector<int> got, expected = keys;
        for (void* p : a) got.push_back(*static_cast<int*>(p));
        std::sort(expected.begin(), expected.end());
        EXPECT_EQ(got, expected) << "n = " << n;
    }
}

}  // namespace
