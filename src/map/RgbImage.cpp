// Drawing into the picture buffer, and its PNG encoding through libpng.
#include "map/RgbImage.h"

#include <png.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "map/BitmapFont.h"
#include "map/MapError.h"

RgbImage::RgbImage(int width, int height, Rgb background)
    : width_(width), height_(height), pixels_(3 * static_cast<size_t>(width) * height) {
    for (size_t i = 0; i < pixels_.size(); i += 3)
        std::copy(background.begin(), background.end(), &pixels_[i]);
}

Rgb RgbImage::Get(int x, int y) const {
    const uint8_t* p = &pixels_[3 * (static_cast<size_t>(y) * width_ + x)];
    return {p[0], p[1], p[2]};
}

void RgbImage::Set(int x, int y, Rgb colour) {
    if (x < 0 || y < 0 || x >= width_ || y >= height_) return;
    std::copy(colour.begin(), colour.end(), &pixels_[3 * (static_cast<size_t>(y) * width_ + x)]);
}

void RgbImage::Blend(int x, int y, Rgb colour, double alpha) {
    if (x < 0 || y < 0 || x >= width_ || y >= height_) return;
    Rgb old = Get(x, y);
    for (int i = 0; i < 3; ++i)
        old[i] = static_cast<uint8_t>(std::lround(old[i] + alpha * (colour[i] - old[i])));
    Set(x, y, old);
}

void RgbImage::FillRect(int x0, int y0, int x1, int y1, Rgb colour) {
    for (int y = std::max(y0, 0); y <= std::min(y1, height_ - 1); ++y)
        for (int x = std::max(x0, 0); x <= std::min(x1, width_ - 1); ++x) Set(x, y, colour);
}

// A dash of n draws n pixels and leaves n out, along the longer extent.
void RgbImage::Line(double x0, double y0, double x1, double y1, Rgb colour, int dash) {
    const int steps = static_cast<int>(std::ceil(std::max(std::fabs(x1 - x0), std::fabs(y1 - y0))));
    for (int s = 0; s <= steps; ++s) {
        if (dash > 0 && s / dash % 2 == 1) continue;
        const double t = steps == 0 ? 0.0 : static_cast<double>(s) / steps;
        Set(static_cast<int>(std::lround(x0 + t * (x1 - x0))),
            static_cast<int>(std::lround(y0 + t * (y1 - y0))), colour);
    }
}

void RgbImage::Text(int x, int y, const std::string& text, Rgb colour, int scale) {
    for (size_t k = 0; k < text.size(); ++k) {
        const int left = x + static_cast<int>(k) * kGlyphAdvance * scale;
        for (int r = 0; r < kGlyphHeight; ++r) {
            const uint8_t bits = GlyphRow(text[k], r);
            for (int c = 0; c < kGlyphWidth; ++c)
                if (bits >> (kGlyphWidth - 1 - c) & 1)
                    FillRect(left + c * scale, y + r * scale, left + (c + 1) * scale - 1,
                             y + (r + 1) * scale - 1, colour);
        }
    }
}

int RgbImage::TextWidth(const std::string& text, int scale) {
    return text.empty() ? 0 : (static_cast<int>(text.size()) * kGlyphAdvance - 1) * scale;
}

void RgbImage::WritePng(const std::string& path) const {
    FILE* f = fopen(path.c_str(), "wb");
    if (!f) throw MapError("cannot write " + path + ": " + strerror(errno));
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    // libpng reports its errors by a long jump back to here.
    if (!info || setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        fclose(f);
        throw MapError("cannot write " + path);
    }
    png_init_io(png, f);
    png_set_compression_level(png, 9);
    png_set_IHDR(png, info, width_, height_, 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    for (int y = 0; y < height_; ++y)
        png_write_row(png, const_cast<png_bytep>(&pixels_[3 * static_cast<size_t>(y) * width_]));
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    if (fclose(f) != 0) throw MapError("cannot write " + path);
}
