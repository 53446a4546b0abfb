// One long vector of the minimiser, kept in per-thread parts that may be shared with the voxel blocks.
#pragma once

#include <vector>

#include <omp.h>

#include "numeric/Vector.h"
#include "numeric/VectorD.h"

// Element i of the long vector is element i - offsets[p] of part p, with p
// the last part whose offset is not above i. Parts are counted references,
// so a part can belong to a voxel block and to this vector at once.
//
// Work splitting: thread t of a team of T handles parts t, t + T, ..., so
// with 2 T parts a thread owns its positive and its negative part, and a call
// outside any parallel region walks every part. Since all operations split
// the same way, a part written by one operation can be read by the next in
// the same region without a barrier; only the scalar sums cross threads.
class VectorXDMP : public Object {
public:
    ObjVector<VectorXD> parts;
    std::vector<int> offsets;  // index of each part's first element
    // One sum per part, filled by Dot and the norms and added in part order;
    // sized with the parts, so that no cycle allocates.
    mutable std::vector<double> partSums;

    VectorXDMP() = default;
    // A deep copy: new parts of the same lengths holding the same values.
    VectorXDMP(VectorXDMP& V);
    VectorXDMP& operator=(const VectorXDMP&) = delete;
    ~VectorXDMP() override = default;

    // Appends a part shared with its other owner, and its offset.
    void AddPart(VectorXD* part);
    // New parts of V's lengths, values unset. Serial code only.
    void Resize(const VectorXDMP& V);
    // Total length of all parts.
    int Length() const;

    // Part-by-thread operations, meant for a parallel region (or serial code).
    void Init(const VectorXDMP& V);                       // this = V
    void nInit(const VectorXDMP& V);                      // this = -V
    void Diff(const VectorXDMP& A, const VectorXDMP& B);  // this = A - B
    void Add(const VectorXDMP& V, double a);              // this += a V
    VectorXDMP& operator*=(double a);
    // Adds this . V to *result, the parts in order; *result must be zero
    // before the region, and every thread sees the sum on return. Must be
    // reached by all threads of the region.
    void Dot(double* result, const VectorXDMP& V) const;
    // *result = |this| (or 1 / |this|), seen by every thread on return; must
    // be reached by all threads of the region, and *result must start at zero.
    void Norm2(double* result) const;
    void Norm2inv(double* result) const;
};

// The one team in which the minimiser's vector operations run: body() is
// called on every thread, and the operations above split their parts by the
// thread number. Several operations, with barriers between them where a
// scalar sum is read, share one entry into the team, which is what keeps the
// synchronisation per iteration low on a busy machine.
template <class Body>
void InTeam(Body body) {
#pragma omp parallel
    body();
}
