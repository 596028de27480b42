// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A frame's tables: the same picture as without them, and only where they belong.
#include "render/pixel/frame_tables.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

#include "render/pixel/place_pixel.h"
#include "render/pixel/place_pixel_filtered.h"
#include "tests/conformance/stage.h"
#include "tests/reference/geometry.h"

namespace veltra {
namespace {

using conformance::EveryDepth;
using conformance::Fixed;

constexpr A_long kWidth = 96;
constexpr A_long kHeight = 48;

/// A pixel that tells where the layer was sampled and with what box.
template <class Pixel>
PF_Err SamplePosition(PF_ProgPtr /*effectRef*/, PF_Fixed x, PF_Fixed y, const PF_SampPB* params,
                      Pixel* out) {
  using Channel = decltype(Pixel::alpha);
  const auto mixed = static_cast<std::uint32_t>(x) * 2654435761U ^
                     static_cast<std::uint32_t>(y) * 40503U ^
                     static_cast<std::uint32_t>(params->x_radius + params->y_radius);
  *out = {static_cast<Channel>(std::is_same_v<Channel, float> ? 1 : 200),
          static_cast<Channel>(mixed & 255U), static_cast<Channel>(mixed >> 8 & 255U),
          static_cast<Channel>(mixed >> 16 & 255U)};
  return PF_Err_NONE;
}

template <class Pixel>
struct Functions;
template <>
struct Functions<PF_Pixel8> {
  static constexpr auto kPlain = PlacePixel8;
  static constexpr auto kFiltered = PlacePixelFiltered8;
};
template <>
struct Functions<PF_Pixel16> {
  static constexpr auto kPlain = PlacePixel16;
  static constexpr auto kFiltered = PlacePixelFiltered16;
};
template <>
struct Functions<PF_PixelFloat> {
  static constexpr auto kPlain = PlacePixelFloat;
  static constexpr auto kFiltered = PlacePixelFilteredFloat;
};

/// A strip from the upper left to the lower right that covers a third of the frame.
PlacementRecord SlantedRecord() {
  reference::GeometryInput input;
  input.controls.startX = Fixed(20);
  input.controls.startY = Fixed(12);
  input.controls.endX = Fixed(70);
  input.controls.endY = Fixed(40);
  input.controls.size = Fixed(50);
  input.frameWidth = kWidth;
  input.frameHeight = kHeight;
  input.layerWidth = 64;
  input.layerHeight = 32;
  reference::Placement placement =
      reference::ComputePlacement(input, reference::StandardMaths()).value();
  placement.opacity = 1.0F;
  return reference::RecordFrom<PlacementRecord>(placement);
}

template <class Pixel>
PlacementRecord WithSampler(PlacementRecord record, bool filtered) {
  (filtered ? record.areaSample : record.subpixelSample) =
      reinterpret_cast<AnySampleFn>(SamplePosition<Pixel>);
  return record;
}

template <class Pixel>
std::vector<Pixel> Draw(const PlacementRecord& record, bool filtered) {
  std::vector<Pixel> pixels(std::size_t{kWidth} * kHeight);
  PF_IteratePixelFn<Pixel> function =
      filtered ? Functions<Pixel>::kFiltered : Functions<Pixel>::kPlain;
  auto* refcon = const_cast<PlacementRecord*>(&record);
  std::size_t i = 0;
  for (A_long y = 0; y < kHeight; ++y) {
    for (A_long x = 0; x < kWidth; ++x) {
      function(refcon, x, y, nullptr, &pixels[i++]);
    }
  }
  return pixels;
}

template <class Pixel>
bool Same(const std::vector<Pixel>& a, const std::vector<Pixel>& b) {
  return std::memcmp(a.data(), b.data(), a.size() * sizeof(Pixel)) == 0;
}

template <class Pixel>
std::ptrdiff_t Drawn(const std::vector<Pixel>& pixels) {
  return std::count_if(pixels.begin(), pixels.end(), [](const Pixel& p) { return p.alpha > 0; });
}

PF_EffectWorld FrameWorld() {
  PF_EffectWorld world{};
  world.width = kWidth;
  world.height = kHeight;
  return world;
}

template <class Pixel>
class FrameTablesPicture : public EveryDepth<Pixel> {};
TYPED_TEST_SUITE(FrameTablesPicture, conformance::AllPixels, conformance::DepthNames);

TYPED_TEST(FrameTablesPicture, IsThatOfPixelsOnTheirOwnWhateverAreaTheTablesHold) {
  for (const bool filtered : {false, true}) {
    for (const double origin : {0.0, -7.0}) {
      PlacementRecord record = WithSampler<TypeParam>(SlantedRecord(), filtered);
      record.originOffsetX = origin;
      record.originOffsetY = -origin;
      const auto alone = Draw<TypeParam>(record, filtered);
      EXPECT_GT(Drawn(alone), kWidth * kHeight / 8);
      EXPECT_LT(Drawn(alone), kWidth * kHeight / 2);
      for (const PF_LRect& area :
           {PF_LRect{0, 0, kWidth, kHeight}, PF_LRect{30, 20, 50, 30}, PF_LRect{-9, -9, 999, 999},
            PF_LRect{5, 5, 5, 5}, PF_LRect{40, 30, 10, 10}}) {
        const TabledRecord tabled(record, FrameWorld(), area);
        EXPECT_TRUE(Same(Draw<TypeParam>(tabled, filtered), alone)) << "left " << area.left;
      }
    }
  }
}

TYPED_TEST(FrameTablesPicture, FollowsARecordThatWasChangedOrCopiedAfterwards) {
  const PlacementRecord record = WithSampler<TypeParam>(SlantedRecord(), false);
  PlacementRecord other = record;
  other.halfBandAngle *= 1.5;
  other.spanAngle *= 0.7;
  other.normScaleX *= 0.9;
  const auto expected = Draw<TypeParam>(other, false);

  TabledRecord changed(record, FrameWorld(), {0, 0, kWidth, kHeight});
  for (double PlacementRecord::*number :
       {&PlacementRecord::halfBandAngle, &PlacementRecord::spanAngle,
        &PlacementRecord::normScaleX}) {
    changed.*number = other.*number;
  }
  EXPECT_TRUE(Same(Draw<TypeParam>(changed, false), expected));

  const TabledRecord tabled(record, FrameWorld(), {0, 0, kWidth, kHeight});
  const PlacementRecord copy = tabled;
  EXPECT_EQ(TabledRecord::TablesOf(copy), nullptr);
  EXPECT_TRUE(Same(Draw<TypeParam>(copy, false), Draw<TypeParam>(record, false)));
}

TEST(FrameTables, HoldTheAreaInsideTheWorldWithItsNeighbours) {
  const PlacementRecord record = SlantedRecord();
  const FrameTables tables(record, FrameWorld(), {30, -5, 500, 20});
  EXPECT_TRUE(tables.Cover(record, 30, 0));
  EXPECT_TRUE(tables.Cover(record, kWidth - 1, 19));
  EXPECT_TRUE(tables.Hold(29, 1));
  EXPECT_FALSE(tables.Hold(28, 0));
  EXPECT_FALSE(tables.Hold(kWidth + 1, 0));
  EXPECT_FALSE(tables.Hold(30, 21));
  EXPECT_FALSE(tables.Hold(std::numeric_limits<A_long>::min(), 0));
}

TEST(FrameTables, StayEmptyForOffsetsThatAreNoWholeNumbers) {
  for (const double offset : {0.5, 1e300, std::numeric_limits<double>::quiet_NaN()}) {
    PlacementRecord record = SlantedRecord();
    record.originOffsetX = offset;
    EXPECT_FALSE(FrameTables(record, FrameWorld(), {0, 0, kWidth, kHeight}).Hold(0, 0));
  }
}

}  // namespace
}  // namespace veltra
