#include "crystal/SpaceGroup.h"

#include "util/IO.h"
#include "numeric/VectorD.h"

ObjVector<_SpaceGroup> spaceGroup[kSpaceGroupCount];
unsigned char nSpgSetting[kSpaceGroupCount];

namespace {

// The lattice translations of a lattice letter; returns how many.
int latticeTranslations(char lattice, int setting, double (*t)[3]) {
    const double third = 1.0 / 3.0, twoThirds = 2.0 / 3.0;
    auto put = [t](int k, double x, double y, double z) {
        t[k][0] = x;
        t[k][1] = y;
        t[k][2] = z;
    };
    switch (lattice) {
    case 'A': put(0, 0, 0.5, 0.5); return 1;
    case 'B': put(0, 0.5, 0, 0.5); return 1;
    case 'C': put(0, 0.5, 0.5, 0); return 1;
    case 'I': put(0, 0.5, 0.5, 0.5); return 1;
    case 'F':
        put(0, 0, 0.5, 0.5);
        put(1, 0.5, 0, 0.5);
        put(2, 0.5, 0.5, 0);
        return 3;
    case 'R':
        // In rhombohedral axes an R lattice is primitive.
        if (setting != 1 && setting != 7) return 0;
        put(0, twoThirds, third, third);
        put(1, third, twoThirds, twoThirds);
        return 2;
    default: return 0;
    }
}

double* translationOf(MatrixD& op) { return op.p_ + op.ld * 3; }

}  // namespace

_SpaceGroup* FindSpaceGroupSetting(int number, int setting) {
    if (number < 1 || number > kSpaceGroupCount) return nullptr;
    const ObjVector<_SpaceGroup>& settings = spaceGroup[number - 1];
    if (setting < 1 || setting > settings.size()) return nullptr;
    return settings[setting - 1];
}

void CheckLatticeType(ObjVector<MatrixD>& ops, int& latticeCount, char lattice, int setting) {
    double t[3][3];
    const int blocks = latticeTranslations(lattice, setting, t);
    const int n = ops.size();
    for (int b = 0; b < blocks; ++b)
        for (int i = 0; i < n; ++i) {
            Matrix4D* shifted = new Matrix4D;
            shifted->MatrixD::Initialize(*ops[i]);
            for (int k = 0; k < 3; ++k) shifted->Translation()[k] += t[b][k];
            ops.add(shifted);
        }
    for (MatrixD* op : ops) VectorD::Fractionalize(translationOf(*op), 3);
    latticeCount = 1 + blocks;
}
