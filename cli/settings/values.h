// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Values as people write them: sizes, ranges, points, percentages.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host_api/types.h"

namespace veltra::cli {

// Every parser takes all of the text or throws UsageError with what was expected instead, as
// "'4k' is not a size (expected WIDTHxHEIGHT, such as 4096x2048)".

/// The largest number that a frame can have.
inline constexpr int kMostFrameNumber = 9999999;

/// A whole decimal number between `least` and `most`.
int ParseInteger(std::string_view text, int least, int most);

/// A whole decimal number of 64 bits.
std::uint64_t ParseSeed(std::string_view text);

/// A decimal number; infinities and NaN are not numbers.
double ParseNumber(std::string_view text);

/// A decimal number as signed 16.16, rounded to nearest; `text` must fit.
PF_Fixed ParseFixed(std::string_view text);

/// "on", "off", "true", "false", "yes", "no", "1" and "0".
bool ParseSwitch(std::string_view text);

struct PictureSize {
  int width = 0;
  int height = 0;
};
/// "4096x2048", within what the host's worlds can be.
PictureSize ParseSize(std::string_view text);

/// "X,Y,WIDTH,HEIGHT" with positive sizes.
PF_LRect ParseRegion(std::string_view text);

/// "N/D", "N" or a decimal such as "0.9091", positive.
PF_RationalScale ParseRatio(std::string_view text);
/// The same as frames per second, 0.001 to 1000.
PF_RationalScale ParseRate(std::string_view text);

/// What a coordinate of a point is given in.
enum class PointUnit { kPixels, kPercent, kDegrees };

/// One coordinate of a point.
struct Coordinate {
  double value = 0;  ///< pixels of the full-resolution frame, percent of its side, or degrees
  PointUnit unit = PointUnit::kPixels;
};

/// A point as written; its two coordinates may have different units.
struct PointText {
  Coordinate x;  ///< degrees are yaw: 0 is the middle column, 180 the right edge
  Coordinate y;  ///< degrees are pitch: 0 is the middle row, 90 the top edge

  /// The column and the row as signed 16.16 pixels of a frame of this size, rounded to nearest.
  /// Throw UsageError when they do not fit.
  PF_Fixed ColumnOf(int width) const;
  PF_Fixed RowOf(int height) const;
};
/// "X,Y", each in pixels, with a % sign in percent, or with deg (or a degree sign) as yaw and
/// pitch: "1024,512", "54%,17%", "30deg,-10deg". Pitch is between -90 and 90.
PointText ParsePoint(std::string_view text);

/// A point in space as written; degrees mean nothing there.
struct Point3dText {
  std::array<Coordinate, 3> coordinates{};

  /// In pixels of a frame of this size; percent are of the width, the height and the height.
  std::array<double, 3> OnFrame(int width, int height) const;
};
/// "X,Y,Z", each in pixels or with a % sign in percent.
Point3dText ParsePoint3d(std::string_view text);

/// "#RRGGBB" or "#RGB" in hexadecimal digits, with or without the #, or "RED,GREEN,BLUE" as whole
/// numbers from 0 to 255. Alpha is 255.
PF_Pixel8 ParseColor(std::string_view text);
/// "#rrggbb".
std::string ColorText(const PF_Pixel8& color);

/// The shortest decimal that reads back the same.
std::string NumberText(double value);
std::string NumberText(float value);

/// Frame numbers first, first + step, ... up to last.
struct FrameRange {
  int first = 0;
  int last = 0;
  int step = 1;
};
/// A list of ranges, in any order.
struct FrameList {
  std::vector<FrameRange> ranges;

  /// All numbers, each once, ascending.
  std::vector<int> Numbers() const;
};
/// "7", "1-240", "1-240x2", or several of these with commas between; numbers are not negative.
FrameList ParseFrames(std::string_view text);

/// 16.16 as the shortest decimal that reads back the same.
std::string FixedText(PF_Fixed value);

/// "'TEXT' is not KIND (expected EXPECTED)", thrown.
[[noreturn]] void ThrowNotA(std::string_view text, std::string_view kind,
                            std::string_view expected);

}  // namespace veltra::cli
