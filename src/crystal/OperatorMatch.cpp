// Choosing a setting by its operator list, and the lattice translations of a basis change.

#include <cblas.h>

#include <cmath>
#include <cstring>

#include "numeric/VectorD.h"
#include "crystal/SpaceGroup.h"
#include "crystal/SpaceGroupTables.h"
#include "crystal/UnitCell.h"

namespace {

double* translationOf(MatrixD& op) { return op.p_ + op.ld * 3; }

// Every operator of ops has an equal in the entry, and the counts agree.
bool sameOperators(const ObjVector<MatrixD>& ops, const _SpaceGroup& entry) {
    if (entry.ops.size() != ops.size()) return false;
    for (MatrixD* op : ops) {
        bool found = false;
        for (MatrixD* other : entry.ops)
            if (op->IsEqualTo(*other)) {
                found = true;
                break;
            }
        if (!found) return false;
    }
    return true;
}

// Integer bounds of row i of M over the corners of the unit cube, so that
// every lattice vector M brings in lies inside them.
void rowBounds(const MatrixD& M, int i, int& lo, int& hi) {
    const double a = M(i, 0), b = M(i, 1), c = M(i, 2);
    const double corners[] = {a, b, c, a + b, b + c, a + c, a + b + c};
    lo = hi = 0;
    for (double v : corners) {
        if (v < lo) lo = static_cast<int>(std::floor(v));
        if (v > hi) hi = static_cast<int>(std::ceil(v));
    }
}

}  // namespace

void UnitCell::SearchCentering(MatrixD& M, MatrixD& Minv, ObjVector<MatrixD>& out) {
    HV_ASSERT(M.Dim(0) == 4 && M.Dim(1) == 4);
    out.clear();
    int lo[3], hi[3];
    for (int i = 0; i < 3; ++i) rowBounds(M, i, lo[i], hi[i]);
    MatrixDD T(4, 4);
    T.Initialize();
    MatrixDD R(4, 4);
    for (int x = lo[0]; x <= hi[0]; ++x)
        for (int y = lo[1]; y <= hi[1]; ++y)
            for (int z = lo[2]; z <= hi[2]; ++z) {
                if (x == 0 && y == 0 && z == 0) continue;
                T(0, 3) = x;
                T(1, 3) = y;
                T(2, 3) = z;
                R.Initialize();
                R.MgTiWT(Minv, T, M);
                VectorD::Fractionalize(translationOf(R), 3);
                if (cblas_dnrm2(3, translationOf(R), 1) < 0.000001) continue;
                bool known = false;
                for (MatrixD* other : out) known = known || R.IsEqualTo(*other);
                if (!known) out.add(new MatrixDD(R));
            }
}

int UnitCell::setSpgFromSymmetryOP(ObjVector<MatrixD>& ops) {
    crystalSystem = 0;
    Matrix4D& P = cellTransform;
    Matrix4D inverse;
    inverse.MatrixD::Initialize(P, 'I', 1.0);
    MatrixD::RemoveDuplicates(ops);
    ObjVector<MatrixD> tabulatedCentering, usedCentering;
    SearchCentering(P, inverse, tabulatedCentering);
    SearchCentering(inverse, P, usedCentering);

    // The list seen in the tabulated cell, completed by the lattice
    // translations of the cell in use.
    ObjVector<MatrixD> tabulated;
    for (MatrixD* W : ops) {
        Matrix4D* op = new Matrix4D;
        op->MgTiWT(P, *W, inverse);
        VectorD::Fractionalize(op->Translation(), 3);
        tabulated.add(op);
    }
    const int m = tabulated.size();
    for (MatrixD* K : usedCentering)
        for (int j = 0; j < m; ++j) {
            Matrix4D* op = new Matrix4D;
            op->MgMM(*tabulated[j], *K);
            VectorD::Fractionalize(op->Translation(), 3);
            tabulated.add(op);
        }
    MatrixD::RemoveDuplicates(tabulated);

    const bool magnetic = (magneticFlags & kMagneticFlag) != 0;
    for (int n = 1; n <= kSpaceGroupCount; ++n) {
        const ObjVector<_SpaceGroup>& settings = spaceGroup[n - 1];
        const int ordinary = nSpgSetting[n - 1] < settings.size() ? nSpgSetting[n - 1] : settings.size();
        const int first = magnetic ? ordinary : 0;
        const int end = magnetic ? settings.size() : ordinary;
        for (int s = first; s < end; ++s)
            if (sameOperators(tabulated, *settings[s])) {
                std::strcpy(spgName, settings[s]->name);
                takeSetting(n, s);
                // The old lists leave with the locals.
                centering.v.swap(tabulatedCentering.v);
                centeringInv.v.swap(usedCentering.v);
                return n;
            }
    }

    std::strcpy(spgName, "Custom");
    // A magnetic custom list is numbered behind the ordinary settings.
    if (magnetic && spgNumber >= 1 && spgNumber <= kSpaceGroupCount &&
        nSpgSetting[spgNumber - 1] >= spgSetting)
        spgSetting = nSpgSetting[spgNumber - 1] + 1;
    if (&ops != &symOp) symOp = ops;
    return 0;
}
