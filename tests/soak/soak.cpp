// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Loads, renders and unloads thousands of times and fails when memory, handles or threads grow.

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "host/effect.h"
#include "host/effect_library.h"
#include "host/pixels/world.h"
#include "host/renderer.h"
#include "tests/soak/process_figures.h"
#include "tests/stand_in/hash.h"

namespace veltra::soak {
namespace {

/// The first part of a run fills caches and the allocator's pools; growth counts from there on.
constexpr int kParts = 10;
constexpr int kWarmUpParts = 2;

/// What the allocator may hold on to or give back between two looks. Above it shows a leak of 160
/// bytes in each of a thousand rounds, or of 16 in each of ten thousand frames.
constexpr long kAllowedGrowthKiB = 128;

constexpr A_long kFrameWidth = 96;
constexpr A_long kFrameHeight = 48;

[[noreturn]] void Fail(const std::string& what) {
  std::fprintf(stderr, "veltra_soak: %s\n", what.c_str());
  std::exit(1);
}

// ---- Watching the process ----

/// Prints the figures after each tenth of the work and fails at the end when they grew.
class Watch {
 public:
  Watch(const char* what, int total) : what_(what), total_(total) {}

  /// Call after each piece of work, from one thread.
  void Done(int count) {
    const int part = static_cast<int>(static_cast<std::int64_t>(count) * kParts / total_);
    if (part == part_) {
      return;
    }
    part_ = part;
    const Figures now = MeasureProcess();
    std::printf("%6d %s  %7ld KiB  %3ld handles  %2ld threads\n", count, what_, now.residentKiB,
                now.handles, now.threads);
    std::fflush(stdout);
    if (part >= kWarmUpParts && warm_.residentKiB == 0) {
      warm_ = now;
    }
    last_ = now;
  }

  void CheckFlat() const {
    const long growth = last_.residentKiB - warm_.residentKiB;
    std::printf("       %s  %+ld KiB since the warm-up\n\n", what_, growth);
    if (growth > kAllowedGrowthKiB) {
      Fail("memory grows");
    }
    if (last_.handles != warm_.handles) {
      Fail("the number of handles changes");
    }
    if (last_.threads != warm_.threads) {
      Fail("the number of threads changes");
    }
  }

 private:
  const char* what_;
  int total_;
  int part_ = 0;
  Figures warm_;
  Figures last_;
};

// ---- Scenes ----

template <class Pixel, class Channel>
void Paint(host::World& world, Channel full) {
  for (A_long y = 0; y < world.Height(); ++y) {
    const auto row = world.Row<Pixel>(y);
    for (A_long x = 0; x < world.Width(); ++x) {
      const auto ramp = [&](A_long value, A_long most) {
        return static_cast<Channel>(static_cast<double>(full) * value / most);
      };
      row[static_cast<std::size_t>(x)] = {ramp(x + y, world.Width() + world.Height()),
                                          ramp(x, world.Width()), ramp(y, world.Height()), full};
    }
  }
}

host::World Picture(A_long width, A_long height, host::Depth depth) {
  auto world = host::World::Create(width, height, depth);
  if (!world) {
    Fail(world.ErrorText());
  }
  switch (depth) {
    case host::Depth::k8:
      Paint<PF_Pixel8>(*world, A_u_char{255});
      break;
    case host::Depth::k16:
      Paint<PF_Pixel16>(*world, A_u_short{32768});
      break;
    case host::Depth::kFloat:
      Paint<PF_PixelFloat>(*world, 1.0F);
      break;
  }
  return std::move(*world);
}

/// Frame and layer of one depth.
struct Pictures {
  explicit Pictures(host::Depth depth)
      : frame(Picture(kFrameWidth, kFrameHeight, depth)), layer(Picture(40, 24, depth)) {}
  host::World frame;
  host::World layer;
};

/// Depths, placements, filtering, compositing and both ways to render, all mixed.
class Scenes {
 public:
  static constexpr int kCount = 72;

  host::RenderSettings Settings(int index) const {
    const auto depth = static_cast<std::size_t>(index % 3);
    const int variant = index / 3;
    const bool filtering = variant / 3 % 2 == 1;
    const bool composite = variant / 6 % 2 == 1;
    // The classic way knows two of the depths.
    const bool classic = variant / 12 % 2 == 1 && host::kAllDepths[depth] != host::Depth::kFloat;
    host::RenderSettings settings;
    settings.width = kFrameWidth;
    settings.height = kFrameHeight;
    settings.depth = host::kAllDepths[depth];
    settings.mode = classic ? host::RenderMode::kClassic : host::RenderMode::kSmart;
    settings.input = &pictures_[depth].frame;
    settings.layers[1] = &pictures_[depth].layer;
    settings.controls[2] = {20 << 16, 12 << 16};
    settings.controls[3] = {80 << 16, 30 << 16};
    settings.controls[4] = {1 + variant % 3};
    settings.controls[6] = {40 << 16};
    settings.controls[7] = {filtering ? 1 : 0};
    settings.controls[9] = {composite ? 1 : 0};
    return settings;
  }

