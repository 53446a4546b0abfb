// A flat list of plain values grouped into items of a fixed width.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "util/Assert.h"

// Item i occupies v[i * itemWidth] to v[(i + 1) * itemWidth - 1]. A reflection,
// for instance, keeps its equivalent indices as items of width 3 and their phase
// factors as items of width 2. The width is fixed when the list is built.
template <typename T>
class ArrVector {
public:
    explicit ArrVector(std::uint64_t width) : itemWidth(width) {}
    ArrVector(const ArrVector&) = default;
    // Assignment replaces the values; lists of different widths are not interchangeable.
    ArrVector& operator=(const ArrVector& src) {
        HV_ASSERT(itemWidth == src.itemWidth);
        v = src.v;
        return *this;
    }

    // Appends itemWidth values read from item.
    void add(const T* item) { v.insert(v.end(), item, item + itemWidth); }
    void clear() { v.clear(); }

    std::size_t nItems() const { return itemWidth == 0 ? 0 : v.size() / itemWidth; }
    T* item(std::size_t i) { return v.data() + i * itemWidth; }
    const T* item(std::size_t i) const { return v.data() + i * itemWidth; }

    const std::uint64_t itemWidth;
    std::vector<T> v;
};
