// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Fills and matte colours.

#include "host/suites/matte_callbacks.h"

#include "host/pixels/filters.h"
#include "host/pixels/transfer.h"
#include "host/suites/callback.h"

namespace veltra::host {
namespace {

/// An 8-bit colour is converted to a deeper world; other colours must be of the world's depth.
template <class Pixel>
PF_Err Fill(PF_ProgPtr ref, const Pixel* color, const PF_LRect* rect,
            PF_EffectWorld* world) noexcept {
  return Serve(ref, HostCall::kFill, world != nullptr, [&](Session& session) {
    return session.WorkThrough([&](const RowWork& work) {
      if constexpr (kDepthOf<Pixel> == Depth::k8) {
        return FillWorld(color, rect, *world, work);
      } else {
        return FillSameDepth(color, rect, *world, work);
      }
    });
  });
}

template <class Pixel>
PF_Err PremultiplyColor(PF_ProgPtr ref, PF_EffectWorld* source, const Pixel* color, A_long forward,
                        PF_EffectWorld* destination) noexcept {
  const bool usable = source != nullptr && destination != nullptr;
  return Serve(ref, HostCall::kPremultiplyColor, usable, [&](Session& session) {
    return session.WorkThrough([&](const RowWork& work) {
      return MatteWorld<Pixel>(*source, color != nullptr ? *color : Pixel{}, forward != 0,
                               *destination, work);
    });
  });
}

PF_Err Premultiply(PF_ProgPtr ref, A_long forward, PF_EffectWorld* world) noexcept {
  return Serve(ref, HostCall::kPremultiply, world != nullptr, [&](Session& session) {
    return session.WorkThrough([&](const RowWork& work) {
      return WithPixelType(DepthOf(*world), [&](auto black) {
        return MatteWorld<decltype(black)>(*world, black, forward != 0, *world, work);
      });
    });
  });
}

constexpr PF_FillMatteSuite2 kTable{&Fill<PF_Pixel8>,
                                    &Fill<PF_Pixel16>,
                                    &Fill<PF_PixelFloat>,
                                    &Premultiply,
                                    &PremultiplyColor<PF_Pixel8>,
                                    &PremultiplyColor<PF_Pixel16>,
                                    &PremultiplyColor<PF_PixelFloat>};

}  // namespace

const PF_FillMatteSuite2& MatteFunctions() {
  return kTable;
}

}  // namespace veltra::host
