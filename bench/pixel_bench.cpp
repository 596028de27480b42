// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Nanoseconds per pixel of the effect's pixel functions, beside what they are measured against.

#include <cstdio>
#include <cstring>
#include <string>

#include "bench/pixel_scene.h"
#include "bench/timing.h"

namespace veltra::bench {
namespace {

struct Options {
  int rounds = 9;
  std::int64_t pixelsPerRun = 2000000;
  double (*summary)(const std::vector<double>&) = Median;
};

struct Region {
  const char* name;
  SceneSettings scene;
  PF_LRect area;  ///< for 2048 x 1024
};

const SceneSettings kNarrow{};
const SceneSettings kWide{2048, 1024, 90, 170, false};
const SceneSettings kTiled{2048, 1024, 20, 60, true};
const Region kRegions[] = {
    {"covered", kNarrow, {870, 470, 1180, 555}},
    {"covered, Tile", kTiled, {870, 470, 1180, 555}},
    {"off the band", kNarrow, {0, 600, 2048, 1000}},
    {"past the ends", kNarrow, {0, 470, 780, 555}},
    {"whole frame 20/60", kNarrow, {0, 0, 2048, 1024}},
    {"whole frame 90/170", kWide, {0, 0, 2048, 1024}},
};

template <class Pixel>
void MeasureRegion(const Region& region, Family family, const char* depth, const Options& options) {
  PixelScene<Pixel> scene(region.scene, family);
  const std::int64_t pixels = static_cast<std::int64_t>(region.area.right - region.area.left) *
                              (region.area.bottom - region.area.top);
  const std::int64_t repeats = std::max<std::int64_t>(1, options.pixelsPerRun / pixels);
  std::vector<std::function<void()>> runs;
  for (int i = 0; i < kContenders; ++i) {
    runs.emplace_back([&scene, &region, repeats, i] {
      for (std::int64_t repeat = 0; repeat < repeats; ++repeat) {
        scene.Run(static_cast<Contender>(i), region.area);
      }
    });
  }
  std::vector<double> ns = AlternatingTimes(runs, options.rounds, options.summary);
  for (double& value : ns) {
    value *= 1e9 / static_cast<double>(pixels * repeats);
  }
  std::printf("| %s, %s, %s | %.1f | %.1f | %.1f | %.1f | %.2f x | %.2f | %.1f |\n", region.name,
              family == Family::kPlain ? "plain" : "filtered", depth, ns[0], ns[1], ns[2], ns[3],
              ns[2] / ns[3], ns[3] / ns[1], ns[3] / ns[0]);
  std::fflush(stdout);
}

void MeasureAll(const Options& options, const std::string& only) {
  std::printf(
      "| ns per pixel, %s | empty | floor | reference | effect | reference / effect | effect / "
      "floor | "
      "effect / empty |\n| --- | --- | --- | --- | --- | --- | --- | --- |\n",
      options.summary == Median ? "median" : "fastest");
  for (const Family family : {Family::kPlain, Family::kFiltered}) {
    for (const Region& region : kRegions) {
      if (!only.empty() && std::string(region.name).find(only) == std::string::npos) {
        continue;
      }
      MeasureRegion<PF_Pixel8>(region, family, "8 bit", options);
      MeasureRegion<PF_Pixel16>(region, family, "16 bit", options);
      MeasureRegion<PF_PixelFloat>(region, family, "float", options);
    }
  }
}

int Main(int argc, char** argv) {
  Options options;
  std::string only;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--quick") == 0) {
      options = {0, 1, Median};
    } else if (std::strcmp(argv[i], "--fastest") == 0) {
      // Short runs, of which some fall into a moment without neighbours.
      options = {100, 200000, Fastest};
    } else if (std::strcmp(argv[i], "--rounds") == 0 && i + 1 < argc) {
      options.rounds = std::max(0, std::atoi(argv[++i]));
    } else if (std::strcmp(argv[i], "--only") == 0 && i + 1 < argc) {
      only = argv[++i];
    } else {
      std::fprintf(stderr,
                   "pixel_bench: unknown option %s (expected --quick, --fastest, --rounds N or "
                   "--only REGION)\n",
                   argv[i]);
      return 2;
    }
  }
  MeasureAll(options, only);
  return 0;
}

}  // namespace
}  // namespace veltra::bench

int main(int argc, char** argv) {
  return veltra::bench::Main(argc, argv);
}
