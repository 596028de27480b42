// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Scale factors, directions, the Solo limit and the mapping of a position to the layer.
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>

#include "effect/placement/path_geometry.h"
#include "effect/placement/placement_record.h"
#include "tests/conformance/record_image.h"
#include "tests/reference/geometry.h"

namespace veltra {
namespace {

ScaleFactors Scales(PF_RationalScale downsampleX, PF_RationalScale downsampleY,
                    PF_RationalScale aspect) {
  PF_InData in{};
  in.downsample_x = downsampleX;
  in.downsample_y = downsampleY;
  in.pixel_aspect_ratio = aspect;
  return ComputeScaleFactors(in);
}

TEST(ScaleFactors, AreOneAtFullResolutionWithSquarePixels) {
  const ScaleFactors s = Scales({1, 1}, {1, 1}, {1, 1});
  for (const double one : {s.meanInverseScale, s.inversePixelAspect, s.inverseScaleX,
                           s.inverseScaleY, s.scaleX, s.scaleY}) {
    EXPECT_EQ(one, 1.0);
  }
  EXPECT_EQ(s.scaleXFixed, 65536.0);
  EXPECT_EQ(s.scaleYFixed, 65536.0);
}

TEST(ScaleFactors, FollowTheDownsampling) {
  const ScaleFactors s = Scales({1, 2}, {1, 4}, {1, 1});
  EXPECT_EQ(s.scaleX, 0.5);
  EXPECT_EQ(s.scaleY, 0.25);
  EXPECT_EQ(s.inverseScaleX, 2.0);
  EXPECT_EQ(s.inverseScaleY, 4.0);
  EXPECT_EQ(s.meanInverseScale, 3.0);
  EXPECT_EQ(s.scaleXFixed, 32768.0);
  EXPECT_EQ(s.scaleYFixed, 16384.0);
}

TEST(ScaleFactors, NarrowTheWidthByThePixelAspect) {
  const ScaleFactors s = Scales({1, 1}, {1, 1}, {2, 1});
  EXPECT_EQ(s.inversePixelAspect, 0.5);
  EXPECT_EQ(s.scaleX, 0.5);
  EXPECT_EQ(s.scaleY, 1.0);
}

TEST(ScaleFactors, CopyEachFieldToSinglePrecision) {
  const ScaleFactors s = Scales({1, 3}, {2, 7}, {10, 11});
  const std::pair<double, float> pairs[] = {{s.meanInverseScale, s.meanInverseScaleF},
                                            {s.inversePixelAspect, s.inversePixelAspectF},
                                            {s.inverseScaleX, s.inverseScaleXF},
                                            {s.inverseScaleY, s.inverseScaleYF},
                                            {s.scaleX, s.scaleXF},
                                            {s.scaleY, s.scaleYF},
                                            {s.scaleXFixed, s.scaleXFixedF},
                                            {s.scaleYFixed, s.scaleYFixedF}};
  for (const auto& [wide, narrow] : pairs) {
    EXPECT_EQ(static_cast<float>(wide), narrow);
  }
}

TEST(ScaleFactors, ReadTheDenominatorUnsignedAndDoNotGuardTheNumerator) {
  EXPECT_EQ(Scales({1, 1}, {1, 1}, {1, 0x80000000U}).inversePixelAspect, 2147483648.0);
  EXPECT_TRUE(std::isinf(Scales({1, 1}, {1, 1}, {0, 1}).inversePixelAspect));
}

PF_ANSICallbacks HostMaths() {
  PF_ANSICallbacks maths{};
  const reference::Maths standard = reference::StandardMaths();
  maths.sin = standard.sin;
  maths.cos = standard.cos;
  maths.sqrt = standard.sqrt;
  maths.acos = standard.acos;
  return maths;
}

TEST(DirectionFromPixel, LooksFromTheSpheresCentre) {
  const PF_ANSICallbacks maths = HostMaths();
  const auto expect = [&](double px, double py, double x, double y, double z) {
    const Vector3 v = DirectionFromPixel(maths, px, py, 2.0 / 2048, 2.0 / 1024);
    EXPECT_NEAR(v.x, x, 1e-15);
    EXPECT_NEAR(v.y, y, 1e-15);
    EXPECT_NEAR(v.z, z, 1e-15);
  };
  expect(1024, 512, 0, 0, -1);  // the frame's middle
  expect(1536, 512, 1, 0, 0);   // a quarter to the right
  expect(512, 512, -1, 0, 0);
  expect(0, 512, 0, 0, 1);  // both side edges
  expect(2048, 512, 0, 0, 1);
  expect(300, 0, 0, -1, 0);  // the whole top row
  expect(300, 1024, 0, 1, 0);
  expect(1024, 768, 0, std::sqrt(0.5), -std::sqrt(0.5));
  expect(3072, 512, 0, 0, -1);  // beyond the frame the angles simply go on
}

TEST(HalfBandAngle, IsHalfTheSizeInRadians) {
  EXPECT_DOUBLE_EQ(HalfBandAngle(180), kHalfPi);
  EXPECT_EQ(HalfBandAngle(0), 0);
  EXPECT_FALSE(HalfBandAngle(-1) > 0);
}

TEST(SoloHalfBandAngle, LimitsHeightAndLength) {
  const ScaleFactors one = Scales({1, 1}, {1, 1}, {1, 1});
  EXPECT_EQ(SoloHalfBandAngle(30, 100, 100, one), HalfBandAngle(30));
  EXPECT_EQ(SoloHalfBandAngle(100, 100, 100, one), HalfBandAngle(89.5));
  EXPECT_EQ(SoloHalfBandAngle(30, 1000, 100, one), HalfBandAngle(100 * 179.0 / 1000));
  EXPECT_FALSE(SoloHalfBandAngle(-5, 100, 100, one) > 0);
}

TEST(SoloHalfBandAngle, MeasuresTheLayerWithTheFramesScales) {
  const ScaleFactors half = Scales({1, 2}, {1, 1}, {1, 1});
  EXPECT_EQ(SoloHalfBandAngle(30, 1000, 100, half), HalfBandAngle(30)) << "150 degrees long";
  const ScaleFactors aspect = Scales({1, 1}, {1, 1}, {1, 2});
  EXPECT_EQ(SoloHalfBandAngle(30, 500, 100, aspect), HalfBandAngle(100 * 179.0 / 1000));
}

// The record is what the host sees as the iteration's refcon, so its layout is fixed.
TEST(PlacementRecord, LiesInMemoryAsTheConformanceSuiteReadsIt) {
  using conformance::RecordImage;
  EXPECT_EQ(sizeof(PlacementRecord), sizeof(RecordImage));
  EXPECT_EQ(offsetof(PlacementRecord, opacity), 40U);
  EXPECT_EQ(offsetof(PlacementRecord, spanStart), 48U);
  EXPECT_EQ(offsetof(PlacementRecord, spanAngle), 96U);
  EXPECT_EQ(offsetof(PlacementRecord, tileMode), offsetof(RecordImage, tileMode));
  EXPECT_EQ(offsetof(PlacementRecord, tilePeriod), offsetof(RecordImage, tilePeriod));
  EXPECT_EQ(offsetof(PlacementRecord, samplingParams), offsetof(RecordImage, samplingParams));
  EXPECT_EQ(offsetof(PlacementRecord, inData), offsetof(RecordImage, inData));
  EXPECT_EQ(offsetof(PlacementRecord, areaSample), offsetof(RecordImage, areaSample));
}

}  // namespace
}  // namespace veltra
