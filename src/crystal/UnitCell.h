// The crystal of one analysis: cell constants, cell matrices, chosen space-group setting and its operators.
#pragma once

#include <cstdint>

#include "numeric/MatrixD.h"
#include "numeric/Vector.h"
#include "numeric/Matrix4D.h"

class _SpaceGroup;

// A setting is chosen by number (setSpgNumber), by symbol (setSpgNameStandard)
// or by an operator list (setSpgFromSymmetryOP); createSymmetryOP then expands
// the choice into symOp, the operators in which reflections and the voxel grid
// are built. Every operation can be repeated on the same cell, so a caller may
// switch settings back and forth.
//
// symOp keeps the table's lattice blocks: its first symOp.size() / latticeCount
// operators are a primitive set, the identity first.
class UnitCell {
public:
    UnitCell() { Initialize(); }
    virtual ~UnitCell() {}

    // P 1 in a cell of 1 x 1 x 1 angstrom with right angles.
    void Initialize();

    // Rebuilds symOp and rotOp from the chosen setting.
    void createSymmetryOP();
    // Grid numbers near a/step, b/step, c/step that put every special position
    // of the setting on a voxel; a huge step gives the least such grid.
    void CalcGridNo(int* n, float step) const;
    // The symbol of the Patterson (Laue) group of the setting, lattice letter
    // kept, into out (10 characters suffice).
    void getPattersonSymmetry(char* out) const;

    // Chooses setting `setting` of group `number`; returns spgNumber afterwards.
    // Numbers the table does not hold leave the choice as it was.
    int setSpgNumber(int number, int setting);
    // Chooses the setting whose symbol is `name`; `setting` 1 accepts any
    // setting, another value only that one. Monoclinic symbols are resolved by
    // which cell angle differs from 90 degrees. Returns the group number, or 0
    // for an unknown symbol.
    int setStandardName(const char* name, int setting);
    // setStandardName, taking the second origin choice where a group has two.
    int setSpgNameStandard(const char* name);
    // Finds the tabulated setting whose operators equal ops (in any order, after
    // removal of duplicates, which changes ops). Returns the group number; with
    // no match returns 0, names the cell "Custom" and keeps ops as symOp.
    int setSpgFromSymmetryOP(ObjVector<MatrixD>& ops);
    // The lattice translations that the basis change M (with inverse Minv)
    // brings in, each as an operator, into out.
    static void SearchCentering(MatrixD& M, MatrixD& Minv, ObjVector<MatrixD>& out);

    // Parses an operator text such as "-x+1/2,y,z"; the translation is not reduced.
    static void convertXYZ2Matrix_Q4(char* text, Matrix4D& m);

    // The five axis permutations, row by row, that turn the tabulated
    // orthorhombic setting into the others.
    static const double Po[5][3][3];

    unsigned char centric;
    std::int32_t latticeCount;
    char spgName[24];
    std::int32_t spgNumber;
    std::int32_t spgSetting;
    // 1 to 7 as CrystalSystemOf, 8 for R-lattice trigonal groups; 0 while a
    // custom operator list is in force; -1 for "Custom" on the first table entry.
    std::int32_t crystalSystem;
    Matrix4D cellTransform;  // from the tabulated setting to the cell in use
    ObjVector<MatrixD> symOp;
    ObjVector<MatrixD> rotOp;         // distinct transposed rotations of the first block
    ObjVector<MatrixD> centering;     // tabulated lattice translations seen in the cell in use
    ObjVector<MatrixD> centeringInv;  // lattice translations of the cell in use, tabulated cell
    float cell[6];                    // a, b, c in angstrom; alpha, beta, gamma in degrees
    float cellEsd[6];
    Matrix3D orthoMatrix;   // fractional to Cartesian
    Matrix3D orthoInverse;  // Cartesian to fractional
    std::int32_t magneticFlags;

private:
    // The table entry of the chosen setting, or null if the table lacks it.
    const _SpaceGroup* chosenEntry() const;
    // Steps of setStandardName after the name has been copied in.
    int lookUpStandardName();
    void normaliseName();
    bool acceptsMonoclinic(int number, int settingIndex) const;
    void takeSetting(int number, int settingIndex);
    // Steps of createSymmetryOP: the entry's operators in the cell in use, the
    // lattice translations that the cell transform brings in, the rotations.
    int takeTableOperators(const _SpaceGroup* entry);
    void addCentering(int count);
    void buildRotations(int count);
};
