// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Parsers that accept a whole text or say what they expected.
#include "cli/settings/values.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <numeric>
#include <utility>

#include "base/error.h"
#include "base/text.h"

namespace veltra::cli {
namespace {

constexpr double kMostFixed = 32767.99999;

std::optional<int> TryInteger(std::string_view text) {
  int value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || error != std::errc() || end != text.data() + text.size()) {
    return std::nullopt;
  }
  return value;
}

/// Whether this is a whole number at all, however long.
bool IsWhole(std::string_view text) {
  const std::size_t digits = text.starts_with('-') ? 1 : 0;
  return text.size() > digits &&
         text.find_first_not_of("0123456789", digits) == std::string_view::npos;
}

std::optional<double> TryNumber(std::string_view text) {
  double value = 0;
  if (text.starts_with('+')) {
    text.remove_prefix(1);
  }
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || error != std::errc() || end != text.data() + text.size() ||
      !std::isfinite(value)) {
    return std::nullopt;
  }
  return value;
}

/// The parts between separators; always at least one.
std::vector<std::string_view> Split(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  std::size_t start = 0;
  for (;;) {
    const std::size_t end = text.find(separator, start);
    parts.push_back(text.substr(start, end - start));
    if (end == std::string_view::npos) {
      return parts;
    }
    start = end + 1;
  }
}

std::optional<PF_Fixed> TryFixed(double value) {
  if (!(std::abs(value) <= kMostFixed)) {
    return std::nullopt;
  }
  return static_cast<PF_Fixed>(std::lround(value * kFixedOne));
}

std::optional<FrameRange> TryRange(std::string_view text) {
  const std::size_t dash = text.find('-');
  const std::size_t cross = text.find('x');
  const std::optional<int> first = TryInteger(text.substr(0, std::min(dash, cross)));
  std::optional<int> last = first;
  std::optional<int> step = 1;
  if (dash != std::string_view::npos) {
    last = TryInteger(
        text.substr(dash + 1, cross == std::string_view::npos ? cross : cross - dash - 1));
  }
  if (cross != std::string_view::npos) {
    step = cross > dash || dash == std::string_view::npos ? TryInteger(text.substr(cross + 1))
                                                          : std::nullopt;
  }
  if (!first || !last || !step || *first < 0 || *last < *first || *step < 1 ||
      *last > kMostFrameNumber || *step > kMostFrameNumber) {
    return std::nullopt;
  }
  return FrameRange{*first, *last, *step};
}

std::optional<Coordinate> TryCoordinate(std::string_view text) {
  constexpr std::array<std::pair<std::string_view, PointUnit>, 3> kSuffixes = {
      {{"%", PointUnit::kPercent}, {"deg", PointUnit::kDegrees}, {"\u00b0", PointUnit::kDegrees}}};
  PointUnit unit = PointUnit::kPixels;
  for (const auto& [suffix, meant] : kSuffixes) {
    if (text.ends_with(suffix)) {
      text.remove_suffix(suffix.size());
      unit = meant;
      break;
    }
  }
  const std::optional<double> value = TryNumber(text);
  if (!value) {
    return std::nullopt;
  }
  return Coordinate{*value, unit};
}

/// A coordinate on a side of this length; `fromDegrees` is the share of the side that degrees come
/// to.
PF_Fixed OnSide(const Coordinate& coordinate, int length, double fromDegrees) {
  constexpr double kHundred = 100.0;
  double pixels = coordinate.value;
  switch (coordinate.unit) {
    case PointUnit::kPixels:
      break;
    case PointUnit::kPercent:
      // Through the 16.16 percentage, as the host turns a point's default into pixels.
      pixels = std::round(coordinate.value * kFixedOne) * length / kHundred / kFixedOne;
      break;
    case PointUnit::kDegrees:
      pixels = fromDegrees * length;
      break;
  }
  const std::optional<PF_Fixed> fixed = TryFixed(pixels);
  if (!fixed) {
    throw UsageError("a point so far outside the frame cannot be expressed (at most 32767 pixels)");
  }
  return *fixed;
}

