// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The per-pixel functions on records made by hand, and the record that a frame really makes.
#include <cmath>
#include <limits>

#include "tests/conformance/record_image.h"
#include "tests/conformance/stage.h"

namespace veltra::conformance {
namespace {

constexpr double kPiValue = 3.141592653589793;
constexpr PF_Fixed kMostNegative = std::numeric_limits<PF_Fixed>::min();
constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();

/// The last sample that a per-pixel function asked of the capturing sampler, and its answer.
template <class Pixel>
struct Capture {
  static inline int calls = 0;
  static inline SampleCall last;
  static inline Pixel answer{};
  static inline PF_Err code = PF_Err_NONE;

  static PF_Err Sample(PF_ProgPtr, PF_Fixed x, PF_Fixed y, const PF_SampPB* params, Pixel* out) {
    ++calls;
    last = {x, y, *params};
    *out = answer;
    return code;
  }
};

template <class Pixel>
PF_IteratePixelFn<Pixel> FunctionOf(const TestHost& host) {
  if constexpr (std::is_same_v<Pixel, PF_Pixel8>) {
    return host.iterated8.function;
  } else if constexpr (std::is_same_v<Pixel, PF_Pixel16>) {
    return host.iterated16.function;
  } else {
    return host.iteratedFloat.function;
  }
}

/// The function that the effect hands to the host for this depth, found by rendering a frame.
template <class Pixel>
PF_IteratePixelFn<Pixel> PixelFunction(bool filtered) {
  Stage stage(kDepthOf<Pixel>);
  stage.host.controls.filtering = filtered;
  EXPECT_EQ(stage.host.RenderClassic(), PF_Err_NONE);
  return FunctionOf<Pixel>(stage.host);
}

/// A 2048 x 1024 frame with a span of 60 degrees around the middle of the equator, its band 20
/// degrees high, and a layer of 401 x 201.
template <class Pixel>
class PerPixel : public EveryDepth<Pixel> {
 protected:
  PerPixel() : layer_(kDepthOf<Pixel>, 401, 201) {
    layer_.Fill(1, 1, 0.5, 0.25);
    record_.normScaleX = 2.0 / 2048;
    record_.normScaleY = 2.0 / 1024;
    record_.halfBandAngle = 10 * kPiValue / 180;
    record_.opacity = 1.0F;
    const double cos30 = std::sqrt(3.0) / 2;
    record_.spanStart = {-0.5, 0, -cos30};
    record_.spanEnd = {0.5, 0, -cos30};
    record_.spanAngle = kPiValue / 3 + 0.0001;
    record_.spanNormal = {0, -1, 0};
    record_.layerPixelsPerRadian = 400 / record_.spanAngle;
    record_.layerHalfHeight = 100;
    record_.radiansPerPixel = 2 * kPiValue / 2048;
    record_.tilePeriod = 400;
    record_.samplingParams.src = &layer_.world;
    record_.inData = &host_.inData;
    record_.subpixelSample = reinterpret_cast<void (*)()>(Capture<Pixel>::Sample);
    record_.areaSample = record_.subpixelSample;
    Capture<Pixel>::answer = MakePixel<Pixel>(1, 1, 0.5, 0.25);
    Capture<Pixel>::code = PF_Err_NONE;
  }

  /// Runs the function on one transparent pixel, or on `bottom`.
  Pixel Run(bool filtered, A_long x, A_long y, Pixel bottom = {}) {
    Capture<Pixel>::calls = 0;
    Pixel out = bottom;
    code_ = (filtered ? filtered_ : plain_)(&record_, x, y, nullptr, &out);
    return out;
  }

  static double Column() { return Capture<Pixel>::last.x / kFixedOne; }
  static double Row() { return Capture<Pixel>::last.y / kFixedOne; }
  static int Samples() { return Capture<Pixel>::calls; }
  static const PF_SampPB& Block() { return Capture<Pixel>::last.block; }

  /// The alpha channel that full alpha becomes under a coverage.
  static double Covered(double coverage) {
    const double alpha =
        static_cast<double>(static_cast<float>(coverage)) * FullValue(kDepthOf<Pixel>);
    return kDepthOf<Pixel> == Depth::kFloat ? alpha : std::floor(alpha);
  }

