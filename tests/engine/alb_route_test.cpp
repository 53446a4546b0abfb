// The route that generates unobserved reflections: the list against an
// independent enumeration, the element table against its source, and damaged
// control files.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "core/Element.h"
#include "readmem_support.h"
#include "zspa_fixture.h"

namespace {

const std::string kReaderData = std::string(HALVORIN_TEST_DATA) + "/readers/";

// Reads an .alb control file and its data, or a .mep data set, as the driver does.
bool ReadRoute(MEMData3D& d, const std::string& path) {
  LoadTablesOnce();
  CapturedOutput quiet;
  if (path.size() > 4 && path.compare(path.size() - 4, 4, ".alb") == 0) {
    if (!d.ReadAlb(path))
      return false;
  } else {
    d.param.fileType = 8;
    d.param.dataFile = path;
    d.param.SetFileNames();
  }
  return d.ReadFobs();
}

// The indices of a run of records, each with its 1/d, in index order: the
// order of reflections of equal 1/d depends on the last bits of the cell.
using Run = std::map<std::array<int, 3>, double>;

Run RunOf(const MEMData3D& d, int first, int count) {
  Run run;
  for (int i = first; i < first + count; ++i) {
    const StructureFactor& r = *d.reflections[i];
    const int* h = r.hkl.item(0);
    run[{h[0], h[1], h[2]}] = r.di;
    if (i > first) {
      EXPECT_LE(d.reflections[i - 1]->di, r.di) << "not ascending in 1/d at " << i;
    }
  }
  return run;
}

Run ReferenceRun(const std::string& name, int run) {
  std::ifstream in(kReaderData + "hkl0_reference.txt");
  Run rows;
  std::string line, stem;
  while (std::getline(in, line)) {
    std::istringstream words(line);
    int r, h[3];
    double di;
    if (words >> stem >> r >> h[0] >> h[1] >> h[2] >> di && stem == name && r == run)
      rows[{h[0], h[1], h[2]}] = di;
  }
  return rows;
}

// Same reflections; 1/d equal but for the single precision of the cell.
void ExpectSameRun(const Run& run, const Run& reference) {
  ASSERT_EQ(run.size(), reference.size());
  for (auto a = run.begin(), b = reference.begin(); a != run.end(); ++a, ++b) {
    ASSERT_EQ(a->first, b->first);
    EXPECT_NEAR(a->second, b->second, 1e-6 * b->second);
  }
}

class GeneratedList : public ::testing::TestWithParam<std::pair<std::string, std::string>> {};

TEST_P(GeneratedList, MatchesTheIndependentEnumeration) {
  const std::string name = GetParam().first;
  TestAnalysis d;
  ASSERT_TRUE(ReadRoute(d, kReaderData + GetParam().second));
  // The data sets list no reflections to be calculated only, so every record
  // after the groups was generated.
  const int firstAdded = d.nRefUnobs + d.nRefF + d.nRefG;
  ExpectSameRun(RunOf(d, 0, d.nRefUnobs), ReferenceRun(name, 1));
  ExpectSameRun(RunOf(d, firstAdded, d.nRefE), ReferenceRun(name, 4));
  EXPECT_EQ(d.reflections.size(), firstAdded + d.nRefE);
  EXPECT_EQ(d.refFobsRe.size(), 0u);
  // The analysis itself runs in the Patterson symmetry, which is centrosymmetric.
  EXPECT_EQ(d.unitCell.centric, 1);
}

INSTANTIATE_TEST_SUITE_P(
    TetragonalHexagonalMonoclinic, GeneratedList,
    ::testing::Values(std::make_pair("rutile", "rutile.alb"), std::make_pair("zno", "zno.mep"),
                      std::make_pair("mono", "mono.mep")),
    [](const auto& info) { return info.param.first; });

TEST(GeneratedListBox, GridOfFourGivesIndicesUpToOne) {
  std::string text = ReadText(kReaderData + "mono.mep");
  text.replace(text.find("14 1 10 12 14"), 13, "14 1 4 4 4");
  ScratchFile file(text, "four.mep");
  TestAnalysis d;
  ASSERT_TRUE(ReadRoute(d, file.path()));
  int largest[3] = {0, 0, 0};
  for (int i = 0; i < d.reflections.size(); ++i)
    if (i < d.nRefUnobs || i >= d.nRefUnobs + d.nRefF)
      for (int c = 0; c < 3; ++c)
        largest[c] = std::max(largest[c], std::abs(d.reflections[i]->hkl.item(0)[c]));
  EXPECT_EQ(largest[0], 1);
  EXPECT_EQ(largest[1], 1);
  EXPECT_EQ(largest[2], 1);
}

double FormFactor(const Element& e, double s) {
  const double a[] = {e.a1, e.a2, e.a3, e.a4, e.a5}, b[] = {e.b1, e.b2, e.b3, e.b4, e.b5};
  double f = e.c;
  for (int i = 0; i < 5; ++i)
    f += a[i] * std::exp(-b[i] * s * s);
  return f;
}

TEST(ElementTable, FormFactorsAgreeWithTheirSourceForEveryElement) {
  LoadTablesOnce();
  CapturedOutput quiet;
  Element::dPar.clear();
  ASSERT_TRUE(Element::loadDefPar());
  FILE* asfdc = std::fopen((progvar + "asfdc").c_str(), "r");
  ASSERT_NE(asfdc, nullptr);
  std::ifstream in(kReaderData + "form_factors.txt");
  std::string line;
  int checked = 0;
  while (std::getline(in, line)) {
    std::istringstream words(line);
    Element e;
    double f0, f05;
    if (!(words >> e.symbol >> e.atomicNumber >> f0 >> f05))
      continue;
    SCOPED_TRACE(e.symbol);
    int listed = 0;
    for (const ElementData* row : Element::dPar)
      listed += row->atomicNumber == e.atomicNumber && std::string(row->symbol) == e.symbol;
    EXPECT_EQ(listed, 1);
    EXPECT_EQ(e.SetFormFactor(asfdc), 0);
    EXPECT_NEAR(FormFactor(e, 0.0), f0, 2e-5 * f0);
    EXPECT_NEAR(FormFactor(e, 0.5), f05, 2e-5 * f0);
    ++checked;
  }
  std::fclose(asfdc);
  EXPECT_GT(checked, 90);
}

TEST(ElementTable, AlbElementsAreListedAsLiWithZeros) {
  std::string text = ReadText(kReaderData + "rutile.alb");
  text.replace(text.find("\n0\n0 5776"), 9, "\n2\nTi 2\nO 4\n0 5776");
  TempDir dir;
  const std::string alb = dir.write("rutile.alb", text);
  dir.write("rutile_p.ffo", ReadText(kReaderData + "rutile_p.ffo"));
  TestAnalysis d;
  LoadTablesOnce();
  CapturedOutput table;
  ASSERT_TRUE(d.ReadAlb(alb));
  ASSERT_EQ(d.elements.size(), 2);
  Element::GetFormFactor(d.elements);
  const std::string zeros = "  li:  0.000000   0.000000   0.000000   0.000000   0.000000   0.000000\n"
                            "       0.000000   0.000000   0.000000   0.000000   0.000000   0.000000\n";
  EXPECT_EQ(table.text(),
            "         a1         a2         a3         a4         a5         c         \n"
            "         b1         b2         b3         b4         b5         bc        \n" +
                zeros + zeros + "\n");
}

// A control file cut anywhere, or naming a data file that is missing or cut
// short: the route reads what there is, or fails, without a fault.
TEST(DamagedControlFiles, EveryTruncationRunsSafely) {
  const std::string alb = ReadText(kReaderData + "rutile.alb");
  const std::string ffo = ReadText(kReaderData + "rutile_p.ffo");
  for (std::size_t cut = 0; cut <= alb.size(); cut += 9) {
    TempDir dir;
    dir.write("rutile_p.ffo", ffo.substr(0, (cut * 37) % ffo.size()));
    const std::string path = dir.write("rutile.alb", alb.substr(0, cut));
    TestAnalysis d;
    const bool read = ReadRoute(d, path);
    EXPECT_EQ(d.reflections.size(), d.nRefUnobs + d.nRefF + d.nRefG + d.nRefE) << cut;
    if (cut == alb.size()) {
      EXPECT_TRUE(read);
    }
  }
  TempDir dir;
  TestAnalysis d;
  EXPECT_FALSE(ReadRoute(d, dir.write("rutile.alb", alb)));  // the list is missing
}

}  // namespace
