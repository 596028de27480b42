// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// From pixels of the view to directions, to places in the frame, to colours.
#include "cli/view/sphere_view.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <optional>
#include <type_traits>

#include "base/error.h"
#include "numerics/trigonometry.h"

namespace veltra::cli {
namespace {

using host::Depth;
using host::World;
using std::numbers::pi;

constexpr double kDegree = pi / 180;
/// The globe's radius, for half of the view's shorter side of 1.
constexpr double kGlobeRadius = 0.95;

struct Sight {
  double x = 0;  ///< right
  double y = 0;  ///< up
  double z = 1;  ///< to the frame's centre
};

/// Alpha and the colours multiplied by it.
using Multiplied = std::array<double, 4>;

// ---- Pixels ----

template <class PixelType, int kFullScale>
struct Integers {
  using Pixel = PixelType;
  static Multiplied Load(const Pixel& pixel) {
    const double alpha = static_cast<double>(pixel.alpha) / kFullScale;
    return {alpha, pixel.red * alpha, pixel.green * alpha, pixel.blue * alpha};
  }
  static Pixel Store(const Multiplied& value) {
    using Channel = decltype(Pixel::alpha);
    const auto rounded = [](double channel) {
      return static_cast<Channel>(std::clamp(channel + 0.5, 0.0, static_cast<double>(kFullScale)));
    };
    const double alpha = value[0];
    if (!(alpha > 0)) {
      return {};
    }
    return {rounded(alpha * kFullScale), rounded(value[1] / alpha), rounded(value[2] / alpha),
            rounded(value[3] / alpha)};
  }
};

/// An alpha of -0 marks light without coverage, whose colour counts as multiplied already.
struct Floats {
  using Pixel = PF_PixelFloat;
  static Multiplied Load(const Pixel& pixel) {
    const double alpha = static_cast<double>(pixel.alpha);
    const double factor = alpha == 0 && std::signbit(pixel.alpha) ? 1 : alpha;
    return {alpha, static_cast<double>(pixel.red) * factor,
            static_cast<double>(pixel.green) * factor, static_cast<double>(pixel.blue) * factor};
  }
  static Pixel Store(const Multiplied& value) {
    const bool covered = value[0] > 0;
    const double divisor = covered ? value[0] : 1;
    return {covered ? static_cast<float>(value[0]) : -0.0F, static_cast<float>(value[1] / divisor),
            static_cast<float>(value[2] / divisor), static_cast<float>(value[3] / divisor)};
  }
};

// ---- The frame as a function of the direction ----

/// Catmull-Rom weights of the four pixels around a place `t` behind the second.
std::array<double, 4> CubicWeights(double t) {
  return {((-0.5 * t + 1.0) * t - 0.5) * t, (1.5 * t - 2.5) * t * t + 1.0,
          ((-1.5 * t + 2.0) * t + 0.5) * t, (0.5 * t - 0.5) * t * t};
}

template <class Kind>
class Frame {
 public:
  explicit Frame(const World& world)
      : world_(world), width_(world.Width()), height_(world.Height()) {}

  Multiplied At(const Sight& direction) const {
    const double flat = std::sqrt(direction.x * direction.x + direction.z * direction.z);
    const double length = std::sqrt(flat * flat + direction.y * direction.y);
    double longitude = 0;
    if (flat > 0) {
      longitude = numerics::Acos(std::clamp(direction.z / flat, -1.0, 1.0));
      longitude = direction.x < 0 ? -longitude : longitude;
    }
    const double colatitude = numerics::Acos(std::clamp(direction.y / length, -1.0, 1.0));
    return Interpolated((longitude / (2 * pi) + 0.5) * width_ - 0.5,
                        colatitude / pi * height_ - 0.5);
  }

 private:
  /// The pixel of any column and of a row not far beyond the poles, where the next row is the same
  /// one on the other side.
  Multiplied Tap(int column, int row) const {
    if (row < 0 || row >= height_) {
      row = row < 0 ? -1 - row : 2 * height_ - 1 - row;
      row = std::clamp(row, 0, height_ - 1);
      column += width_ / 2;
    }
    column = (column % width_ + width_) % width_;
    return Kind::Load(world_.Row<typename Kind::Pixel>(row)[static_cast<std::size_t>(column)]);
  }

