// Rendering of a section: density pixels, contours, the plane's cell, axes and the colour bar.
#include "map/SectionPicture.h"

#include <algorithm>
#include <cmath>

#include "map/BitmapFont.h"
#include "map/ColourScale.h"

namespace {

constexpr int kText = 2;  // font scale of all labels
constexpr int kLine = kGlyphHeight * kText;
constexpr int kContourSteps = 10;  // contour lines at every tenth of the colour bar
const Rgb kInk = {0, 0, 0};
const Rgb kPaper = {255, 255, 255};
const Rgb kCellEdge = {150, 150, 150};

std::string Direction(const std::array<int, 3>& w) {
    return "[" + std::to_string(w[0]) + " " + std::to_string(w[1]) + " " + std::to_string(w[2]) + "]";
}

// A tick spacing of 1, 2 or 5 times a power of ten giving at most `most` intervals.
double TickStep(double extent, int most) {
    double step = std::pow(10.0, std::floor(std::log10(extent / most)));
    for (double factor : {1.0, 2.0, 5.0, 10.0})
        if (extent / (step * factor) <= most) return step * factor;
    return step * 10;
}

std::string AxisName(char axis, const char* relation, const std::array<int, 3>& direction) {
    return std::string(1, axis) + " / " + kAngstrom + " " + relation + " " + Direction(direction);
}

std::string Heading(const Section& s, bool logarithmic) {
    const auto& h = s.plane.hkl;
    std::string text = "Section (" + std::to_string(h[0]) + " " + std::to_string(h[1]) + " " +
                       std::to_string(h[2]) + "), offset " + FormatLabel(s.plane.offset);
    return logarithmic ? text + ", log scale" : text;
}

// The bar position of every plot pixel.
std::vector<double> Positions(const std::vector<float>& values, const CellDensity& d, const Section& s,
                              const PictureLayout& l, const ColourScale& scale) {
    std::vector<double> t(static_cast<size_t>(l.plotWidth) * l.plotHeight);
    for (int j = 0; j < l.plotHeight; ++j)
        for (int i = 0; i < l.plotWidth; ++i) {
            const double x = s.xMin + (i + 0.5) / l.pixelsPerAngstrom;
            const double y = s.yMax - (j + 0.5) / l.pixelsPerAngstrom;
            const std::array<double, 3> f = s.Fractional(x, y);
            t[static_cast<size_t>(j) * l.plotWidth + i] =
                scale.Position(SampleAt(values, d.gridSize, f.data()));
        }
    return t;
}

// Contours separate the tenths of the bar. A signed map has no line at zero,
// where noise would draw one around every flat patch of the cell.
void DrawDensity(RgbImage& image, const std::vector<double>& t, const PictureLayout& l,
                 const ColourScale& scale) {
    auto level = [&](int i, int j) {
        const int k = std::min(static_cast<int>(t[static_cast<size_t>(j) * l.plotWidth + i] * kContourSteps),
                               kContourSteps - 1);
        return scale.isSigned() && k == kContourSteps / 2 ? k - 1 : k;
    };
    for (int j = 0; j < l.plotHeight; ++j)
        for (int i = 0; i < l.plotWidth; ++i) {
            const int x = l.plotLeft + i, y = l.plotTop + j;
            image.Set(x, y, scale.Colour(t[static_cast<size_t>(j) * l.plotWidth + i]));
            const int here = level(i, j);
            const bool edge = (i + 1 < l.plotWidth && level(i + 1, j) != here) ||
                              (j + 1 < l.plotHeight && level(i, j + 1) != here);
            if (edge) image.Blend(x, y, kInk, 0.55);
        }
}

// The plane's own cell: origin, u, u + v and v, dashed.
void DrawPlaneCell(RgbImage& image, const Section& s, const PictureLayout& l) {
    auto px = [&](double x) { return l.plotLeft + (x - s.xMin) * l.pixelsPerAngstrom; };
    auto py = [&](double y) { return l.plotTop + (s.yMax - y) * l.pixelsPerAngstrom; };
    const double cx[4] = {0, s.uLength, s.uLength + s.vPlane[0], s.vPlane[0]};
    const double cy[4] = {0, 0, s.vPlane[1], s.vPlane[1]};
    for (int k = 0; k < 4; ++k)
        image.Line(px(cx[k]), py(cy[k]), px(cx[(k + 1) % 4]), py(cy[(k + 1) % 4]), kCellEdge, 4);
}

void DrawAxes(RgbImage& image, const Section& s, const PictureLayout& l) {
    const int left = l.plotLeft - 1, right = l.plotLeft + l.plotWidth, top = l.plotTop - 1,
              bottom = l.plotTop + l.plotHeight;
    image.Line(left, top, right, top, kInk);
    image.Line(left, bottom, right, bottom, kInk);
    image.Line(left, top, left, bottom, kInk);
    image.Line(right, top, right, bottom, kInk);

    // Room for a label of four characters at every tick.
    const double xStep = TickStep(s.xMax - s.xMin, std::clamp(l.plotWidth / 48, 1, 8));
    for (double x = std::ceil(s.xMin / xStep) * xStep; x <= s.xMax + 1e-9; x += xStep) {
        const int p = l.plotLeft + static_cast<int>(std::lround((x - s.xMin) * l.pixelsPerAngstrom));
        image.Line(p, bottom, p, bottom + 5, kInk);
        const std::string label = FormatLabel(std::fabs(x) < 1e-9 ? 0.0 : x);
        image.Text(p - RgbImage::TextWidth(label, kText) / 2, bottom + 9, label, kInk, kText);
    }
    const double yStep = TickStep(s.yMax - s.yMin, std::clamp(l.plotHeight / 40, 1, 8));
    for (double y = std::ceil(s.yMin / yStep) * yStep; y <= s.yMax + 1e-9; y += yStep) {
        const int p = l.plotTop + static_cast<int>(std::lround((s.yMax - y) * l.pixelsPerAngstrom));
        image.Line(left - 5, p, left, p, kInk);
        const std::string label = FormatLabel(std::fabs(y) < 1e-9 ? 0.0 : y);
        image.Text(left - 9 - RgbImage::TextWidth(label, kText), p - kLine / 2, label, kInk, kText);
    }
    const std::string xName = AxisName('X', "along", s.u);
    image.Text(l.plotLeft + (l.plotWidth - RgbImage::TextWidth(xName, kText)) / 2, bottom + 15 + kLine, xName,
               kInk, kText);
    const std::string yName = AxisName('Y', "towards", s.v);
    image.Text(l.plotLeft, l.plotTop - kLine - 8, yName, kInk, kText);
}

void DrawColourBar(RgbImage& image, const PictureLayout& l, const ColourScale& scale) {
    const int x0 = l.barLeft, x1 = x0 + 19;
    const int top = l.plotTop, bottom = l.plotTop + l.plotHeight - 1;
    for (int y = top; y <= bottom; ++y) {
        const double t = static_cast<double>(bottom - y) / (bottom - top);
        image.Line(x0, y, x1, y, scale.Colour(t));
    }
    for (int k = 1; k < kContourSteps; ++k) {
        if (scale.isSigned() && k == kContourSteps / 2) continue;
        const int y =
            bottom - static_cast<int>(std::lround(static_cast<double>(k) / kContourSteps * (bottom - top)));
        for (int x = x0; x <= x1; ++x) image.Blend(x, y, kInk, 0.55);
    }
    image.Line(x0 - 1, top - 1, x1 + 1, top - 1, kInk);
    image.Line(x0 - 1, bottom + 1, x1 + 1, bottom + 1, kInk);
    image.Line(x0 - 1, top - 1, x0 - 1, bottom + 1, kInk);
    image.Line(x1 + 1, top - 1, x1 + 1, bottom + 1, kInk);
    for (int k = 0; k <= 5; ++k) {
        const double t = k / 5.0;
        const int y = bottom - static_cast<int>(std::lround(t * (bottom - top)));
        image.Line(x1 + 2, y, x1 + 5, y, kInk);
        image.Text(x1 + 9, y - kLine / 2, FormatLabel(scale.Value(t)), kInk, kText);
    }
    image.Text(x0, top - kLine - 14, std::string("per ") + kAngstrom + "^3", kInk, kText);
}

}  // namespace

