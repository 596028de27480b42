// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Whole frames of random scenes against the yardstick, in every depth.
#include <array>
#include <cmath>
#include <random>

#include "tests/conformance/options.h"
#include "tests/conformance/stage.h"

namespace veltra::conformance {
namespace {

/// Random values that are the same with every standard library.
class Dice {
 public:
  explicit Dice(unsigned seed) : engine_(seed) {}
  /// In [low, high].
  int Int(int low, int high) {
    return low + static_cast<int>(Bits() % static_cast<std::uint32_t>(high - low + 1));
  }
  double Unit() { return Bits() / 4294967296.0; }
  double Real(double low, double high) { return low + (high - low) * Unit(); }
  bool Chance(int oneIn) { return Int(1, oneIn) == 1; }

 private:
  std::uint32_t Bits() { return static_cast<std::uint32_t>(engine_()); }

  std::mt19937 engine_;
};

void PaintRandomly(TestWorld* world, Dice* dice) {
  const bool solid = dice->Chance(3);
  for (A_long y = 0; y < world->world.height; ++y) {
    for (A_long x = 0; x < world->world.width; ++x) {
      const double alpha = solid || dice->Chance(3) ? 1 : dice->Chance(3) ? 0 : dice->Unit();
      world->SetChannels(x, y, {alpha, dice->Unit(), dice->Unit(), dice->Unit()});
    }
  }
}

Layout RandomLayout(Depth depth, Dice* dice) {
  const A_long channel = PixelSize(depth) / 4;
  return {dice->Int(0, 3), dice->Int(0, 2), dice->Int(0, 3), dice->Int(0, 2),
          channel * dice->Int(0, 3)};
}

PF_RationalScale RandomAspect(Dice* dice) {
  const PF_RationalScale aspects[] = {{1, 1}, {10, 11}, {40, 33}, {2, 1}, {1, 2}};
  return aspects[dice->Int(0, 4)];
}

/// A scene of random size, controls, resolution and output part.
struct RandomScene {
  RandomScene(Depth depth, bool smartRender, Dice* dice);

  bool smart;
  Stage stage;
};

RandomScene::RandomScene(Depth depth, bool smartRender, Dice* dice)
    : smart(smartRender),
      // Braces: the dice are thrown in this order with every compiler.
      stage{depth, dice->Int(4, 40), dice->Int(3, 24), dice->Chance(12) ? 1 : dice->Int(2, 30),
            dice->Chance(12) ? 1 : dice->Int(2, 20)} {
  TestHost& host = stage.host;
  const A_long width = host.inData.width;
  const A_long height = host.inData.height;
  stage.layer = TestWorld(depth, stage.layer.world.width, stage.layer.world.height,
                          RandomLayout(depth, dice));
  PaintRandomly(&stage.layer, dice);
  stage.layer.world.pix_aspect_ratio =
      dice->Chance(4) && smart ? PF_RationalScale{0, 0} : RandomAspect(dice);
  host.checkoutAspect = RandomAspect(dice);

  const PF_RationalScale downsample = {1, static_cast<A_u_long>(dice->Chance(3) ? 2 : 1)};
  host.inData.downsample_x = downsample;
  host.inData.downsample_y = dice->Chance(4) ? PF_RationalScale{1, 3} : downsample;
  host.inData.pixel_aspect_ratio = dice->Chance(2) ? PF_RationalScale{1, 1} : RandomAspect(dice);

  const A_long outWidth = smart ? dice->Int(1, width + 4) : width;
  const A_long outHeight = smart ? dice->Int(1, height + 4) : height;
  stage.output = TestWorld(depth, outWidth, outHeight, RandomLayout(depth, dice));
  stage.input = TestWorld(depth, smart ? dice->Int(1, width) : width,
                          smart ? dice->Int(1, height) : height, RandomLayout(depth, dice));
  PaintRandomly(&stage.input, dice);
  if (smart) {
    for (TestWorld* world : {&stage.output, &stage.input}) {
      world->world.origin_x = dice->Int(-3, width / 2);
      world->world.origin_y = dice->Int(-3, height / 2);
    }
  }
  if (dice->Chance(3)) {
    const A_long left = dice->Int(0, outWidth - 1);
    const A_long top = dice->Int(0, outHeight - 1);
    stage.output.world.extent_hint = {left, top, dice->Int(left + 1, outWidth),
                                      dice->Int(top + 1, outHeight)};
  }

  reference::Controls& controls = host.controls;
  const bool outside = dice->Chance(5);
  const auto coordinate = [&](A_long size) {
    const double value = outside ? dice->Real(-2.0 * size, 3.0 * size) : dice->Real(0, size);
    return dice->Chance(3) ? Fixed(std::floor(value)) : Fixed(value);
  };
  controls.startX = coordinate(width);
  controls.startY = coordinate(height);
  controls.endX = coordinate(width);
  controls.endY = coordinate(height);
  if (dice->Chance(15)) {  // coincident
    controls.endX = controls.startX;
    controls.endY = controls.startY;
  } else if (dice->Chance(15)) {  // opposite
    controls.endX = controls.startX + Fixed(width * 0.5);
    controls.endY = Fixed(height) - controls.startY;
  }
  controls.placement = dice->Chance(12) ? dice->Int(-2, 6) : dice->Int(1, 3);
  controls.travel = dice->Chance(3) ? 0 : Fixed(dice->Real(-250, 250));
  controls.size = dice->Chance(6) ? Fixed(dice->Real(0, 1)) : Fixed(dice->Real(3, 120));
  controls.filtering = dice->Chance(2);
  controls.opacity = dice->Chance(2) ? Fixed(100) : Fixed(dice->Real(0, 100));
  controls.composite = dice->Chance(2);
  host.threads = dice->Chance(6) ? 3 : 1;
  host.reverseRows = dice->Chance(2);
}

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