  /// Bicubic, kept within what the four nearest pixels have, so that edges do not ring.
  Multiplied Interpolated(double x, double y) const {
    const double left = std::floor(x);
    const double top = std::floor(y);
    const std::array<double, 4> across = CubicWeights(x - left);
    const std::array<double, 4> down = CubicWeights(y - top);
    Multiplied sum{};
    Multiplied least{};
    Multiplied most{};
    for (int j = 0; j < 4; ++j) {
      for (int i = 0; i < 4; ++i) {
        const Multiplied tap = Tap(static_cast<int>(left) + i - 1, static_cast<int>(top) + j - 1);
        const bool near = (i == 1 || i == 2) && (j == 1 || j == 2);
        const bool first = i == 1 && j == 1;
        const double weight =
            across[static_cast<std::size_t>(i)] * down[static_cast<std::size_t>(j)];
        for (std::size_t c = 0; c < sum.size(); ++c) {
          sum[c] += weight * tap[c];
          if (near) {
            least[c] = first ? tap[c] : std::min(least[c], tap[c]);
            most[c] = first ? tap[c] : std::max(most[c], tap[c]);
          }
        }
      }
    }
    for (std::size_t c = 0; c < sum.size(); ++c) {
      sum[c] = std::min(std::max(sum[c], least[c]), most[c]);
    }
    return sum;
  }

  const World& world_;
  int width_;
  int height_;
};

// ---- The camera ----

class Camera {
 public:
  explicit Camera(const ViewSettings& settings)
      : settings_(settings),
        yaw_(numerics::SinCos(settings.yaw * kDegree)),
        pitch_(numerics::SinCos(settings.pitch * kDegree)) {
    const auto half = numerics::SinCos(settings.fov * kDegree / 2);
    const double shorter = std::min(settings.width, settings.height);
    // A step of one pixel, on a plane at distance 1 or on a ball of radius 1.
    step_ = settings.globe ? 2 / (shorter * kGlobeRadius)
                           : 2 * half.sine / half.cosine / settings.width;
  }

  double Step() const { return step_; }

  /// Where a place of the view, in pixels from its top left corner, looks; nothing beside a globe.
  std::optional<Sight> Towards(double x, double y) const {
    const double right = (x - settings_.width / 2.0) * step_;
    const double up = (settings_.height / 2.0 - y) * step_;
    double ahead = 1;
    if (settings_.globe) {
      const double depth = 1 - right * right - up * up;
      if (depth < 0) {
        return std::nullopt;
      }
      ahead = std::sqrt(depth);
    }
    const double height = up * pitch_.cosine + ahead * pitch_.sine;
    const double away = ahead * pitch_.cosine - up * pitch_.sine;
    return Sight{right * yaw_.cosine + away * yaw_.sine, height,
                 away * yaw_.cosine - right * yaw_.sine};
  }

 private:
  const ViewSettings& settings_;
  numerics::SinCosResult yaw_;
  numerics::SinCosResult pitch_;
  double step_ = 0;
};

/// So many samples to a side of a pixel that none is further from the next than the frame's pixels.
int SamplesPerSide(const World& frame, const ViewSettings& settings, double step) {
  constexpr int kMost = 16;
  constexpr int kSmoothEdge = 4;
  const double framePixel = std::min(2 * pi / frame.Width(), pi / frame.Height());
  const int enough = static_cast<int>(std::clamp(std::ceil(step / framePixel), 1.0, 16.0));
  return std::clamp(enough, settings.globe ? kSmoothEdge : 1, kMost);
}

template <class Kind>
void Draw(const World& source, const ViewSettings& settings, host::ThreadPool& pool, World& out) {
  const Frame<Kind> frame(source);
  const Camera camera(settings);
  const int samples = SamplesPerSide(source, settings, camera.Step());
  pool.ForEach(settings.height, [&](int y) {
    const auto row = out.Row<typename Kind::Pixel>(y);
    for (int x = 0; x < settings.width; ++x) {
      Multiplied sum{};
      for (int sample = 0; sample < samples * samples; ++sample) {
        const int column = sample % samples;
        const int line = sample / samples;
        const double across = (column + 0.5) / samples;
        const double down = (line + 0.5) / samples;
        if (const auto direction = camera.Towards(x + across, y + down)) {
          const Multiplied value = frame.At(*direction);
          for (std::size_t c = 0; c < sum.size(); ++c) {
            sum[c] += value[c];
          }
        }
      }
      for (double& channel : sum) {
        channel /= samples * samples;
      }
      row[static_cast<std::size_t>(x)] = Kind::Store(sum);
    }
  });
}

}  // namespace

World DrawView(const World& frame, const ViewSettings& settings, host::ThreadPool& pool) {
  Expected<World> out = World::Create(settings.width, settings.height, frame.PixelDepth());
  if (!out) {
    throw RenderError(out.ErrorText());
  }
  switch (frame.PixelDepth()) {
    case Depth::k8:
      Draw<Integers<PF_Pixel8, 255>>(frame, settings, pool, *out);
      break;
    case Depth::k16:
      Draw<Integers<PF_Pixel16, 32768>>(frame, settings, pool, *out);
      break;
    case Depth::kFloat:
      Draw<Floats>(frame, settings, pool, *out);
      break;
  }
  return std::move(*out);
}

}  // namespace veltra::cli