RgbImage DrawSection(const CellDensity& d, const std::vector<float>& values, const Section& s,
                     const PictureOptions& options, PictureLayout& l) {
    const double width = s.xMax - s.xMin, height = s.yMax - s.yMin;
    l.pixelsPerAngstrom = std::max(options.size, 32) / std::max(width, height);
    l.plotWidth = std::max(1, static_cast<int>(std::lround(width * l.pixelsPerAngstrom)));
    l.plotHeight = std::max(1, static_cast<int>(std::lround(height * l.pixelsPerAngstrom)));
    l.plotLeft = 90;
    l.plotTop = 12 + kLine + 8 + kGlyphHeight + 14 + kLine + 12;
    const int yNameWidth = RgbImage::TextWidth(AxisName('Y', "towards", s.v), kText);
    l.barLeft = l.plotLeft + std::max(l.plotWidth + 24, yNameWidth + 16);
    const int pictureWidth = l.barLeft + 20 + 9 + RgbImage::TextWidth("-0.000e+00", kText) + 12;
    const int pictureHeight = l.plotTop + l.plotHeight + 15 + 2 * kLine + 14;

    double lo = values.empty() ? 0 : values[0], hi = lo;
    for (float v : values) lo = std::min<double>(lo, v), hi = std::max<double>(hi, v);
    const ColourScale scale(lo, hi, options.logarithmic);

    RgbImage image(pictureWidth, pictureHeight, kPaper);
    const std::vector<double> t = Positions(values, d, s, l, scale);
    DrawDensity(image, t, l, scale);
    DrawPlaneCell(image, s, l);
    DrawAxes(image, s, l);
    DrawColourBar(image, l, scale);
    image.Text(12, 12, Heading(s, options.logarithmic), kInk, kText);
    std::string title = options.title;
    const int room = (pictureWidth - 24) / kGlyphAdvance;
    if (static_cast<int>(title.size()) > room) title.resize(std::max(room, 0));
    image.Text(12, 12 + kLine + 8, title, kInk, 1);
    return image;
}
