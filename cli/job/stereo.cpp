// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Eyes out of a frame and back into one.
#include "cli/job/stereo.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

#include "base/error.h"
#include "base/text.h"

namespace veltra::cli {
namespace {

constexpr double kFixedOne = 65536.0;

host::World NewWorld(A_long width, A_long height, const host::World& like) {
  Expected<host::World> world = host::World::Create(width, height, like.PixelDepth());
  if (!world) {
    throw RenderError(world.ErrorText());
  }
  world->SetPixelAspect(like.PixelAspect());
  return std::move(*world);
}

std::size_t PixelBytes(const host::World& world) {
  return static_cast<std::size_t>(host::BytesPerPixel(world.PixelDepth()));
}

/// Copies a picture to a place in a larger one, or, the other way round, a part of the larger one.
template <class Copy>
void ForEachRow(const host::World& part, A_long left, A_long top, std::size_t pixelBytes,
                const Copy& copy) {
  const std::size_t bytes = static_cast<std::size_t>(part.Width()) * pixelBytes;
  const std::size_t offset = static_cast<std::size_t>(left) * pixelBytes;
  for (A_long y = 0; y < part.Height(); ++y) {
    copy(y, y + top, offset, bytes);
  }
}

}  // namespace

PictureSize EyeSize(StereoLayout layout, int width, int height, int downsample) {
  const bool stacked = layout == StereoLayout::kTopBottom;
  const int side = stacked ? height : width;
  if (side % (2 * downsample) != 0) {
    throw UsageError(Text("--stereo: a frame of ", width, "x", height, " has no two equal halves ",
                          stacked ? "above each other" : "beside each other",
                          downsample > 1 ? Text(" at 1/", downsample, " of its resolution") : "",
                          " (expected ", stacked ? "a height" : "a width", " that ", 2 * downsample,
                          " divides)"));
  }
  return stacked ? PictureSize{width, height / 2} : PictureSize{width / 2, height};
}

SharedWorld EyeOf(const host::World& frame, StereoLayout layout, Eye eye) {
  const bool stacked = layout == StereoLayout::kTopBottom;
  host::World part = NewWorld(stacked ? frame.Width() : frame.Width() / 2,
                              stacked ? frame.Height() / 2 : frame.Height(), frame);
  const bool second = eye == Eye::kRight;
  ForEachRow(part, second && !stacked ? part.Width() : 0, second && stacked ? part.Height() : 0,
             PixelBytes(frame), [&](A_long y, A_long from, std::size_t offset, std::size_t bytes) {
               std::memcpy(part.RowAddress(y), frame.RowAddress(from) + offset, bytes);
             });
  part.KeepFacts();
  return std::make_shared<const host::World>(std::move(part));
}

host::World JoinEyes(const host::World& left, const host::World& right, StereoLayout layout) {
  const bool stacked = layout == StereoLayout::kTopBottom;
  host::World frame = NewWorld(stacked ? left.Width() : 2 * left.Width(),
                               stacked ? 2 * left.Height() : left.Height(), left);
  for (const host::World* eye : {&left, &right}) {
    const bool second = eye == &right;
    ForEachRow(*eye, second && !stacked ? left.Width() : 0, second && stacked ? left.Height() : 0,
               PixelBytes(left), [&](A_long y, A_long to, std::size_t offset, std::size_t bytes) {
                 std::memcpy(frame.RowAddress(to) + offset, eye->RowAddress(y), bytes);
               });
  }
  return frame;
}

host::ControlValue Turned(host::ControlValue point, double degrees, int frameWidth) {
  const double moved =
      static_cast<double>(point.x) + std::nearbyint(degrees / 360.0 * frameWidth * kFixedOne);
  constexpr double kLeast = std::numeric_limits<A_long>::min();
  constexpr double kMost = std::numeric_limits<A_long>::max();
  point.x = static_cast<A_long>(std::clamp(moved, kLeast, kMost));
  return point;
}

}  // namespace veltra::cli
