// Statistics and peak search over the expanded cell.
#include "map/MapSummary.h"

#include <algorithm>
#include <cmath>
#include <set>

#include "map/MapSymmetry.h"

namespace {

// The value at a grid point displaced by (dx, dy, dz), across the cell's edges.
float Neighbour(const CellDensity& d, const std::vector<float>& v, const int* p, int dx, int dy, int dz) {
    const int n0 = d.gridSize[0], n1 = d.gridSize[1], n2 = d.gridSize[2];
    return v[d.Index((p[0] + dx + n0) % n0, (p[1] + dy + n1) % n1, (p[2] + dz + n2) % n2)];
}

// A maximum is at least as high as its 26 neighbours, a minimum as low.
bool IsExtreme(const CellDensity& d, const std::vector<float>& v, const int* p, float value) {
    const int sign = value > 0 ? 1 : -1;
    for (int dz = -1; dz <= 1; ++dz)
        for (int dy = -1; dy <= 1; ++dy)
            for (int dx = -1; dx <= 1; ++dx)
                if ((dx || dy || dz) && sign * Neighbour(d, v, p, dx, dy, dz) > sign * value) return false;
    return true;
}

// The vertex of the parabola through three neighbours along one axis, in
// voxels from the middle one.
double ParabolaOffset(double before, double at, double after) {
    const double curvature = before - 2 * at + after;
    if (curvature == 0.0) return 0.0;
    return std::clamp(0.5 * (before - after) / curvature, -0.5, 0.5);
}

int Multiplicity(const CellDensity& d, int point) {
    std::set<int> images;
    for (const GridOperator& op : d.operators) images.insert(d.Image(op, point));
    return static_cast<int>(images.size());
}

const char* ChannelName(Channel c) {
    return c == Channel::Positive ? "positive" : c == Channel::Negative ? "negative" : "total";
}

}  // namespace

ChannelStatistics Statistics(const CellDensity& d, const std::vector<float>& values) {
    ChannelStatistics s;
    if (values.empty()) return s;
    const auto range = std::minmax_element(values.begin(), values.end());
    s.minimum = *range.first;
    s.maximum = *range.second;
    double sum = 0.0;
    for (float v : values) sum += v;
    s.mean = sum / values.size();
    s.charge = sum * d.VoxelVolume();
    return s;
}

std::vector<Peak> FindPeaks(const CellDensity& d, const std::vector<float>& v, int count) {
    std::vector<Peak> peaks;
    for (int point : d.asymmetricUnit) {
        const float value = v[point];
        const int p[3] = {point % d.gridSize[0], point / d.gridSize[0] % d.gridSize[1],
                          point / d.gridSize[0] / d.gridSize[1]};
        if (value == 0.0f || !IsExtreme(d, v, p, value)) continue;
        Peak peak;
        for (int i = 0; i < 3; ++i) {
            const int step[3] = {i == 0, i == 1, i == 2};
            const double before = Neighbour(d, v, p, -step[0], -step[1], -step[2]);
            const double after = Neighbour(d, v, p, step[0], step[1], step[2]);
            const double f = (p[i] + ParabolaOffset(before, value, after)) / d.gridSize[i];
            peak.frac[i] = f < 0 ? f + 1 : f;
        }
        peak.value = value;
        peak.multiplicity = Multiplicity(d, point);
        peaks.push_back(peak);
    }
    std::stable_sort(peaks.begin(), peaks.end(),
                     [](const Peak& a, const Peak& b) { return std::fabs(a.value) > std::fabs(b.value); });
    if (static_cast<int>(peaks.size()) > count) peaks.resize(std::max(count, 0));
    return peaks;
}

void PrintSummary(FILE* out, const std::string& path, const CellDensity& d, Channel peakChannel, int nPeaks) {
    const gemmi::SpaceGroup* sg = FindSpaceGroup(d);
    fprintf(out, "Density grid:  %s\n", path.c_str());
    fprintf(out, "Title:         %s\n", d.title.c_str());
    fprintf(out, "Cell:          %.4f %.4f %.4f  %.3f %.3f %.3f  (volume %.4f A^3)\n", d.cell[0], d.cell[1],
            d.cell[2], d.cell[3], d.cell[4], d.cell[5], d.Volume());
    fprintf(out, "Grid:          %d x %d x %d = %ld points, %zu in the asymmetric unit\n", d.gridSize[0],
            d.gridSize[1], d.gridSize[2], d.nPoints(), d.asymmetricUnit.size());
    const size_t nOps = d.operators.size();
    fprintf(out, "Symmetry:      %zu operator%s, ", nOps, nOps == 1 ? "" : "s");
    if (sg)
        fprintf(out, "space group %s (%d)\n", sg->hm, sg->number);
    else
        fprintf(out, "not a tabulated space-group setting\n");

    fprintf(out, "\n%-10s %14s %14s %14s %14s\n", "Channel", "minimum", "maximum", "mean", "total charge");
    std::vector<Channel> shown = {Channel::Total};
    if (d.nChannel == 2) shown = {Channel::Positive, Channel::Negative, Channel::Total};
    for (Channel c : shown) {
        const ChannelStatistics s = Statistics(d, d.Values(c));
        fprintf(out, "%-10s %14.6g %14.6g %14.6g %14.6g\n", ChannelName(c), s.minimum, s.maximum, s.mean,
                s.charge);
    }
    fprintf(out, "(densities per A^3; the total charge is the density integrated over the cell)\n");

    const std::vector<Peak> peaks = FindPeaks(d, d.Values(peakChannel), nPeaks);
    if (peaks.empty()) return;
    fprintf(out, "\nPeaks of the %s density, largest magnitude first:\n", ChannelName(peakChannel));
    fprintf(out, "%4s %9s %9s %9s %14s %6s\n", "#", "x", "y", "z", "density", "mult");
    for (size_t i = 0; i < peaks.size(); ++i) {
        const Peak& p = peaks[i];
        fprintf(out, "%4zu %9.5f %9.5f %9.5f %14.6g %6d\n", i + 1, p.frac[0], p.frac[1], p.frac[2], p.value,
                p.multiplicity);
    }
}
