// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Fuzzes the per-pixel functions: hand-made placement records, good and bad, at any pixel.

#include <cmath>

#include "effect/placement/path_geometry.h"
#include "effect/render/pixel/frame_tables.h"
#include "effect/render/pixel/place_pixel.h"
#include "fuzz/fuzz_world.h"
#include "fuzz/pixel_oracle.h"
#include "numerics/trigonometry.h"

namespace veltra::fuzz {
namespace {

constexpr int kMaxLayerSide = 12;
constexpr int kMaxPixels = 24;

Vector3 AnyVector(ByteReader& bytes) {
  const double x = bytes.Double();
  const double y = bytes.Double();
  return {x, y, bytes.Double()};
}

/// Every number of the record straight from the input.
void FillWithAnything(ByteReader& bytes, PlacementRecord* record) {
  record->normScaleX = bytes.Double();
  record->normScaleY = bytes.Double();
  record->originOffsetX = bytes.Double();
  record->originOffsetY = bytes.Double();
  record->halfBandAngle = bytes.Double();
  record->spanStart = AnyVector(bytes);
  record->spanEnd = AnyVector(bytes);
  record->spanAngle = bytes.Double();
  record->spanNormal = AnyVector(bytes);
  record->layerPixelsPerRadian = bytes.Double();
  record->layerHalfHeight = bytes.Double();
  record->radiansPerPixel = bytes.Double();
  record->tileMode = static_cast<std::uint8_t>(bytes.Below(2));
  record->tilePeriod = bytes.Double();
  record->tileOffset = bytes.Double();
}

/// As the kernel fills it for a frame of ordinary size.
void FillFromGeometry(ByteReader& bytes, const PF_EffectWorld& layer, PlacementRecord* record) {
  PF_ANSICallbacks math{};
  math.sin = numerics::Sin;
  math.cos = numerics::Cos;
  math.sqrt = [](double x) { return std::sqrt(x); };
  math.acos = numerics::Acos;

  GeometryInputs in{};
  in.frameWidth = 1 + bytes.Raw<std::uint16_t>() % 4096;
  in.frameHeight = 1 + bytes.Raw<std::uint16_t>() % 2048;
  in.startPoint = {in.frameWidth * bytes.Raw<std::int16_t>() / 32768.0,
                   in.frameHeight * bytes.Raw<std::int16_t>() / 32768.0};
  in.endPoint = {in.frameWidth * bytes.Raw<std::int16_t>() / 32768.0,
                 in.frameHeight * bytes.Raw<std::int16_t>() / 32768.0};
  if (bytes.Rarely()) {
    in.endPoint = in.startPoint;
  }
  in.travel = bytes.Raw<std::int16_t>() / 8192.0;
  in.mode = 1 + bytes.Below(3);
  in.halfBandAngle = HalfBandAngle(bytes.Raw<std::uint16_t>() / 512.0);
  in.layerWidth = layer.width;
  in.layerHeight = layer.height;
  in.layerAspect = 1.0;
  in.downsampleX = 1.0;
  in.downsampleY = 1.0;
  ComputePlacementGeometry(in, math, record);
}

double* NumberAt(PlacementRecord* record, int which) {
  double* const numbers[] = {&record->normScaleX,      &record->normScaleY,
                             &record->originOffsetX,   &record->originOffsetY,
                             &record->halfBandAngle,   &record->spanStart.x,
                             &record->spanStart.y,     &record->spanEnd.x,
                             &record->spanEnd.z,       &record->spanAngle,
                             &record->spanNormal.x,    &record->spanNormal.y,
                             &record->spanNormal.z,    &record->layerPixelsPerRadian,
                             &record->layerHalfHeight, &record->radiansPerPixel,
                             &record->tilePeriod,      &record->tileOffset};
  return numbers[which % static_cast<int>(std::size(numbers))];
}

/// Small and large changes, so that a record is nearly but not quite one of ours.
void Disturb(ByteReader& bytes, PlacementRecord* record) {
  for (int changes = bytes.Below(4); changes > 0; --changes) {
    double* number = NumberAt(record, bytes.Byte());
    const int how = bytes.Below(3);
    if (how == 0) {
      *number = bytes.Double();
    } else if (how == 1) {
      *number *= 1.0 + bytes.Raw<std::int16_t>() * 1e-9;
    } else {
      *number = std::nextafter(*number, bytes.Below(2) == 0 ? -10.0 : 10.0);
    }
  }
}

/// A pixel of the frame, often near its edges, seldom far outside.
A_long Position(ByteReader& bytes, double normScale) {
  const double side = 2.0 / normScale;
  if (side >= 1.0 && side < 65536.0 && !bytes.Rarely()) {
    return static_cast<A_long>(side * bytes.Raw<std::uint16_t>() / 65536.0);
  }
  return bytes.Int();
}

/// Columns and rows that the tables hold.
constexpr A_long kTableSide = 16;

/// Moves the origin so that the tables hold some piece of the frame.
void MoveOrigin(ByteReader& bytes, PlacementRecord* record) {
  record->originOffsetX -= Position(bytes, record->normScaleX);
  record->originOffsetY -= Position(bytes, record->normScaleY);
}

template <class Pixel>
void TryPixel(ByteReader& bytes, PlacementRecord& record, bool nearTables, bool filtered,
              PF_IteratePixelFn<Pixel> function) {
  const A_long x =
      nearTables ? bytes.Below(kTableSide + 4) - 2 : Position(bytes, record.normScaleX);
  const A_long y =
      nearTables ? bytes.Below(kTableSide + 4) - 2 : Position(bytes, record.normScaleY);
  const auto before = PixelFromBits<Pixel>(Scramble(bytes.Raw<std::uint32_t>()));
  const Expectation<Pixel> expected = Expected(record, filtered, x, y, before);
  std::byte recordBefore[sizeof(record)];
  std::memcpy(recordBefore, &record, sizeof(record));
  Pixel row[3] = {before, before, before};
  const PF_Err result = function(&record, x, y, nullptr, &row[1]);
  Expect(std::memcmp(recordBefore, &record, sizeof(record)) == 0, "the record was written");
  Expect(std::memcmp(&row[0], &before, sizeof(before)) == 0 &&
             std::memcmp(&row[2], &before, sizeof(before)) == 0,
         "a neighbour of the pixel was written");
  if (!expected.known) {
    return;
  }
  Expect(result == expected.result, "the result code differs");
  if (!SamePixel(row[1], expected.pixel)) {
    ReportPixel(record, filtered, x, y, row[1], expected.pixel);
  }
}

template <class Pixel>
void TryRecord(ByteReader& bytes, Depth depth, PF_IteratePixelFn<Pixel> plain,
               PF_IteratePixelFn<Pixel> filtering) {
  FuzzWorld layer(bytes, depth, kMaxLayerSide, Role::kSource);
  if (layer.world.data == nullptr || layer.world.width <= 0 || layer.world.height <= 0) {
    return;  // The kernel draws nothing then.
  }
  PlacementRecord record;
  std::memset(static_cast<void*>(&record), 0, sizeof(record));
  const bool filtered = bytes.Below(2) == 1;
  if (bytes.Below(4) == 0) {
    FillWithAnything(bytes, &record);
  } else {
    FillFromGeometry(bytes, layer.world, &record);
    Disturb(bytes, &record);
  }
  record.opacity = bytes.Rarely() ? bytes.Raw<float>() : bytes.Byte() / 255.0F;
  record.samplingParams.src = &layer.world;
  (filtered ? record.areaSample : record.subpixelSample) =
      reinterpret_cast<AnySampleFn>(SampleAnything<Pixel>);
  const bool withTables = bytes.Below(2) == 1;
  if (withTables) {
    MoveOrigin(bytes, &record);
  }
  TabledRecord tabled(record, kTableSide, kTableSide);
  for (int pixels = 0; pixels < kMaxPixels && !bytes.AtEnd(); ++pixels) {
    TryPixel<Pixel>(bytes, withTables ? tabled : record, withTables, filtered,
                    filtered ? filtering : plain);
  }
  Expect(layer.Untouched(), "the layer was written");
}

}  // namespace
}  // namespace veltra::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace veltra;
  fuzz::ByteReader bytes({data, size});
  switch (bytes.Below(3)) {
    case 0:
      fuzz::TryRecord<PF_Pixel8>(bytes, fuzz::Depth::k8, PlacePixel8, PlacePixelFiltered8);
      break;
    case 1:
      fuzz::TryRecord<PF_Pixel16>(bytes, fuzz::Depth::k16, PlacePixel16, PlacePixelFiltered16);
      break;
    default:
      fuzz::TryRecord<PF_PixelFloat>(bytes, fuzz::Depth::kFloat, PlacePixelFloat,
                                     PlacePixelFilteredFloat);
      break;
  }
  return 0;
}
