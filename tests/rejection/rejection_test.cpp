// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Searches for a pixel that lies in its row's gap although the exact steps draw it.

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>

#include "effect/render/pixel/frame_tables.h"
#include "numerics/convert.h"
#include "numerics/trigonometry.h"
#include "tests/numerics/arguments.h"
#include "tests/reference/pixels.h"

namespace veltra {
namespace {

std::int64_t pixelsPerSearch = 1000000;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

double SquareRoot(double value) {
  return std::sqrt(value);
}

/// The effect's own functions, so that the exact steps come out with the effect's bits.
constexpr reference::Maths kMaths{numerics::Sin, numerics::Cos, SquareRoot, numerics::Acos};

bool ExactlyOff(const PlacementRecord& record, bool filtered, A_long x, A_long y) {
  const reference::Placement placement = reference::PlacementFrom(record);
  const double px = x - record.originOffsetX;
  const double py = y - record.originOffsetY;
  if (!filtered) {
    return reference::MapPlain(placement, px, py, kMaths).rejected;
  }
  const reference::Mapping mapping = reference::MapFiltered(placement, px, py, kMaths);
  return mapping.rejected || mapping.coverage < 0 || mapping.coverage > 1;
}

/// A record with the gaps of its rows.
struct Frame {
  Frame(const PlacementRecord& frameRecord, A_long columns, A_long lines)
      : record(frameRecord), width(columns), height(lines), gaps(record, width) {}

  bool Has(A_long x, A_long y) const { return x >= 0 && x < width && y >= 0 && y < height; }
  RowGap GapAt(A_long y) const { return gaps.At(RowEntry(record, y - record.originOffsetY)); }

  PlacementRecord record;
  A_long width;
  A_long height;
  RowGaps gaps;
};

/// Counts the pixels that lie in gaps, and fails on one that the exact steps draw.
class Tally {
 public:
  void Try(const Frame& frame, A_long x, A_long y) {
    if (!frame.Has(x, y)) {
      return;
    }
    const bool quickly = frame.GapAt(y).Holds(x);
    for (const bool filtered : {false, true}) {
      const bool exactly = ExactlyOff(frame.record, filtered, x, y);
      ++pixels_;
      off_ += exactly ? 1 : 0;
      found_ += quickly ? 1 : 0;
      if (quickly && !exactly) {
        Report(frame.record, filtered, x, y);
      }
    }
  }
  std::int64_t Pixels() const { return pixels_; }
  double FoundShare() const { return static_cast<double>(found_) / static_cast<double>(off_); }

 private:
  static void Report(const PlacementRecord& record, bool filtered, A_long x, A_long y) {
    const Vector3& s = record.spanStart;
    const Vector3& e = record.spanEnd;
    const Vector3& n = record.spanNormal;
    ADD_FAILURE() << (filtered ? "filtered" : "plain") << " pixel (" << x << ", " << y
                  << ") is drawn but rejected";
    std::printf(
        "norm %a %a origin %a %a band %a angle %a pixel %a\nS %a %a %a\nE %a %a %a\nn %a %a "
        "%a\n",
        record.normScaleX, record.normScaleY, record.originOffsetX, record.originOffsetY,
        record.halfBandAngle, record.spanAngle, record.radiansPerPixel, s.x, s.y, s.z, e.x, e.y,
        e.z, n.x, n.y, n.z);
  }

  std::int64_t pixels_ = 0;
  std::int64_t off_ = 0;
  std::int64_t found_ = 0;
};

class Source {
 public:
  explicit Source(std::uint64_t seed) : random_(seed) {}

  double Between(double low, double high) {
    return low + (high - low) * (random_.Uniform(0.5) + 0.5);
  }
  A_long Below(A_long count) {
    return static_cast<A_long>(random_.Next() % static_cast<std::uint64_t>(count));
  }
  bool OneIn(A_long count) { return Below(count) == 0; }
  /// Any double at all, NaN and infinities included.
  double Anything() { return std::bit_cast<double>(random_.Next()); }
  /// 10 to the power of something between the two.
  double Magnitude(double low, double high) { return std::pow(10.0, Between(low, high)); }

