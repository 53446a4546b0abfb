// Geometry of a lattice plane: a reduced basis of its lattice and the map from the plane into the cell.
#include "map/Section.h"

#include <gemmi/unitcell.hpp>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <sstream>
#include <vector>

#include "map/MapError.h"

namespace {

using Vec = std::array<double, 3>;

Vec Apply(const std::array<double, 9>& m, const Vec& v) {
    return {m[0] * v[0] + m[1] * v[1] + m[2] * v[2], m[3] * v[0] + m[4] * v[1] + m[5] * v[2],
            m[6] * v[0] + m[7] * v[1] + m[8] * v[2]};
}
double Dot(const Vec& a, const Vec& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
Vec Cross(const Vec& a, const Vec& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
Vec ToVec(const std::array<int, 3>& w) { return {double(w[0]), double(w[1]), double(w[2])}; }

// Lattice vectors in the plane through the origin, shortest first. Small
// components first, and positive before negative, so that ties keep the
// familiar choices: a before b, and b rather than a + b on a hexagonal face.
std::vector<std::array<int, 3>> InPlaneVectors(const std::array<int, 3>& hkl,
                                               const std::array<double, 9>& orth) {
    const int order[] = {0, 1, -1, 2, -2, 3, -3, 4, -4, 5, -5, 6, -6};
    std::vector<std::array<int, 3>> found;
    for (int z : order)
        for (int y : order)
            for (int x : order)
                if ((x || y || z) && hkl[0] * x + hkl[1] * y + hkl[2] * z == 0) found.push_back({x, y, z});
    auto length = [&](const std::array<int, 3>& w) {
        const Vec c = Apply(orth, ToVec(w));
        return std::sqrt(Dot(c, c));
    };
    std::stable_sort(found.begin(), found.end(),
                     [&](const auto& a, const auto& b) { return length(a) < length(b) - 1e-6; });
    return found;
}

}  // namespace

std::array<int, 3> ParsePlane(const std::string& text) {
    if (text == "ab" || text == "ba") return {0, 0, 1};
    if (text == "bc" || text == "cb") return {1, 0, 0};
    if (text == "ca" || text == "ac") return {0, 1, 0};
    std::string spaced;
    for (char c : text) spaced += c == ',' ? ' ' : c;
    std::istringstream in(spaced);
    std::array<int, 3> hkl{};
    std::string rest;
    if (in >> hkl[0] >> hkl[1] >> hkl[2] && !(in >> rest) && std::abs(hkl[0]) < 100 &&
        std::abs(hkl[1]) < 100 && std::abs(hkl[2]) < 100)
        return hkl;
    // Three single digits, each perhaps with a minus sign.
    int n = 0;
    bool digits = true;
    for (size_t i = 0; i < text.size() && digits; ++i) {
        int sign = 1;
        if (text[i] == '-' && i + 1 < text.size()) sign = -1, ++i;
        digits = isdigit(static_cast<unsigned char>(text[i])) && n < 3;
        if (digits) hkl[n++] = sign * (text[i] - '0');
    }
    if (digits && n == 3) return hkl;
    throw MapError("unknown plane '" + text + "' (give h,k,l or one of ab, bc, ca)");
}

std::array<double, 3> Section::Fractional(double x, double y) const {
    Vec cart = Apply(orth, origin);
    for (int i = 0; i < 3; ++i) cart[i] += x * e1[i] + y * e2[i];
    return Apply(frac, cart);
}

Section MakeSection(const CellDensity& d, const PlaneChoice& plane) {
    const std::array<int, 3>& h = plane.hkl;
    if (h[0] == 0 && h[1] == 0 && h[2] == 0) throw MapError("unknown plane (0 0 0)");
    Section s;
    s.plane = plane;
    const gemmi::UnitCell cell(d.cell[0], d.cell[1], d.cell[2], d.cell[3], d.cell[4], d.cell[5]);
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            s.orth[3 * i + j] = cell.orth.mat.a[i][j];
            s.frac[3 * i + j] = cell.frac.mat.a[i][j];
        }

    const auto candidates = InPlaneVectors(h, s.orth);
    if (candidates.empty()) throw MapError("plane indices too large");
    s.u = candidates.front();
    const Vec uc = Apply(s.orth, ToVec(s.u));
    for (const auto& w : candidates) {
        const Vec c = Cross(uc, Apply(s.orth, ToVec(w)));
        if (Dot(c, c) > 1e-12) {
            s.v = w;
            break;
        }
    }
    if (s.v == std::array<int, 3>{}) throw MapError("plane indices too large");

    // The point of the plane nearest to the origin in index space.
    const double hh = Dot(ToVec(h), ToVec(h));
    for (int i = 0; i < 3; ++i) s.origin[i] = plane.offset * h[i] / hh;

    s.uLength = std::sqrt(Dot(uc, uc));
    const Vec vc = Apply(s.orth, ToVec(s.v));
    for (int i = 0; i < 3; ++i) s.e1[i] = uc[i] / s.uLength;
    const double along = Dot(vc, s.e1);
    Vec across;
    for (int i = 0; i < 3; ++i) across[i] = vc[i] - along * s.e1[i];
    const double height = std::sqrt(Dot(across, across));
    for (int i = 0; i < 3; ++i) s.e2[i] = across[i] / height;
    s.vPlane = {along, height};
    s.xMin = std::min(0.0, along);
    s.xMax = std::max(s.uLength, s.uLength + along);
    s.yMin = 0.0;
    s.yMax = height;
    return s;
}
