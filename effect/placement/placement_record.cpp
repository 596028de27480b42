// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Scale factors.

#include "effect/placement/placement_record.h"

namespace veltra {

ScaleFactors ComputeScaleFactors(const PF_InData& inData) {
  const PF_RationalScale& aspect = inData.pixel_aspect_ratio;
  const PF_RationalScale& downsampleX = inData.downsample_x;
  const PF_RationalScale& downsampleY = inData.downsample_y;

  ScaleFactors f{};
  f.inversePixelAspect = static_cast<double>(aspect.den) / static_cast<double>(aspect.num);
  f.scaleX = static_cast<double>(downsampleX.num) * f.inversePixelAspect /
             static_cast<double>(downsampleX.den);
  f.scaleY = static_cast<double>(downsampleY.num) / static_cast<double>(downsampleY.den);
  f.inverseScaleX = 1.0 / f.scaleX;
  f.inverseScaleY = 1.0 / f.scaleY;
  f.meanInverseScale = (f.inverseScaleX + f.inverseScaleY) * 0.5;
  f.scaleXFixed = f.scaleX * kFixedOne;
  f.scaleYFixed = f.scaleY * kFixedOne;

  f.meanInverseScaleF = static_cast<float>(f.meanInverseScale);
  f.inversePixelAspectF = static_cast<float>(f.inversePixelAspect);
  f.inverseScaleXF = static_cast<float>(f.inverseScaleX);
  f.inverseScaleYF = static_cast<float>(f.inverseScaleY);
  f.scaleXF = static_cast<float>(f.scaleX);
  f.scaleYF = static_cast<float>(f.scaleY);
  f.scaleXFixedF = static_cast<float>(f.scaleXFixed);
  f.scaleYFixedF = static_cast<float>(f.scaleYFixed);
  return f;
}

FrameSize ComputeFrameSize(const PF_InData& inData, const ScaleFactors& scale) {
  return {inData.width / scale.inversePixelAspect * scale.scaleX, inData.height * scale.scaleY};
}

}  // namespace veltra