  /// In Tile mode at the column `u` and the row `v`: angles no longer move the position.
  void Tile(double u, double v, double period) {
    record_.tileMode = 1;
    record_.tilePeriod = period;
    record_.tileOffset = u;
    record_.layerPixelsPerRadian = 0;
    record_.layerHalfHeight = v;
  }

  TestHost host_{Effect().mainEntry};
  TestWorld layer_;
  RecordImage record_{};
  PF_Err code_ = PF_Err_NONE;

 private:
  PF_IteratePixelFn<Pixel> plain_ = PixelFunction<Pixel>(false);
  PF_IteratePixelFn<Pixel> filtered_ = PixelFunction<Pixel>(true);
};
TYPED_TEST_SUITE(PerPixel, AllPixels, DepthNames);

/// Where a pixel of the frame falls in the layer, worked out by hand to four decimals.
struct Mapping {
  A_long x, y;
  bool drawn;
  double u, v, coverage;
};

TYPED_TEST(PerPixel, MapsPixelsToTheirPlaceInTheLayer) {
  const Mapping rows[] = {
      {1024, 512, true, 199.9816, 100.0000, 1.0},
      {1024, 540, true, 199.9816, 149.2188, 1.0},
      {1024, 484, true, 199.9816, 50.7813, 1.0},
      {1024, 568, true, 199.9816, 198.4375, 0.888889},
      {1024, 569, false, 0, 0, 0},
      {1024, 455, true, 199.9816, -0.1953, 1.0},
      {853, 512, true, 0.6666, 100.0000, 0.130218},
      {1195, 512, true, 400.3526, 100.0000, 0.130218},
      {1196, 512, false, 0, 0, 0},
  };
  for (const Mapping& row : rows) {
    SCOPED_TRACE(::testing::Message() << row.x << ", " << row.y);
    const TypeParam out = this->Run(false, row.x, row.y);
    EXPECT_EQ(this->code_, PF_Err_NONE);
    ASSERT_EQ(this->Samples(), row.drawn ? 1 : 0);
    if (!row.drawn) {
      EXPECT_EQ(out.alpha, 0);
      continue;
    }
    EXPECT_NEAR(this->Column(), row.u, 0.5e-4 + 1 / kFixedOne);
    EXPECT_NEAR(this->Row(), row.v, 0.5e-4 + 1 / kFixedOne);
    // An integer channel shows the coverage to within the step it truncates to.
    const double step = TestFixture::kDepth == Depth::kFloat ? 0.5e-6 : 1;
    EXPECT_NEAR(static_cast<double>(out.alpha), this->Covered(row.coverage), step);
  }
}

TYPED_TEST(PerPixel, MeasuresTheFootprintsOfPixels) {
  TypeParam out = this->Run(true, 1024, 512);
  EXPECT_NEAR(this->Column(), 199.9816, 0.5e-4 + 1 / kFixedOne);
  EXPECT_NEAR(this->Row(), 100.0, 0.5e-4);
  EXPECT_EQ(this->Block().x_radius, 71164);
  EXPECT_EQ(this->Block().y_radius, 90368);
  EXPECT_EQ(this->Block().area, 130368) << "the wrapped product";
  EXPECT_EQ(static_cast<double>(out.alpha), this->Covered(1));

  out = this->Run(true, 1024, 568);
  EXPECT_EQ(static_cast<double>(out.alpha), this->Covered(1)) << "no ramp inside the band";

  out = this->Run(true, 1024, 569);
  EXPECT_EQ(this->Samples(), 1);
  EXPECT_NEAR(this->Row(), 200.1953, 0.5e-4 + 1 / kFixedOne);
  const double step = TestFixture::kDepth == Depth::kFloat ? 0.5e-6 : 1;
  EXPECT_NEAR(static_cast<double>(out.alpha), this->Covered(0.888889), step);

  out = this->Run(true, 1024, 570);
  EXPECT_EQ(this->Samples(), 0);
  EXPECT_EQ(out.alpha, 0);

  out = this->Run(true, 853, 512);
  EXPECT_EQ(this->Block().x_radius, 65094);
  EXPECT_EQ(this->Block().area, 96888);
  EXPECT_NEAR(static_cast<double>(out.alpha), this->Covered(0.130218), step);
}

TYPED_TEST(PerPixel, TakesTheNeighbourInwardsAtTheFramesFirstColumnAndRow) {
  // A span tilted out of the equator: beside it, the layer's columns lie closer on one side of a
  // place than on the other.
  const double cos30 = std::sqrt(3.0) / 2;
  const double half = std::sqrt(0.5);
  this->record_.spanStart = {-0.5, cos30 * half, -cos30 * half};
  this->record_.spanEnd = {0.5, cos30 * half, -cos30 * half};
  this->record_.spanNormal = {0, -half, -half};
  this->record_.spanAngle = 4;  // everywhere along
  this->record_.halfBandAngle = 1;
  // The same place of the frame under different host coordinates: these alone choose the neighbour.
  const auto radii = [this](A_long x, A_long y) {
    this->record_.originOffsetX = static_cast<double>(x) - 1180;
    this->record_.originOffsetY = static_cast<double>(y) - 640;
    this->Run(true, x, y);
    EXPECT_EQ(this->Samples(), 1);
    return std::pair{this->Block().x_radius, this->Block().y_radius};
  };
  const auto inside = radii(5, 5);
  EXPECT_EQ(radii(1, 1), inside);
  EXPECT_EQ(radii(1, 900), inside);
  EXPECT_NE(radii(0, 5), inside);
  EXPECT_NE(radii(5, 0), inside);
  EXPECT_NE(radii(0, 0), inside);
  EXPECT_NE(radii(0, 0), radii(5, 0));
  EXPECT_NE(radii(0, 0), radii(0, 5));
  EXPECT_EQ(radii(-3, 5), radii(0, 5)) << "left of the first column as in it";
}

TYPED_TEST(PerPixel, WidensTheRadiiByHalfTheFootprintAndWrapsTheArea) {
  this->record_.layerPixelsPerRadian = 0;
  this->record_.layerHalfHeight = 0;
  this->Run(true, 1024, 512);
  EXPECT_EQ(this->Block().x_radius, 32768);
  EXPECT_EQ(this->Block().y_radius, 32768);
  EXPECT_EQ(this->Block().area, 65536) << "one pixel";
  for (const double stretch : {0.1, 0.3, 0.7, 1.0, 1.7, 4.0, 30.0}) {
    this->record_.layerPixelsPerRadian = 326.0 * stretch;
    this->record_.layerHalfHeight = 57.0 * stretch;
    this->Run(true, 1024, 512);
    const auto product =
        std::uint64_t(this->Block().x_radius) * std::uint64_t(this->Block().y_radius);
    const auto kept = static_cast<std::int32_t>(static_cast<std::uint32_t>(product));
    EXPECT_EQ(this->Block().area, (kept >> 16) * 4) << stretch;
  }
}

/// The scale between 0 and `high` at which `radius`, which grows with it, reaches `wanted`.
template <class Radius>
double ScaleFor(PF_Fixed wanted, double high, const Radius& radius) {
  double low = 0;
  for (int i = 0; i < 80; ++i) {
    const double middle = (low + high) / 2;
    (radius(middle) < wanted ? low : high) = middle;
  }
  return high;
}

TYPED_TEST(PerPixel, HandsTheHostTheWrappedAreaOfFootprintsFromNoneToTwoPixels) {
  struct {
    double footprint;
    PF_Fixed radius;
    PF_Fixed area;
  } const cases[] = {{0, 32768, 65536},
                     {0.25, 40960, 102400},
                     {0.5, 49152, -114688},
                     {1, 65536, 0},
                     {2, 98304, 65536}};
  for (const auto& c : cases) {
    // Near the span's start, where the columns are small and single precision fine enough.
    const auto run = [this] { this->Run(true, 872, 500); };
    this->record_.layerHalfHeight = 0;
    this->record_.layerPixelsPerRadian = ScaleFor(c.radius, 5000, [&](double scale) {
      this->record_.layerPixelsPerRadian = scale;
      run();
      return this->Block().x_radius;
    });
    this->record_.layerHalfHeight = ScaleFor(c.radius, 5000, [&](double scale) {
      this->record_.layerHalfHeight = scale;
      run();
      return this->Block().y_radius;
    });
    run();
    EXPECT_EQ(this->Block().x_radius, c.radius) << c.footprint;
    EXPECT_EQ(this->Block().y_radius, c.radius) << c.footprint;
    EXPECT_EQ(this->Block().area, c.area) << c.footprint;
  }
}

TYPED_TEST(PerPixel, CapsTheFootprintAt120LayerPixels) {
  this->record_.layerPixelsPerRadian = 1e6;
  this->record_.layerHalfHeight = 1e6;
  this->Run(true, 1024, 512);
  EXPECT_EQ(this->Block().x_radius, 32768 + 120 * 32768);
  EXPECT_EQ(this->Block().y_radius, 32768 + 120 * 32768);
}

TYPED_TEST(PerPixel, LeavesTheSharedSamplingBlockAlone) {
  this->record_.samplingParams.x_radius = 17;
  this->record_.samplingParams.y_radius = 18;
  this->record_.samplingParams.area = 19;
  this->record_.samplingParams.motion_blur = 5;
  unsigned char before[sizeof(RecordImage)];
  std::memcpy(before, &this->record_, sizeof(before));  // padding too, unlike a copy
  this->Run(true, 1024, 512);
  EXPECT_EQ(this->Block().motion_blur, 5) << "the copy is whole";
  EXPECT_EQ(this->Block().src, &this->layer_.world);
  EXPECT_EQ(std::memcmp(before, &this->record_, sizeof(before)), 0);
  this->Run(false, 1024, 512);
  EXPECT_EQ(this->Block().x_radius, 17) << "without filtering the block goes as it stands";
  EXPECT_EQ(this->Block().area, 19);
}

TYPED_TEST(PerPixel, DrawsAPixelExactlyOnTheEdgeWithNoAlpha) {
  // On the equator the distance across is exactly 0, and so is this band's half.
  this->record_.halfBandAngle = 0;
  const TypeParam out = this->Run(false, 1024, 512);
  EXPECT_EQ(this->Samples(), 1);
  EXPECT_EQ(out.alpha, 0);
  EXPECT_EQ(out.red, Capture<TypeParam>::answer.red) << "the sample is copied whole";
}

TYPED_TEST(PerPixel, GivesTheMostNegativePositionWhereNoneFits) {
  this->record_.layerHalfHeight = 1e9;
  this->Run(false, 1024, 300);
  EXPECT_EQ(Capture<TypeParam>::last.y, kMostNegative) << "far above the layer";
  this->Run(true, 1024, 300);
  EXPECT_EQ(Capture<TypeParam>::last.y, kMostNegative);
  this->Run(false, 1024, 540);
  EXPECT_EQ(Capture<TypeParam>::last.y, kMostNegative) << "and far below it";
  this->record_.spanNormal = {kNotANumber, kNotANumber, kNotANumber};
  this->Run(false, 1024, 512);
  EXPECT_EQ(Capture<TypeParam>::last.x, kMostNegative) << "nothing rejects NaN";
  EXPECT_EQ(Capture<TypeParam>::last.y, kMostNegative);
  this->Run(true, 1024, 512);
  EXPECT_EQ(Capture<TypeParam>::last.x, kMostNegative);
  EXPECT_EQ(Capture<TypeParam>::last.y, kMostNegative);
}

TYPED_TEST(PerPixel, OnTheTopRowEveryColumnIsThePole) {
  this->record_.spanNormal = {0, -1, 0};
  this->record_.halfBandAngle = 2;
  this->record_.spanAngle = 100;  // everywhere
  this->Run(false, 0, 0);
  const SampleCall first = Capture<TypeParam>::last;
  for (const A_long x : {1, 777, 1024, 2047}) {
    this->Run(false, x, 0);
    EXPECT_EQ(Capture<TypeParam>::last.y, first.y) << x;
  }
}

TYPED_TEST(PerPixel, CrossesTheFramesSideEdgeWithoutAStep) {
  // Turn the span to longitude 180: its middle lies on the frame's side edge.
  const double cos30 = std::sqrt(3.0) / 2;
  this->record_.spanStart = {0.5, 0, cos30};
  this->record_.spanEnd = {-0.5, 0, cos30};
  this->Run(false, 2046, 512);
  const double before = this->Column();
  this->Run(false, 2047, 512);
  const double last = this->Column();
  this->Run(false, 0, 512);
  const double first = this->Column();
  ASSERT_EQ(this->Samples(), 1);
  EXPECT_NEAR(last - before, 1.171768, 1e-4);
  EXPECT_NEAR(first - last, 1.171768, 1e-4);
}

TYPED_TEST(PerPixel, UsesTheHostsSamplerExactlyOnTheSeamMargin) {
  struct {
    double u;
    bool seam;
    double column;
  } const cases[] = {
      {1.0, false, 1.0}, {0.999, true, 0},        {99.0, false, 99.0},    {99.001, true, 0},
      {0.0, true, 0},    {-50.0, false, 50.0},    {-1e6 + 3, false, 3.0}, {12345678.0, false, 78.0},
      {100.0, true, 0},  {-100000000, true, 0.0},
  };
  for (const auto& c : cases) {
    this->Tile(c.u, 40, 100);
    this->Run(false, 1024, 512);
    EXPECT_EQ(this->Samples(), c.seam ? 0 : 1) << c.u;
    if (!c.seam) {
      EXPECT_EQ(this->Column(), c.column) << c.u;
    }
  }
}

TYPED_TEST(PerPixel, WidensTheSeamByTheFootprintWhenFiltering) {
  struct {
    double u;
    bool seam;
  } const cases[] = {{0.4, true},   {0.5, false}, {0.6, false}, {99.4, false},
                     {99.5, false}, {99.6, true}, {-0.3, true}, {-50, false}};
  for (const auto& c : cases) {
    this->Tile(c.u, 40, 100);
    this->Run(true, 1024, 512);
    EXPECT_EQ(this->Samples(), c.seam ? 0 : 1) << c.u;
  }
  // 0.6 takes the seam when the tile ends within half a pixel.
  this->Tile(0.6, 40, 1.05);
  this->Run(true, 1024, 512);
  EXPECT_EQ(this->Samples(), 0);
}

TYPED_TEST(PerPixel, WrapsTheSeamIntoTheFirstColumnAndNeverReadsTheLast) {
  TestWorld narrow(TestFixture::kDepth, 101, 41);
  narrow.Fill(1, 1, 0, 0);
  for (A_long y = 0; y < 41; ++y) {
    narrow.SetChannels(100, y, {1, 0, 0, 1});  // were it read, blue would show
    narrow.SetChannels(0, y, {1, 0, 1, 0});
  }
  this->record_.samplingParams.src = &narrow.world;
  this->Tile(99.5, 20, 100);
  const TypeParam out = this->Run(false, 1024, 512);
  EXPECT_EQ(this->Samples(), 0);
  EXPECT_EQ(out.blue, 0);
  const double half = FullValue(TestFixture::kDepth) / 2;
  EXPECT_NEAR(static_cast<double>(out.red), half, half / 100);
  EXPECT_NEAR(static_cast<double>(out.green), half, half / 100);
  EXPECT_TRUE(narrow.CanariesIntact());
}

TYPED_TEST(PerPixel, ALayerOneColumnWideIsAllColumnZero) {
  TestWorld line(TestFixture::kDepth, 1, 41);
  line.Fill(1, 0.5, 0.5, 0.5);
  this->record_.samplingParams.src = &line.world;
  for (const bool filtered : {false, true}) {
    this->Tile(0, 20, 0);
    const TypeParam out = this->Run(filtered, 1024, 512);
    EXPECT_EQ(this->Samples(), 0) << "always at the seam";
    EXPECT_EQ(static_cast<double>(out.alpha), FullValue(TestFixture::kDepth));
  }
}

TYPED_TEST(PerPixel, ReturnsTheSamplersCodeAndCompositesAllTheSame) {
  Capture<TypeParam>::code = PF_Err_INTERNAL_STRUCT_DAMAGED;
  for (const bool filtered : {false, true}) {
    const TypeParam out = this->Run(filtered, 1024, 512);
    EXPECT_EQ(this->code_, PF_Err_INTERNAL_STRUCT_DAMAGED);
    EXPECT_EQ(out.alpha, Capture<TypeParam>::answer.alpha);
  }
}

TYPED_TEST(PerPixel, MultipliesOpacityIntoTheAlphaAndTruncates) {
  this->record_.opacity = 0.5F;
  const TypeParam out = this->Run(false, 1024, 512);
  EXPECT_EQ(static_cast<double>(out.alpha), this->Covered(0.5));
  EXPECT_EQ(out.red, Capture<TypeParam>::answer.red) << "colour stays straight";
}

TYPED_TEST(PerPixel, LeavesAnOpaqueBottomAloneUnderATransparentSample) {
  Capture<TypeParam>::answer = MakePixel<TypeParam>(0, 1, 1, 1);
  const TypeParam bottom = MakePixel<TypeParam>(1, 0.25, 0.5, 0.75);
  const TypeParam out = this->Run(false, 1024, 512, bottom);
  EXPECT_EQ(std::memcmp(&out, &bottom, sizeof(out)), 0);
}

using PerPixelFloat = PerPixel<PF_PixelFloat>;
TEST_F(PerPixelFloat, LimitsAlphaAfterTheHostsSamplerButNotAfterTheSeam) {
  Capture<PF_PixelFloat>::answer = {1.5F, 0.1F, 0.2F, 0.3F};
  for (const bool filtered : {false, true}) {
    EXPECT_EQ(Run(filtered, 1024, 512).alpha, 1.0F);
  }
  Capture<PF_PixelFloat>::answer.alpha = -0.5F;
  EXPECT_EQ(Run(false, 1024, 512).alpha, 0.0F);
  Capture<PF_PixelFloat>::answer.alpha = NAN;
  EXPECT_EQ(Run(false, 1024, 512).alpha, 0.0F);
  layer_.Fill(1.5, 0.1, 0.2, 0.3);
  Tile(0, 40, 400);
  for (const bool filtered : {false, true}) {
    EXPECT_NEAR(Run(filtered, 1024, 512).alpha, 1.5, 1e-5);
    EXPECT_EQ(Samples(), 0);
  }
}

using PerPixel16 = PerPixel<PF_Pixel16>;
TEST_F(PerPixel16, KeepsTheFullValueFull) {
  EXPECT_EQ(Run(false, 1024, 512).alpha, 32768);
  Tile(0, 40, 400);
  EXPECT_EQ(Run(false, 1024, 512).alpha, 32768);
}

// ---- The record of a real frame ----

/// Renders and copies the record while it lives.
RecordImage RecordOf(Stage* stage, bool smart) {
  RecordImage image{};
  bool seen = false;
  stage->host.onIterate = [&](void* refcon) {
    std::memcpy(&image, refcon, sizeof(image));
    seen = true;
  };
  EXPECT_EQ(stage->host.Render(smart), PF_Err_NONE);
  EXPECT_TRUE(seen);
  return image;
}

void ExpectSameVector(const reference::Vector& a, const reference::Vector& b,
                      double tolerance = 1e-14) {
  EXPECT_NEAR(a.x, b.x, tolerance);
  EXPECT_NEAR(a.y, b.y, tolerance);
  EXPECT_NEAR(a.z, b.z, tolerance);
}

TEST(FrameRecord, AgreesWithTheYardstickFieldByField) {
  for (const bool smart : {false, true}) {
    for (const A_long placement : {1, 2, 3, 0, 4, -7}) {
      Stage stage(Depth::k8);
      reference::Controls& controls = stage.host.controls;
      controls.placement = placement;
      controls.travel = Fixed(37.5);
      controls.startY = Fixed(5.25);
      controls.opacity = Fixed(62.5);
      stage.layer.world.pix_aspect_ratio = {10, 11};
      stage.host.inData.downsample_x = {1, 2};
      stage.host.inData.pixel_aspect_ratio = {4, 3};
      stage.output.world.origin_x = 3;
      stage.output.world.origin_y = -2;
      const RecordImage record = RecordOf(&stage, smart);
      const auto expected =
          reference::PlacementOf(stage.host.ReferenceFrame(smart), stage.output.world);
      ASSERT_TRUE(expected.has_value());
      EXPECT_EQ(record.normScaleX, expected->normScaleX);
      EXPECT_EQ(record.normScaleY, expected->normScaleY);
      EXPECT_EQ(record.originOffsetX, expected->originOffsetX);
      EXPECT_EQ(record.originOffsetY, expected->originOffsetY);
      EXPECT_EQ(record.halfBandAngle, expected->halfBandAngle);
      EXPECT_EQ(record.opacity, 0.625F);
      ExpectSameVector(record.spanStart, expected->spanStart);
      ExpectSameVector(record.spanEnd, expected->spanEnd);
      ExpectSameVector(record.spanNormal, expected->spanNormal);
      EXPECT_NEAR(record.spanAngle, expected->spanAngle, 1e-13);
      EXPECT_NEAR(record.layerPixelsPerRadian, expected->layerPixelsPerRadian, 1e-10);
      EXPECT_EQ(record.layerHalfHeight, 4);
      EXPECT_EQ(record.radiansPerPixel, expected->radiansPerPixel);
      EXPECT_EQ(record.tileMode, placement == 2 ? 1 : 0);
      EXPECT_EQ(record.tilePeriod, 12);
      EXPECT_EQ(record.tileOffset, placement == 2 ? -0.375 * 12 : 0.0);
      EXPECT_EQ(record.inData, &stage.host.inData);
      EXPECT_EQ(record.effectRef, stage.host.inData.effect_ref);
      EXPECT_NE(record.subpixelSample, nullptr);
      EXPECT_EQ(record.areaSample, nullptr);
      PF_SampPB block = record.samplingParams;
      EXPECT_NE(block.src, nullptr);
      block.src = nullptr;
      const PF_SampPB zero{};
      EXPECT_EQ(std::memcmp(&block.x_radius, &zero.x_radius, 12), 0);
      EXPECT_EQ(block.samp_behave, 0U);
      EXPECT_EQ(block.mask0, nullptr);
    }
  }
}

TEST(FrameRecord, HoldsTheSamplerOfTheFilterSettingOnly) {
  Stage stage(Depth::k16);
  stage.host.controls.filtering = true;
  const RecordImage record = RecordOf(&stage, false);
  EXPECT_EQ(record.subpixelSample, nullptr);
  EXPECT_NE(record.areaSample, nullptr);
}

TEST(FrameRecord, SpansCoincidentPointsOnTheStart) {
  Stage stage(Depth::k8);
  reference::Controls& controls = stage.host.controls;
  controls.endX = controls.startX;
  controls.endY = controls.startY;
  const RecordImage record = RecordOf(&stage, false);
  // Both ends on the start, their vectors 5e-7 short by the guard under the root, hence an angle
  // of about a thousandth instead of none.
  ExpectSameVector(record.spanStart, record.spanEnd);
  EXPECT_NEAR(record.spanAngle, 0.00151421, 1e-7);
  EXPECT_EQ(record.spanNormal.x, 0);
  EXPECT_EQ(record.spanNormal.y, 0);
  EXPECT_EQ(record.spanNormal.z, 0);
}

TEST(FrameRecord, DrawsNothingWhereTheDotProductRoundsAboveOne) {
  // Among many coincident points some have a dot product above 1: all figures are then NaN.
  int undefined = 0;
  for (int i = 0; i < 200; ++i) {
    Stage stage(Depth::k8);
    reference::Controls& controls = stage.host.controls;
    controls.startX = controls.endX = Fixed(3.0 + i * 0.11);
    controls.startY = controls.endY = Fixed(2.0 + i * 0.06);
    stage.input.Fill(1, 0.25, 0.5, 0.75);
    const RecordImage record = RecordOf(&stage, false);
    if (std::isnan(record.spanAngle)) {
      ++undefined;
      EXPECT_TRUE(SamePixels(stage.output, stage.input));
      ExpectClean(stage);
    }
  }
  EXPECT_GT(undefined, 0) << "the case was met";
}

TEST(FrameRecord, CollapsesTheNormalOfOppositePoints) {
  for (const A_long placement : {1, 2}) {
    Stage stage(Depth::k8);
    reference::Controls& controls = stage.host.controls;
    controls.placement = placement;
    controls.startX = Fixed(8);
    controls.endX = Fixed(24);
    controls.startY = controls.endY = Fixed(8);
    const RecordImage record = RecordOf(&stage, false);
    const auto p2 = reference::DirectionOf(24, 8, 32, 16, reference::StandardMaths());
    EXPECT_NEAR(record.spanEnd.x, p2.x, 1e-6) << "the end is the End Point";
    EXPECT_NEAR(record.spanEnd.z, p2.z, 1e-6);
    EXPECT_NEAR(record.spanNormal.x, 0, 1e-9);
    EXPECT_NEAR(record.spanNormal.y, 0, 1e-9);
    EXPECT_NEAR(record.spanNormal.z, 0, 1e-9);
  }
}

TEST(FrameRecord, MovesASoloLayerFromStartToEndWithTravel) {
  for (const double travel : {0.0, 100.0}) {
    Stage stage(Depth::k8);
    reference::Controls& controls = stage.host.controls;
    controls.placement = 3;
    controls.travel = Fixed(travel);
    const RecordImage record = RecordOf(&stage, false);
    const double x = (travel > 0 ? controls.endX : controls.startX) / kFixedOne;
    const auto centre = reference::DirectionOf(x, 8, 32, 16, reference::StandardMaths());
    const reference::Vector middle{record.spanStart.x + record.spanEnd.x,
                                   record.spanStart.y + record.spanEnd.y,
                                   record.spanStart.z + record.spanEnd.z};
    const double length =
        std::sqrt(middle.x * middle.x + middle.y * middle.y + middle.z * middle.z);
    ExpectSameVector({middle.x / length, middle.y / length, middle.z / length}, centre, 1e-6);
  }
}

TEST(FrameRecord, MovesAStretchedSpanPastTheEndPointByItsOwnLength) {
  Stage stage(Depth::k8);
  reference::Controls& controls = stage.host.controls;
  controls.startX = Fixed(10);
  controls.endX = Fixed(15);
  controls.travel = Fixed(100);
  const RecordImage record = RecordOf(&stage, false);
  const auto at = [](double x) {
    return reference::DirectionOf(x, 8, 32, 16, reference::StandardMaths());
  };
  // The guard under the root makes the vectors 5e-7 short.
  EXPECT_NEAR(record.spanStart.x, at(15).x, 1e-6);
  EXPECT_NEAR(record.spanStart.z, at(15).z, 1e-6);
  EXPECT_NEAR(record.spanEnd.x, at(20).x, 1e-6);
  EXPECT_NEAR(record.spanEnd.z, at(20).z, 1e-6);
}

TEST(FrameRecord, MeasuresASoloSpanBeyondHalfTheCircleTheShortWayRound) {
  Stage stage(Depth::k8, 32, 16, 20, 10);
  stage.host.controls.placement = 3;
  stage.host.controls.size = Fixed(60);
  stage.layer.world.pix_aspect_ratio = {2, 1};  // 240 degrees long by the layer's own measure
  const RecordImage record = RecordOf(&stage, false);
  EXPECT_NEAR(record.spanAngle, 120 * kPiValue / 180 + 0.0001, 1e-5);
}

TEST(FrameRecord, LimitsASoloLayerTo179DegreesByShrinkingTheBand) {
  Stage stage(Depth::k8, 32, 16, 60, 4);
  stage.host.controls.placement = 3;
  stage.host.controls.size = Fixed(80);
  EXPECT_NEAR(RecordOf(&stage, false).halfBandAngle, 4 * 179.0 / 60 * 0.5 * kPiValue / 180, 1e-15);
  Stage tall(Depth::k8, 32, 16, 4, 60);
  tall.host.controls.placement = 3;
  tall.host.controls.size = Fixed(110);
  EXPECT_NEAR(RecordOf(&tall, false).halfBandAngle, 89.5 * 0.5 * kPiValue / 180, 1e-15);
  Stage other(Depth::k8, 32, 16, 4, 60);
  other.host.controls.placement = 7;
  other.host.controls.size = Fixed(110);
  EXPECT_NEAR(RecordOf(&other, false).halfBandAngle, 110 * 0.5 * kPiValue / 180, 1e-15)
      << "only Solo itself is limited";
}

TEST(FrameRecord, UsesTheLayersAspectUnguardedInClassicRendering) {
  Stage stage(Depth::k8);
  stage.host.controls.placement = 3;
  stage.layer.world.pix_aspect_ratio = {0, 1};
  const RecordImage record = RecordOf(&stage, false);
  // An infinite factor makes one copy of the layer infinitely short: both ends in one place.
  ExpectSameVector(record.spanStart, record.spanEnd);
  ExpectClean(stage);
  Stage undefined(Depth::k8);
  undefined.host.controls.placement = 3;
  undefined.layer.world.pix_aspect_ratio = {0, 0};
  EXPECT_TRUE(std::isnan(RecordOf(&undefined, false).spanAngle));
  ExpectClean(undefined);
}

}  // namespace
}  // namespace veltra::conformance
