// A plane through the cell: its lattice directions, its extent and the points on it.
#pragma once

#include <array>
#include <string>

#include "map/CellDensity.h"

// The lattice plane h x + k y + l z = offset (x, y, z fractional).
struct PlaneChoice {
    std::array<int, 3> hkl{0, 0, 1};
    double offset = 0.0;
};

// Miller indices as "h,k,l", "h k l" or three digits such as "1-10" or "110",
// or one of the cell faces "ab", "bc", "ca". Throws MapError for anything else.
std::array<int, 3> ParsePlane(const std::string& text);

// A section spans one cell of the plane's own lattice: the two shortest
// independent lattice vectors u and v in the plane. Plane coordinates (X, Y)
// are in angstrom, X along u and Y perpendicular to it, in the plane, towards v.
struct Section {
    PlaneChoice plane;
    std::array<int, 3> u{}, v{};
    std::array<double, 3> origin{};                 // fractional point of the plane at (0, 0)
    double uLength = 0;                             // |u| in angstrom
    std::array<double, 2> vPlane{};                 // v in plane coordinates
    double xMin = 0, xMax = 0, yMin = 0, yMax = 0;  // bounding box of the plane cell
    std::array<double, 3> e1{}, e2{};               // Cartesian unit vectors of X and Y
    std::array<double, 9> orth{}, frac{};           // fractional to Cartesian and back, by rows

    // Fractional coordinates of the point at plane coordinates (X, Y).
    std::array<double, 3> Fractional(double x, double y) const;
};

// Throws MapError for the plane (0 0 0).
Section MakeSection(const CellDensity& density, const PlaneChoice& plane);
