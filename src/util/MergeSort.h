// Top-down merge sort of an array of pointers with a caller-supplied order.
#pragma once

// Sorts a[lo..hi] (inclusive) by `less`, using `tmp` (same length as `a`) as scratch.
// On a tie, where `less` is false both ways, the element from the right half is
// taken first; the sort is not stable, and callers rely on exactly this order.
// `depth` is doubled on each level of recursion and has no other effect.
void MergeSort(void** a, void** tmp, long lo, long hi, bool (*less)(void*, void*), int depth);
