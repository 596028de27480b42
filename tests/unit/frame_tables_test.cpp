// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A frame's tables: the same picture as without them, and only where they belong.
#include "effect/render/pixel/frame_tables.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <iterator>
#include <limits>
#include <optional>
#include <random>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "effect/render/pixel/place_pixel.h"
#include "effect/render/pixel/place_pixel_filtered.h"
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

/// Every pixel of the frame, row by row or in another order.
std::vector<std::pair<A_long, A_long>> Positions(std::optional<unsigned> shuffle = {}) {
  std::vector<std::pair<A_long, A_long>> positions;
  for (A_long y = 0; y < kHeight; ++y) {
    for (A_long x = 0; x < kWidth; ++x) {
      positions.emplace_back(x, y);
    }
  }
  if (shuffle) {
    std::shuffle(positions.begin(), positions.end(), std::mt19937(*shuffle));
  }
  return positions;
}

template <class Pixel>
std::vector<Pixel> Draw(const PlacementRecord& record, bool filtered,
                        const std::vector<std::pair<A_long, A_long>>& positions = Positions()) {
  std::vector<Pixel> pixels(std::size_t{kWidth} * kHeight);
  PF_IteratePixelFn<Pixel> function =
      filtered ? Functions<Pixel>::kFiltered : Functions<Pixel>::kPlain;
  auto* refcon = const_cast<PlacementRecord*>(&record);
  for (const auto& [x, y] : positions) {
    function(
        refcon, x, y, nullptr,
        &pixels[std::size_t{kWidth} * static_cast<std::size_t>(y) + static_cast<std::size_t>(x)]);
  }
  return pixels;
}

/// A layer for the seams of Tile, which read its pixels.
template <class Pixel>
struct PaintedLayer {
  static constexpr A_long kLayerWidth = 22;
  static constexpr A_long kLayerHeight = 32;

  PaintedLayer() : pixels(std::size_t{kLayerWidth} * kLayerHeight) {
    using Channel = decltype(Pixel::alpha);
    for (std::size_t i = 0; i < pixels.size(); ++i) {
      const auto value = static_cast<Channel>(i % 200 + 1);
      pixels[i] = {value, value, value, value};
    }
    world.data = pixels.data();
    world.rowbytes = static_cast<A_long>(kLayerWidth * sizeof(Pixel));
    world.width = kLayerWidth;
    world.height = kLayerHeight;
  }

  std::vector<Pixel> pixels;
  PF_EffectWorld world{};
};

