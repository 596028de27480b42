// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Scenes thrown with dice that fall the same everywhere.
#include "tests/conformance/random_scene.h"

#include <cmath>

namespace veltra::conformance {
namespace {

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

}  // namespace

RandomScene::RandomScene(Depth depth, bool smartRender, Dice* dice)
    : smart(smartRender),
      // Braces: the dice are thrown in this order with every compiler.
      stage{depth, dice->Int(4, 40), dice->Int(3, 24), dice->Chance(12) ? 1 : dice->Int(2, 30),
            dice->Chance(12) ? 1 : dice->Int(2, 20)} {
  TestHost& host = stage.host;
  const A_long width = host.inData.width;
  const A_long height = host.inData.height;
  // Braces here too, for the order of the throws.
  stage.layer = TestWorld{depth, stage.layer.world.width, stage.layer.world.height,
                          RandomLayout(depth, dice)};
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
  stage.output = TestWorld{depth, outWidth, outHeight, RandomLayout(depth, dice)};
  stage.input = TestWorld{depth, smart ? dice->Int(1, width) : width,
                          smart ? dice->Int(1, height) : height, RandomLayout(depth, dice)};
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

}  // namespace veltra::conformance
