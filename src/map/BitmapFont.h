// A 5 x 7 pixel font for the labels of section pictures.
#pragma once

#include <cstdint>

// Glyph cells are kGlyphWidth x kGlyphHeight pixels; text advances by
// kGlyphAdvance per character. The code kAngstrom draws the angstrom sign.
constexpr int kGlyphWidth = 5;
constexpr int kGlyphHeight = 7;
constexpr int kGlyphAdvance = 6;
constexpr char kAngstrom = '\x01';

// Row r (0 at the top) of the glyph of `c`, the leftmost pixel in bit 4.
// Characters without a glyph draw as an empty box.
uint8_t GlyphRow(char c, int r);
