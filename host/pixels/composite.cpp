// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Transfers and transformations of rectangles, row by row.

#include "host/pixels/composite.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "host/pixels/sampling.h"
#include "host/pixels/world.h"
#include "host/pixels/world_view.h"

namespace veltra::host {
namespace {

UnitPixel Straight(UnitPixel premultiplied) {
  if (!(premultiplied.alpha > 0)) {
    return {};
  }
  premultiplied.red /= premultiplied.alpha;
  premultiplied.green /= premultiplied.alpha;
  premultiplied.blue /= premultiplied.alpha;
  return premultiplied;
}

/// What a mask lets through at a place of the source, 0 to 1; nothing outside of it.
template <class Pixel>
double MaskShare(const PF_MaskWorld* mask, A_long x, A_long y) {
  if (mask == nullptr) {
    return 1;
  }
  const PF_EffectWorld& world = mask->mask;
  const std::int64_t column = std::int64_t{x} - mask->offset.h;
  const std::int64_t row = std::int64_t{y} - mask->offset.v;
  double share = 0;
  if (column >= 0 && column < world.width && row >= 0 && row < world.height) {
    const UnitPixel pixel =
        ToUnit(RowOf<const Pixel>(world, static_cast<A_long>(row))[static_cast<A_long>(column)]);
    share = (mask->what_is_mask & PF_MaskFlag_LUMINANCE) != 0
                ? 0.3 * pixel.red + 0.59 * pixel.green + 0.11 * pixel.blue
                : pixel.alpha;
  }
  share = std::clamp(share, 0.0, 1.0);
  return (mask->what_is_mask & PF_MaskFlag_INVERTED) != 0 ? 1 - share : share;
}

bool OnField(PF_Field field, A_long y) {
  return field == PF_Field_FRAME || (field == PF_Field_UPPER) == (y % 2 == 0);
}

/// Whether source, mask and destination can be read at the destination's depth.
bool Readable(const DrawSettings& settings, const PF_EffectWorld& source,
              const PF_EffectWorld& destination) {
  const Depth depth = DepthOf(destination);
  const A_long bytes = BytesPerPixel(depth);
  const PF_MaskWorld* mask = settings.mask;
  return DepthOf(source) == depth && IsReadableAs(source, bytes) &&
         IsReadableAs(destination, bytes) && IsTransferMode(settings.transfer.mode) &&
         (mask == nullptr || (DepthOf(mask->mask) == depth && IsReadableAs(mask->mask, bytes)));
}

bool SharesPixels(const PF_EffectWorld& a, const PF_EffectWorld& b) {
  const auto first = [](const PF_EffectWorld& w) {
    return reinterpret_cast<std::uintptr_t>(w.data);
  };
  const auto last = [&first](const PF_EffectWorld& w) {
    return first(w) +
           static_cast<std::uintptr_t>(w.rowbytes) * static_cast<std::uintptr_t>(w.height);
  };
  return first(a) < last(b) && first(b) < last(a);
}

/// A source that does not change while the destination is written.
struct StableSource {
  PF_EffectWorld view{};
  World copy;
};

bool Stabilise(const PF_EffectWorld& source, const PF_EffectWorld& destination,
               StableSource& stable) {
  stable.view = source;
  if (!SharesPixels(source, destination)) {
    return true;
  }
  const Depth depth = DepthOf(source);
  auto made = World::Create(source.width, source.height, depth);
  if (!made) {
    return false;
  }
  const auto bytes =
      static_cast<std::size_t>(source.width) * static_cast<std::size_t>(BytesPerPixel(depth));
  for (A_long y = 0; y < source.height; ++y) {
    std::memcpy(made->RowAddress(y), RowOf<const std::byte>(source, y), bytes);
  }
  stable.copy = std::move(*made);
  stable.view = stable.copy.View();
  return true;
}

struct Placement {
  PF_LRect part;  ///< of the destination
  A_long shiftX;  ///< destination minus source
  A_long shiftY;
};

template <class Pixel>
PF_Err TransferRows(const DrawSettings& settings, const PF_EffectWorld& source,
                    const Placement& place, const PF_EffectWorld& destination,
                    const RowWork& work) {
  const PF_LRect& part = place.part;
  const std::int64_t bytes = std::int64_t{part.right - part.left} * A_long{sizeof(Pixel)} * 8;
  return work.Run(part.bottom - part.top, bytes, [&](A_long first, A_long last) {
    for (A_long y = part.top + first; y < part.top + last; ++y) {
      if (!OnField(settings.field, y)) {
        continue;
      }
      const Pixel* in = RowOf<const Pixel>(source, y - place.shiftY);
      Pixel* out = RowOf<Pixel>(destination, y);
      for (A_long x = part.left; x < part.right; ++x) {
        UnitPixel above = ToUnit(in[x - place.shiftX]);
        above = settings.premultipliedSource ? Straight(above) : above;
        const double share = MaskShare<Pixel>(settings.mask, x - place.shiftX, y - place.shiftY);
        out[x] = FromUnit<Pixel>(Composite(settings.transfer, above, ToUnit(out[x]), share, x, y));
      }
    }
  });
}

// ---- Transformation ----

struct Position {
  double x;
  double y;
};

Position Apply(const PF_FloatMatrix& matrix, double x, double y) {
  const auto& m = matrix.mat;
  const double w = x * m[0][2] + y * m[1][2] + m[2][2];
  return {(x * m[0][0] + y * m[1][0] + m[2][0]) / w, (x * m[0][1] + y * m[1][1] + m[2][1]) / w};
}

/// The source at a position counted from pixel corners; transparent outside.
template <class Pixel>
UnitPixel SampleAt(const PF_EffectWorld& source, Position at, bool smooth) {
  const double x = at.x - 0.5;
  const double y = at.y - 0.5;
  if (!(x > -1 && y > -1 && x < source.width && y < source.height)) {
    return {};
  }
  // A world's side is at most 30000 pixels, so that a position inside of it fits 16.16.
  const double left = std::floor(x);
  const double top = std::floor(y);
  if (!smooth) {
    const auto column = static_cast<A_long>(std::floor(at.x));
    const auto row = static_cast<A_long>(std::floor(at.y));
    const bool inside = column >= 0 && column < source.width && row >= 0 && row < source.height;
    return inside ? ToUnit(RowOf<const Pixel>(source, row)[column]) : UnitPixel{};
  }
  const auto fixed = [](double whole, double exact) {
    return static_cast<PF_Fixed>(whole * kFixedOne + std::floor((exact - whole) * kFixedOne + 0.5));
  };
  return ToUnit(SampleBetween<Pixel>(source, fixed(left, x), fixed(top, y)));
}

/// The average of all positions of one destination pixel, colour weighted by alpha.
template <class Pixel>
UnitPixel SampleAll(const DrawSettings& settings, const PF_EffectWorld& source,
                    const PF_FloatMatrix* matrices, A_long count, A_long x, A_long y) {
  UnitPixel sum;
  for (A_long i = 0; i < count; ++i) {
    const UnitPixel one =
        SampleAt<Pixel>(source, Apply(matrices[i], x + 0.5, y + 0.5), settings.smooth);
    const double weight = settings.premultipliedSource ? 1 : one.alpha;
    sum.alpha += one.alpha;
    sum.red += weight * one.red;
    sum.green += weight * one.green;
    sum.blue += weight * one.blue;
  }
  UnitPixel average = Straight(sum);
  average.alpha = sum.alpha / count;
  return average;
}

template <class Pixel>
PF_Err TransformRows(const DrawSettings& settings, const PF_EffectWorld& source,
                     const PF_FloatMatrix* matrices, A_long count, const PF_LRect& part,
                     const PF_EffectWorld& destination, const RowWork& work) {
  const std::int64_t bytes = std::int64_t{part.right - part.left} * A_long{sizeof(Pixel)} * 16;
  return work.Run(part.bottom - part.top, bytes, [&](A_long first, A_long last) {
    for (A_long y = part.top + first; y < part.top + last; ++y) {
      if (!OnField(settings.field, y)) {
        continue;
      }
      Pixel* out = RowOf<Pixel>(destination, y);
      for (A_long x = part.left; x < part.right; ++x) {
        const UnitPixel above = SampleAll<Pixel>(settings, source, matrices, count, x, y);
        const Position at = Apply(matrices[0], x + 0.5, y + 0.5);
        const bool near = at.x > -1e6 && at.x < 1e6 && at.y > -1e6 && at.y < 1e6;
        const double share =
            MaskShare<Pixel>(settings.mask, near ? static_cast<A_long>(std::floor(at.x)) : -1,
                             near ? static_cast<A_long>(std::floor(at.y)) : -1);
        out[x] = FromUnit<Pixel>(Composite(settings.transfer, above, ToUnit(out[x]), share, x, y));
      }
    }
  });
}

}  // namespace

PF_Err TransferPart(const DrawSettings& settings, const PF_EffectWorld& source,
                    const PF_LRect& from, A_long x, A_long y, PF_EffectWorld& destination,
                    const RowWork& work) {
  if (!Readable(settings, source, destination)) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  const PF_LRect cut = Intersection(from, BoundsOf(source));
  const std::int64_t shiftX = std::int64_t{x} - from.left;
  const std::int64_t shiftY = std::int64_t{y} - from.top;
  const auto moved = [](A_long value, std::int64_t shift) {
    return static_cast<A_long>(std::clamp(value + shift, -std::int64_t{kHostMaxWorldSide},
                                          2 * std::int64_t{kHostMaxWorldSide}));
  };
  const PF_LRect to{moved(cut.left, shiftX), moved(cut.top, shiftY), moved(cut.right, shiftX),
                    moved(cut.bottom, shiftY)};
  const PF_LRect part = Intersection(to, BoundsOf(destination));
  if (IsEmpty(part) || IsEmpty(cut)) {
    return PF_Err_NONE;
  }
  StableSource stable;
  if (!Stabilise(source, destination, stable)) {
    return PF_Err_OUT_OF_MEMORY;
  }
  const Placement place{part, static_cast<A_long>(shiftX), static_cast<A_long>(shiftY)};
  return WithPixelType(DepthOf(destination), [&](auto pixel) {
    return TransferRows<decltype(pixel)>(settings, stable.view, place, destination, work);
  });
}

PF_Err TransformInto(const DrawSettings& settings, const PF_EffectWorld& source,
                     const PF_FloatMatrix* matrices, A_long count, const PF_LRect& part,
                     PF_EffectWorld& destination, const RowWork& work) {
  if (!Readable(settings, source, destination) || matrices == nullptr || count < 1) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  const PF_LRect cut = Intersection(part, BoundsOf(destination));
  StableSource stable;
  if (!Stabilise(source, destination, stable)) {
    return PF_Err_OUT_OF_MEMORY;
  }
  return WithPixelType(DepthOf(destination), [&](auto pixel) {
    return TransformRows<decltype(pixel)>(settings, stable.view, matrices, count, cut, destination,
                                          work);
  });
}

bool Invert(const PF_FloatMatrix& matrix, PF_FloatMatrix& inverse) {
  const auto& m = matrix.mat;
  const auto minor = [&m](int r0, int r1, int c0, int c1) {
    return m[r0][c0] * m[r1][c1] - m[r0][c1] * m[r1][c0];
  };
  const double determinant =
      m[0][0] * minor(1, 2, 1, 2) - m[0][1] * minor(1, 2, 0, 2) + m[0][2] * minor(1, 2, 0, 1);
  if (!(std::abs(determinant) > 0) || !std::isfinite(determinant)) {
    return false;
  }
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) {
      const int r0 = column == 0 ? 1 : 0;
      const int r1 = column == 2 ? 1 : 2;
      const int c0 = row == 0 ? 1 : 0;
      const int c1 = row == 2 ? 1 : 2;
      const double sign = (row + column) % 2 == 0 ? 1 : -1;
      inverse.mat[row][column] = sign * minor(r0, r1, c0, c1) / determinant;
    }
  }
  return true;
}

}  // namespace veltra::host
