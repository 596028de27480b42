// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The host's side: nanoseconds per sample, and what a second thread brings to an iteration.

#include <chrono>
#include <cstdio>
#include <cstring>
#include <stdexcept>

#include "bench/timing.h"
#include "host/base/thread_pool.h"
#include "host/suites/iterate.h"
#include "host/suites/sampling_callbacks.h"
#include "host/suites/tables.h"

namespace veltra::bench {
namespace {

int rounds = 9;
int samples = 200000;

template <class Pixel>
class SampledLayer {
 public:
  SampledLayer(A_long width, A_long height)
      : layer_(Make(width, height)), session_({host::Tables(), controls_}, &settings_) {
    view_ = session_.LayerView(layer_, {0, 0, width, height});
    block_.src = &view_;
  }

  /// Nanoseconds of one call, at positions that walk over the layer as a frame's rows do.
  double Sample(PF_SampleFn<Pixel> sampler, double radius) {
    block_.x_radius = static_cast<PF_Fixed>(radius * 65536);
    block_.y_radius = block_.x_radius;
    const auto walk = [&] {
      // Wrapped by comparing: two divisions would cost half as much as the sampler.
      const PF_Fixed width = (view_.width - 1) * 65536;
      const PF_Fixed height = (view_.height - 1) * 65536;
      Pixel out{};
      PF_Fixed x = 0;
      PF_Fixed y = 0;
      for (int i = 0; i < samples; ++i) {
        x += 83456;  // 1.27 columns
        y += 1304;
        x = x < width ? x : x - width;
        y = y < height ? y : y - height;
        sampler(session_.InData().effect_ref, x, y, &block_, &out);
      }
    };
    return AlternatingMedians({walk}, rounds)[0] * 1e9 / samples;
  }

 private:
  static host::World Make(A_long width, A_long height) {
    auto world = host::World::Create(width, height, host::kDepthOf<Pixel>);
    if (!world) {
      throw std::runtime_error("no memory for a benchmark world");
    }
    using Channel = decltype(Pixel::alpha);
    for (A_long y = 0; y < height; ++y) {
      A_long x = 0;
      for (Pixel& pixel : world->template Row<Pixel>(y)) {
        // Halves and quarters of the smallest full value fit every depth.
        const auto value = static_cast<Channel>(sizeof(Channel) == 4 ? 1 : 100 + x % 100);
        pixel = {value, value, static_cast<Channel>(y % 2), value};
        ++x;
      }
    }
    return std::move(*world);
  }

  host::RenderSettings settings_;
  std::vector<host::ControlDeclaration> controls_;
  host::World layer_;
  host::Session session_;
  PF_EffectWorld view_{};
  PF_SampPB block_{};
};

template <class Pixel>
void SampleRow(const char* depth) {
  SampledLayer<Pixel> small(1024, 512);
  SampledLayer<Pixel> large(8192, 4096);
  std::printf("| %s | %.1f", depth, small.Sample(host::SubpixelCallback<Pixel>, 0.5));
  for (const double radius : {0.5, 1.3, 4.0, 16.0, 60.0, 127.0}) {
    std::printf(" | %.0f", large.Sample(host::AreaCallback<Pixel>, radius));
  }
  std::printf(" |\n");
  std::fflush(stdout);
}

/// About as slow as a covered pixel, and free of memory traffic.
PF_Err BusyPixel(void* /*refcon*/, A_long x, A_long y, PF_Pixel8* /*in*/, PF_Pixel8* out) {
  double value = x + y;
  for (int i = 0; i < 12; ++i) {
    value = value / 1.0001 + 0.5;
  }
  out->alpha = static_cast<A_u_char>(static_cast<int>(value) & 255);
  return PF_Err_NONE;
}

/// Wall seconds of an iteration over 2048 x 1024 pixels.
double Iterate(int threads) {
  host::ThreadPool pool(threads);
  host::RenderSettings settings;
  settings.pool = &pool;
  const std::vector<host::ControlDeclaration> controls;
  host::Session session({host::Tables(), controls}, &settings);
  auto world = host::World::Create(2048, 1024, host::Depth::k8);
  if (!world) {
    throw std::runtime_error("no memory for a benchmark world");
  }
  PF_EffectWorld view = world->View();
  std::vector<double> times;
  for (int round = 0; round <= rounds; ++round) {
    const auto start = std::chrono::steady_clock::now();
    host::IteratePixels<PF_Pixel8>(&session.InData(), 0, 1, nullptr, nullptr, nullptr, BusyPixel,
                                   &view);
    times.push_back(
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
  }
  return Median(times);
}

int Main(int argc, char** argv) {
  if (argc == 2 && std::strcmp(argv[1], "--quick") == 0) {
    rounds = 0;
    samples = 1000;
  } else if (argc > 1) {
    std::fprintf(stderr, "host_bench: unknown option %s (expected --quick)\n", argv[1]);
    return 2;
  }
  std::printf(
      "| ns per sample | subpixel | area, radius 0.5 | 1.3 | 4 | 16 | 60 | 127 |\n"
      "| --- | --- | --- | --- | --- | --- | --- | --- |\n");
  SampleRow<PF_Pixel8>("8 bit");
  SampleRow<PF_Pixel16>("16 bit");
  SampleRow<PF_PixelFloat>("float");
  const double one = Iterate(1);
  const double two = Iterate(2);
  std::printf("\niteration: %.1f ms on one thread, %.1f ms on two, %.2f x\n", one * 1e3, two * 1e3,
              one / two);
  return 0;
}

}  // namespace
}  // namespace veltra::bench

int main(int argc, char** argv) {
  return veltra::bench::Main(argc, argv);
}
