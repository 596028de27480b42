// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The letters, drawn on a grid 4 wide and 6 high.
#include "cli/sample/stroke_font.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace veltra::cli {
namespace {

constexpr double kGridHeight = 6.0;
constexpr double kGap = 1.7;  // between letters, in grid units

/// Pen lines separated by blanks; each is a run of grid points, two digits (x, y) per point.
struct Glyph {
  char character;
  int width;
  std::string_view lines;
};

constexpr std::array kGlyphs = {
    Glyph{'A', 4, "062046 1434"},
    Glyph{'B', 4, "0600304142330333444536 3606"},
    Glyph{'C', 4, "4130100105163645"},
    Glyph{'D', 4, "06002041452606"},
    Glyph{'E', 4, "40000646 0333"},
    Glyph{'F', 4, "400006 0333"},
    Glyph{'G', 4, "413010010516364543 4323"},
    Glyph{'H', 4, "0006 4046 0343"},
    Glyph{'I', 0, "0006"},
    Glyph{'J', 3, "3035261605"},
    Glyph{'K', 4, "0006 4003 1246"},
    Glyph{'L', 3, "000636"},
    Glyph{'M', 4, "0600234046"},
    Glyph{'N', 4, "06004640"},
    Glyph{'O', 4, "100105163645413010"},
    Glyph{'P', 4, "060030414233 3303"},
    Glyph{'Q', 4, "100105163645413010 2446"},
    Glyph{'R', 4, "06003041423303 2346"},
    Glyph{'S', 4, "413010010213334445361605"},
    Glyph{'T', 4, "0040 2026"},
    Glyph{'U', 4, "000516364540"},
    Glyph{'V', 4, "002640"},
    Glyph{'W', 4, "0016233640"},
    Glyph{'X', 4, "0046 4006"},
    Glyph{'Y', 4, "0023 4023 2326"},
    Glyph{'Z', 4, "00400646"},
    Glyph{'0', 4, "100105163645413010 1432"},
    Glyph{'1', 2, "012026"},
    Glyph{'2', 4, "01103041420646"},
    Glyph{'3', 4, "0110304142334445361605 1333"},
    Glyph{'4', 4, "36300444"},
    Glyph{'5', 4, "400002334445361605"},
    Glyph{'6', 4, "4130100105163645443304"},
    Glyph{'7', 4, "004016"},
    Glyph{'8', 4, "13020110304142331304051636454433"},
    Glyph{'9', 4, "051636454130100102133342"},
    Glyph{'-', 3, "0333"},
    Glyph{'+', 4, "0343 2125"},
    Glyph{'.', 0, "0606"},
    Glyph{'!', 0, "0004 0606"},
    Glyph{'>', 3, "013305"},
    Glyph{'/', 3, "3006"},
};

const Glyph* FindGlyph(char character) {
  const auto* found = std::find_if(kGlyphs.begin(), kGlyphs.end(), [character](const Glyph& glyph) {
    return glyph.character == character;
  });
  return found == kGlyphs.end() ? nullptr : found;
}

void AddGlyph(const Glyph& glyph, double left, std::vector<Stroke>& strokes) {
  std::array<int, 4> pen{};  // the last point and the new one
  std::size_t known = 0;
  for (const char c : glyph.lines) {
    if (c == ' ') {
      known = 0;
      continue;
    }
    pen[known++] = c - '0';
    if (known == pen.size()) {
      strokes.push_back({(left + pen[0]) / kGridHeight, pen[1] / kGridHeight,
                         (left + pen[2]) / kGridHeight, pen[3] / kGridHeight});
      pen[0] = pen[2];
      pen[1] = pen[3];
      known = 2;
    }
  }
}

}  // namespace

StrokeText LayOutText(std::string_view text) {
  constexpr double kBlank = 2.5;
  StrokeText laidOut;
  double left = 0;
  for (const char c : text) {
    const Glyph* glyph = FindGlyph(c);
    if (glyph != nullptr) {
      AddGlyph(*glyph, left, laidOut.strokes);
    }
    left += (glyph == nullptr ? kBlank : glyph->width) + kGap;
  }
  laidOut.width = std::max(0.0, left - kGap) / kGridHeight;
  return laidOut;
}

double DistanceToStrokes(const std::vector<Stroke>& strokes, double x, double y) {
  double nearest = std::numeric_limits<double>::max();
  for (const Stroke& stroke : strokes) {
    const double dx = stroke.x1 - stroke.x0;
    const double dy = stroke.y1 - stroke.y0;
    const double lengthSquared = dx * dx + dy * dy;
    const double along =
        lengthSquared > 0
            ? std::clamp(((x - stroke.x0) * dx + (y - stroke.y0) * dy) / lengthSquared, 0.0, 1.0)
            : 0.0;
    const double offX = x - stroke.x0 - along * dx;
    const double offY = y - stroke.y0 - along * dy;
    nearest = std::min(nearest, offX * offX + offY * offY);
  }
  return std::sqrt(nearest);
}

}  // namespace veltra::cli