std::optional<PF_Pixel8> TryHexColor(std::string_view text) {
  if (text.starts_with('#')) {
    text.remove_prefix(1);
  }
  constexpr std::size_t kShort = 3;
  constexpr std::size_t kLong = 6;
  constexpr int kHexadecimal = 16;
  unsigned number = 0;
  const auto [end, error] =
      std::from_chars(text.data(), text.data() + text.size(), number, kHexadecimal);
  if ((text.size() != kShort && text.size() != kLong) || error != std::errc() ||
      end != text.data() + text.size()) {
    return std::nullopt;
  }
  const auto channel = [&](unsigned place) {
    constexpr unsigned kTwice = 17;  // one digit stands for two
    return static_cast<A_u_char>(text.size() == kShort ? ((number >> (4 * place)) & 15U) * kTwice
                                                       : (number >> (8 * place)) & 255U);
  };
  return PF_Pixel8{255, channel(2), channel(1), channel(0)};
}

std::optional<PF_Pixel8> TryListedColor(const std::vector<std::string_view>& parts) {
  std::array<A_u_char, 3> channels{};
  for (std::size_t i = 0; i < channels.size(); ++i) {
    constexpr int kMostChannel = 255;
    const std::optional<int> channel =
        parts.size() == channels.size() ? TryInteger(parts[i]) : std::nullopt;
    if (!channel || *channel < 0 || *channel > kMostChannel) {
      return std::nullopt;
    }
    channels[i] = static_cast<A_u_char>(*channel);
  }
  return PF_Pixel8{255, channels[0], channels[1], channels[2]};
}

template <class Number>
std::string ShortestText(Number value) {
  std::array<char, 32> buffer{};
  const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
  return {buffer.data(), end};
}

std::optional<PF_RationalScale> TryRatio(std::string_view text) {
  const std::vector<std::string_view> parts = Split(text, '/');
  const std::optional<int> numerator = TryInteger(parts[0]);
  const std::optional<int> denominator =
      parts.size() == 2 ? TryInteger(parts[1]) : std::optional(1);
  if (parts.size() <= 2 && numerator && denominator && *numerator > 0 && *denominator > 0) {
    return PF_RationalScale{*numerator, static_cast<A_u_long>(*denominator)};
  }
  constexpr int kDecimalParts = 1000000;
  const std::optional<double> decimal = parts.size() == 1 ? TryNumber(text) : std::nullopt;
  constexpr double kMostRatio = 1000;
  if (!decimal || !(*decimal * kDecimalParts >= 1) || *decimal > kMostRatio) {
    return std::nullopt;
  }
  const auto scaled = static_cast<int>(std::lround(*decimal * kDecimalParts));
  const int common = std::gcd(scaled, kDecimalParts);
  return PF_RationalScale{scaled / common, static_cast<A_u_long>(kDecimalParts / common)};
}

}  // namespace

void ThrowNotA(std::string_view text, std::string_view kind, std::string_view expected) {
  throw UsageError(Text("'", text, "' is not ", kind, " (expected ", expected, ")"));
}

int ParseInteger(std::string_view text, int least, int most) {
  const std::optional<int> value = TryInteger(text);
  if (!value || *value < least || *value > most) {
    ThrowNotA(text, IsWhole(text) ? "in range" : "a whole number", Text(least, " to ", most));
  }
  return *value;
}

std::uint64_t ParseSeed(std::string_view text) {
  std::uint64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || error != std::errc() || end != text.data() + text.size()) {
    ThrowNotA(text, IsWhole(text) ? "in range" : "a whole number",
              Text("0 to ", std::numeric_limits<std::uint64_t>::max()));
  }
  return value;
}

double ParseNumber(std::string_view text) {
  const std::optional<double> value = TryNumber(text);
  if (!value) {
    ThrowNotA(text, "a number", "a decimal such as 12.5");
  }
  return *value;
}

