// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A small scene with its three worlds, and what every test asks of it in the end.
#include "tests/conformance/stage.h"

#include "tests/stand_in/samplers.h"

namespace veltra::conformance {
namespace {

/// Values that differ in every channel and pixel, with holes and opaque parts.
void Paint(TestWorld* world, int salt) {
  for (A_long y = 0; y < world->world.height; ++y) {
    for (A_long x = 0; x < world->world.width; ++x) {
      const int mix = x * 37 + y * 101 + salt;
      const double alpha = mix % 5 == 0 ? 0.0 : mix % 3 == 0 ? 1.0 : (mix % 64) / 64.0;
      world->SetChannels(x, y, {alpha, (mix % 17) / 16.0, (mix % 29) / 28.0, (mix % 7) / 6.0});
    }
  }
}

template <class Pixel>
void RenderReference(const reference::Frame& frame, TestWorld* output) {
  reference::RenderFrame<Pixel>(
      frame, frame.controls.filtering ? AreaSample<Pixel> : SubpixelSample<Pixel>, &output->world);
}

}  // namespace

Stage::Stage(Depth depth, PF_MainEntryFn effect) : Stage(depth, 32, 16, 13, 9, effect) {}

Stage::Stage(Depth depth, A_long width, A_long height, A_long layerWidth, A_long layerHeight,
             PF_MainEntryFn effect)
    : input(depth, width, height, {1, 1, 2, 1, 0}),
      layer(depth, layerWidth, layerHeight, {0, 1, 1, 0, 4}),
      output(depth, width, height, {2, 3, 1, 2, 0}),
      host(effect) {
  Paint(&input, 3);
  Paint(&layer, 11);
  host.input = &input;
  host.layer = &layer;
  host.output = &output;
  host.inData.width = width;
  host.inData.height = height;
  host.request.rect = {0, 0, width, height};
  host.controls.startX = Fixed(width * 0.25);
  host.controls.startY = Fixed(height * 0.5);
  host.controls.endX = Fixed(width * 0.625);
  host.controls.endY = Fixed(height * 0.5);
  host.controls.size = Fixed(60);
  host.controls.opacity = Fixed(100);
  host.controls.composite = true;
}

TestWorld Stage::Expected(bool smart) const {
  TestWorld expected(output.depth(), output.world.width, output.world.height);
  expected.SetPixels(output.Pixels());
  expected.world.origin_x = output.world.origin_x;
  expected.world.origin_y = output.world.origin_y;
  expected.world.extent_hint = output.world.extent_hint;
  const reference::Frame frame = host.ReferenceFrame(smart);
  switch (output.depth()) {
    case Depth::k8:
      RenderReference<PF_Pixel8>(frame, &expected);
      break;
    case Depth::k16:
      RenderReference<PF_Pixel16>(frame, &expected);
      break;
    case Depth::kFloat:
      RenderReference<PF_PixelFloat>(frame, &expected);
      break;
  }
  return expected;
}

void ExpectClean(const Stage& stage) {
  EXPECT_THAT(stage.host.violations, ::testing::IsEmpty());
  EXPECT_TRUE(stage.output.CanariesIntact()) << "written outside the output";
  EXPECT_TRUE(stage.input.CanariesIntact()) << "written outside the input";
  EXPECT_TRUE(stage.layer.CanariesIntact()) << "written outside the layer";
}

::testing::AssertionResult SamePixels(const TestWorld& a, const TestWorld& b) {
  for (A_long y = 0; y < a.world.height; ++y) {
    for (A_long x = 0; x < a.world.width; ++x) {
      for (int channel = 0; channel < 4; ++channel) {
        const double va = a.Channel(x, y, channel);
        const double vb = b.Channel(x, y, channel);
        if (va != vb) {
          return ::testing::AssertionFailure() << "pixel (" << x << ", " << y << ") channel "
                                               << channel << ": " << va << " and " << vb;
        }
      }
    }
  }
  return ::testing::AssertionSuccess();
}

::testing::AssertionResult IsTransparent(const TestWorld& world) {
  for (const unsigned char byte : world.Pixels()) {
    if (byte != 0) {
      return ::testing::AssertionFailure() << "a channel is not zero";
    }
  }
  return ::testing::AssertionSuccess();
}

std::vector<std::string> ParameterReads() {
  std::vector<std::string> lines;
  for (const int index : {2, 3, 6, 5, 8, 7, 9, 4}) {
    lines.push_back("checkout_param " + std::to_string(index));
    lines.emplace_back("checkin_param");
  }
  return lines;
}

std::vector<std::string> Lines(std::initializer_list<std::vector<std::string>> parts) {
  std::vector<std::string> lines;
  for (const std::vector<std::string>& part : parts) {
    lines.insert(lines.end(), part.begin(), part.end());
  }
  return lines;
}

}  // namespace veltra::conformance
