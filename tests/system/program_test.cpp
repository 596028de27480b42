// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What a program learns about itself and its machine.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "system/memory.h"
#include "system/process_state.h"
#include "system/program_file.h"

namespace veltra {
namespace {

TEST(Program, KnowsItsFile) {
  EXPECT_TRUE(ProgramFile().is_absolute());
  EXPECT_EQ(ProgramFile().stem(), "system_tests");
  EXPECT_TRUE(std::filesystem::is_regular_file(ProgramFile()));
}

TEST(Program, CountsItsOpenFilesAndThreads) {
  const ProcessState before = ProcessState::Now();
  EXPECT_GE(before.threads, 1);
  if (before.openFiles == 0) {
    GTEST_SKIP() << "Wine counts no handles";
  }
  const std::ifstream file(ProgramFile(), std::ios::binary);
  EXPECT_EQ(ProcessState::Now().openFiles, before.openFiles + 1);
}

TEST(Program, CountsTheMemoryItHolds) {
  constexpr std::int64_t kMuch = 10 << 20;
  const ProcessState before = ProcessState::Now();
  if (!before.heapBytes) {
    GTEST_SKIP() << "not counted here";  // a sanitizer's allocator counts nothing
  }
  const std::vector<char> block(kMuch, 'x');
  EXPECT_GE(*ProcessState::Now().heapBytes - *before.heapBytes, kMuch);
}

TEST(Machine, HasMemoryLeft) {
  constexpr std::uint64_t kLittle = 1 << 24;
  EXPECT_GT(AvailableMemory(), kLittle);
}

}  // namespace
}  // namespace veltra
