#include "engine/outputs/EpsHistogram.h"

#include <algorithm>
#include <cmath>

#include "util/IO.h"
#include "engine/outputs/AtomicFile.h"

namespace {

// Residuals beyond 1e5 sigma only come from broken uncertainties (a
// hand-edited sigma of 1e-12, say). They are counted in the outermost bins so
// that one such line cannot ask for billions of bins. The limit lies far above
// what real data give: a precise data set at cycle 0, or after a few cycles,
// easily has residuals of some thousand sigma, and those keep their own bins.
constexpr float kEpsLimit = 1.0e5f;

float Clamped(float e) { return std::min(std::max(e, -kEpsLimit), kEpsLimit); }

// The bin of a residual: its value times ten, rounded half up.
int BinLabel(float e) { return static_cast<int>(std::floor(static_cast<double>(e * 10.0f) + 0.5)); }

}  // namespace

void BuildEpsHistogram(const float* eps, int n, std::vector<int>& histogram) {
    double epsMin = 1000.0, epsMax = -1000.0;
    for (int i = 0; i < n; ++i) {
        if (!std::isfinite(eps[i])) continue;
        float e = Clamped(eps[i]);
        epsMin = std::min(epsMin, static_cast<double>(e));
        epsMax = std::max(epsMax, static_cast<double>(e));
    }
    int lo = static_cast<int>(std::floor(10.0 * epsMin + 0.5));
    int hi = static_cast<int>(std::floor(10.0 * epsMax + 0.5));
    int nBins = hi + 2 - (lo - 1);
    if (nBins <= 0) return;

    histogram.assign(2 * static_cast<size_t>(nBins), 0);
    for (int j = 0; j < nBins; ++j) histogram[2 * j] = lo - 1 + j;
    for (int i = 0; i < n; ++i) {
        if (!std::isfinite(eps[i])) continue;
        // The label is rounded from the float product, the range from the
        // double one; the empty end bins absorb the difference of one.
        int bin = BinLabel(Clamped(eps[i])) - lo + 1;
        if (bin >= 0 && bin < nBins) histogram[2 * bin + 1] += 1;
    }
}

int WriteEpsHistogram(const std::string& path, const std::vector<int>& histogram) {
    AtomicFile file(path, "w");
    if (file.isOpen()) {
        for (size_t j = 0; j + 1 < histogram.size(); j += 2)
            fprintf(file.stream(), "%.1f, %d\n", histogram[j] / 10.0, histogram[j + 1]);
        if (file.Commit()) return 0;
    }
    IO::PrintError("Failed to write %s\n", path.c_str());
    return 1;
}