 private:
  numerics::test::Random random_;
};

/// A frame's record through the yardstick's geometry, which may refuse. The controls favour the
/// hard places: ends on top of each other or opposite, on the poles, at the frame's edges, outside
/// of it, tiny and huge bands.
bool MakeFrame(Source& source, PlacementRecord* record, A_long* width, A_long* height) {
  reference::GeometryInput input;
  *width = 2 + source.Below(source.OneIn(8) ? 16384 : 2048);
  *height = source.OneIn(3) ? 2 + source.Below(2048) : std::max(2, *width / 2);
  const auto fixed = [](double value) {
    return static_cast<PF_Fixed>(std::lround(std::clamp(value, -32767.0, 32767.0) * 65536.0));
  };
  const auto point = [&](PF_Fixed* x, PF_Fixed* y) {
    const double reach = source.OneIn(6) ? 1.0 : 0.0;
    *x = fixed(*width * source.Between(-reach, 1.0 + reach));
    *y = fixed(*height * source.Between(-reach, 1.0 + reach));
    if (source.OneIn(5)) {
      *y = fixed(*height * 0.25 * source.Below(5));
    }
  };
  reference::Controls& controls = input.controls;
  point(&controls.startX, &controls.startY);
  point(&controls.endX, &controls.endY);
  if (source.OneIn(6)) {  // close together, down to the same point
    const double distance = source.Magnitude(-5, 1);
    controls.endX = numerics::WrappingAdd(controls.startX, fixed(distance * source.Between(-1, 1)));
    controls.endY = numerics::WrappingAdd(controls.startY, fixed(distance * source.Between(-1, 1)));
  } else if (source.OneIn(8)) {  // nearly opposite
    controls.endX =
        numerics::WrappingAdd(controls.startX, fixed(*width / 2.0 + source.Between(-1, 1)));
    controls.endY = numerics::WrappingSubtract(fixed(*height), controls.startY);
  }
  controls.placement = 1 + source.Below(4);
  controls.travel = fixed(source.Between(-200, 200));
  controls.size = fixed(source.OneIn(4) ? source.Magnitude(-4, 2.5) : source.Between(0, 180));
  input.frameWidth = *width;
  input.frameHeight = *height;
  input.layerWidth = 1 + source.Below(4000);
  input.layerHeight = 1 + source.Below(4000);
  const auto placement = reference::ComputePlacement(input, reference::StandardMaths());
  if (!placement) {
    return false;
  }
  *record = reference::RecordFrom<PlacementRecord>(*placement);
  record->originOffsetX = source.OneIn(4) ? source.Below(2000) - 1000 : 0;
  record->originOffsetY = source.OneIn(4) ? source.Below(2000) - 1000 : 0;
  return true;
}

Vector3 AnyDirection(Source& source, double length) {
  const Vector3 v{source.Between(-1, 1), source.Between(-1, 1), source.Between(-1, 1)};
  const double scale = length / std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
  return {v.x * scale, v.y * scale, v.z * scale};
}

/// Lengths around the border of what counts as a unit vector, and far from it.
double AnyLength(Source& source) {
  switch (source.Below(4)) {
    case 0:
      return 1.0;
    case 1:
      return 1.0 - source.Magnitude(-9, -4);
    case 2:
      return 1.0 + source.Magnitude(-9, -4);
    default:
      return source.Between(0, 2);
  }
}

/// A record that no frame makes: unrelated vectors of any length, limits of any size and sign.
void MakeByHand(Source& source, PlacementRecord* record, A_long* width, A_long* height) {
  *width = 16 + source.Below(4096);
  *height = 16 + source.Below(4096);
  *record = {};
  record->normScaleX = 2.0 / *width * (source.OneIn(10) ? source.Between(-4, 4) : 1.0);
  record->normScaleY = 2.0 / *height * (source.OneIn(10) ? source.Between(-4, 4) : 1.0);
  record->originOffsetX = source.OneIn(6) ? source.Between(-20000, 20000) : 0;
  record->originOffsetY = source.OneIn(6) ? source.Between(-20000, 20000) : 0;
  record->spanNormal = AnyDirection(source, AnyLength(source));
  record->spanStart = AnyDirection(source, AnyLength(source));
  record->spanEnd = AnyDirection(source, AnyLength(source));
  record->halfBandAngle = source.Between(-0.5, 3.5);
  record->spanAngle = source.Between(-0.5, 6.5);
  record->radiansPerPixel = source.OneIn(4) ? source.Between(-1, 1) : source.Magnitude(-5, -1);
  record->layerPixelsPerRadian = 100;
  record->layerHalfHeight = 100;
}

/// One field replaced by any double, NaN or an infinity.
void SpoilOneField(Source& source, PlacementRecord* record) {
  double* const fields[] = {
      &record->normScaleX,      &record->normScaleY,    &record->originOffsetX,
      &record->originOffsetY,   &record->halfBandAngle, &record->spanAngle,
      &record->radiansPerPixel, &record->spanNormal.x,  &record->spanNormal.y,
      &record->spanNormal.z,    &record->spanStart.x,   &record->spanStart.y,
      &record->spanStart.z,     &record->spanEnd.x,     &record->spanEnd.y,
      &record->spanEnd.z};
  const double values[] = {kNaN, kInfinity, -kInfinity, 0.0, -0.0, source.Anything()};
  *fields[source.Below(16)] = values[source.Below(6)];
}

constexpr int kPixelsPerRecord = 32;

/// Pixels anywhere in the frame.
void TryPixels(Source& source, const Frame& frame, Tally* tally) {
  for (int i = 0; i < kPixelsPerRecord; ++i) {
    tally->Try(frame, source.Below(frame.width), source.Below(frame.height));
  }
}

/// The first and the last columns of gaps: there an error shows first.
void TryTheEdges(Source& source, const Frame& frame, Tally* tally) {
  for (int i = 0; i < kPixelsPerRecord / 2; ++i) {
    const A_long y = source.Below(frame.height);
    const RowGap gap = frame.GapAt(y);
    const A_long end = gap.first + static_cast<A_long>(gap.count);
    for (const A_long edge : {static_cast<A_long>(gap.head), gap.first, end}) {
      for (const A_long step : {-1, 0, 1}) {
        tally->Try(frame, edge + step, y);
      }
    }
  }
}

/// Walks from a rejected to a drawn pixel, halving the way.
void TryTheBorder(Source& source, const Frame& frame, Tally* tally) {
  A_long x0 = source.Below(frame.width);
  A_long y0 = source.Below(frame.height);
  A_long x1 = source.Below(frame.width);
  A_long y1 = source.Below(frame.height);
  const bool off = ExactlyOff(frame.record, false, x0, y0);
  if (off == ExactlyOff(frame.record, false, x1, y1)) {
    return;
  }
  while (std::abs(x1 - x0) > 1 || std::abs(y1 - y0) > 1) {
    const A_long x = x0 + (x1 - x0) / 2;
    const A_long y = y0 + (y1 - y0) / 2;
    if ((x == x0 && y == y0) || (x == x1 && y == y1)) {
      break;
    }
    tally->Try(frame, x, y);
    const bool here = ExactlyOff(frame.record, false, x, y);
    (here == off ? x0 : x1) = x;
    (here == off ? y0 : y1) = y;
  }
  for (A_long dy = -1; dy <= 1; ++dy) {
    for (A_long dx = -1; dx <= 1; ++dx) {
      tally->Try(frame, x0 + dx, y0 + dy);
    }
  }
}

void TryAll(Source& source, const Frame& frame, Tally* tally) {
  TryPixels(source, frame, tally);
  TryTheEdges(source, frame, tally);
  TryTheBorder(source, frame, tally);
}

TEST(RejectionTest, NoPixelOfAFrameIsWronglyRejectedAndMostAreFound) {
  Source source(1);
  Tally tally;
  Tally anywhere;
  while (tally.Pixels() < pixelsPerSearch && !testing::Test::HasFailure()) {
    PlacementRecord record{};
    A_long width = 0;
    A_long height = 0;
    if (MakeFrame(source, &record, &width, &height)) {
      const Frame frame(record, width, height);
      if (record.originOffsetY == 0) {  // its rows end at the poles
        TryPixels(source, frame, &anywhere);
      }
      TryAll(source, frame, &tally);
    }
  }
  std::printf("%.2f %% of the pixels off the strip lie in gaps\n", 100 * anywhere.FoundShare());
  EXPECT_GT(anywhere.FoundShare(), 0.9);
}

TEST(RejectionTest, NoPixelOfAHandMadeRecordIsWronglyRejected) {
  Source source(2);
  Tally tally;
  while (tally.Pixels() < pixelsPerSearch && !testing::Test::HasFailure()) {
    PlacementRecord record{};
    A_long width = 0;
    A_long height = 0;
    MakeByHand(source, &record, &width, &height);
    TryAll(source, {record, width, height}, &tally);
  }
}

TEST(RejectionTest, NoPixelOfASpoiledRecordIsWronglyRejected) {
  Source source(3);
  Tally tally;
  while (tally.Pixels() < pixelsPerSearch && !testing::Test::HasFailure()) {
    PlacementRecord record{};
    A_long width = 0;
    A_long height = 0;
    if (source.OneIn(2)) {
      MakeByHand(source, &record, &width, &height);
    } else if (!MakeFrame(source, &record, &width, &height)) {
      continue;
    }
    SpoilOneField(source, &record);
    if (source.OneIn(3)) {
      SpoilOneField(source, &record);
    }
    TryAll(source, {record, width, height}, &tally);
  }
}

}  // namespace
}  // namespace veltra

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  for (int i = 1; i < argc; ++i) {
    const std::string option = argv[i];
    if (option.rfind("--pixels=", 0) == 0) {
      veltra::pixelsPerSearch = std::atoll(option.c_str() + 9);
    }
  }
  return RUN_ALL_TESTS();
}
