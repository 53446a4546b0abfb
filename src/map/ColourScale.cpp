// Colour maps defined by a few anchor colours; between them the channels are interpolated linearly.
#include "map/ColourScale.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

struct Anchor {
    double at;
    double r, g, b;
};

// From near black through violet, red and orange to pale yellow: brightness
// rises steadily, so that the order of densities survives in grey print.
const Anchor kSequential[] = {{0.00, 0.02, 0.02, 0.10},
                              {0.25, 0.30, 0.08, 0.50},
                              {0.50, 0.72, 0.18, 0.42},
                              {0.75, 0.97, 0.50, 0.15},
                              {1.00, 1.00, 0.97, 0.70}};
// Blue for negative densities, white at zero, red for positive ones.
const Anchor kDiverging[] = {{0.00, 0.05, 0.15, 0.55},
                             {0.25, 0.35, 0.55, 0.85},
                             {0.50, 0.97, 0.97, 0.97},
                             {0.75, 0.90, 0.45, 0.30},
                             {1.00, 0.55, 0.03, 0.08}};

template <size_t N>
Rgb Interpolate(const Anchor (&anchors)[N], double t) {
    t = std::clamp(t, 0.0, 1.0);
    size_t k = 1;
    while (k + 1 < N && anchors[k].at < t) ++k;
    const Anchor& a = anchors[k - 1];
    const Anchor& b = anchors[k];
    const double w = (t - a.at) / (b.at - a.at);
    auto channel = [w](double x, double y) {
        return static_cast<uint8_t>(std::lround(255 * (x + w * (y - x))));
    };
    return {channel(a.r, b.r), channel(a.g, b.g), channel(a.b, b.b)};
}

}  // namespace

ColourScale::ColourScale(double minimum, double maximum, bool logarithmic)
    : signed_(minimum < 0 && maximum > 0), log_(logarithmic) {
    if (signed_) {
        hi_ = std::max(-minimum, maximum);
        lo_ = hi_ * std::pow(10.0, -kDecades);
    } else {
        hi_ = maximum;
        lo_ = log_ ? std::max(minimum, maximum * std::pow(10.0, -kDecades)) : minimum;
        if (log_ && !(lo_ > 0)) log_ = false, lo_ = minimum;  // nothing above zero to take the logarithm of
    }
    if (!(hi_ > lo_)) hi_ = lo_ + 1.0;  // a flat map still gets a usable scale
}

// A magnitude on [0, 1]: linear, or by its logarithm between lo and hi.
// A signed log scale is log(1 + |x| / lo), which passes smoothly through zero.
double ColourScale::Stretch(double m) const {
    if (signed_) return log_ ? std::log1p(m / lo_) / std::log1p(hi_ / lo_) : m / hi_;
    if (log_) return (std::log10(std::max(m, lo_)) - std::log10(lo_)) / (std::log10(hi_) - std::log10(lo_));
    return (m - lo_) / (hi_ - lo_);
}

double ColourScale::Unstretch(double s) const {
    if (signed_) return log_ ? lo_ * std::expm1(s * std::log1p(hi_ / lo_)) : s * hi_;
    if (log_) return std::pow(10.0, std::log10(lo_) + s * (std::log10(hi_) - std::log10(lo_)));
    return lo_ + s * (hi_ - lo_);
}

double ColourScale::Position(double value) const {
    if (!signed_) return std::clamp(Stretch(value), 0.0, 1.0);
    const double s = std::clamp(Stretch(std::fabs(value)), 0.0, 1.0);
    return 0.5 + (value < 0 ? -0.5 : 0.5) * s;
}

double ColourScale::Value(double position) const {
    if (!signed_) return Unstretch(position);
    const double s = std::fabs(2 * position - 1);
    return position < 0.5 ? -Unstretch(s) : Unstretch(s);
}

Rgb ColourScale::Colour(double position) const {
    return signed_ ? Interpolate(kDiverging, position) : Interpolate(kSequential, position);
}

std::string FormatLabel(double value) {
    char text[32];
    if (value != 0 && (std::fabs(value) < 0.01 || std::fabs(value) >= 1e5))
        snprintf(text, sizeof text, "%.1e", value);
    else
        snprintf(text, sizeof text, "%.3g", value);
    return text;
}