PF_Fixed ParseFixed(std::string_view text) {
  const std::optional<PF_Fixed> fixed = TryFixed(ParseNumber(text));
  if (!fixed) {
    ThrowNotA(text, "in range", "-32767 to 32767");
  }
  return *fixed;
}

bool ParseSwitch(std::string_view text) {
  constexpr std::array<std::string_view, 4> kOn = {"on", "true", "yes", "1"};
  constexpr std::array<std::string_view, 4> kOff = {"off", "false", "no", "0"};
  if (std::find(kOn.begin(), kOn.end(), text) != kOn.end()) {
    return true;
  }
  if (std::find(kOff.begin(), kOff.end(), text) != kOff.end()) {
    return false;
  }
  ThrowNotA(text, "a switch", "on or off");
}

PictureSize ParseSize(std::string_view text) {
  const std::vector<std::string_view> parts = Split(text, 'x');
  const std::optional<int> width = TryInteger(parts[0]);
  const std::optional<int> height = parts.size() == 2 ? TryInteger(parts[1]) : std::nullopt;
  if (!width || !height) {
    ThrowNotA(text, "a size", "WIDTHxHEIGHT, such as 4096x2048");
  }
  if (*width < 1 || *height < 1 || *width > kHostMaxWorldSide || *height > kHostMaxWorldSide) {
    ThrowNotA(text, "a possible size", Text("1x1 to ", kHostMaxWorldSide, "x", kHostMaxWorldSide));
  }
  return {*width, *height};
}

PF_LRect ParseRegion(std::string_view text) {
  constexpr std::string_view kExpected = "X,Y,WIDTH,HEIGHT, such as 0,512,1024,256";
  const std::vector<std::string_view> parts = Split(text, ',');
  std::array<int, 4> numbers{};
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    const std::optional<int> number =
        parts.size() == numbers.size() ? TryInteger(parts[i]) : std::nullopt;
    if (!number || std::abs(static_cast<std::int64_t>(*number)) > kHostMaxWorldSide) {
      ThrowNotA(text, "a region", kExpected);
    }
    numbers[i] = *number;
  }
  if (numbers[2] < 1 || numbers[3] < 1) {
    ThrowNotA(text, "a region with anything in it", kExpected);
  }
  return {numbers[0], numbers[1], numbers[0] + numbers[2], numbers[1] + numbers[3]};
}

PF_RationalScale ParseRatio(std::string_view text) {
  const std::optional<PF_RationalScale> ratio = TryRatio(text);
  if (!ratio) {
    ThrowNotA(text, "a ratio", "N/D, N or a decimal, such as 10/11");
  }
  return *ratio;
}

PF_RationalScale ParseRate(std::string_view text) {
  const std::optional<PF_RationalScale> rate = TryRatio(text);
  constexpr double kFastest = 1000;
  constexpr double kSlowest = 0.001;
  const double value = rate ? static_cast<double>(rate->num) / rate->den : 0.0;
  if (value < kSlowest || value > kFastest) {
    ThrowNotA(text, "a frame rate", "frames per second, such as 25, 23.976 or 30000/1001");
  }
  return *rate;
}

PF_Fixed PointText::ColumnOf(int width) const {
  constexpr double kTurn = 360.0;
  constexpr double kMiddle = 0.5;
  return OnSide(x, width, kMiddle + x.value / kTurn);
}

PF_Fixed PointText::RowOf(int height) const {
  constexpr double kHalfTurn = 180.0;
  constexpr double kMiddle = 0.5;
  return OnSide(y, height, kMiddle - y.value / kHalfTurn);
}

PointText ParsePoint(std::string_view text) {
  const std::vector<std::string_view> parts = Split(text, ',');
  const std::optional<Coordinate> x = TryCoordinate(parts[0]);
  const std::optional<Coordinate> y = parts.size() == 2 ? TryCoordinate(parts[1]) : std::nullopt;
  if (!x || !y) {
    ThrowNotA(text, "a point",
              "X,Y in pixels, percent or degrees, such as 1024,512, 54%,17% or 30deg,-10deg");
  }
  constexpr double kSteepest = 90.0;
  if (y->unit == PointUnit::kDegrees && std::abs(y->value) > kSteepest) {
    ThrowNotA(text, "a point on the sphere", "a pitch of -90deg to 90deg");
  }
  return {*x, *y};
}

