// An RGB picture in memory: pixels, lines, text, and writing it as PNG.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

using Rgb = std::array<uint8_t, 3>;

class RgbImage {
public:
    RgbImage(int width, int height, Rgb background);

    int width() const { return width_; }
    int height() const { return height_; }
    Rgb Get(int x, int y) const;
    // Points outside the picture are left out.
    void Set(int x, int y, Rgb colour);
    // Mixes `colour` into the pixel with weight `alpha` in [0, 1].
    void Blend(int x, int y, Rgb colour, double alpha);
    void FillRect(int x0, int y0, int x1, int y1, Rgb colour);  // corners included
    void Line(double x0, double y0, double x1, double y1, Rgb colour, int dash = 0);
    // Text with its top left corner at (x, y), each font pixel drawn as
    // scale x scale pixels.
    void Text(int x, int y, const std::string& text, Rgb colour, int scale = 1);
    static int TextWidth(const std::string& text, int scale = 1);

    // Throws MapError when the file cannot be written.
    void WritePng(const std::string& path) const;

private:
    int width_, height_;
    std::vector<uint8_t> pixels_;  // rows from the top, three bytes a pixel
};
