// The mapping from densities to a position on the colour bar, and the colours along it.
#pragma once

#include <string>

#include "map/RgbImage.h"

// Linear, or logarithmic for a density that spans several decades. A density
// with values of both signs is shown on a scale symmetric about zero, in a
// diverging colour map; otherwise the scale runs from the lowest value to the
// highest.
class ColourScale {
public:
    ColourScale(double minimum, double maximum, bool logarithmic);

    // Position of a density on the bar, in [0, 1].
    double Position(double value) const;
    // The density at a position of the bar.
    double Value(double position) const;
    Rgb Colour(double position) const;
    bool isSigned() const { return signed_; }

    // The number of decades a logarithmic scale spans.
    static constexpr double kDecades = 5.0;

private:
    double Stretch(double magnitude) const;
    double Unstretch(double s) const;

    bool signed_, log_;
    double lo_, hi_;  // the range of the scale (magnitudes for a signed one)
};

// A number as a bar label: few digits, no trailing zeros.
std::string FormatLabel(double value);
