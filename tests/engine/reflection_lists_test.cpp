// Reflection records and lists in small hand-made symmetries: phase snapping,
// generated lists, their order and duplicate removal.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "crystal/StructureFactor.h"
#include "numeric/Matrix4D.h"
#include "crystal/UnitCell.h"

namespace {

// Operators from their texts, such as "-x,y+1/2,-z".
ObjVector<MatrixD> Operators(std::vector<std::string> texts) {
    ObjVector<MatrixD> ops;
    for (std::string& text : texts) {
        Matrix4D* op = new Matrix4D;
        UnitCell::convertXYZ2Matrix_Q4(&text[0], *op);
        ops.add(op);
    }
    return ops;
}

const Matrix3D kUnitMetric;  // a cubic cell of edge 1: 1/d is the length of the index triple

StructureFactor* reflection(int h, int k, int l) {
    const int hkl[3] = {h, k, l};
    return new StructureFactor(hkl);
}

std::vector<int> item(const StructureFactor& sf, int j) {
    const int* h = sf.hkl.item(j);
    return {h[0], h[1], h[2]};
}

int Expand(ObjVector<StructureFactor>& list, const ObjVector<MatrixD>& ops, int friedel) {
    ObjVector<StructureFactor> absent;
    return StructureFactor::ExpandReflectionList(list, absent, ops, kUnitMetric, 3, friedel);
}

// The list of all allowed orbits with |h|, |k|, |l| up to hmax, sorted by 1/d.
ObjVector<StructureFactor> Generate(const ObjVector<MatrixD>& ops, std::vector<int> hmax, bool half) {
    ObjVector<StructureFactor> out;
    StructureFactor prototype;
    StructureFactor::CreateReflectionList(out, prototype, ops, kUnitMetric, hmax.data(), 0, 0, half, 3);
    return out;
}

// Equivalents, phases and Friedel mates are checked against cctbx; here the
// snapping of a phase just below a whole cycle, and the values a reader
// stored, which the expansion keeps.
TEST(Expand, PhaseJustBelowOneCycleSnapsToZero) {
    for (double t : {1 - 1e-7, 1 - 1e-5}) {
        ObjVector<MatrixD> ops = Operators({"x,y,z", "y,x,z"});
        (*ops[1])(0, 3) = t;
        ObjVector<StructureFactor> list;
        list.add(reflection(1, 0, 0));
        list[0]->A = 3.0;
        Expand(list, ops, 0);
        EXPECT_EQ(list[0]->A, 3.0);
        ASSERT_EQ(list[0]->hkl.nItems(), 2u);
        EXPECT_EQ(item(*list[0], 1), (std::vector<int>{0, 1, 0}));
        EXPECT_NEAR(list[0]->phase.item(1)[0], t > 1 - 1e-6 ? 0.0 : t, 1e-12) << t;
    }
}

// A fourfold axis along c maps h 0 0 onto 0 h 0, outside a box flat in k;
// expanding again restores the full orbit.
TEST(GeneratedList, EquivalentsOutsideTheBoxAreDropped) {
    const ObjVector<MatrixD> ops = Operators({"x,y,z", "-y,x,z", "-x,-y,z", "y,-x,z"});
    ObjVector<StructureFactor> out = Generate(ops, {1, 0, 0}, false);
    ASSERT_EQ(out.size(), 1);
    EXPECT_EQ(item(*out[0], 0), (std::vector<int>{1, 0, 0}));
    EXPECT_EQ(out[0]->hkl.nItems(), 2u);
    EXPECT_EQ(out[0]->stabilizerOrder, 1);
    Expand(out, ops, 0);
    EXPECT_EQ(out[0]->hkl.nItems(), 4u);
}

// Generated in the order (1 1 0), (1 0 0), (1 -1 0), (0 1 0), (0 -1 0); the
// merge sort takes the right-hand record first on equal 1/d, which puts the
// three records of 1/d = 1 and the two of sqrt 2 in this order, worked out
// by hand (a stable sort would give 1 0 0, 0 1 0, 0 -1 0, 1 1 0, 1 -1 0).
TEST(GeneratedList, EqualSpacingsComeOutRightHalfFirst) {
    const ObjVector<StructureFactor> out = Generate(Operators({"x,y,z"}), {1, 1, 0}, true);
    const std::vector<std::vector<int>> expected = {{0, -1, 0}, {0, 1, 0}, {1, 0, 0}, {1, 1, 0}, {1, -1, 0}};
    ASSERT_EQ(out.size(), (int)expected.size());
    for (int i = 0; i < out.size(); ++i) EXPECT_EQ(item(*out[i], 0), expected[i]) << i;
}

// 26 points around the origin paired by the inversion, sorted by 1/d, each
// record led by the member with the greatest first, then second, then third
// index. Removing duplicates takes out what the reference holds: -1 0 0 is
// the second item of the record of 1 0 0; 1 1 1 its first.
TEST(GeneratedList, OneRecordPerOrbitAndDuplicatesRemoved) {
    const ObjVector<MatrixD> ops = Operators({"x,y,z", "-x,-y,-z"});
    ObjVector<StructureFactor> out = Generate(ops, {1, 1, 1}, true), reference;
    ASSERT_EQ(out.size(), 13);
    for (int i = 0; i < out.size(); ++i) {
        EXPECT_EQ(out[i]->hkl.nItems(), 2u);
        EXPECT_EQ(out[i]->stabilizerOrder, 1);
        EXPECT_LE(out[i > 0 ? i - 1 : 0]->di, out[i]->di);
        EXPECT_GT(item(*out[i], 0), item(*out[i], 1));
    }
    EXPECT_DOUBLE_EQ(out[12]->di, std::sqrt(3.0));
    EXPECT_EQ(StructureFactor::RemoveDuplicate(out, reference, ops, kUnitMetric, 3), 0);
    EXPECT_EQ(out.size(), 13);
    for (StructureFactor* f : {reflection(-1, 0, 0), reflection(1, 1, 1), reflection(3, 0, 0)})
        reference.add(f);
    Expand(reference, ops, 0);
    EXPECT_EQ(StructureFactor::RemoveDuplicate(out, reference, ops, kUnitMetric, 3), 2);
    ASSERT_EQ(out.size(), 11);
    for (StructureFactor* sf : out) {
        EXPECT_NE(item(*sf, 0), (std::vector<int>{1, 0, 0}));
        EXPECT_NE(item(*sf, 0), (std::vector<int>{1, 1, 1}));
    }
    EXPECT_EQ(reference.size(), 3);
    EXPECT_EQ(reference[0]->refCount, 1);
}

}  // namespace
