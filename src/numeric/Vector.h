// Counted lists of heap objects: VectorBase and its typed face ObjVector<T>.
#pragma once

#include <cstddef>
#include <vector>

#include "numeric/ArrVector.h"
#include "util/Assert.h"
#include "numeric/Object.h"

// A list of pointers to objects held with shared ownership. Each entry counts
// one reference of the object it points at, so the same reflection or operator
// may sit in several lists at once (twice in one list, even) without a copy,
// and is deleted when the last entry pointing at it is released.
//
// References held outside lists (locals, plain pointers) are not counted: code
// that keeps using an object after adding it relies on the list outliving that
// use. An object that was never added is its creator's to delete.
//
//   ObjVector<MatrixD> ops;
//   ops.add(new Matrix4D);   // refCount 1, owned by ops
//   ObjVector<MatrixD> copy;
//   copy = ops;              // refCount 2, the operator itself is shared
//
// Element reads are not bounds-checked; lists are built on one thread and only
// read inside parallel regions, since the counts are plain integers.
class VectorBase {
public:
    VectorBase() = default;
    // Copying a list copies its pointers and takes one more reference to each
    // object; the objects themselves are never copied.
    VectorBase(const VectorBase& src) { *this = src; }
    VectorBase& operator=(const VectorBase& src);
    ~VectorBase();

    // Takes a reference to item and appends it.
    void add(Object* item);
    // Releases every entry; the capacity is kept for reuse.
    void clear();
    // Releases entry i and moves the later entries down by one, keeping order.
    void remove(int i);
    // Appends all of src's entries, in order, each with a new reference.
    void append(const VectorBase& src);

    int size() const { return static_cast<int>(v.size()); }
    bool empty() const { return v.empty(); }

    std::vector<Object*> v;

private:
    static void release(Object* item);
};

// The same list, typed: entries read as T*, and only T (or a class below it)
// can be added. It adds no data, so code that only counts and releases can
// take any list as a VectorBase.
template <class T>
class ObjVector : public VectorBase {
public:
    void add(T* item) { VectorBase::add(item); }
    void append(const ObjVector& src) { VectorBase::append(src); }

    T* operator[](int i) const { return static_cast<T*>(v[i]); }

    // Typed iteration: for (T* item : list).
    class iterator {
    public:
        explicit iterator(Object* const* at) : at_(at) {}
        T* operator*() const { return static_cast<T*>(*at_); }
        iterator& operator++() {
            ++at_;
            return *this;
        }
        bool operator!=(const iterator& other) const { return at_ != other.at_; }

    private:
        Object* const* at_;
    };
    iterator begin() const { return iterator(v.data()); }
    iterator end() const { return iterator(v.data() + v.size()); }
};

// One release, the same in clear, remove and the destructor.
// Decrements the count and deletes the object when no entry holds it any more.
// "Below 1" rather than "equal to 0", so that an object that somehow was never
// counted is deleted all the same.
inline void VectorBase::release(Object* item) {
    if (--item->refCount < 1) delete item;
}

// The array doubles when full, so a run of adds costs amortised constant time,
// and an add into spare capacity is one increment and one store; capacity never
// shrinks, so a cleared list refills without allocating.
inline void VectorBase::add(Object* item) {
    HV_ASSERT(item != NULL);
    ++item->refCount;
    v.push_back(item);
}

// Entries are released from the first to the last. The size is read anew after
// each release, since the destructor of a released object may itself run list
// code; the array is emptied only once every entry has been let go of.
// A null entry can only come from writing to v directly, bypassing add, and
// means the list is corrupted.
inline void VectorBase::clear() {
    for (std::size_t i = 0; i < v.size(); ++i) {
        HV_ASSERT(v[i] != NULL);
        release(v[i]);
    }
    v.clear();
}

inline void VectorBase::remove(int i) {
    HV_ASSERT(i >= 0 && i < size());
    HV_ASSERT(v[i] != NULL);
    release(v[i]);
    v.erase(v.begin() + i);
}

inline void VectorBase::append(const VectorBase& src) {
    const std::size_t first = v.size();
    const std::size_t count = src.v.size();
    // Appending a list to itself must not read the array while it grows.
    if (&src == this) {
        v.reserve(first + count);
        for (std::size_t i = 0; i < count; ++i) v.push_back(v[i]);
    } else {
        v.insert(v.end(), src.v.begin(), src.v.end());
    }
    for (std::size_t i = 0; i < count; ++i) {
        HV_ASSERT(src.v[i] != NULL);
        ++src.v[i]->refCount;
    }
}

inline VectorBase& VectorBase::operator=(const VectorBase& src) {
    if (&src == this) return *this;
    clear();
    v = src.v;
    for (std::size_t i = 0; i < v.size(); ++i) {
        HV_ASSERT(v[i] != NULL);
        ++v[i]->refCount;
    }
    return *this;
}

inline VectorBase::~VectorBase() { clear(); }
