// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Paints the sample pictures pixel by pixel.
#include "cli/sample/sample_picture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <string>

#include "base/error.h"
#include "base/text.h"
#include "cli/sample/stroke_font.h"
#include "numerics/trigonometry.h"

namespace veltra::cli {
namespace {

using host::World;

using std::numbers::pi;

struct Colour {
  double r = 0;
  double g = 0;
  double b = 0;
};

Colour operator*(const Colour& c, double f) {
  return {c.r * f, c.g * f, c.b * f};
}
Colour operator+(const Colour& a, const Colour& b) {
  return {a.r + b.r, a.g + b.g, a.b + b.b};
}
Colour Mix(const Colour& a, const Colour& b, double t) {
  return a * (1 - t) + b * t;
}

/// 0 below `low`, 1 above `high`, smooth between them.
double Step(double low, double high, double value) {
  const double t = std::clamp((value - low) / (high - low), 0.0, 1.0);
  return t * t * (3 - 2 * t);
}

// ---- Noise that repeats around the horizon ----

double Hash(std::uint32_t value) {
  value ^= value >> 16U;
  value *= 0x7feb352dU;
  value ^= value >> 15U;
  value *= 0x846ca68bU;
  value ^= value >> 16U;
  return value / 4294967295.0;
}

/// Smooth noise in 0..1 over a turn, with `knots` bumps around it.
double RingNoise(double turn, int knots, std::uint32_t seed) {
  const double position = turn * knots;
  const double whole = std::floor(position);
  const double t = position - whole;
  const auto at = [&](int offset) {
    const int knot = (static_cast<int>(whole) + offset + knots) % knots;
    return Hash(seed * 7919U + static_cast<std::uint32_t>(knot));
  };
  return at(0) + (at(1) - at(0)) * (t * t * (3 - 2 * t));
}

// ---- The landscape ----

struct View {
  double turn = 0;       ///< longitude, 0 at the left edge to 1 at the right
  double elevation = 0;  ///< radians above the horizon
  double x = 0;          ///< direction; z is forward, y up
  double y = 0;
  double z = 0;
  double pixel = 0;  ///< height of a pixel in radians
};

constexpr double kSunTurn = 0.655;
constexpr double kSunElevation = 0.115;
constexpr Colour kSunColour{1.0, 0.78, 0.5};
constexpr Colour kHaze{0.93, 0.60, 0.47};

View ViewAt(double turn, double elevation, double pixel) {
  const double longitude = (turn * 2 - 1) * pi;
  const double level = numerics::Cos(elevation);
  return {turn,
          elevation,
          numerics::Sin(longitude) * level,
          numerics::Sin(elevation),
          numerics::Cos(longitude) * level,
          pixel};
}

double TowardsSun(const View& view) {
  static const View sun = ViewAt(kSunTurn, kSunElevation, 0);
  return view.x * sun.x + view.y * sun.y + view.z * sun.z;
}

Colour Sky(const View& view) {
  constexpr Colour kMiddle{0.40, 0.42, 0.66};
  constexpr Colour kZenith{0.05, 0.08, 0.24};
  const double up = std::max(view.y, 0.0);
  Colour colour = Mix(kHaze, kMiddle, Step(0.0, 0.38, up));
  colour = Mix(colour, kZenith, Step(0.22, 1.0, up));
  const double away = 1 - TowardsSun(view);
  colour = colour + kSunColour * (0.010 / (away + 0.016));
  const double disc = 1 - Step(0.00055, 0.00075, away);
  return Mix(colour, {1.0, 0.95, 0.82}, disc);
}

/// Stars fade in towards the zenith; each sits somewhere in its own cell.
double Star(const View& view) {
  constexpr double kRows = 90;
  const double row = std::floor(view.elevation / (pi / 2) * kRows);
  const double columns = std::max(8.0, std::floor(4 * kRows * numerics::Cos(view.elevation)));
  const double column = std::floor(view.turn * columns);
  const auto cell = static_cast<std::uint32_t>(row * 1000 + column);
  if (Hash(cell) < 0.93) {
    return 0;
  }
  const double inX = view.turn * columns - column - (0.25 + 0.5 * Hash(cell + 77777U));
  const double inY = view.elevation / (pi / 2) * kRows - row - (0.25 + 0.5 * Hash(cell + 99991U));
  const double near = 1 - Step(0.03, 0.11, std::sqrt(inX * inX + inY * inY));
  return near * (0.3 + 0.6 * Hash(cell + 5U)) * Step(0.3, 0.9, view.y);
}

struct Ridge {
  double base = 0;
  double height = 0;
  int knots = 0;
  Colour colour;
};

constexpr std::array<Ridge, 3> kRidges = {{{0.055, 0.20, 9, {0.56, 0.40, 0.50}},
                                           {0.020, 0.15, 14, {0.34, 0.26, 0.40}},
                                           {0.000, 0.085, 23, {0.16, 0.14, 0.25}}}};

double RidgeElevation(const Ridge& ridge, double turn, std::uint32_t seed) {
  const double rough = RingNoise(turn, ridge.knots, seed) +
                       0.45 * RingNoise(turn, ridge.knots * 3, seed + 1) +
                       0.20 * RingNoise(turn, ridge.knots * 8, seed + 2) +
                       0.08 * RingNoise(turn, ridge.knots * 21, seed + 3);
  constexpr double kSum = 1.73;
  return ridge.base + ridge.height * rough / kSum;
}

Colour AboveHorizon(const View& view) {
  Colour colour = Sky(view);
  const double star = Star(view);
  colour = colour + Colour{star, star, star};
  for (std::size_t i = 0; i < kRidges.size(); ++i) {
    const double top =
        RidgeElevation(kRidges[i], view.turn, static_cast<std::uint32_t>(31 * i + 4));
    const double covered = std::clamp((top - view.elevation) / view.pixel + 0.5, 0.0, 1.0);
    const double depth = std::clamp((top - view.elevation) / 0.16, 0.0, 1.0);
    const double glow = 0.02 / (1 - TowardsSun(view) + 0.06);
    const Colour rock = Mix(Mix(kRidges[i].colour, kHaze, 0.35 * glow), kHaze * 0.75, 0.25 * depth);
    colour = Mix(colour, rock, covered);
  }
  return colour;
}

/// How much of a stretch of `width` around `position` lies on odd tiles: the exact average of the
/// pattern, so that far tiles turn grey instead of flickering.
double OddShare(double position, double width) {
  const auto integral = [](double p) {
    const double whole = std::floor(p / 2);
    const double rest = p - 2 * whole;
    return whole + std::max(0.0, rest - 1);
  };
  const double half = std::max(width, 1e-6) / 2;
  return (integral(position + half) - integral(position - half)) / (2 * half);
}

Colour Floor(const View& view) {
  constexpr double kEyeHeight = 1.6;
  const double down = std::max(-view.y, 1e-4);
  const double range = kEyeHeight / down;
  const double along = view.x * range + 0.5;  // in the middle of a tile
  const double ahead = view.z * range + 0.5;
  const double footprint = range / down * view.pixel;
  const double a = OddShare(along, footprint);
  const double b = OddShare(ahead, footprint);
  const double odd = a + b - 2 * a * b;
  Colour colour = Mix({0.30, 0.25, 0.31}, {0.43, 0.36, 0.40}, odd);
  const double mirror = TowardsSun({view.turn, -view.elevation, view.x, -view.y, view.z, 0});
  colour = colour + kSunColour * (0.007 / (1 - mirror + 0.022));
  return Mix(colour, kHaze * 0.72, Step(0.10, 1.0, range / 42));
}

Colour Landscape(const View& view) {
  const double above = std::clamp(view.elevation / view.pixel + 0.5, 0.0, 1.0);
  const Colour sky = above > 0 ? AboveHorizon(view) : Colour{};
  const Colour ground = above < 1 ? Floor(view) : Colour{};
  return Mix(ground, sky, above);
}

// ---- The lines of latitude and longitude ----

/// Nearness of a position to the closest multiple of `step`, as a line of `width` pixels.
double Line(double position, double step, double width) {
  const double off = std::abs(position - step * std::round(position / step));
  return std::clamp(width / 2 + 0.5 - off, 0.0, 1.0);
}

double Graticule(double x, double y, int width, int height) {
  constexpr double kMeridians = 24;
  constexpr double kParallels = 12;
  const double thin = std::max(1.0, width / 2048.0);
  const double minor =
      std::max(Line(x, width / kMeridians, thin), Line(y, height / kParallels, thin));
  const double major = std::max(Line(x - width / 2.0, width * 2.0, 2 * thin),
                                Line(y - height / 2.0, height * 2.0, 2 * thin));
  return std::max(0.20 * minor, 0.55 * major);
}

struct Label {
  StrokeText text;
  double left = 0;
  double top = 0;
  double size = 0;
};

/// Degrees along the equator and the middle meridian.
std::vector<Label> Labels(int width, int height) {
  constexpr int kDegrees = 30;
  constexpr int kHalfTurn = 180;
  const double size = height / 85.0;
  std::vector<Label> labels;
  for (int degrees = kDegrees - kHalfTurn; degrees < kHalfTurn; degrees += kDegrees) {
    const char* side = degrees < 0 ? " W" : degrees > 0 ? " E" : "";
    labels.push_back({LayOutText(Text(std::abs(degrees), side)),
                      width * (0.5 + degrees / 360.0) + size * 0.5, height / 2.0 + size * 0.6,
                      size});
  }
  for (int degrees = -2 * kDegrees; degrees <= 2 * kDegrees; degrees += kDegrees) {
    if (degrees != 0) {
      labels.push_back({LayOutText(Text(std::abs(degrees), degrees < 0 ? " S" : " N")),
                        width / 2.0 + size * 0.5, height * (0.5 - degrees / 180.0) + size * 0.6,
                        size});
    }
  }
  return labels;
}

/// How much of the pixel at (x, y) the pen covers.
double Ink(const Label& label, double x, double y, double pen) {
  const double u = (x - label.left) / label.size;
  const double v = (y - label.top) / label.size;
  const double reach = pen + 1 / label.size;
  if (u < -reach || v < -reach || u > label.text.width + reach || v > 1 + reach) {
    return 0;
  }
  const double off = DistanceToStrokes(label.text.strokes, u, v);
  return std::clamp((pen / 2 - off) * label.size + 0.5, 0.0, 1.0);
}

// ---- The layer ----

constexpr double kPanelFade = 0.16;  // of the height: how far in the edges fade

/// 1 inside a rounded panel, fading to 0 at the picture's edge.
double PanelAlpha(double x, double y, int width, int height) {
  const double fade = kPanelFade * height;
  const double corner = 0.42 * height;
  const double dx = std::max(std::abs(x - width / 2.0) - (width / 2.0 - corner), 0.0);
  const double dy = std::max(std::abs(y - height / 2.0) - (height / 2.0 - corner), 0.0);
  const double edge = corner - std::sqrt(dx * dx + dy * dy);
  return Step(0.0, fade, edge);
}

Colour PanelColour(double x, double y, int width, int height) {
  const Colour across = Mix(Mix({0.98, 0.55, 0.16}, {0.87, 0.18, 0.42}, Step(0.0, 0.55, x / width)),
                            {0.36, 0.16, 0.66}, Step(0.45, 1.0, x / width));
  return across * (1.08 - 0.22 * y / height);
}

Label FittedTitle(int width, int height) {
  StrokeText text = LayOutText("ALONG THE GREAT CIRCLE");
  const double size = std::min(0.34 * height, 0.86 * width / text.width);
  const double textWidth = text.width * size;
  return {std::move(text), (width - textWidth) / 2, (height - size) / 2, size};
}

PF_PixelFloat Pixel(const Colour& colour, double alpha) {
  const auto channel = [](double value) { return static_cast<float>(std::clamp(value, 0.0, 1.0)); };
  return {channel(alpha), channel(colour.r), channel(colour.g), channel(colour.b)};
}

World MakeWorld(int width, int height) {
  Expected<World> world = World::Create(width, height, host::Depth::kFloat);
  if (!world) {
    throw RenderError(world.ErrorText());
  }
  return std::move(*world);
}

}  // namespace

World DrawSampleFrame(int width, int height, host::ThreadPool& pool) {
  constexpr double kLabelPen = 0.16;
  World world = MakeWorld(width, height);
  const std::vector<Label> labels = Labels(width, height);
  const double pixel = pi / height;
  pool.ForEach(height, [&](int row) {
    const auto pixels = world.Row<PF_PixelFloat>(row);
    const double y = row;  // the host's rows and columns lie on the lines, not between them
    for (int column = 0; column < width; ++column) {
      const double x = column;
      const View view = ViewAt(x / width, (0.5 - y / height) * pi, pixel);
      Colour colour = Landscape(view);
      double mark = Graticule(x, y, width, height);
      for (const Label& label : labels) {
        mark = std::max(mark, 0.75 * Ink(label, x, y, kLabelPen));
      }
      colour = Mix(colour, {1, 1, 1}, mark);
      pixels[static_cast<std::size_t>(column)] = Pixel(colour, 1);
    }
  });
  return world;
}

World DrawSampleLayer(int width, int height, host::ThreadPool& pool) {
  constexpr double kTitlePen = 0.17;
  World world = MakeWorld(width, height);
  const Label title = FittedTitle(width, height);
  pool.ForEach(height, [&](int row) {
    const auto pixels = world.Row<PF_PixelFloat>(row);
    const double y = row + 0.5;
    for (int column = 0; column < width; ++column) {
      const double x = column + 0.5;
      const double alpha = PanelAlpha(x, y, width, height);
      const double rule = 0.5 * std::max(Line(y - 0.24 * height, 4.0 * height, 0.012 * height),
                                         Line(y - 0.76 * height, 4.0 * height, 0.012 * height));
      const Colour panel = Mix(PanelColour(x, y, width, height), {1, 1, 1}, rule);
      const Colour colour = Mix(panel, {1, 1, 1}, Ink(title, x, y, kTitlePen));
      pixels[static_cast<std::size_t>(column)] = Pixel(colour, 0.96 * alpha);
    }
  });
  return world;
}

}  // namespace veltra::cli
