// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A frame's tables: the same picture as without them, and only where they belong.
#include "effect/render/pixel/frame_tables.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

#include "tests/unit/small_frame.h"

namespace veltra {
namespace {

using conformance::EveryDepth;
using conformance::Fixed;
using namespace unit;

template <class Pixel>
class FrameTablesPicture : public EveryDepth<Pixel> {};
TYPED_TEST_SUITE(FrameTablesPicture, conformance::AllPixels, conformance::DepthNames);

TYPED_TEST(FrameTablesPicture, IsThatOfPixelsOnTheirOwnHoweverMuchTheTablesHold) {
  for (const bool filtered : {false, true}) {
    for (const double origin : {0.0, -7.0}) {
      PlacementRecord record = WithSampler<TypeParam>(SlantedRecord(), filtered);
      record.originOffsetX = origin;
      record.originOffsetY = -origin;
      const auto alone = Draw<TypeParam>(record, filtered);
      EXPECT_GT(Drawn(alone), kWidth * kHeight / 8);
      EXPECT_LT(Drawn(alone), kWidth * kHeight / 2);
      for (const auto& [width, height] :
           {std::pair{kWidth, kHeight}, std::pair{50, 30}, std::pair{999, 999}, std::pair{1, 1},
            std::pair{0, 30}, std::pair{50, -1}, std::pair{kWidth, 1 << 30}}) {
        const TabledRecord tabled(record, width, height);
        EXPECT_TRUE(Same(Draw<TypeParam>(tabled, filtered), alone)) << width << " x " << height;
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
    const TabledRecord tabled(record, kWidth, kHeight);
    EXPECT_TRUE(Same(Draw<TypeParam>(tabled, false, backwards), alone)) << "tile " << tile;
    EXPECT_TRUE(Same(Draw<TypeParam>(tabled, false, Positions(1)), alone)) << "tile " << tile;
    EXPECT_TRUE(Same(Draw<TypeParam>(tabled, false), alone)) << "tile " << tile;
  }
}

/// Strips where a row's gap is not one piece of the frame, or is hard to find.
struct Strip {
  const char* name;
  double startX, startY, endX, endY;  ///< in frame widths and heights
  double sizeDegrees;
  std::int32_t placement = 1;
};

class FrameTablesStrip : public testing::TestWithParam<Strip> {};

TEST_P(FrameTablesStrip, IsDrawnAsByPixelsOnTheirOwn) {
  const Strip& strip = GetParam();
  reference::GeometryInput input;
  input.controls.startX = Fixed(strip.startX * kWidth);
  input.controls.startY = Fixed(strip.startY * kHeight);
  input.controls.endX = Fixed(strip.endX * kWidth);
  input.controls.endY = Fixed(strip.endY * kHeight);
  input.controls.size = Fixed(strip.sizeDegrees);
  input.controls.placement = strip.placement;
  input.frameWidth = kWidth;
  input.frameHeight = kHeight;
  input.layerWidth = 64;
  input.layerHeight = 32;
  reference::Placement placement =
      reference::ComputePlacement(input, reference::StandardMaths()).value();
  placement.opacity = 1.0F;
  for (const bool filtered : {false, true}) {
    const auto record =
        WithSampler<PF_Pixel8>(reference::RecordFrom<PlacementRecord>(placement), filtered);
    const auto alone = Draw<PF_Pixel8>(record, filtered);
    EXPECT_GT(Drawn(alone), 0);
    const TabledRecord tabled(record, kWidth, kHeight);
    EXPECT_TRUE(Same(Draw<PF_Pixel8>(tabled, filtered), alone)) << "filtered " << filtered;
  }
}

INSTANTIATE_TEST_SUITE_P(Hard, FrameTablesStrip,
                         testing::Values(Strip{"AcrossTheFramesEdge", 0.9, 0.4, 1.1, 0.6, 30},
                                         Strip{"FromPoleToPole", 0.5, 0.05, 0.5, 0.95, 20},
                                         Strip{"OverThePole", 0.2, 0.1, 0.7, 0.1, 25},
                                         Strip{"AlmostHalfATurn", 0.01, 0.5, 0.5, 0.5, 10},
                                         Strip{"MoreThanHalfATurn", 0.1, 0.45, 0.55, 0.55, 40, 3},
                                         Strip{"WholeFrame", 0.3, 0.5, 0.7, 0.5, 179},
                                         Strip{"TwoPixels", 0.5, 0.5, 0.51, 0.5, 5}),
                         [](const auto& strip) { return std::string(strip.param.name); });

TYPED_TEST(FrameTablesPicture, IsTheSameForACopyOfTheRecord) {
  const PlacementRecord record = WithSampler<TypeParam>(SlantedRecord(), false);
  const TabledRecord tabled(record, kWidth, kHeight);
  ASSERT_NE(TabledRecord::TablesOf(tabled), nullptr);
  const PlacementRecord copy = tabled;
  alignas(PlacementRecord) std::byte bytes[sizeof(PlacementRecord)];
  std::memcpy(bytes, &tabled, sizeof(bytes));
  const auto& image = *reinterpret_cast<const PlacementRecord*>(bytes);
  const auto alone = Draw<TypeParam>(record, false);
  for (const PlacementRecord* other : {&copy, &image}) {
    EXPECT_EQ(TabledRecord::TablesOf(*other), nullptr);
    EXPECT_TRUE(Same(Draw<TypeParam>(*other, false), alone));
  }
}

TEST(TabledRecord, LosesItsTablesWhenItIsAssignedTo) {
  const PlacementRecord record = SlantedRecord();
  TabledRecord tabled(record, kWidth, kHeight);
  const TabledRecord another(record, kWidth, kHeight);
  static_cast<PlacementRecord&>(tabled) = another;
  EXPECT_EQ(TabledRecord::TablesOf(tabled), nullptr);
}

TEST(TabledRecord, LeavesNoMarkWhereItLay) {
  alignas(TabledRecord) static std::byte place[sizeof(TabledRecord)];
  auto* tabled = new (place) TabledRecord(SlantedRecord(), 4, 4);
  // What was seen of the place may not be what is there; a volatile pointer is looked at again.
  const PlacementRecord* volatile there = tabled;
  EXPECT_NE(TabledRecord::TablesOf(*there), nullptr);
  tabled->~TabledRecord();
  EXPECT_EQ(TabledRecord::TablesOf(*there), nullptr);
}

TEST(TabledRecord, IsToldByEveryBitOfItsMark) {
  TabledRecord tabled(SlantedRecord(), kWidth, kHeight);
  for (TablesMark PlacementRecord::*half :
       {&PlacementRecord::tablesMarkLow, &PlacementRecord::tablesMarkHigh}) {
    for (int bit = 0; bit < 32; ++bit) {
      (tabled.*half).bits ^= 1U << bit;
      EXPECT_EQ(TabledRecord::TablesOf(tabled), nullptr) << "bit " << bit;
      (tabled.*half).bits ^= 1U << bit;
    }
  }
  EXPECT_NE(TabledRecord::TablesOf(tabled), nullptr);
}

TEST(FrameTables, HoldThePixelsOfTheirSize) {
  const FrameTables tables(SlantedRecord(), 30, 20);
  EXPECT_TRUE(tables.Hold(0, 0));
  EXPECT_TRUE(tables.Hold(29, 19));
  EXPECT_FALSE(tables.Hold(-1, 0));
  EXPECT_FALSE(tables.Hold(30, 0));
  EXPECT_FALSE(tables.Hold(0, -1));
  EXPECT_FALSE(tables.Hold(0, 20));
  EXPECT_FALSE(tables.Hold(std::numeric_limits<A_long>::min(), 0));
}

TEST(FrameTables, RejectOnBothSidesOfTheStripAndNothingBeyondTheFrame) {
  const FrameTables tables(SlantedRecord(), kWidth, kHeight);
  int rowsWithTheStripInside = 0;
  for (A_long y = 0; y < kHeight; ++y) {
    int strip = 0;
    for (A_long x = 0; x < kWidth; ++x) {
      strip += tables.IsOffStrip(x, y) ? 0 : 1;
    }
    const bool bothSides = tables.IsOffStrip(0, y) && tables.IsOffStrip(kWidth - 1, y);
    rowsWithTheStripInside += strip > 0 && bothSides ? 1 : 0;
    for (const A_long x :
         {std::numeric_limits<A_long>::min(), -1, kWidth, std::numeric_limits<A_long>::max()}) {
      EXPECT_FALSE(tables.IsOffStrip(x, y)) << x << ", " << y;
    }
  }
  EXPECT_GT(rowsWithTheStripInside, 0);
}

TEST(FrameTables, HaveAnEntryForEveryColumnAndRowAndTheirNeighbours) {
  PlacementRecord record = SlantedRecord();
  record.originOffsetX = -3;
  record.originOffsetY = -5;
  const FrameTables tables(record, 33, 12);
  for (A_long x = -1; x <= 33; ++x) {
    const auto alone = ColumnEntry(record, x - record.originOffsetX);
    EXPECT_EQ(std::memcmp(&tables.Column(x), &alone, sizeof(alone)), 0) << x;
  }
  for (A_long y = -1; y <= 12; ++y) {
    const auto alone = RowEntry(record, y - record.originOffsetY);
    EXPECT_EQ(std::memcmp(&tables.Row(y), &alone, sizeof(alone)), 0) << y;
  }
}

TEST(FrameTables, StayEmptyForOffsetsThatAreNoWholeNumbers) {
  for (const double offset : {0.5, 1e300, std::numeric_limits<double>::quiet_NaN()}) {
    PlacementRecord record = SlantedRecord();
    record.originOffsetX = offset;
    EXPECT_FALSE(FrameTables(record, kWidth, kHeight).Hold(0, 0));
  }
}

}  // namespace
}  // namespace veltra
