// Symmetry expansion of reflections checked against cctbx: equivalents,
// stabiliser orders, systematic absences, phase shifts and Friedel mates for
// a centrosymmetric, two chiral or polar, an F-centred and a rhombohedral group.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "crystal/StructureFactor.h"
#include "numeric/Matrix4D.h"
#include "crystal/UnitCell.h"
#include "analysis_fixture.h"

namespace {

using Triple = std::tuple<int, int, int>;

struct Equivalent {
    double phase;
    int sign;
};

struct ReferenceReflection {
    int h[3], items, stabilizer;
    bool absent;
    double di;
    std::map<Triple, Equivalent> equivalents;
};

struct ReferenceGroup {
    std::string label;
    bool centric = false;
    int number = 0, setting = 0;  // in the program's tables
    ObjVector<MatrixD> ops;
    Matrix3D reciprocal;
    std::vector<ReferenceReflection> reflections;
};

// Reads the file written by tools/make_reflection_reference.py.
std::vector<ReferenceGroup> loadReference() {
    std::vector<ReferenceGroup> groups;
    std::ifstream in(std::string(HALVORIN_TEST_DATA) + "/reflection_reference.txt");
    EXPECT_TRUE(in.good());
    for (std::string text; std::getline(in, text);) {
        std::istringstream line(text);
        std::string key;
        line >> key;
        ReferenceGroup* g = groups.empty() ? nullptr : &groups.back();
        if (key == "group") {
            groups.emplace_back();
            int centric, nOps;
            line >> groups.back().label >> centric >> nOps >> groups.back().number >> groups.back().setting;
            groups.back().centric = centric != 0;
        } else if (key == "op") {  // rotation rows, then the translation
            Matrix4D* op = new Matrix4D();
            for (int k = 0; k < 12; ++k) line >> (*op)(k < 9 ? k / 3 : k - 9, k < 9 ? k % 3 : 3);
            g->ops.add(op);
        } else if (key == "frac") {  // rows of the fractionalisation matrix
            for (int k = 0; k < 9; ++k) line >> g->reciprocal(k / 3, k % 3);
        } else if (key == "refl") {
            ReferenceReflection r;
            int absent;
            line >> r.h[0] >> r.h[1] >> r.h[2] >> absent >> r.items >> r.stabilizer >> r.di;
            r.absent = absent != 0;
            g->reflections.push_back(r);
        } else if (key == "eq") {
            int h, k, l;
            Equivalent e;
            line >> h >> k >> l >> e.phase >> e.sign;
            g->reflections.back().equivalents[Triple(h, k, l)] = e;
        }
    }
    return groups;
}

const std::vector<ReferenceGroup>& reference() {
    static const std::vector<ReferenceGroup> groups = loadReference();
    return groups;
}

// Distance of two phases in cycles, modulo whole cycles.
double phaseDistance(double a, double b) {
    const double d = std::fabs(a - b);
    return std::fabs(d - std::floor(d + 0.5));
}

// Absences are counted and kept in both lists; allowed reflections carry the
// equivalents, phases, signs and stabilisers of cctbx, Friedel mates only
// without an inversion, and the report's multiplicity counts operators.
void ExpectExpansionAsCctbx(const ReferenceGroup& group, const ObjVector<MatrixD>& ops) {
    SCOPED_TRACE(group.label);
    ObjVector<StructureFactor> list, absent;
    for (const ReferenceReflection& r : group.reflections) list.add(new StructureFactor(r.h));
    const int nAbsent =
        StructureFactor::ExpandReflectionList(list, absent, ops, group.reciprocal, 3, group.centric ? 0 : 1);
    const int nSymOp = ops.size();
    int expectedAbsent = 0, mates = 0;
    ASSERT_EQ(list.size(), (int)group.reflections.size());
    for (int i = 0; i < list.size(); ++i) {
        const ReferenceReflection& r = group.reflections[i];
        const StructureFactor& sf = *list[i];
        SCOPED_TRACE(testing::Message() << r.h[0] << " " << r.h[1] << " " << r.h[2]);
        EXPECT_NEAR(sf.di, r.di, 1e-12 * r.di);
        ASSERT_EQ((int)sf.hkl.nItems(), r.items);
        ASSERT_EQ(sf.phase.nItems(), sf.hkl.nItems());
        EXPECT_EQ(std::vector<int>(sf.hkl.item(0), sf.hkl.item(0) + 3), std::vector<int>(r.h, r.h + 3));
        if (r.absent) {
            ASSERT_LT(expectedAbsent, absent.size());
            EXPECT_EQ(absent[expectedAbsent++], list[i]);
            EXPECT_EQ(sf.refCount, 2);
            EXPECT_EQ(sf.A, 0.0);
            EXPECT_EQ(sf.B, 0.0);
            EXPECT_EQ(sf.stabilizerOrder, 1);
            continue;
        }
        EXPECT_EQ(sf.stabilizerOrder, r.stabilizer);
        int fromSymmetry = 0;
        for (size_t j = 0; j < sf.hkl.nItems(); ++j) {
            const int* h = sf.hkl.item(j);
            const double p = sf.phase.item(j)[0], sign = sf.phase.item(j)[1];
            auto found = r.equivalents.find(Triple(h[0], h[1], h[2]));
            ASSERT_NE(found, r.equivalents.end()) << "item " << h[0] << " " << h[1] << " " << h[2];
            EXPECT_EQ(sign, found->second.sign);
            EXPECT_LT(phaseDistance(p, found->second.phase), 1e-9);
            fromSymmetry += sign > 0;
            mates += sign < 0;
            EXPECT_TRUE(sign > 0 ? p >= 0.0 && p < 1.0 : p > -1.0 && p <= 0.0) << p;
        }
        EXPECT_EQ(nSymOp / sf.stabilizerOrder, fromSymmetry);
    }
    EXPECT_EQ(nAbsent, expectedAbsent);
    EXPECT_EQ(absent.size(), expectedAbsent);
    EXPECT_EQ(mates == 0, group.centric);
}

TEST(ExpandAgainstCctbx, WithCctbxOperators) {
    ASSERT_EQ(reference().size(), 5u);
    for (const ReferenceGroup& group : reference()) ExpectExpansionAsCctbx(group, group.ops);
}

// The same with the operators of the program's own tables.
TEST(ExpandAgainstCctbx, WithProgramTables) {
    ASSERT_TRUE(LoadedTable().ok);
    for (const ReferenceGroup& group : reference()) {
        UnitCell cell;
        cell.setSpgNumber(group.number, group.setting);
        cell.createSymmetryOP();
        ASSERT_EQ(cell.spgNumber, group.number);
        ASSERT_EQ(cell.symOp.size(), group.ops.size());
        ASSERT_EQ(cell.centric != 0, group.centric);
        ExpectExpansionAsCctbx(group, cell.symOp);
    }
}

}  // namespace
