// The route that generates unobserved reflections: the list against an
// independent enumeration, and the element table against its source.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include "crystal/Element.h"
#include "engine/analysis_fixture.h"
#include "engine/readers/ReadAlb.h"

namespace {

const std::string kReaderData = std::string(HALVORIN_TEST_DATA) + "/readers/";

// Reads an .alb control file and its data, or a .mep data set, as the driver does.
bool ReadRoute(MEMData3D& d, const std::string& path) {
    if (path.compare(path.size() - 4, 4, ".alb") != 0) return ReadQuietly(d, path, 8);
    LoadTablesOnce();
    CapturedOutput quiet;
    ReadAlb(d, path);  // a failure shows in the data file that is then missing
    return d.ReadFobs();
}

// 1/d of each reflection by its first indices: reflections of equal 1/d
// stand in an order that depends on the last bits of the cell.
using Run = std::map<std::array<int, 3>, double>;

Run RunOf(const MEMData3D& d, int first, int count) {
    Run run;
    for (int i = first; i < first + count; ++i) {
        const int* h = d.reflections[i]->hkl.item(0);
        run[{h[0], h[1], h[2]}] = d.reflections[i]->di;
        EXPECT_TRUE(i == first || d.reflections[i - 1]->di <= d.reflections[i]->di) << i;
    }
    return run;
}

Run ReferenceRun(const std::string& name, int run) {
    std::ifstream in(kReaderData + "hkl0_reference.txt");
    Run rows;
    std::string line, stem;
    int r, h, k, l;
    double di;
    while (std::getline(in, line))
        if (std::istringstream(line) >> stem >> r >> h >> k >> l >> di && stem == name && r == run)
            rows[{h, k, l}] = di;
    return rows;
}

// The same reflections, with 1/d equal but for the single precision of the cell.
void ExpectSameRun(const Run& run, const Run& reference) {
    ASSERT_EQ(run.size(), reference.size());
    for (auto a = run.begin(), b = reference.begin(); a != run.end(); ++a, ++b) {
        ASSERT_EQ(a->first, b->first);
        EXPECT_NEAR(a->second, b->second, 1e-6 * b->second);
    }
}

// Tetragonal, hexagonal and monoclinic.
TEST(GeneratedList, MatchesTheIndependentEnumeration) {
    for (const auto& [name, file] :
         {std::pair{"rutile", "rutile.alb"}, {"zno", "zno.mep"}, {"mono", "mono.mep"}}) {
        SCOPED_TRACE(name);
        TestAnalysis d;
        ASSERT_TRUE(ReadRoute(d, kReaderData + file));
        // The data list no reflections to be calculated only: all of these were generated.
        const int firstAdded = d.nRefUnobs + d.nRefF + d.nRefG;
        ExpectSameRun(RunOf(d, 0, d.nRefUnobs), ReferenceRun(name, 1));
        ExpectSameRun(RunOf(d, firstAdded, d.nRefE), ReferenceRun(name, 4));
        EXPECT_EQ(d.reflections.size(), firstAdded + d.nRefE);
        EXPECT_EQ(d.unitCell.centric, 1);  // the Patterson symmetry
    }
}

TEST(GeneratedListBox, GridOfFourGivesIndicesUpToOne) {
    std::string text = ReadText(kReaderData + "mono.mep");
    text.replace(text.find("14 1 10 12 14"), 13, "14 1 4 4 4");
    ScratchFile file(text, "four.mep");
    TestAnalysis d;
    ASSERT_TRUE(ReadRoute(d, file.path()));
    int largest[3] = {0, 0, 0};
    for (int i = d.nRefUnobs + d.nRefF; i < d.reflections.size(); ++i)
        for (int c = 0; c < 3; ++c)
            largest[c] = std::max(largest[c], std::abs(d.reflections[i]->hkl.item(0)[c]));
    EXPECT_EQ(largest[0] * 100 + largest[1] * 10 + largest[2], 111);
}

double FormFactor(const Element& e, double s) {
    const double a[] = {e.a1, e.a2, e.a3, e.a4, e.a5}, b[] = {e.b1, e.b2, e.b3, e.b4, e.b5};
    double f = e.c;
    for (int i = 0; i < 5; ++i) f += a[i] * std::exp(-b[i] * s * s);
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
    Element e;
    double f0, f05;
    while (std::getline(in, line)) {
        if (!(std::istringstream(line) >> e.symbol >> e.atomicNumber >> f0 >> f05)) continue;
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
    TestAnalysis d;
    LoadTablesOnce();
    CapturedOutput table;
    ASSERT_TRUE(ReadAlb(d, dir.write("rutile.alb", text)));
    ASSERT_EQ(d.elements.size(), 2);
    Element::GetFormFactor(d.elements);
    const std::string zeros =
        "  li:  0.000000   0.000000   0.000000   0.000000   0.000000   0.000000\n"
        "       0.000000   0.000000   0.000000   0.000000   0.000000   0.000000\n";
    EXPECT_EQ(table.text(),
              "         a1         a2         a3         a4         a5         c         \n"
              "         b1         b2         b3         b4         b5         bc        \n" +
                  zeros + zeros + "\n");
}

const std::string kPatterson = std::string(HALVORIN_TEST_DATA) + "/patterson/";

// A LIST 4 .fcf of squared amplitudes is read as they stand, with the same
// values, weights and order as the .mep data set that holds the same numbers.
TEST(PattersonRoute, SquaredColumnsAsTheyStand) {
    TestAnalysis mep, alb;
    ASSERT_TRUE(ReadRoute(mep, kPatterson + "rutile_sq.mep"));
    ASSERT_TRUE(ReadRoute(alb, kPatterson + "rutile_sq.alb"));
    ASSERT_EQ(alb.nRefF, mep.nRefF);
    EXPECT_EQ(alb.nRefUnobs, mep.nRefUnobs);
    EXPECT_EQ(alb.targetMoment[0], 5776.0);
    for (int i = 0; i < mep.nRefF; ++i) {
        EXPECT_EQ(alb.FobsRe[i], mep.FobsRe[i]) << i;
        EXPECT_EQ(alb.FobsIm[i], 0.0) << i;
        EXPECT_EQ(alb.weightF[i], mep.weightF[i]) << i;
    }
    EXPECT_EQ(alb.gridSize[0] * 100 + alb.gridSize[2], 2012);  // the control file's grid
}

// F columns are squared with su 2 |F| su(F), and the file's own F(000) is
// squared; a row below three su is listed with its square and su.
TEST(PattersonRoute, MagnitudeColumnsAreSquared) {
    std::string fcf = ReadText(kPatterson + "rutile_sq.fcf");
    fcf = fcf.substr(0, fcf.find(" _refln_F_squared_calc")) +
          "_refln_F_calc\n_refln_F_meas\n_refln_F_sigma\n_refln_observed_status\n"
          "   1   1   0  37.5  37.0  0.5 o\n   2   0   0  14.0  -2.0  0.5 o\n"
          "data_more\n_exptl_crystal_F_000 76\n";
    std::string alb = ReadText(kPatterson + "rutile_sq.alb");
    alb.replace(alb.find("0 5776.0000 0"), 13, "0 0 0");
    TempDir dir;
    dir.write("f.fcf", fcf);
    alb.replace(alb.find("rutile_sq.fcf"), 13, "f.fcf");
    TestAnalysis d;
    ASSERT_TRUE(ReadRoute(d, dir.write("f.alb", alb)));
    EXPECT_EQ(d.targetMoment[0], 76.0 * 76.0);
    ASSERT_EQ(d.nRefF, 1);
    EXPECT_EQ(d.FobsRe[0], 37.0 * 37.0);
    EXPECT_DOUBLE_EQ(d.weightF[0], 1.0 / (37.0 * 37.0));  // su 2 x 37 x 0.5
    ASSERT_EQ(d.refFobsRe.size(), 1u);
    EXPECT_EQ(d.refFobsRe[0], 4.0);
    EXPECT_EQ(d.refFobsSigma[0], 2.0);
}

// Data equivalents carry no translation phase in the route; the forbidden
// reflections stand first, held at zero without shifts.
TEST(PattersonRoute, EquivalentsWithoutTranslationPhases) {
    TestAnalysis d;
    ASSERT_TRUE(ReadRoute(d, kPatterson + "rutile_sq.mep"));
    ASSERT_GT(d.nRefUnobs, 0);
    for (int i = 0; i < d.reflections.size(); ++i) {
        const StructureFactor& f = *d.reflections[i];
        for (std::size_t j = 0; j < f.phase.nItems(); ++j) ASSERT_EQ(f.phase.item(j)[0], 0.0) << i;
    }
}

// A control file whose reflection list is missing is a refusal.
TEST(AlbRoute, MissingListIsRefused) {
    TempDir dir;
    TestAnalysis d;
    EXPECT_FALSE(ReadRoute(d, dir.write("rutile.alb", ReadText(kReaderData + "rutile.alb"))));
}

}  // namespace
