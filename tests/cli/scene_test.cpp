// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Scenes as text: what is read is what is written.
#include "cli/settings/scene.h"

#include <gtest/gtest.h>

#include "base/error.h"

namespace veltra::cli {
namespace {

TEST(Scenes, WhatIsWrittenReadsBackTheSame) {
  Scene scene;
  scene.settings = {{"frame", "a \"b\".png"},
                    {"depth", "float"},
                    {"classic", "on"},
                    {"rate", "30000/1001"},
                    {"downsample", "2"}};
  scene.controls = {
      {"travel", "-3.5", {}},
      {"start", "", {{1, "1,2", Interpolation::kHold}, {9, "54%,3", Interpolation::kSmooth}}}};
  const Scene back = ParseScene(SceneText(scene));
  EXPECT_EQ(back.settings, scene.settings);
  ASSERT_EQ(back.controls.size(), 2U);
  EXPECT_EQ(back.controls[0].value, "-3.5");
  ASSERT_EQ(back.controls[1].keys.size(), 2U);
  EXPECT_EQ(back.controls[1].keys[1].frame, 9);
  EXPECT_EQ(back.controls[1].keys[1].value, "54%,3");
  EXPECT_EQ(back.controls[1].keys[1].interpolation, Interpolation::kSmooth);
}

TEST(Scenes, TextThatLooksLikeANumberStaysText) {
  Scene scene;
  scene.settings = {{"frame", "12"}};
  EXPECT_EQ(ParseScene(SceneText(scene)).settings.at("frame"), "12");
}

TEST(Scenes, NamesThatAreNoTextCanBeSaved) {
  Scene scene;
  scene.settings = {{"frame", "caf\xe9.png"}};
  EXPECT_NO_THROW(ParseScene(SceneText(scene)));
}

TEST(Scenes, PathsAreResolvedAgainstTheFolder) {
  Scene scene;
  scene.settings = {{"frame", "../a.png"}, {"output", "/abs/b.png"}, {"frames", "1-2"}};
  ResolvePaths(scene, "dir/sub");
  EXPECT_EQ(scene.settings["frame"], "dir/a.png");
  EXPECT_EQ(scene.settings["output"], "/abs/b.png");
  EXPECT_EQ(scene.settings["frames"], "1-2");
}

TEST(Scenes, LineOfAMistakeIsTold) {
  try {
    ParseScene("{\n\n  \"version\": 1,,\n}");
    FAIL() << "took a broken scene";
  } catch (const UsageError& error) {
    EXPECT_STREQ(error.what(), "line 3: not valid JSON");
  }
}

}  // namespace
}  // namespace veltra::cli
