// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A tiny font of pen strokes, for text in sample pictures.
#pragma once

#include <string_view>
#include <vector>

namespace veltra::cli {

/// One straight stroke of the pen, in units of the capitals' height; y grows downwards.
struct Stroke {
  double x0 = 0;
  double y0 = 0;
  double x1 = 0;
  double y1 = 0;
};

struct StrokeText {
  std::vector<Stroke> strokes;
  double width = 0;  ///< from the first letter's left to the last one's right
};

/// Lays out one line; capitals, digits and a little punctuation, other characters are blanks.
/// Capitals stand from y = 0 down to y = 1.
StrokeText LayOutText(std::string_view text);

/// Distance of the point (x, y) from the nearest of the strokes.
double DistanceToStrokes(const std::vector<Stroke>& strokes, double x, double y);

}  // namespace veltra::cli
