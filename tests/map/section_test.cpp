// Planes named on the command line, and the sections they give in oblique and hexagonal cells.
#include <gtest/gtest.h>

#include <cmath>

#include "map/MapError.h"
#include "map/Section.h"

namespace {

TEST(ParsePlane, AcceptsMillerIndicesAndCellFaces) {
    const struct {
        const char* text;
        std::array<int, 3> hkl;
    } cases[] = {{"ab", {0, 0, 1}},        {"bc", {1, 0, 0}},      {"ca", {0, 1, 0}},
                 {"1,1,0", {1, 1, 0}},     {"1 -1 2", {1, -1, 2}}, {"1-10", {1, -1, 0}},
                 {"-1-1-1", {-1, -1, -1}}, {"12,0,3", {12, 0, 3}}};
    for (const auto& c : cases) EXPECT_EQ(ParsePlane(c.text), c.hkl) << c.text;
    for (const char* bad : {"", "xy", "1,2", "1,2,3,4", "1-1", "1--10", "1,2,x", "0-"})
        EXPECT_THROW(ParsePlane(bad), MapError) << bad;
}

CellDensity Cell(double a, double b, double c, double alpha, double beta, double gamma) {
    CellDensity d;
    d.cell = {a, b, c, alpha, beta, gamma};
    return d;
}

// Every point of a section lies on its plane, the section's axes are lattice
// vectors of the plane, and the rectangle spanned in the plane has the area of
// the plane's lattice cell: the cell volume times |h*| over gcd-free indices.
TEST(MakeSection, SpansOneCellOfThePlaneLattice) {
    const struct {
        CellDensity cell;
        PlaneChoice plane;
        std::array<int, 3> u, v;
    } cases[] = {
        {Cell(3.25, 3.25, 5.21, 90, 90, 120), {{0, 0, 1}, 0.0}, {1, 0, 0}, {0, 1, 0}},
        {Cell(4.59, 4.59, 2.96, 90, 90, 90), {{1, 1, 0}, 0.5}, {0, 0, 1}, {-1, 1, 0}},
        {Cell(5.0, 6.0, 7.0, 80, 95, 105), {{1, -1, 2}, 1.0}, {}, {}},
    };
    for (const auto& c : cases) {
        const Section s = MakeSection(c.cell, c.plane);
        const auto& h = c.plane.hkl;
        if (c.u != std::array<int, 3>{}) {
            EXPECT_EQ(s.u, c.u);
            EXPECT_EQ(s.v, c.v);
        }
        EXPECT_EQ(h[0] * s.u[0] + h[1] * s.u[1] + h[2] * s.u[2], 0);
        EXPECT_EQ(h[0] * s.v[0] + h[1] * s.v[1] + h[2] * s.v[2], 0);
        for (double x : {s.xMin, 1.3, s.xMax})
            for (double y : {s.yMin, 0.7, s.yMax}) {
                const auto f = s.Fractional(x, y);
                EXPECT_NEAR(h[0] * f[0] + h[1] * f[1] + h[2] * f[2], c.plane.offset, 1e-9);
            }
        // The plane cell's area is V |h*| for primitive indices, |h*| = 1 / d(hkl).
        const double deg = std::acos(-1.0) / 180;
        const double* p = c.cell.cell.data();
        const double ca = std::cos(p[3] * deg), cb = std::cos(p[4] * deg), cg = std::cos(p[5] * deg);
        const double sa = std::sin(p[3] * deg), sb = std::sin(p[4] * deg), sg = std::sin(p[5] * deg);
        const double V = c.cell.Volume();
        // Reciprocal metric from the direct cell, written out independently of the code's matrices.
        const double as = p[1] * p[2] * sa / V, bs = p[0] * p[2] * sb / V, cs = p[0] * p[1] * sg / V;
        const double cas = (cb * cg - ca) / (sb * sg), cbs = (ca * cg - cb) / (sa * sg),
                     cgs = (ca * cb - cg) / (sa * sb);
        const double hstar2 = h[0] * h[0] * as * as + h[1] * h[1] * bs * bs + h[2] * h[2] * cs * cs +
                              2 * h[1] * h[2] * bs * cs * cas + 2 * h[0] * h[2] * as * cs * cbs +
                              2 * h[0] * h[1] * as * bs * cgs;
        EXPECT_NEAR(s.uLength * s.vPlane[1], V * std::sqrt(hstar2), 1e-9 * V);
    }
}

}  // namespace
