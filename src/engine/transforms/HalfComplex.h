// Addressing of structure factors in the half-complex arrays of a real-to-complex transform.
#pragma once

#include "engine/blocks/GridSymmetry.h"

// The transform library's forward transform has the minus sign in the exponent,
// ours the plus sign, so F(h, k, l) is the stored entry at the negated index
// when that has a non-negative first component, and otherwise the conjugate of
// the entry at the index itself.
struct HalfComplexEntry {
    long index;   // u + (nx / 2 + 1) * (v' + ny * w')
    double sign;  // factor of the imaginary part: +1 at the negated index, -1 at the index
};

inline long HalfComplexIndex(int u, int v, int w, const int* n) {
    return u + static_cast<long>(n[0] / 2 + 1) *
                   (WrapIndex(v, n[1]) + static_cast<long>(n[1]) * WrapIndex(w, n[2]));
}

// Indices beyond the Nyquist limit of the grid alias to h - nx etc., as the
// sampled density has them, instead of leaving the stored array.
inline HalfComplexEntry ForwardEntry(int h, int k, int l, const int* n) {
    int u = -h, v = -k, w = -l;
    double s = 1.0;
    if (u < 0) {
        u = h, v = k, w = l;
        s = -1.0;
    }
    u = WrapIndex(u, n[0]);
    if (u > n[0] / 2) {
        u = n[0] - u, v = -v, w = -w;
        s = -s;
    }
    return {HalfComplexIndex(u, v, w, n), s};
}
