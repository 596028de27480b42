// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The per-pixel benchmark's scene.

#include "bench/pixel_scene.h"

#include <stdexcept>
#include <type_traits>

#include "effect/render/pixel/pixel_depths.h"
#include "effect/render/pixel/place_pixel.h"
#include "host/pixels/world_view.h"
#include "host/suites/iterate.h"
#include "host/suites/sampling_callbacks.h"

namespace veltra::bench {
namespace {

constexpr A_long kLayerWidth = 512;
constexpr A_long kLayerHeight = 192;

/// The depth's names for what the scene needs.
template <class Pixel>
struct DepthFacts;
template <>
struct DepthFacts<PF_Pixel8> {
  using Depth = Depth8;
  static constexpr auto kPlain = PlacePixel8;
  static constexpr auto kFiltered = PlacePixelFiltered8;
  static constexpr double kFull = 255;
};
template <>
struct DepthFacts<PF_Pixel16> {
  using Depth = Depth16;
  static constexpr auto kPlain = PlacePixel16;
  static constexpr auto kFiltered = PlacePixelFiltered16;
  static constexpr double kFull = 32768;
};
template <>
struct DepthFacts<PF_PixelFloat> {
  using Depth = DepthFloat;
  static constexpr auto kPlain = PlacePixelFloat;
  static constexpr auto kFiltered = PlacePixelFilteredFloat;
  static constexpr double kFull = 1;
};

template <class Pixel>
host::World MakeWorld(A_long width, A_long height) {
  auto world = host::World::Create(width, height, host::kDepthOf<Pixel>);
  if (!world) {
    throw std::runtime_error("no memory for a benchmark world");
  }
  return std::move(*world);
}

/// Soft alpha and gradients, so that no shortcut for opaque or empty pixels decides the time.
template <class Pixel>
void Paint(host::World& world, double opaque) {
  using Channel = decltype(Pixel::alpha);
  const double full = DepthFacts<Pixel>::kFull;
  for (A_long y = 0; y < world.Height(); ++y) {
    A_long x = 0;
    for (Pixel& pixel : world.Row<Pixel>(y)) {
      const double across = static_cast<double>(x) / world.Width();
      const double down = static_cast<double>(y) / world.Height();
      const double alpha = opaque + (1 - opaque) * (0.25 + 0.5 * across);
      pixel = {static_cast<Channel>(alpha * full), static_cast<Channel>(across * full),
               static_cast<Channel>(down * full), static_cast<Channel>(across * down * full)};
      ++x;
    }
  }
}

template <class Pixel>
PF_Err EmptyPixel(void* /*refcon*/, A_long /*x*/, A_long /*y*/, Pixel* /*in*/, Pixel* /*out*/) {
  return PF_Err_NONE;
}

/// One host sample inside the layer and one composite, nothing else.
template <class Pixel>
PF_Err FloorPixel(void* refcon, A_long x, A_long y, Pixel* /*in*/, Pixel* out) {
  const auto& record = *static_cast<const PlacementRecord*>(refcon);
  Pixel sample{};
  const auto sampler = reinterpret_cast<PF_SampleFn<Pixel>>(record.subpixelSample);
  const PF_Err error = sampler(record.effectRef, (x % 340) * 98304 + 20000,
                               (y % 110) * 98304 + 30000, &record.samplingParams, &sample);
  DepthFacts<Pixel>::Depth::CompositeOver(sample, out);
  return error;
}

/// The same with a box of the size that the filtered family asks for in this scene.
template <class Pixel>
PF_Err FilteredFloorPixel(void* refcon, A_long x, A_long y, Pixel* /*in*/, Pixel* out) {
  const auto& record = *static_cast<const PlacementRecord*>(refcon);
  PF_SampPB params = record.samplingParams;
  params.x_radius = 81888;
  params.y_radius = 87728;
  params.area = 65536;
  Pixel sample{};
  const auto sampler = reinterpret_cast<PF_SampleFn<Pixel>>(record.areaSample);
  const PF_Err error = sampler(record.effectRef, (x % 340) * 98304 + 20000,
                               (y % 110) * 98304 + 30000, &params, &sample);
  DepthFacts<Pixel>::Depth::CompositeOver(sample, out);
  return error;
}

template <class Pixel>
struct ReferenceCall {
  const reference::Placement* placement;
  const reference::PixelTools<Pixel>* tools;
};

template <class Pixel>
PF_Err ReferencePixel(void* refcon, A_long x, A_long y, Pixel* /*in*/, Pixel* out) {
  const auto& call = *static_cast<const ReferenceCall<Pixel>*>(refcon);
  return reference::PlacePixel(*call.placement, *call.tools, x, y, out);
}

template <class Pixel>
PF_Err ReferencePixelFiltered(void* refcon, A_long x, A_long y, Pixel* /*in*/, Pixel* out) {
  const auto& call = *static_cast<const ReferenceCall<Pixel>*>(refcon);
  return reference::PlacePixelFiltered(*call.placement, *call.tools, x, y, out);
}

/// The geometry by the yardstick, so that nothing of the effect's own is needed.
reference::Placement PlacementOf(const SceneSettings& scene) {
  reference::GeometryInput input;
  const auto fixed = [](double value) { return static_cast<PF_Fixed>(value * 65536.0); };
  const double halfSpan = scene.spanDegrees / 360.0 / 2.0;
  input.controls.startX = fixed(scene.width * (0.5 - halfSpan));
  input.controls.endX = fixed(scene.width * (0.5 + halfSpan));
  input.controls.startY = fixed(scene.height * 0.5);
  input.controls.endY = input.controls.startY;
  input.controls.placement = scene.tile ? 2 : 1;
  input.controls.travel = fixed(scene.tile ? 25 : 0);
  input.controls.size = fixed(scene.bandDegrees);
  input.controls.opacity = fixed(100);
  input.frameWidth = scene.width;
  input.frameHeight = scene.height;
  input.layerWidth = kLayerWidth;
  input.layerHeight = kLayerHeight;
  return reference::ComputePlacement(input, reference::StandardMaths()).value();
}

}  // namespace

template <class Pixel>
PixelScene<Pixel>::PixelScene(const SceneSettings& settings, Family family)
    : frame_(MakeWorld<Pixel>(settings.width, settings.height)),
      layer_(MakeWorld<Pixel>(kLayerWidth, kLayerHeight)),
      session_({host::Tables(), controls_}, &renderSettings_),
      family_(family),
      placement_(PlacementOf(settings)) {
  Paint<Pixel>(frame_, 1);
  Paint<Pixel>(layer_, 0);
  frameView_ = frame_.View();
  layerView_ = session_.LayerView(layer_, {0, 0, kLayerWidth, kLayerHeight});

  const bool filtered = family == Family::kFiltered;
  const PF_SampleFn<Pixel> subpixel = host::SubpixelCallback<Pixel>;
  const PF_SampleFn<Pixel> area = host::AreaCallback<Pixel>;
  auto record = reference::RecordFrom<PlacementRecord>(placement_);
  record.samplingParams.src = &layerView_;
  record.inData = &session_.InData();
  record.effectRef = session_.InData().effect_ref;
  record.subpixelSample = filtered ? nullptr : reinterpret_cast<AnySampleFn>(subpixel);
  record.areaSample = filtered ? reinterpret_cast<AnySampleFn>(area) : nullptr;
  record_.emplace(record, frameView_.width, frameView_.height);
  tools_.maths = reference::StandardMaths();
  tools_.sample = filtered ? area : subpixel;
  tools_.effectRef = record.effectRef;
  tools_.block = record.samplingParams;
}

template <class Pixel>
void PixelScene<Pixel>::Run(Contender contender, const PF_LRect& area) {
  using Facts = DepthFacts<Pixel>;
  const bool filtered = family_ == Family::kFiltered;
  ReferenceCall<Pixel> call{&placement_, &tools_};
  void* refcon = static_cast<PlacementRecord*>(&*record_);
  PF_IteratePixelFn<Pixel> function = EmptyPixel<Pixel>;
  switch (contender) {
    case Contender::kEmpty:
      break;
    case Contender::kFloor:
      function = filtered ? FilteredFloorPixel<Pixel> : FloorPixel<Pixel>;
      break;
    case Contender::kReference:
      function = filtered ? ReferencePixelFiltered<Pixel> : ReferencePixel<Pixel>;
      refcon = &call;
      break;
    case Contender::kEffect:
      function = filtered ? Facts::kFiltered : Facts::kPlain;
      break;
  }
  const PF_Err error = host::IteratePixels<Pixel>(&session_.InData(), 0, 1, nullptr, &area, refcon,
                                                  function, &frameView_);
  if (error != PF_Err_NONE) {
    throw std::runtime_error("a benchmark run failed");
  }
}

template class PixelScene<PF_Pixel8>;
template class PixelScene<PF_Pixel16>;
template class PixelScene<PF_PixelFloat>;

}  // namespace veltra::bench
