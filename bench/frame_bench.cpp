// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Milliseconds of whole frames: what a layer far larger than it is shown costs.

#include <cstdio>
#include <cstring>
#include <stdexcept>

#include "bench/timing.h"
#include "host/renderer.h"

namespace veltra::bench {
namespace {

constexpr A_long kFrameWidth = 2048;
constexpr A_long kFrameHeight = 1024;
constexpr A_long kShownWidth = 200;  ///< pixels of the frame; half as many high

template <class Pixel>
host::World PaintedWorld(A_long width, A_long height, double leastAlpha) {
  auto world = host::World::Create(width, height, host::kDepthOf<Pixel>);
  if (!world) {
    throw std::runtime_error("no memory for a benchmark world");
  }
  using Channel = decltype(Pixel::alpha);
  const double full = sizeof(Channel) == 1 ? 255 : sizeof(Channel) == 2 ? 32768 : 1;
  for (A_long y = 0; y < height; ++y) {
    A_long x = 0;
    for (Pixel& pixel : world->template Row<Pixel>(y)) {
      const double across = static_cast<double>(x) / width;
      const double down = static_cast<double>(y) / height;
      const double alpha = leastAlpha + (1 - leastAlpha) * across;
      pixel = {static_cast<Channel>(alpha * full), static_cast<Channel>(across * full),
               static_cast<Channel>(down * full), static_cast<Channel>(full / 2)};
      ++x;
    }
  }
  return std::move(*world);
}

PF_ParamIndex IndexOf(const host::Effect& effect, const char* name) {
  for (const host::ControlDeclaration& control : effect.Controls()) {
    if (control.name == name || control.label == name) {
      return control.index;
    }
  }
  throw std::runtime_error(std::string("the effect has no ") + name);
}

/// Whether the layer is the same from frame to frame, or new to each.
enum class Layer { kStill, kChanging };

/// A layer along the middle of an opaque frame, with area filtering and soft alpha.
template <class Pixel>
class Scene {
 public:
  Scene(const host::Effect& effect, const host::World& frame, A_long layerWidth, Layer layer)
      : effect_(effect), layer_(PaintedWorld<Pixel>(layerWidth, layerWidth / 2, 0.25)) {
    if (layer == Layer::kStill) {
      layer_.KeepFacts();
    }
    settings_.width = kFrameWidth;
    settings_.height = kFrameHeight;
    settings_.depth = host::kDepthOf<Pixel>;
    settings_.input = &frame;
    settings_.layers[IndexOf(effect, "Layer")] = &layer_;
    const auto fixed = [](double value) { return static_cast<PF_Fixed>(value * 65536); };
    auto& controls = settings_.controls;
    const double middle = kFrameWidth / 2.0;
    controls[IndexOf(effect, "Start Point")] = {fixed(middle - kShownWidth / 2.0),
                                                fixed(kFrameHeight / 2.0)};
    controls[IndexOf(effect, "End Point")] = {fixed(middle + kShownWidth / 2.0),
                                              fixed(kFrameHeight / 2.0)};
    controls[IndexOf(effect, "Size (Degrees)")] = {fixed(180.0 * kShownWidth / kFrameWidth), 0};
    controls[IndexOf(effect, "Spherical Filtering")] = {1, 0};
  }

  void RenderFrame() const {
    if (!host::RenderFrame(effect_, settings_).Ok()) {
      throw std::runtime_error("a benchmark frame failed");
    }
  }

 private:
  const host::Effect& effect_;
  host::World layer_;
  host::RenderSettings settings_;
};

template <class Pixel>
void MeasureReduction(const host::Effect& effect, const char* depth, A_long largeWidth,
                      int rounds) {
  const host::World frame = PaintedWorld<Pixel>(kFrameWidth, kFrameHeight, 1);
  const Scene<Pixel> small(effect, frame, kShownWidth, Layer::kStill);
  const Scene<Pixel> large(effect, frame, largeWidth, Layer::kStill);
  const Scene<Pixel> changing(effect, frame, largeWidth, Layer::kChanging);
  const std::vector<double> seconds =
      AlternatingMedians({[&small] { small.RenderFrame(); }, [&large] { large.RenderFrame(); },
                          [&changing] { changing.RenderFrame(); }},
                         rounds);
  std::printf("| %s | %.1f | %.1f | %.2f x | %.1f | %.2f x |\n", depth, seconds[0] * 1e3,
              seconds[1] * 1e3, seconds[1] / seconds[0], seconds[2] * 1e3, seconds[2] / seconds[0]);
  std::fflush(stdout);
}

int Main(int argc, char** argv) {
  const bool quick = argc == 3 && std::strcmp(argv[2], "--quick") == 0;
  if (argc != 2 && !quick) {
    std::fprintf(stderr, "usage: frame_bench LIBRARY [--quick]\n");
    return 2;
  }
  auto effect = host::Effect::Open(argv[1]);
  if (!effect) {
    throw std::runtime_error(effect.ErrorText());
  }
  const int rounds = quick ? 0 : 9;
  const A_long largeWidth = quick ? 1024 : 8192;
  std::printf(
      "| ms per frame, %d wide | layer as wide | still layer %d wide | ratio | changing | ratio |\n"
      "| --- | --- | --- | --- | --- | --- |\n",
      kShownWidth, largeWidth);
  MeasureReduction<PF_Pixel8>(**effect, "8 bit", largeWidth, rounds);
  MeasureReduction<PF_Pixel16>(**effect, "16 bit", largeWidth, rounds);
  MeasureReduction<PF_PixelFloat>(**effect, "float", largeWidth, rounds);
  return 0;
}

}  // namespace
}  // namespace veltra::bench

int main(int argc, char** argv) {
  try {
    return veltra::bench::Main(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "frame_bench: %s\n", error.what());
    return 1;
  }
}
