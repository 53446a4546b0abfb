#include "crystal/UnitCell.h"

#include <cstdio>
#include <cstring>

#include "numeric/VectorD.h"
#include "crystal/SpaceGroup.h"

const double UnitCell::Po[5][3][3] = {
    {{0, 1, 0}, {1, 0, 0}, {0, 0, -1}},  // b a -c
    {{0, 1, 0}, {0, 0, 1}, {1, 0, 0}},   // c a b
    {{0, 0, 1}, {0, 1, 0}, {-1, 0, 0}},  // -c b a
    {{0, 0, 1}, {1, 0, 0}, {0, 1, 0}},   // b c a
    {{1, 0, 0}, {0, 0, 1}, {0, -1, 0}},  // a -c b
};

void UnitCell::Initialize() {
    centric = 0;
    latticeCount = 1;
    std::strcpy(spgName, "P 1");
    spgNumber = 1;
    spgSetting = 1;
    crystalSystem = 1;
    cellTransform.MatrixD::Initialize();
    symOp.clear();
    rotOp.clear();
    centering.clear();
    centeringInv.clear();
    for (int i = 0; i < 3; ++i) {
        cell[i] = 1.0f;
        cell[i + 3] = 90.0f;
    }
    for (float& esd : cellEsd) esd = 0.0f;
    orthoMatrix.MatrixD::Initialize();
    orthoInverse.MatrixD::Initialize();
    magneticFlags = 0;
}

const _SpaceGroup* UnitCell::chosenEntry() const { return FindSpaceGroupSetting(spgNumber, spgSetting); }

void UnitCell::createSymmetryOP() {
    int count = symOp.size();
    if (crystalSystem == 0) {
        // A custom list is used as it stands, without lattice blocks.
        latticeCount = 1;
        centric = 0;
    } else {
        count = takeTableOperators(crystalSystem < 0 ? FindSpaceGroupSetting(1, 1) : chosenEntry());
        addCentering(count);
    }
    buildRotations(count);
}

int UnitCell::takeTableOperators(const _SpaceGroup* entry) {
    symOp.clear();
    if (!entry || entry->ops.empty()) {
        // Without a table (its files missing) the cell keeps the identity alone,
        // so that everything downstream still sees one operator.
        latticeCount = 1;
        centric = 0;
        symOp.add(new Matrix4D);
        return 1;
    }
    latticeCount = entry->latticeCount;
    centric = entry->centric;
    magneticFlags = entry->flags;
    Matrix4D inverse;
    inverse.MatrixD::Initialize(cellTransform, 'I', 1.0);
    for (MatrixD* W : entry->ops) {
        Matrix4D* op = new Matrix4D;
        op->MgTiWT(inverse, *W, cellTransform);
        VectorD::Fractionalize(op->Translation(), 3);
        symOp.add(op);
    }
    return entry->ops.size();
}

void UnitCell::addCentering(int count) {
    for (MatrixD* K : centering)
        for (int j = 0; j < count; ++j) {
            Matrix4D* op = new Matrix4D;
            op->MgMM(*symOp[j], *K);
            VectorD::Fractionalize(op->Translation(), 3);
            symOp.add(op);
        }
    MatrixD::RemoveDuplicates(symOp);
}

void UnitCell::buildRotations(int count) {
    rotOp.clear();
    const int blockSize = latticeCount > 0 ? count / latticeCount : count;
    // An edited table with repeated operators may leave fewer after the removal
    // of duplicates than its count says.
    const int end = blockSize < symOp.size() ? blockSize : symOp.size();
    for (int k = 0; k < end; ++k) {
        MatrixDD rotation(3, 3);
        rotation.Initialize(symOp[k]->p_, 3, 3, symOp[k]->ld, 'T', 1.0);
        bool known = false;
        for (MatrixD* other : rotOp) known = known || rotation.IsEqualTo(*other);
        if (!known) rotOp.add(new MatrixDD(rotation));
    }
}

void UnitCell::getPattersonSymmetry(char* out) const {
    const int n = spgNumber;
    const char* laue = "-1";
    if (n >= 207)
        laue = "m -3 m";
    else if (n >= 195)
        laue = "m -3";
    else if (n >= 177)
        laue = "6/m m m";
    else if (n >= 168)
        laue = "6/m";
    else if (n >= 149) {
        const std::size_t length = std::strlen(spgName);
        if (spgName[0] == 'R')
            laue = "-3 m";
        else if (length > 0 && spgName[length - 1] == '1')
            laue = "-3 m 1";
        else
            laue = "-3 1 m";
    } else if (n >= 143)
        laue = "-3";
    else if (n >= 89)
        laue = "4/m m m";
    else if (n >= 75)
        laue = "4/m";
    else if (n >= 16)
        laue = "m m m";
    else if (n >= 3)
        laue = "2/m";
    std::sprintf(out, "%c %s", spgName[0], laue);
}

void UnitCell::convertXYZ2Matrix_Q4(char* text, Matrix4D& m) {
    const char* names[] = {"x", "y", "z", "q"};
    m.SetFromString(text, names, 3, false);
}
