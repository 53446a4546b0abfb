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

#include "base/StructureFactor.h"
#include "core/Matrix4D.h"
#include "core/UnitCell.h"
#include "readmem_support.h"

namespace {

using Triple = std::tuple<int, int, int>;

struct Equivalent {
  double phase;
  int sign;
};

struct ReferenceReflection {
  int h[3];
  bool absent;
  int items;
  int stabilizer;
  double di;
  std::map<Triple, Equivalent> equivalents;
};

struct ReferenceGroup {
  std::string label;
  bool centric = false;
  int number = 0;   // group and setting in the program's tables
  int setting = 0;
  ObjVector<MatrixD> ops;
  Matrix3D reciprocal;
  std::vector<ReferenceReflection> reflections;
};

Matrix4D* operatorFromRows(const double* r, const double* t) {
  Matrix4D* op = new Matrix4D();
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j)
      (*op)(i, j) = r[3 * i + j];
    (*op)(i, 3) = t[i];
  }
  return op;
}

// Reads the file written by tools/make_reflection_reference.py.
std::vector<ReferenceGroup> loadReference() {
  std::vector<ReferenceGroup> groups;
  std::ifstream in(std::string(HALVORIN_TEST_DATA) + "/reflection_reference.txt");
  EXPECT_TRUE(in.good());
  std::string text;
  while (std::getline(in, text)) {
    std::istringstream line(text);
    std::string key;
    line >> key;
    if (key == "group") {
      groups.emplace_back();
      int centric, nOps;
      line >> groups.back().label >> centric >> nOps >> groups.back().number >>
          groups.back().setting;
      groups.back().centric = centric != 0;
    } else if (key == "op") {
      double r[9], t[3];
      for (double& x : r)
        line >> x;
      for (double& x : t)
        line >> x;
      groups.back().ops.add(operatorFromRows(r, t));
    } else if (key == "frac") {
      double f[9];
      for (double& x : f)
        line >> x;
      for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
          groups.back().reciprocal(i, j) = f[3 * i + j];
    } else if (key == "refl") {
      ReferenceReflection r;
      int absent;
      line >> r.h[0] >> r.h[1] >> r.h[2] >> absent >> r.items >> r.stabilizer >> r.di;
      r.absent = absent != 0;
      groups.back().reflections.push_back(r);
    } else if (key == "eq") {
      int h, k, l;
      Equivalent e;
      line >> h >> k >> l >> e.phase >> e.sign;
      groups.back().reflections.back().equivalents[Triple(h, k, l)] = e;
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

// The operators come from cctbx itself, or, with the parameter's second
// member set, from the program's space-group tables.
class ExpandAgainstCctbx : public ::testing::TestWithParam<std::tuple<std::string, bool>> {
protected:
  void SetUp() override {
    for (const ReferenceGroup& g : reference())
      if (g.label == std::get<0>(GetParam()))
        group = &g;
    ASSERT_NE(group, nullptr);
    const ObjVector<MatrixD>* ops = &group->ops;
    if (std::get<1>(GetParam())) {
      if (!SpaceGroupTableLoaded())
        GTEST_SKIP() << "space-group tables not generated";
      cell.setSpgNumber(group->number, group->setting);
      cell.createSymmetryOP();
      ASSERT_EQ(cell.spgNumber, group->number);
      ASSERT_EQ(cell.symOp.size(), group->ops.size());
      ASSERT_EQ(cell.centric != 0, group->centric);
      ops = &cell.symOp;
    }
    for (const ReferenceReflection& r : group->reflections)
      list.add(new StructureFactor(r.h));
    nAbsent = StructureFactor::ExpandReflectionList(list, absent, *ops, group->reciprocal, 3,
                                                    group->centric ? 0 : 1);
  }

  const ReferenceGroup* group = nullptr;
  UnitCell cell;
  ObjVector<StructureFactor> list, absent;
  int nAbsent = 0;
};

TEST_P(ExpandAgainstCctbx, AbsencesAreCountedAndKeptInBothLists) {
  int expected = 0;
  for (const ReferenceReflection& r : group->reflections)
    expected += r.absent;
  EXPECT_EQ(nAbsent, expected);
  EXPECT_EQ(absent.size(), expected);
  EXPECT_EQ(list.size(), (int)group->reflections.size());
  int next = 0;
  for (int i = 0; i < list.size(); ++i) {
    const ReferenceReflection& r = group->reflections[i];
    SCOPED_TRACE(testing::Message() << r.h[0] << " " << r.h[1] << " " << r.h[2]);
    if (!r.absent)
      continue;
    ASSERT_LT(next, absent.size());
    EXPECT_EQ(absent[next++], list[i]);
    EXPECT_EQ(list[i]->refCount, 2);
    EXPECT_EQ(list[i]->A, 0.0);
    EXPECT_EQ(list[i]->B, 0.0);
    EXPECT_EQ(list[i]->stabilizerOrder, 1);
    EXPECT_EQ((int)list[i]->hkl.nItems(), r.items);
  }
}

TEST_P(ExpandAgainstCctbx, EquivalentsPhasesAndMultiplicities) {
  const int nSymOp = group->ops.size();
  for (int i = 0; i < list.size(); ++i) {
    const ReferenceReflection& r = group->reflections[i];
    const StructureFactor& sf = *list[i];
    SCOPED_TRACE(testing::Message() << r.h[0] << " " << r.h[1] << " " << r.h[2]);
    EXPECT_NEAR(sf.di, r.di, 1e-12 * r.di);
    ASSERT_EQ((int)sf.hkl.nItems(), r.items);
    ASSERT_EQ(sf.phase.nItems(), sf.hkl.nItems());
    EXPECT_EQ(sf.hkl.item(0)[0], r.h[0]);
    EXPECT_EQ(sf.hkl.item(0)[1], r.h[1]);
    EXPECT_EQ(sf.hkl.item(0)[2], r.h[2]);
    if (r.absent)
      continue;
    EXPECT_EQ(sf.stabilizerOrder, r.stabilizer);
    // The report's multiplicity counts operators, not Friedel mates.
    int fromSymmetry = 0;
    for (size_t j = 0; j < sf.hkl.nItems(); ++j) {
      const int* h = sf.hkl.item(j);
      const double p = sf.phase.item(j)[0];
      const double sign = sf.phase.item(j)[1];
      auto found = r.equivalents.find(Triple(h[0], h[1], h[2]));
      ASSERT_NE(found, r.equivalents.end()) << "item " << h[0] << " " << h[1] << " " << h[2];
      EXPECT_EQ(sign, found->second.sign);
      EXPECT_LT(phaseDistance(p, found->second.phase), 1e-9);
      if (sign > 0) {
        ++fromSymmetry;
        EXPECT_GE(p, 0.0);
        EXPECT_LT(p, 1.0);
      } else {
        EXPECT_GT(p, -1.0);
        EXPECT_LE(p, 0.0);
      }
    }
    EXPECT_EQ(nSymOp / sf.stabilizerOrder, fromSymmetry);
  }
}

TEST_P(ExpandAgainstCctbx, FriedelMatesOnlyWithoutInversion) {
  // Absent reflections hold raw sums instead of phase pairs.
  int mates = 0;
  for (int i = 0; i < list.size(); ++i)
    for (size_t j = 0; j < list[i]->phase.nItems() && !group->reflections[i].absent; ++j)
      mates += list[i]->phase.item(j)[1] < 0;
  if (group->centric) {
    EXPECT_EQ(mates, 0);
  } else {
    EXPECT_GT(mates, 0);
  }
}

INSTANTIATE_TEST_SUITE_P(
    SpaceGroups, ExpandAgainstCctbx,
    ::testing::Combine(::testing::Values("P121/c1", "P63mc", "P3221", "Fd-3m:2", "R3c:H"),
                       ::testing::Bool()),
    [](const ::testing::TestParamInfo<std::tuple<std::string, bool>>& info) {
      std::string name;
      for (char c : std::get<0>(info.param))
        name += std::isalnum((unsigned char)c) ? c : '_';
      return name + (std::get<1>(info.param) ? "_programTables" : "_cctbxOperators");
    });

}  // namespace
