// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// How frames are split among tasks.
#include "cli/farm/ranges.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>

namespace veltra::cli {
namespace {

using testing::ElementsAre;

TEST(Ranges, FramesAreWrittenAsRunsThatTheFramesOptionTakes) {
  EXPECT_EQ(FramesText({7}), "7");
  EXPECT_EQ(FramesText({1, 2, 3, 4}), "1-4");
  EXPECT_EQ(FramesText({1, 3, 5, 7}), "1-7x2");
  EXPECT_EQ(FramesText({1, 5, 10, 11, 12}), "1,5,10-12");
  EXPECT_EQ(FramesText({1, 2, 9}), "1-2,9");
}

TEST(Ranges, EveryFrameIsInOneRange) {
  EXPECT_THAT(SplitFrames({1, 2, 3, 4, 5}, 2),
              ElementsAre(ElementsAre(1, 2), ElementsAre(3, 4), ElementsAre(5)));
  EXPECT_THAT(SplitFrames({4}, 10), ElementsAre(ElementsAre(4)));
}

TEST(Ranges, ATaskTakesOneToTenMinutes) {
  for (const double seconds : {0.05, 0.3, 1.0, 7.0, 40.0}) {
    for (const std::size_t frames : {1000U, 50000U, 1000000U}) {
      const double length = static_cast<double>(FramesPerTask(frames, seconds, 1000)) * seconds;
      EXPECT_LE(length, 600.0) << seconds << " s, " << frames << " frames";
      EXPECT_GE(length, std::min(60.0, static_cast<double>(frames) * seconds))
          << seconds << " s, " << frames << " frames";
    }
  }
}

TEST(Ranges, TasksGrowBeforeTheyBecomeTooMany) {
  EXPECT_EQ(FramesPerTask(1000, 1.0, 1000), 180U);
  EXPECT_EQ(FramesPerTask(300000, 1.0, 1000), 300U);
  EXPECT_EQ(FramesPerTask(1000000, 1.0, 1000), 600U) << "more tasks than one array takes";
}

TEST(Ranges, FewOrEndlessFramesAreOneTaskEach) {
  EXPECT_EQ(FramesPerTask(3, 0.1, 1000), 3U);
  EXPECT_EQ(FramesPerTask(5, 5000.0, 1000), 1U);
  EXPECT_EQ(FramesPerTask(10, 0.0, 1000), 10U);
}

}  // namespace
}  // namespace veltra::cli
