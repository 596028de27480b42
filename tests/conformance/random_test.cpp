// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Whole frames of random scenes against the yardstick, in every depth.
#include <cmath>

#include "tests/conformance/options.h"
#include "tests/conformance/random_scene.h"

namespace veltra::conformance {
namespace {

/// Compares channel by channel and counts what is not equal.
struct Tally {
  long channels = 0;
  long off = 0;       ///< integer channels not equal, float ones more than 1e-5 apart
  double worst = 0;   ///< in steps, or in absolute terms in float
  std::string place;  ///< of the worst

  void Compare(const TestWorld& actual, const TestWorld& expected, const std::string& scene) {
    for (A_long y = 0; y < actual.world.height; ++y) {
      for (A_long x = 0; x < actual.world.width; ++x) {
        for (int channel = 0; channel < 4; ++channel) {
          const double a = actual.Channel(x, y, channel);
          const double b = expected.Channel(x, y, channel);
          ++channels;
          const double apart = std::isnan(a) == std::isnan(b) ? std::fabs(a - b) : 1e9;
          if (actual.depth() == Depth::kFloat ? apart > 1e-5 : a != b) {
            ++off;
          }
          if (apart > worst) {
            worst = apart;
            place = scene + " pixel (" + std::to_string(x) + ", " + std::to_string(y) +
                    ") channel " + std::to_string(channel) + ": " + std::to_string(a) +
                    " instead of " + std::to_string(b);
          }
        }
      }
    }
  }
};

template <class Pixel>
class RandomScenes : public EveryDepth<Pixel> {};
TYPED_TEST_SUITE(RandomScenes, AllPixels, DepthNames);

TYPED_TEST(RandomScenes, LookAsTheYardstickDrawsThem) {
  const Options& options = TestOptions();
  Tally tally;
  int drawn = 0;
  for (int i = 0; i < options.scenes; ++i) {
    const unsigned seed = options.seed + static_cast<unsigned>(i);
    Dice dice(seed);
    RandomScene scene(TestFixture::kDepth, i % 2 == 0, &dice);
    const TestWorld expected = scene.stage.Expected(scene.smart);
    ASSERT_EQ(scene.stage.host.Render(scene.smart), PF_Err_NONE) << "seed " << seed;
    ExpectClean(scene.stage);
    tally.Compare(scene.stage.output, expected, "seed " + std::to_string(seed));
    drawn += scene.stage.host.Calls("sample") > 0 ? 1 : 0;
  }
  EXPECT_GT(drawn, options.scenes / 2) << "most scenes show something";
  // An ulp of the mathematics may tip a truncation: that of an integer channel, or that of the
  // position handed to the sampler, by one 65536th of a layer pixel. No more than that, and rarely.
  const bool isFloat = TestFixture::kDepth == Depth::kFloat;
  EXPECT_LE(tally.worst, isFloat ? 1.0 / 65536 : 1.0) << tally.place;
  EXPECT_LE(static_cast<double>(tally.off), static_cast<double>(tally.channels) * 1e-4)
      << tally.place;
  this->RecordProperty("channels", std::to_string(tally.channels));
  this->RecordProperty("unequal", std::to_string(tally.off));
  std::printf("%d scenes, %d drawn, %ld channels, %ld unequal, worst %g\n", options.scenes, drawn,
              tally.channels, tally.off, tally.worst);
}

}  // namespace
}  // namespace veltra::conformance
