// One independent reflection: its symmetry-equivalent indices, their phase shifts and the calculated F.
#pragma once

#include "numeric/MatrixD.h"
#include "numeric/Vector.h"

// The record holds what symmetry says about a reflection; the measured values
// live in the arrays of the analysis, addressed by the record's list position.
//
// `hkl` holds the distinct equivalent index triples, item 0 being the one the
// data gave. `phase` holds one pair per item: the phase shift in cycles and a
// sign factor, with F(h_j) = F(h_0) exp(2 pi i phase_j). An item made by a
// symmetry operator has the pair (p, 1) with p in [0, 1); a Friedel mate has
// (-p, -1). An absent reflection keeps the raw sums of cosines and sines.
class StructureFactor : public CloneableObj {
public:
    // A record with one item, `indices` (dim values), and no phases yet.
    explicit StructureFactor(const int* indices, int dim = 3);
    // No items: the prototype of generated lists.
    explicit StructureFactor(int dim = 3);
    StructureFactor(const StructureFactor&) = default;

    StructureFactor* Clone(unsigned int flags) const override;

    // Attaches the equivalents and phases of every record of `list` under
    // `ops`, sets `di` with the `reciprocal` metric and, with `friedel` set,
    // adds Friedel mates that symmetry does not give. Absent reflections stay
    // in `list` and are also added to `absent`; returns their number.
    static int ExpandReflectionList(ObjVector<StructureFactor>& list, ObjVector<StructureFactor>& absent,
                                    const ObjVector<MatrixD>& ops, const MatrixD& reciprocal, int dim,
                                    int friedel);

    // Sets the phase shifts of every record of `list` that is not in `absent`
    // to zero, keeping the sign factors: the equivalents of squared amplitudes,
    // which carry no phases of the group's translations. A shift that is
    // already zero is left as it is.
    static void DropTranslationPhases(ObjVector<StructureFactor>& list,
                                      const ObjVector<StructureFactor>& absent);

    // Fills `out` with one record per allowed orbit inside the box |h_c| <= hmax[c]
    // (h_0 >= 0 with `half`), limited by d >= dmin and 1/d >= dimin, sorted by 1/d.
    static void CreateReflectionList(ObjVector<StructureFactor>& out, StructureFactor& prototype,
                                     const ObjVector<MatrixD>& ops, const MatrixD& reciprocal,
                                     const int* hmax, double dmin, double dimin, bool half, int dim);

    // Removes from `list` (sorted by 1/d) every record with an item equal to
    // the first triple of a record of `reference`; returns the number removed.
    static int RemoveDuplicate(ObjVector<StructureFactor>& list, VectorBase& reference,
                               const ObjVector<MatrixD>& ops, const MatrixD& reciprocal, int dim);

    double A = 0.0;           // real part of the calculated F
    double B = 0.0;           // imaginary part of the calculated F
    double di = 0.0;          // 1/d of item 0, in inverse angstrom
    ArrVector<int> hkl;       // width 3: equivalent index triples
    ArrVector<double> phase;  // width 2: (phase shift in cycles, sign factor)
    int stabilizerOrder = 1;  // operators that map item 0 onto itself
};