/// The record with this layer; in Tile with several seams on the strip.
template <class Pixel>
PlacementRecord WithLayer(PlacementRecord record, PaintedLayer<Pixel>& layer, bool tile) {
  record.samplingParams.src = &layer.world;
  record.tileMode = tile ? 1 : 0;
  record.tilePeriod = PaintedLayer<Pixel>::kLayerWidth - 1;
  record.tileOffset = 5;
  return record;
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

TYPED_TEST(FrameTablesPicture, IsTheSameInWhateverOrderThePixelsCome) {
  auto backwards = Positions();
  std::reverse(backwards.begin(), backwards.end());
  PaintedLayer<TypeParam> layer;
  for (const bool tile : {false, true}) {
    const PlacementRecord record =
        WithLayer(WithSampler<TypeParam>(SlantedRecord(), false), layer, tile);
    const auto alone = Draw<TypeParam>(record, false);
    const TabledRecord tabled(record, FrameWorld(), {0, 0, kWidth, kHeight});
    EXPECT_TRUE(Same(Draw<TypeParam>(tabled, false, backwards), alone)) << "tile " << tile;
    EXPECT_TRUE(Same(Draw<TypeParam>(tabled, false, Positions(1)), alone)) << "tile " << tile;
    EXPECT_TRUE(Same(Draw<TypeParam>(tabled, false), alone)) << "tile " << tile;
  }
}

TYPED_TEST(FrameTablesPicture, FollowsARecordThatChangesBetweenTwoNeighbours) {
  using Change = void (*)(PlacementRecord&);
  const Change changes[] = {
      [](PlacementRecord& r) { r.originOffsetX += 5; },
      [](PlacementRecord& r) { r.halfBandAngle *= 2; },
      [](PlacementRecord& r) { r.spanStart.x -= 0.5; },
      [](PlacementRecord& r) { r.spanStart.y -= 0.5; },
      [](PlacementRecord& r) { r.spanStart.z += 0.5; },
      [](PlacementRecord& r) { r.spanEnd.x += 0.25; },
      [](PlacementRecord& r) { r.spanEnd.y += 0.9; },
      [](PlacementRecord& r) { r.spanEnd.z -= 0.7; },
      [](PlacementRecord& r) { r.spanAngle *= 0.1; },
      [](PlacementRecord& r) { std::swap(r.spanNormal.x, r.spanNormal.y); },
      [](PlacementRecord& r) { r.spanNormal.z += 0.5; },
      [](PlacementRecord& r) { r.layerPixelsPerRadian *= 2; },
      [](PlacementRecord& r) { r.layerHalfHeight *= 2; },
      [](PlacementRecord& r) { r.tilePeriod = 6; },
      [](PlacementRecord& r) { r.tileOffset += 4; },
      [](PlacementRecord& r) { r.tileMode = 0; },
  };
  PaintedLayer<TypeParam> layer;
  const PlacementRecord record =
      WithLayer(WithSampler<TypeParam>(SlantedRecord(), false), layer, true);
  const auto draw = [](PlacementRecord& drawn, A_long x) {
    TypeParam pixel{};
    Functions<TypeParam>::kPlain(&drawn, x, 20, nullptr, &pixel);
    return std::vector{pixel};
  };
  for (std::size_t i = 0; i < std::size(changes); ++i) {
    TabledRecord tabled(record, FrameWorld(), {0, 0, kWidth, kHeight});
    const std::uint32_t mark = tabled.tablesMark;
    draw(tabled, 18);
    const auto unchanged = draw(tabled, 19);
    changes[i](tabled);
    PlacementRecord alone = tabled;
    EXPECT_TRUE(Same(draw(tabled, 19), draw(alone, 19))) << "change " << i;
    EXPECT_FALSE(Same(draw(tabled, 19), unchanged)) << "change " << i << " changes nothing";

    draw(tabled, 18);
    static_cast<PlacementRecord&>(tabled) = record;
    tabled.tablesMark = mark;
    EXPECT_TRUE(Same(draw(tabled, 19), unchanged)) << "change " << i << " taken back";
  }
}

TEST(NeighbourNote, NeverGivesAMixtureOfTwo) {
  NeighbourNote note;
  std::atomic<bool> done{false};
  const auto leave = [&note, &done](A_long column) {
    while (!done) {
      note.Leave(column, {column, column, static_cast<float>(column)});
    }
  };
  std::thread one(leave, 101);
  std::thread other(leave, 203);
  const auto taken = [&note](A_long column) {
    SamplePoint point{};
    if (note.Take(column, point) != Noted::kOnStrip) {
      return 0;
    }
    EXPECT_EQ(point.x, column);
    EXPECT_EQ(point.y, column);
    EXPECT_EQ(point.coverage, static_cast<float>(column));
    return 1;
  };
  int ones = 0;
  int others = 0;
  while ((ones < 20000 || others < 20000) && !HasFailure()) {
    ones += taken(101);
    others += taken(203);
  }
  done = true;
  one.join();
  other.join();
}

TEST(NeighbourNote, IsForItsColumnOnly) {
  NeighbourNote note;
  SamplePoint point{};
  EXPECT_EQ(note.Take(1, point), Noted::kUnknown);
  note.Leave(7, {-5, 6, 0.25F});
  EXPECT_EQ(note.Take(5, point), Noted::kUnknown);
  ASSERT_EQ(note.Take(7, point), Noted::kOnStrip);
  EXPECT_EQ(point.x, -5);
  EXPECT_EQ(point.y, 6);
  EXPECT_EQ(point.coverage, 0.25F);
  note.LeaveOffStrip(9);
  EXPECT_EQ(note.Take(9, point), Noted::kOffStrip);
  EXPECT_EQ(note.Take(7, point), Noted::kUnknown);
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
