// Expansion of the asymmetric unit over the cell, and interpolation in it.
#include "map/CellDensity.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "map/MapError.h"

namespace {

// a mod n in [0, n), also for negative a.
int Wrap(long long a, int n) {
    const long long r = a % n;
    return static_cast<int>(r < 0 ? r + n : r);
}

// Small integer elements and a determinant of +-1: the rotations that map the
// grid onto itself.
bool IsLatticeRotation(const std::array<int, 9>& r) {
    for (int e : r)
        if (e < -3 || e > 3) return false;
    const int det = r[0] * (r[4] * r[8] - r[7] * r[5]) - r[3] * (r[1] * r[8] - r[7] * r[2]) +
                    r[6] * (r[1] * r[5] - r[4] * r[2]);
    return det == 1 || det == -1;
}

std::vector<GridOperator> ReadOperators(const PgridContent& file) {
    std::vector<GridOperator> ops;
    if (file.header.gridType == 0) {
        ops.push_back({{1, 0, 0, 0, 1, 0, 0, 0, 1}, {0, 0, 0}});
        return ops;
    }
    for (int n = 0; n < file.nOperators(); ++n) {
        const int32_t* w = &file.operators[12 * n];
        GridOperator op;
        for (int i = 0; i < 9; ++i) op.rot[i] = w[i];
        for (int i = 0; i < 3; ++i) op.shift[i] = w[9 + i];
        if (!IsLatticeRotation(op.rot))
            throw MapError("operator " + std::to_string(n + 1) + " is not a rotation");
        ops.push_back(op);
    }
    return ops;
}

// The cell index of a record: its position in a whole-cell file, or its stored
// index, whose strides are those of a grid one larger in every direction.
int RecordPoint(const PgridContent& file, const CellDensity& d, int record) {
    if (file.header.gridType == 0) return record;
    const int32_t index = file.index[record];
    const int nx = d.gridSize[0] + 1, ny = d.gridSize[1] + 1;
    const int x = index % nx, y = index / nx % ny, z = index / nx / ny;
    if (index < 0 || x >= d.gridSize[0] || y >= d.gridSize[1] || z >= d.gridSize[2])
        throw MapError("voxel " + std::to_string(record + 1) + " has index " + std::to_string(index) +
                       " outside the grid");
    return d.Index(x, y, z);
}

}  // namespace

double CellDensity::Volume() const {
    const double deg = std::acos(-1.0) / 180.0;
    const double ca = std::cos(cell[3] * deg), cb = std::cos(cell[4] * deg), cg = std::cos(cell[5] * deg);
    return cell[0] * cell[1] * cell[2] *
           std::sqrt(std::max(0.0, 1 - ca * ca - cb * cb - cg * cg + 2 * ca * cb * cg));
}

std::vector<float> CellDensity::Values(Channel channel) const {
    if (channel == Channel::Positive) return positive;
    if (channel == Channel::Negative) return negative;
    std::vector<float> sum(positive);
    for (size_t i = 0; i < sum.size(); ++i) sum[i] += negative[i];
    return sum;
}

int CellDensity::Image(const GridOperator& op, int index) const {
    const int p[3] = {index % gridSize[0], index / gridSize[0] % gridSize[1],
                      index / gridSize[0] / gridSize[1]};
    int q[3];
    for (int i = 0; i < 3; ++i) {
        long long s = op.shift[i];
        for (int j = 0; j < 3; ++j) s += static_cast<long long>(op.rot[3 * j + i]) * p[j];
        q[i] = Wrap(s, gridSize[i]);
    }
    return Index(q[0], q[1], q[2]);
}

CellDensity ExpandToCell(const PgridContent& file) {
    const PgridHeader& h = file.header;
    CellDensity d;
    d.title.assign(h.title, strnlen(h.title, sizeof h.title));
    for (char& c : d.title)
        if (static_cast<unsigned char>(c) < 32) c = ' ';
    for (int i = 0; i < 3; ++i) d.gridSize[i] = h.gridSize[i];
    for (int i = 0; i < 6; ++i) d.cell[i] = h.cell[i];
    d.nChannel = h.nChannel;
    d.operators = ReadOperators(file);
    if (!(d.Volume() > 1e-3)) throw MapError("the cell constants give no volume");
    if (h.gridType == 0 && h.nAsym != d.nPoints())
        throw MapError("a file without operators must hold every grid point");

    d.positive.assign(d.nPoints(), 0.0f);
    d.negative.assign(d.nPoints(), 0.0f);
    std::vector<char> filled(d.nPoints(), 0);
    for (int r = 0; r < file.nRecords(); ++r) {
        const int point = RecordPoint(file, d, r);
        d.asymmetricUnit.push_back(point);
        const float plus = file.values[r * h.nChannel];
        const float minus = h.nChannel == 2 ? file.values[r * h.nChannel + 1] : 0.0f;
        for (const GridOperator& op : d.operators) {
            const int image = d.Image(op, point);
            d.positive[image] = plus;
            d.negative[image] = minus;
            filled[image] = 1;
        }
    }
    long empty = 0;
    for (char f : filled) empty += !f;
    if (empty > 0)
        throw MapError("the operators leave " + std::to_string(empty) + " of " + std::to_string(d.nPoints()) +
                       " grid points empty");
    return d;
}

double SampleAt(const std::vector<float>& values, const std::array<int, 3>& n, const double* frac) {
    int lo[3], hi[3];
    double w[3];
    for (int i = 0; i < 3; ++i) {
        const double g = frac[i] * n[i];
        const double f = std::floor(g);
        w[i] = g - f;
        lo[i] = Wrap(static_cast<long long>(f), n[i]);
        hi[i] = lo[i] + 1 == n[i] ? 0 : lo[i] + 1;
    }
    double sum = 0.0;
    for (int corner = 0; corner < 8; ++corner) {
        double weight = 1.0;
        int p[3];
        for (int i = 0; i < 3; ++i) {
            const bool up = corner >> i & 1;
            p[i] = up ? hi[i] : lo[i];
            weight *= up ? w[i] : 1.0 - w[i];
        }
        sum += weight * values[(static_cast<long>(p[2]) * n[1] + p[1]) * n[0] + p[0]];
    }
    return sum;
}