 private:
  std::vector<Pictures> pictures_ = [] {
    std::vector<Pictures> made;
    for (const host::Depth depth : host::kAllDepths) {
      made.emplace_back(depth);
    }
    return made;
  }();
};

std::uint64_t HashOf(const host::World& world) {
  std::uint64_t hash = stand_in::HashOf({});
  const auto rowSize = static_cast<std::size_t>(world.Width()) *
                       static_cast<std::size_t>(host::BytesPerPixel(world.PixelDepth()));
  for (A_long y = 0; y < world.Height(); ++y) {
    const auto* row = reinterpret_cast<const unsigned char*>(world.RowAddress(y));
    hash = stand_in::HashOf({row, rowSize}, hash);
  }
  return hash;
}

std::uint64_t RenderOne(const host::Effect& effect, const host::RenderSettings& settings) {
  const host::RenderResult result = host::RenderFrame(effect, settings);
  if (!result.Ok()) {
    Fail(result.errorText);
  }
  if (!result.diagnostics.Balanced() || !result.diagnostics.violations.empty()) {
    Fail("a render that does not give back what it took");
  }
  return HashOf(result.output);
}

std::unique_ptr<const host::Effect> Load(const std::string& path) {
  auto effect = host::Effect::Open(path);
  if (!effect) {
    Fail(effect.ErrorText());
  }
  return std::move(*effect);
}

// ---- The two runs ----

/// Load, set-up, render, unload; the library must be gone from the process each time.
void RunRounds(const std::string& path, const Scenes& scenes, int rounds) {
  const std::string fileName = path.substr(path.rfind('/') + 1);
  Watch watch("rounds", rounds);
  for (int round = 0; round < rounds; ++round) {
    RenderOne(*Load(path), scenes.Settings(round % Scenes::kCount));
    if (IsMapped(fileName)) {
      Fail("the library is still mapped after it was unloaded");
    }
    watch.Done(round + 1);
  }
  watch.CheckFlat();
}

/// Many threads render frames of one effect at once, every other frame with the shared pool too;
/// each frame must be what one thread alone made of it.
void RunFrames(const std::string& path, const Scenes& scenes, int frames, int threadCount) {
  const auto effect = Load(path);
  std::vector<std::uint64_t> expected;
  for (int i = 0; i < Scenes::kCount; ++i) {
    expected.push_back(RenderOne(*effect, scenes.Settings(i)));
  }
  host::ThreadPool pool(2);
  std::atomic<int> next{0};
  std::atomic<int> done{0};
  std::atomic<bool> looked{false};  // the last look is taken while all threads still live
  const auto work = [&] {
    for (int frame = next++; frame < frames; frame = next++) {
      host::RenderSettings settings = scenes.Settings(frame % Scenes::kCount);
      settings.pool = frame % 2 == 0 ? &pool : nullptr;
      if (RenderOne(*effect, settings) !=
          expected[static_cast<std::size_t>(frame) % Scenes::kCount]) {
        Fail("a frame differs from the one that a single thread made");
      }
      ++done;
    }
    while (!looked) {
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < threadCount; ++i) {
    threads.emplace_back(work);
  }
  Watch watch("frames", frames);
  for (int seen = 0; seen < frames;) {
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    seen = done;
    watch.Done(seen);
  }
  looked = true;
  for (std::thread& thread : threads) {
    thread.join();
  }
  watch.CheckFlat();
}

int NumberOf(const char* text) {
  const int number = std::atoi(text);
  if (number < kParts) {
    Fail(std::string("'") + text + "' is not a count of at least " + std::to_string(kParts));
  }
  return number;
}

}  // namespace
}  // namespace veltra::soak

int main(int argc, char** argv) {
  using namespace veltra::soak;
  if (argc < 2 || argc > 5) {
    std::fprintf(stderr, "usage: veltra_soak LIBRARY [ROUNDS [FRAMES [THREADS]]]\n");
    return 2;
  }
  const Scenes scenes;
  RunRounds(argv[1], scenes, argc > 2 ? NumberOf(argv[2]) : 1000);
  RunFrames(argv[1], scenes, argc > 3 ? NumberOf(argv[3]) : 10000,
            argc > 4 ? std::atoi(argv[4]) : 8);
  std::printf("flat\n");
  return 0;
}