std::array<double, 3> Point3dText::OnFrame(int width, int height) const {
  constexpr double kHundred = 100.0;
  const std::array<int, 3> sides = {width, height, height};
  std::array<double, 3> pixels{};
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    const Coordinate& coordinate = coordinates[i];
    pixels[i] = coordinate.unit == PointUnit::kPercent ? coordinate.value * sides[i] / kHundred
                                                       : coordinate.value;
  }
  return pixels;
}

Point3dText ParsePoint3d(std::string_view text) {
  const std::vector<std::string_view> parts = Split(text, ',');
  Point3dText point;
  for (std::size_t i = 0; i < point.coordinates.size(); ++i) {
    const std::optional<Coordinate> coordinate =
        parts.size() == point.coordinates.size() ? TryCoordinate(parts[i]) : std::nullopt;
    if (!coordinate || coordinate->unit == PointUnit::kDegrees) {
      ThrowNotA(text, "a point in space", "X,Y,Z in pixels or percent, such as 1024,50%,-200");
    }
    point.coordinates[i] = *coordinate;
  }
  return point;
}

PF_Pixel8 ParseColor(std::string_view text) {
  const std::vector<std::string_view> parts = Split(text, ',');
  const std::optional<PF_Pixel8> color =
      parts.size() == 1 ? TryHexColor(text) : TryListedColor(parts);
  if (!color) {
    ThrowNotA(text, "a colour", "#RRGGBB such as #ff8000, or RED,GREEN,BLUE from 0 to 255");
  }
  return *color;
}

std::string ColorText(const PF_Pixel8& color) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text = "#";
  for (const unsigned channel : {color.red, color.green, color.blue}) {
    text += kDigits[channel >> 4U];
    text += kDigits[channel & 15U];
  }
  return text;
}

std::string NumberText(double value) {
  return ShortestText(value);
}

std::string NumberText(float value) {
  return ShortestText(value);
}

std::vector<int> FrameList::Numbers() const {
  int last = 0;
  for (const FrameRange& range : ranges) {
    last = std::max(last, range.last);
  }
  // Ranges may overlap however they like: a mark per number bounds the memory.
  std::vector<bool> marked(static_cast<std::size_t>(last) + 1);
  for (const FrameRange& range : ranges) {
    for (int number = range.first; number <= range.last; number += range.step) {
      marked[static_cast<std::size_t>(number)] = true;
    }
  }
  std::vector<int> numbers;
  for (int number = 0; number <= last; ++number) {
    if (marked[static_cast<std::size_t>(number)]) {
      numbers.push_back(number);
    }
  }
  return numbers;
}

FrameList ParseFrames(std::string_view text) {
  FrameList list;
  for (const std::string_view part : Split(text, ',')) {
    const std::optional<FrameRange> range = TryRange(part);
    if (!range) {
      ThrowNotA(text, "a list of frames",
                "FIRST-LAST or FIRST-LASTxSTEP, such as 1-240, 1-240x2 or 1,5,10-20");
    }
    list.ranges.push_back(*range);
  }
  return list;
}

std::string FixedText(PF_Fixed value) {
  const double exact = static_cast<double>(value) / kFixedOne;
  std::array<char, 32> buffer{};
  constexpr int kMostDecimals = 5;  // enough to tell two neighbours apart
  for (int decimals = 0; decimals <= kMostDecimals; ++decimals) {
    const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), exact,
                                            std::chars_format::fixed, decimals);
    std::string text(buffer.data(), end);
    if (error == std::errc() && ParseFixed(text) == value) {
      return text;
    }
  }
  return std::to_string(exact);
}

}  // namespace veltra::cli
