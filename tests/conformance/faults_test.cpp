// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Every host callback failing at its first, second and last call; odd worlds; frames at once.
#include <algorithm>
#include <thread>

#include "tests/conformance/stage.h"

namespace veltra::conformance {
namespace {

constexpr PF_Err kFault = 4711;

struct Case {
  Depth depth;
  bool smart;
  bool filtering;
  bool composite;
};

/// Every combination, so that each way through the kernel meets each fault.
std::vector<Case> Cases() {
  std::vector<Case> cases;
  for (const Depth depth : {Depth::k8, Depth::k16, Depth::kFloat}) {
    for (const int bits : {0, 1, 2, 3, 4, 5, 6, 7}) {
      cases.push_back({depth, (bits & 1) != 0, (bits & 2) != 0, (bits & 4) != 0});
    }
  }
  return cases;
}

/// What a render returns when the nth of `total` calls of a callback fails.
PF_Err ExpectedCode(const std::string& callback, const Case& c, int nth, int total) {
  if (callback == "checkin_param" || callback == "checkin_layer_pixels" || callback == "release") {
    return PF_Err_NONE;  // not looked at
  }
  if (callback == "checkout_param") {
    // The controls' checkouts are not looked at; in classic rendering the layer's comes last.
    return !c.smart && nth == total ? kFault : PF_Err_NONE;
  }
  if (callback == "acquire") {
    // The first is the world suite, for which the depth flag stands in; it cannot tell float.
    return nth == 1 ? PF_Err_NONE : PF_Err_BAD_CALLBACK_PARAM;
  }
  if (callback == "get_pixel_format") {
    return PF_Err_BAD_CALLBACK_PARAM;  // the format stays unknown
  }
  if (callback == "fill") {
    return c.smart && c.composite ? PF_Err_NONE : kFault;  // the copy after it counts
  }
  return kFault;
}

const char* const kCallbacks[] = {"checkout_param",
                                  "checkin_param",
                                  "copy",
                                  "fill",
                                  "acquire",
                                  "release",
                                  "get_pixel_format",
                                  "iterate",
                                  "sample",
                                  "checkout_layer",
                                  "checkout_layer_pixels",
                                  "checkin_layer_pixels",
                                  "checkout_output"};

class FailingCallback : public ::testing::TestWithParam<const char*> {};

TEST_P(FailingCallback, EndsInTheRightCodeWithEverythingReturned) {
  const std::string callback = GetParam();
  int met = 0;
  for (const Case& c : Cases()) {
    Stage whole(c.depth);
    whole.host.controls.filtering = c.filtering;
    whole.host.controls.composite = c.composite;
    ASSERT_EQ(whole.host.Render(c.smart), PF_Err_NONE);
    const int total = whole.host.Calls(callback);
    for (const int nth : {1, 2, total}) {
      if (nth < 1 || nth > total) {
        continue;
      }
      const bool preRenderRead = callback == "checkout_param" && c.smart && nth <= 2;
      if (preRenderRead && c.composite) {
        continue;  // the two readings of the flag disagree; see below
      }
      ++met;
      SCOPED_TRACE(callback + " " + std::to_string(nth) + " of " + std::to_string(total) +
                   ", depth " + NameOf(c.depth) + (c.smart ? ", smart" : ", classic") +
                   (c.filtering ? ", filtered" : "") + (c.composite ? ", composited" : ""));
      Stage stage(c.depth);
      stage.host.controls.filtering = c.filtering;
      stage.host.controls.composite = c.composite;
      stage.host.FailAt(callback, nth, kFault);
      const bool unknownFormat = callback == "acquire" && nth == 1 && c.depth == Depth::kFloat;
      const PF_Err err = stage.host.Render(c.smart);
      if (!unknownFormat) {
        EXPECT_EQ(err, ExpectedCode(callback, c, nth, total));
      }
      ExpectClean(stage);
    }
  }
  EXPECT_GT(met, 0);
}

INSTANTIATE_TEST_SUITE_P(EachOf, FailingCallback, ::testing::ValuesIn(kCallbacks),
                         [](const ::testing::TestParamInfo<const char*>& callback) {
                           return std::string(callback.param);
                         });

TEST(FailingCallback, OfTheCompositeFlagMakesTheHostRefuseTheOtherId) {
  // What pre-render checked out is fetched under the same id only; when one of the two readings
  // fails and the flag looks different, the host's refusal ends the command.
  for (const int nth : {1, 2}) {
    Stage stage(Depth::k8);
    stage.host.FailAt("checkout_param", nth, kFault);
    EXPECT_EQ(stage.host.RenderSmart(), PF_Err_INVALID_INDEX);
    EXPECT_TRUE(stage.output.CanariesIntact());
  }
}

// ---- Worlds ----

struct Shape {
  A_long width, height;
};

TEST(Worlds, OfEveryOddShapeAreDrawnAsTheYardstickDoes) {
  const Shape shapes[] = {{1, 1}, {1, 7}, {7, 1}, {2, 2}, {5, 3}};
  for (const Depth depth : {Depth::k8, Depth::k16}) {
    for (const Shape& frame : shapes) {
      for (const Shape& layer : shapes) {
        for (const A_long placement : {1, 2, 3}) {
          for (const bool filtering : {false, true}) {
            for (const bool smart : {false, true}) {
              Stage stage(depth, frame.width, frame.height, layer.width, layer.height);
              stage.host.controls.placement = placement;
              stage.host.controls.filtering = filtering;
              stage.host.controls.travel = Fixed(30);
              const TestWorld expected = stage.Expected(smart);
              ASSERT_EQ(stage.host.Render(smart), PF_Err_NONE);
              EXPECT_TRUE(SamePixels(stage.output, expected))
                  << frame.width << " x " << frame.height << ", layer " << layer.width << " x "
                  << layer.height << ", placement " << placement << filtering << smart;
              ExpectClean(stage);
            }
          }
        }
      }
    }
  }
}

TEST(Worlds, WithoutColumnsOrRowsAreNotRead) {
  // The address lies just behind a block of memory: any read there is a fault.
  std::vector<unsigned char> block(64);
  for (const Shape& shape : {Shape{0, 4}, Shape{4, 0}, Shape{0, 0}, Shape{-3, 4}, Shape{4, -3}}) {
    for (const Depth depth : {Depth::k8, Depth::k16, Depth::kFloat}) {
      for (const A_long placement : {1, 2, 3}) {
        for (const bool filtering : {false, true}) {
          Stage stage(depth);
          stage.layer.world.data = block.data() + block.size();
          stage.layer.world.width = shape.width;
          stage.layer.world.height = shape.height;
          stage.layer.world.rowbytes = 0;
          stage.host.controls.placement = placement;
          stage.host.controls.filtering = filtering;
          EXPECT_EQ(stage.host.RenderClassic(), PF_Err_NONE);
          ExpectClean(stage);
        }
      }
    }
  }
}

TEST(Worlds, MissingFromAClassicRenderAreRefused) {
  Stage stage(Depth::k8);
  EXPECT_EQ(stage.host.Send(PF_Cmd_RENDER, nullptr, &stage.output.world),
            PF_Err_BAD_CALLBACK_PARAM);
  PF_ParamDef* none[10] = {};
  EXPECT_EQ(stage.host.Send(PF_Cmd_RENDER, none, &stage.output.world), PF_Err_BAD_CALLBACK_PARAM);
  PF_ParamDef input{};
  input.u.ld = stage.input.world;
  PF_ParamDef* params[10] = {&input};
  EXPECT_EQ(stage.host.Send(PF_Cmd_RENDER, params, nullptr), PF_Err_BAD_CALLBACK_PARAM);
  ExpectClean(stage);
}

TEST(Worlds, AnEmptyOutputOfAClassicRenderIsASuccess) {
  for (const Depth depth : {Depth::k8, Depth::k16, Depth::kFloat}) {
    Stage stage(depth);
    stage.output.world.width = 0;
    stage.output.world.height = 0;
    stage.output.world.extent_hint = {0, 0, 0, 0};
    EXPECT_EQ(stage.host.RenderClassic(), PF_Err_NONE);
    ExpectClean(stage);
  }
}

TEST(Worlds, FramesWithoutAMeasureAreSurvived) {
  for (const PF_RationalScale scale : {PF_RationalScale{0, 1}, {1, 0}, {0, 0}, {-1, 1}}) {
    for (int which = 0; which < 3; ++which) {
      for (const bool smart : {false, true}) {
        for (const A_long placement : {1, 2, 3}) {
          Stage stage(Depth::k16);
          (which == 0   ? stage.host.inData.downsample_x
           : which == 1 ? stage.host.inData.downsample_y
                        : stage.host.inData.pixel_aspect_ratio) = scale;
          stage.host.controls.placement = placement;
          EXPECT_EQ(stage.host.Render(smart), PF_Err_NONE);
          ExpectClean(stage);
        }
      }
    }
  }
}

// ---- Frames at once ----

TEST(Threads, RenderDifferentFramesAtOnceAsOneByOne) {
  constexpr int kFrames = 12;
  const auto render = [](int i, std::vector<unsigned char>* pixels) {
    const Depth depths[] = {Depth::k8, Depth::k16, Depth::kFloat};
    Stage stage(depths[i % 3]);
    stage.host.controls.placement = 1 + i % 4;
    stage.host.controls.filtering = i % 2 == 0;
    stage.host.controls.travel = Fixed(i * 7);
    stage.host.threads = 2;
    const PF_Err err = stage.host.Render(i % 5 < 3);
    EXPECT_EQ(err, PF_Err_NONE);
    ExpectClean(stage);
    *pixels = stage.output.Pixels();
  };
  std::vector<std::vector<unsigned char>> alone(kFrames);
  std::vector<std::vector<unsigned char>> together(kFrames);
  for (int i = 0; i < kFrames; ++i) {
    render(i, &alone[static_cast<std::size_t>(i)]);
  }
  std::vector<std::thread> threads;
  for (int first = 0; first < 4; ++first) {
    threads.emplace_back([&, first] {
      for (int i = first; i < kFrames; i += 4) {
        render(i, &together[static_cast<std::size_t>(i)]);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(alone, together);
}

}  // namespace
}  // namespace veltra::conformance
