// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Numbered names.
#include "cli/job/sequence.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "base/error.h"

namespace veltra::cli {
namespace {

TEST(Sequences, BothWaysOfWritingANumber) {
  EXPECT_EQ(FileName("a.####.png").At(7), "a.0007.png");
  EXPECT_EQ(FileName("a.#.png").At(123), "a.123.png");
  EXPECT_EQ(FileName("a.%04d.png").At(7), "a.0007.png");
  EXPECT_EQ(FileName("a.%d.png").At(7), "a.7.png");
  EXPECT_EQ(FileName("a%%.%03d.png").At(7), "a%.007.png");
}

TEST(Sequences, OnlyTheFileNameIsAPattern) {
  const FileName name("take #3/%d off/a.##.png");
  EXPECT_EQ(name.At(5), "take #3/%d off/a.05.png");
  EXPECT_FALSE(FileName("#/a.png").IsSequence());
}

TEST(Sequences, WhatIsNoPatternStaysAsItIs) {
  EXPECT_EQ(FileName("50%.png").At(1), "50%.png");
  EXPECT_EQ(FileName("%s%x.png").At(1), "%s%x.png");
  EXPECT_EQ(FileName("a.%99999d.png").At(1), "a.%99999d.png");
  EXPECT_EQ(FileName::Literal("a#.png").At(1), "a#.png");
  EXPECT_THROW(FileName("a#b#.png"), UsageError);
}

TEST(Sequences, HolesAreWhatBreaksTheStep) {
  EXPECT_EQ(HolesIn({}), std::vector<int>());
  EXPECT_EQ(HolesIn({7}), std::vector<int>());
  EXPECT_EQ(HolesIn({-3, 0, 3}), std::vector<int>());
  EXPECT_EQ(HolesIn({2, 4, 10}), (std::vector<int>{6, 8}));
  EXPECT_EQ(HolesIn({2, 4, 7}), (std::vector<int>{3, 5, 6}));
  // Numbers that are dates or stray names are no sequence with millions of holes.
  EXPECT_EQ(HolesIn({std::numeric_limits<int>::min(), 1, std::numeric_limits<int>::max()}),
            std::vector<int>());
}

TEST(Sequences, NumbersAreListedAsRuns) {
  EXPECT_EQ(NumbersText({1}), "1");
  EXPECT_EQ(NumbersText({1, 2, 3, 5, 9, 10}), "1-3, 5, 9-10");
  EXPECT_EQ(NumbersText({1, 3, 5, 7}, 2), "1, 3, ... (4 in all)");
}

}  // namespace
}  // namespace veltra::cli
