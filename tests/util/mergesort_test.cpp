#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "app/MergeSort.h"

namespace {

struct Item {
    int key;
    char name;
};

bool byKey(void* a, void* b) { return static_cast<Item*>(a)->key < static_cast<Item*>(b)->key; }

std::string sortNames(std::vector<Item>& items) {
    std::vector<void*> a, tmp(items.size());
    for (Item& it : items) a.push_back(&it);
    MergeSort(a.data(), tmp.data(), 0, static_cast<long>(a.size()) - 1, byKey, 1);
    std::string names;
    for (void* p : a) names += static_cast<Item*>(p)->name;
    return names;
}

}  // namespace

// Tie orders worked out by hand from the merge rule: the right run wins a tie.
TEST(MergeSort, TiesTakeTheRightHandElementFirst) {
    std::vector<Item> two = {{1, 'A'}, {1, 'B'}};
    EXPECT_EQ(sortNames(two), "BA");
    std::vector<Item> three = {{1, 'A'}, {1, 'B'}, {1, 'C'}};
    EXPECT_EQ(sortNames(three), "CAB");
    std::vector<Item> mixed = {{1, 'a'}, {0, 'b'}, {1, 'c'}};
    EXPECT_EQ(sortNames(mixed), "bca");
}

TEST(MergeSort, SortsLikeStdSortByKey) {
    std::mt19937 rng(7);
    for (int n : {1, 2, 5, 16, 17, 100, 1023}) {
        std::vector<Item> items(static_cast<size_t>(n));
        for (Item& it : items) it = {static_cast<int>(rng() % 10), 'x'};
        std::vector<int> expected;
        for (const Item& it : items) expected.push_back(it.key);
        std::sort(expected.begin(), expected.end());

        std::vector<void*> a, tmp(items.size());
        for (Item& it : items) a.push_back(&it);
        MergeSort(a.data(), tmp.data(), 0, n - 1, byKey, 1);
        std::vector<int> got;
        for (void* p : a) got.push_back(static_cast<Item*>(p)->key);
        EXPECT_EQ(got, expected) << "n = " << n;
    }
}
