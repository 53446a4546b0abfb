// The density of the whole unit cell, expanded from the asymmetric unit of a grid file.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "map/PgridContent.h"

// Which values of a voxel a map shows: the positive channel, the negative
// one, or their sum. A one-channel file has the same values for all three,
// except that its negative channel is zero.
enum class Channel { Positive, Negative, Total };

// An operator on grid points: x'_i = sum_j rot[3 j + i] x_j + shift[i], taken
// modulo the grid.
struct GridOperator {
    std::array<int, 9> rot;
    std::array<int, 3> shift;
};

struct CellDensity {
    std::string title;
    std::array<int, 3> gridSize{};
    std::array<double, 6> cell{};  // a, b, c in angstrom, angles in degrees
    int nChannel = 1;
    std::vector<GridOperator> operators;    // the identity alone for a gridType 0 file
    std::vector<int> asymmetricUnit;        // cell index of every record of the file
    std::vector<float> positive, negative;  // per cubic angstrom, x fastest, then y, then z

    long nPoints() const { return static_cast<long>(gridSize[0]) * gridSize[1] * gridSize[2]; }
    int Index(int x, int y, int z) const { return (z * gridSize[1] + y) * gridSize[0] + x; }
    double Volume() const;
    double VoxelVolume() const { return Volume() / nPoints(); }

    // The values of one channel over the cell.
    std::vector<float> Values(Channel channel) const;
    // The cell index of the image of point `index` under `op`.
    int Image(const GridOperator& op, int index) const;
};

// Places every record of the file on all its symmetry images. Records whose
// index lies outside the grid, and operators that leave grid points empty,
// throw MapError.
CellDensity ExpandToCell(const PgridContent& file);

// Periodic trilinear interpolation at a point in fractional coordinates.
double SampleAt(const std::vector<float>& values, const std::array<int, 3>& gridSize, const double* frac);
