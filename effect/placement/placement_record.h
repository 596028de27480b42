// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The frame's placement as every per-pixel function reads it, and the frame's scale factors.
#pragma once

#include "host_api/in_data.h"

namespace veltra {

inline constexpr double kPi = 3.141592653589793;
inline constexpr double kHalfPi = 1.5707963267948966;
inline constexpr double kTwoPi = 6.283185307179586;
inline constexpr double kRadiansPerDegree = 0.017453292519943295;

/// Direction on the unit sphere: longitude l and latitude p are the vector
/// (sin l cos p, sin p, -cos l cos p), so the frame's centre is (0, 0, -1) and rows grow towards
/// +y.
struct Vector3 {
  double x;
  double y;
  double z;
};

/// Half of what marks a record that has tables behind it (see TabledRecord); 0 without. The tables
/// belong to the one record, so a copy has no mark, and a record that is assigned to loses its own.
struct TablesMark {
  TablesMark() = default;
  TablesMark(const TablesMark& /*other*/) {}
  // NOLINTNEXTLINE(cert-oop54-cpp): a record that is assigned to itself may lose its mark, too.
  TablesMark& operator=(const TablesMark& /*other*/) {
    bits = 0;
    return *this;
  }
  ~TablesMark() = default;

  std::uint32_t bits = 0;
};

/// A sampler of any depth; cast back to PF_SampleFn<Pixel> of the frame's depth before a call.
using AnySampleFn = void (*)();

/// Built once per frame, complete before the iteration starts and only read while it runs.
struct PlacementRecord {
  double normScaleX;     ///< 2 / frame width
  double normScaleY;     ///< 2 / frame height
  double originOffsetX;  ///< subtracted from the host's x: minus the output's origin, classic 0
  double originOffsetY;
  double halfBandAngle;      ///< half the strip's height across the path, radians
  float opacity;             ///< fraction
  TablesMark tablesMarkLow;  ///< lies where the record would have padding
  Vector3 spanStart;
  Vector3 spanEnd;
  double spanAngle;  ///< from spanStart to spanEnd plus 0.0001, radians
  Vector3 spanNormal;
  double layerPixelsPerRadian;  ///< along the path
  double layerHalfHeight;       ///< (layer height - 1) / 2
  double radiansPerPixel;       ///< 2 pi / frame width
  std::uint8_t tileMode;        ///< 1 in Tile, else 0
  TablesMark tablesMarkHigh;    ///< in padding, too
  double tilePeriod;            ///< layer width - 1
  double tileOffset;            ///< columns added before the wrap; 0 outside Tile
  PF_SampPB samplingParams;     ///< zero but for src, the chosen layer's world
  PF_InData* inData;
  PF_ProgPtr effectRef;
  AnySampleFn subpixelSample;  ///< null with Spherical Filtering
  AnySampleFn areaSample;      ///< null without Spherical Filtering
};

/// Resolution and pixel-aspect factors of the effect's frame. The kernel needs three of them; the
/// others belong to the record and are filled all the same.
struct ScaleFactors {
  double meanInverseScale;
  double inversePixelAspect;
  double inverseScaleX;
  double inverseScaleY;
  double scaleX;
  double scaleY;
  double scaleXFixed;
  double scaleYFixed;
  float meanInverseScaleF;
  float inversePixelAspectF;
  float inverseScaleXF;
  float inverseScaleYF;
  float scaleXF;
  float scaleYF;
  float scaleXFixedF;
  float scaleYFixedF;
};

/// Derives the factors from the in-data's downsampling and pixel aspect ratio. A zero pixel aspect
/// numerator is not guarded: inversePixelAspect is then infinite.
ScaleFactors ComputeScaleFactors(const PF_InData& inData);

/// Pixels, not necessarily whole.
struct FrameSize {
  double width;
  double height;
};

/// The effect's own layer at the current downsampling, from the in-data and its factors. The order
/// of the operations decides the last column.
FrameSize ComputeFrameSize(const PF_InData& inData, const ScaleFactors& scale);

}  // namespace veltra
