// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Compositing of straight-alpha pixels with the transfer modes of the interface.
#pragma once

#include <cstdint>

#include "host/base/depth.h"
#include "host/pixels/row_work.h"
#include "host_api/suites.h"

namespace veltra::host {

/// A straight-alpha pixel in units of the full scale.
struct UnitPixel {
  double alpha = 0;
  double red = 0;
  double green = 0;
  double blue = 0;
};

template <class Pixel>
constexpr UnitPixel ToUnit(const Pixel& pixel) {
  return {UnitOf<Pixel>(pixel.alpha), UnitOf<Pixel>(pixel.red), UnitOf<Pixel>(pixel.green),
          UnitOf<Pixel>(pixel.blue)};
}

template <class Pixel>
constexpr Pixel FromUnit(const UnitPixel& unit) {
  return {ChannelOf<Pixel>(unit.alpha), ChannelOf<Pixel>(unit.red), ChannelOf<Pixel>(unit.green),
          ChannelOf<Pixel>(unit.blue)};
}

/// Whether a mode is one that Composite knows: every one the interface names.
bool IsTransferMode(PF_TransferMode mode);

/// How a source goes over a destination.
struct TransferSettings {
  PF_TransferMode mode = PF_Xfer_IN_FRONT;
  double opacity = 1;      ///< 0 to 1
  bool rgbOnly = false;    ///< leaves the destination's alpha alone
  std::uint32_t seed = 0;  ///< of the dissolve
};

/// One pixel of a composite. `share` is the mask's part of the opacity, 0 to 1; (x, y) decides
/// what dissolves.
UnitPixel Composite(const TransferSettings& settings, const UnitPixel& source,
                    const UnitPixel& destination, double share, A_long x, A_long y);

/// What a transfer or a transformation draws with.
struct DrawSettings {
  TransferSettings transfer;
  const PF_MaskWorld* mask = nullptr;  ///< its first pixel lies at `offset` of the source
  bool premultipliedSource = false;
  PF_Field field = PF_Field_FRAME;  ///< all rows, or the upper (even) or lower ones
  bool smooth = true;               ///< transformations: between pixels, not the nearest one
};

/// Puts the part `from` of the source at (x, y) of the destination. Both have one depth, as has the
/// mask; otherwise PF_Err_BAD_CALLBACK_PARAM. PF_Interrupt_CANCEL when the work's abort is seen.
PF_Err TransferPart(const DrawSettings& settings, const PF_EffectWorld& source,
                    const PF_LRect& from, A_long x, A_long y, PF_EffectWorld& destination,
                    const RowWork& work = {});

/// Draws the source, moved by matrices that take destination positions (from pixel corners) to
/// source ones, over `part` of the destination. Several matrices are averaged. Errors as above.
PF_Err TransformInto(const DrawSettings& settings, const PF_EffectWorld& source,
                     const PF_FloatMatrix* matrices, A_long count, const PF_LRect& part,
                     PF_EffectWorld& destination, const RowWork& work = {});

/// The inverse; false for a matrix that has none.
bool Invert(const PF_FloatMatrix& matrix, PF_FloatMatrix& inverse);

}  // namespace veltra::host
