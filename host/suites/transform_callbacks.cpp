// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Copies, blends, convolutions, transfers and transformations.

#include "host/suites/transform_callbacks.h"

#include <vector>

#include "host/pixels/composite.h"
#include "host/pixels/filters.h"
#include "host/pixels/transfer.h"
#include "host/suites/callback.h"

namespace veltra::host {
namespace {

// ---- Copies ----

bool SameRect(const PF_LRect& a, const PF_LRect& b) {
  return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

/// From one visible extent to another of a world of the same size is meant as "all that there is",
/// and not as a stretch from wherever the input happens to be opaque.
bool MeansWholePicture(const PF_EffectWorld& source, const PF_LRect* sourceRect,
                       const PF_EffectWorld& destination, const PF_LRect* destinationRect) {
  const auto isExtent = [](const PF_LRect* rect, const PF_EffectWorld& world) {
    return rect == nullptr || SameRect(*rect, world.extent_hint);
  };
  return source.width == destination.width && source.height == destination.height &&
         isExtent(sourceRect, source) && isExtent(destinationRect, destination);
}

enum class CopyQuality { kFrame, kLow, kHigh };

template <CopyQuality kQuality>
PF_Err Copy(PF_ProgPtr ref, PF_EffectWorld* source, PF_EffectWorld* destination,
            PF_LRect* sourceRect, PF_LRect* destinationRect) noexcept {
  const bool usable = source != nullptr && destination != nullptr;
  return Serve(ref, HostCall::kCopy, usable, [&](Session& session) {
    const bool draft =
        kQuality == CopyQuality::kFrame ? session.Draft() : kQuality == CopyQuality::kLow;
    const PF_LRect* from = sourceRect;
    const PF_LRect* to = destinationRect;
    if (MeansWholePicture(*source, from, *destination, to)) {
      from = to = to != nullptr ? to : from;
    }
    return session.WorkThrough([&](const RowWork& work) {
      return CopyWorld(*source, from, *destination, to, draft, work);
    });
  });
}

// ---- Filters ----

PF_Err Blend(PF_ProgPtr ref, const PF_EffectWorld* first, const PF_EffectWorld* second,
             PF_Fixed ratio, PF_EffectWorld* destination) noexcept {
  const bool usable = first != nullptr && second != nullptr && destination != nullptr;
  return Serve(ref, HostCall::kBlend, usable, [&](Session& session) {
    return session.WorkThrough([&](const RowWork& work) {
      return BlendWorlds(*first, *second, ratio, *destination, work);
    });
  });
}

PF_Err Convolve(PF_ProgPtr ref, PF_EffectWorld* source, const PF_LRect* area, A_u_long flags,
                A_long kernelSize, void* alpha, void* red, void* green, void* blue,
                PF_EffectWorld* destination) noexcept {
  const bool usable = source != nullptr && destination != nullptr;
  return Serve(ref, HostCall::kConvolve, usable, [&](Session& session) {
    const Kernel kernel{flags,
                        kernelSize,
                        {static_cast<const A_long*>(alpha), static_cast<const A_long*>(red),
                         static_cast<const A_long*>(green), static_cast<const A_long*>(blue)}};
    const PF_LRect part = area != nullptr ? *area : BoundsOf(*destination);
    return session.WorkThrough([&](const RowWork& work) {
      return ConvolveWorld(*source, part, kernel, *destination, work);
    });
  });
}

// ---- Transfers ----

PF_Err CompositeRect(PF_ProgPtr ref, PF_LRect* sourceRect, A_long opacity, PF_EffectWorld* source,
                     A_long x, A_long y, PF_Field field, PF_TransferMode mode,
                     PF_EffectWorld* destination) noexcept {
  const bool usable = source != nullptr && destination != nullptr && mode >= PF_Xfer_COPY &&
                      mode <= PF_Xfer_IN_FRONT;
  return Serve(ref, HostCall::kCompositeRect, usable, [&](Session& session) {
    DrawSettings draw;
    draw.transfer.mode = mode;
    draw.transfer.opacity = std::clamp(opacity, 0, 255) / 255.0;
    draw.field = field;
    const PF_LRect from = sourceRect != nullptr ? *sourceRect : BoundsOf(*source);
    return session.WorkThrough([&](const RowWork& work) {
      return TransferPart(draw, *source, from, x, y, *destination, work);
    });
  });
}

/// The interface's record in the destination's depth, for all worlds have one.
DrawSettings DrawOf(const PF_CompositeMode& mode, const PF_MaskWorld* mask, A_long modeFlags,
                    PF_Field field, const PF_EffectWorld& destination) {
  DrawSettings draw;
  draw.transfer.mode = mode.xfer;
  draw.transfer.opacity = DepthOf(destination) == Depth::k8
                              ? mode.opacity / 255.0
                              : std::min<int>(mode.opacitySu, PF_MAX_CHAN16) / 32768.0;
  draw.transfer.rgbOnly = mode.rgb_only != 0;
  draw.transfer.seed = static_cast<std::uint32_t>(mode.rand_seed);
  draw.mask = mask;
  draw.premultipliedSource = (modeFlags & PF_MF_Alpha_STRAIGHT) == 0;
  draw.field = field;
  return draw;
}

PF_Err TransferRect(PF_ProgPtr ref, PF_Quality /*quality*/, A_long modeFlags, PF_Field field,
                    const PF_LRect* sourceRect, const PF_EffectWorld* source,
                    const PF_CompositeMode* mode, const PF_MaskWorld* mask, A_long x, A_long y,
                    PF_EffectWorld* destination) noexcept {
  const bool usable = source != nullptr && mode != nullptr && destination != nullptr;
  return Serve(ref, HostCall::kTransferRect, usable, [&](Session& session) {
    const DrawSettings draw = DrawOf(*mode, mask, modeFlags, field, *destination);
    const PF_LRect from = sourceRect != nullptr ? *sourceRect : BoundsOf(*source);
    return session.WorkThrough([&](const RowWork& work) {
      return TransferPart(draw, *source, from, x, y, *destination, work);
    });
  });
}

/// For a source that is scaled to nothing: every pixel comes from far outside of any image.
constexpr PF_FloatMatrix kNowhere{{{0, 0, 0}, {0, 0, 0}, {-1e9, -1e9, 1}}};

PF_Err TransformWorld(PF_ProgPtr ref, PF_Quality quality, A_long modeFlags, PF_Field field,
                      const PF_EffectWorld* source, const PF_CompositeMode* mode,
                      const PF_MaskWorld* mask, const PF_FloatMatrix* matrices, A_long count,
                      PF_Boolean sourceToDestination, const PF_LRect* destinationRect,
                      PF_EffectWorld* destination) noexcept {
  const bool usable = source != nullptr && mode != nullptr && matrices != nullptr && count >= 1 &&
                      destination != nullptr;
  return Serve(ref, HostCall::kTransformWorld, usable, [&](Session& session) -> PF_Err {
    DrawSettings draw = DrawOf(*mode, mask, modeFlags, field, *destination);
    draw.smooth = quality != PF_Quality_LO;
    std::vector<PF_FloatMatrix> toSource(matrices, matrices + count);
    if (sourceToDestination != 0) {
      for (A_long i = 0; i < count; ++i) {
        if (!Invert(matrices[i], toSource[static_cast<std::size_t>(i)])) {
          toSource[static_cast<std::size_t>(i)] = kNowhere;
        }
      }
    }
    const PF_LRect part = destinationRect != nullptr ? *destinationRect : BoundsOf(*destination);
    return session.WorkThrough([&](const RowWork& work) {
      return TransformInto(draw, *source, toSource.data(), count, part, *destination, work);
    });
  });
}

constexpr PF_WorldTransformSuite1 kTable{
    &CompositeRect, &Blend,         &Convolve, &Copy<CopyQuality::kLow>, &Copy<CopyQuality::kHigh>,
    &TransferRect,  &TransformWorld};

}  // namespace

const PF_WorldTransformSuite1& TransformFunctions() {
  return kTable;
}

PF_CopyFn CopyInFrameQuality() {
  return &Copy<CopyQuality::kFrame>;
}

}  // namespace veltra::host
