// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The yardstick's whole frame: what a render leaves in the output world.
#include "tests/reference/frame.h"

#include <cstring>

namespace veltra::reference {
namespace {

template <class Pixel>
Pixel* Address(const PF_EffectWorld& world, A_long x, A_long y) {
  const bool inside = x >= 0 && y >= 0 && x < world.width && y < world.height;
  if (!inside || world.data == nullptr) {
    return nullptr;
  }
  return reinterpret_cast<Pixel*>(static_cast<char*>(world.data) + y * world.rowbytes +
                                  x * static_cast<A_long>(sizeof(Pixel)));
}

template <class Pixel>
void Clear(const PF_EffectWorld& world, const PF_LRect& rect) {
  for (A_long y = rect.top; y < rect.bottom; ++y) {
    for (A_long x = rect.left; x < rect.right; ++x) {
      if (Pixel* pixel = Address<Pixel>(world, x, y)) {
        *pixel = {};
      }
    }
  }
}

template <class Pixel>
void Copy(const PF_EffectWorld& from, const PF_EffectWorld& to, const PF_LRect& rect, A_long moveX,
          A_long moveY) {
  for (A_long y = rect.top; y < rect.bottom; ++y) {
    for (A_long x = rect.left; x < rect.right; ++x) {
      const Pixel* source = Address<Pixel>(from, x, y);
      Pixel* target = Address<Pixel>(to, x + moveX, y + moveY);
      if (source != nullptr && target != nullptr) {
        *target = *source;
      }
    }
  }
}

template <class Pixel>
void Prepare(const Frame& frame, const PF_EffectWorld& output) {
  if (!frame.controls.composite) {
    Clear<Pixel>(output, output.extent_hint);
  } else if (!frame.smart) {
    Copy<Pixel>(*frame.input, output, output.extent_hint, 0, 0);
  } else {
    Clear<Pixel>(output, {0, 0, output.width, output.height});
    if (frame.input != nullptr && frame.input->width >= 1 && frame.input->height >= 1) {
      Copy<Pixel>(*frame.input, output, frame.input->extent_hint,
                  frame.input->origin_x - output.origin_x, frame.input->origin_y - output.origin_y);
    }
  }
}

double LayerAspect(const Frame& frame) {
  const PF_RationalScale& par = frame.layer->pix_aspect_ratio;
  if (!frame.smart || (par.num != 0 && par.den != 0)) {
    return static_cast<double>(par.den) / static_cast<double>(par.num);
  }
  return frame.preRenderAspect.value_or(1.0);
}

}  // namespace

std::optional<Placement> PlacementOf(const Frame& frame, const PF_EffectWorld& output) {
  if (frame.layer == nullptr || frame.layer->data == nullptr) {
    return std::nullopt;
  }
  GeometryInput input;
  input.controls = frame.controls;
  input.resolution = frame.resolution;
  input.layerWidth = frame.layer->width;
  input.layerHeight = frame.layer->height;
  input.layerAspect = LayerAspect(frame);
  input.frameWidth = output.width;
  input.frameHeight = output.height;
  if (frame.smart) {
    const Resolution& r = frame.resolution;
    const double inverseAspect =
        static_cast<double>(r.pixelAspect.den) / static_cast<double>(r.pixelAspect.num);
    const double scaleX = static_cast<double>(r.downsampleX.num) * inverseAspect /
                          static_cast<double>(r.downsampleX.den);
    const double scaleY =
        static_cast<double>(r.downsampleY.num) / static_cast<double>(r.downsampleY.den);
    input.frameWidth = frame.width / inverseAspect * scaleX;
    input.frameHeight = frame.height * scaleY;
  }
  std::optional<Placement> placement = ComputePlacement(input, frame.geometryMaths);
  if (placement && !(placement->opacity > 0)) {
    return std::nullopt;
  }
  if (placement && frame.smart) {
    placement->originOffsetX = -static_cast<double>(output.origin_x);
    placement->originOffsetY = -static_cast<double>(output.origin_y);
  }
  return placement;
}

template <class Pixel>
void RenderFrame(const Frame& frame, PF_SampleFn<Pixel> sample, PF_EffectWorld* output) {
  Prepare<Pixel>(frame, *output);
  const std::optional<Placement> placement = PlacementOf(frame, *output);
  if (!placement) {
    return;
  }
  PF_EffectWorld layer = *frame.layer;
  PixelTools<Pixel> tools;
  tools.maths = frame.pixelMaths;
  tools.sample = sample;
  tools.block.src = &layer;
  const PF_LRect& area = output->extent_hint;
  for (A_long y = area.top; y < area.bottom; ++y) {
    for (A_long x = area.left; x < area.right; ++x) {
      if (Pixel* pixel = Address<Pixel>(*output, x, y)) {
        static_cast<void>(frame.controls.filtering
                              ? PlacePixelFiltered(*placement, tools, x, y, pixel)
                              : PlacePixel(*placement, tools, x, y, pixel));
      }
    }
  }
}

template void RenderFrame(const Frame&, PF_SampleFn<PF_Pixel8>, PF_EffectWorld*);
template void RenderFrame(const Frame&, PF_SampleFn<PF_Pixel16>, PF_EffectWorld*);
template void RenderFrame(const Frame&, PF_SampleFn<PF_PixelFloat>, PF_EffectWorld*);

}  // namespace veltra::reference
