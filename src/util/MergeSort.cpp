#include "util/MergeSort.h"

void MergeSort(void** a, void** tmp, long lo, long hi, bool (*less)(void*, void*), int depth) {
    if (lo >= hi) return;
    const long mid = lo + (hi - lo) / 2;
    // Unsigned so that a very deep recursion wraps instead of overflowing.
    const int next = static_cast<int>(static_cast<unsigned>(depth) * 2u);
    MergeSort(a, tmp, lo, mid, less, next);
    MergeSort(a, tmp, mid + 1, hi, less, next);

    // The right half goes in reversed, so both runs meet in the middle and each
    // guards the other's end: no sentinels and no bounds tests are needed.
    for (long k = lo; k <= mid; ++k) tmp[k] = a[k];
    for (long k = mid + 1; k <= hi; ++k) tmp[k] = a[hi + mid + 1 - k];

    long i = lo, j = hi;
    for (long k = lo; k <= hi; ++k) {
        // On a tie `less` is false and the right-hand element is taken.
        if (less(tmp[i], tmp[j]))
            a[k] = tmp[i++];
        else
            a[k] = tmp[j--];
    }
}
