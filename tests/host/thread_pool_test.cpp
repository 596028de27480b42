// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The shared threads.

#include "host/base/thread_pool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <thread>
#include <vector>

#ifdef __linux__
#include <sys/resource.h>

#include <cstdlib>
#include <fstream>
#endif

namespace veltra::host {
namespace {

TEST(ThreadPoolTest, EveryPieceRunsExactlyOnceWhateverTheNumberOfThreads) {
  for (const int threads : {1, 2, 3, 16}) {
    ThreadPool pool(threads);
    EXPECT_EQ(pool.ThreadCount(), threads);
    std::vector<std::atomic<int>> runs(1000);
    pool.ForEach(1000, [&runs](int i) { ++runs[static_cast<std::size_t>(i)]; });
    for (const auto& count : runs) {
      EXPECT_EQ(count.load(), 1);
    }
    pool.ForEach(0, [](int) { FAIL() << "there is no piece"; });
  }
}

TEST(ThreadPoolTest, SeveralCallersAndPiecesThatSplitAgainFinish) {
  ThreadPool pool(3);
  std::atomic<int> total{0};
  std::vector<std::thread> callers;
  for (int i = 0; i < 4; ++i) {
    callers.emplace_back(
        [&] { pool.ForEach(10, [&](int) { pool.ForEach(10, [&](int) { ++total; }); }); });
  }
  for (std::thread& caller : callers) {
    caller.join();
  }
  EXPECT_EQ(total.load(), 400);
}

TEST(ThreadPoolTest, PiecesAreSpreadOverThreads) {
  ThreadPool pool(2);
  // Two pieces that wait for each other can only end when they run at the same time.
  std::atomic<int> arrived{0};
  pool.ForEach(2, [&arrived](int) {
    ++arrived;
    while (arrived.load() < 2) {
      std::this_thread::yield();
    }
  });
  EXPECT_EQ(arrived.load(), 2);
}

// The sanitizers reserve more address space than any limit leaves.
#if defined(__linux__) && !defined(VELTRA_SANITIZED)

/// Leaves this process room for a stack or two beside what it has.
void LimitMemory() {
  std::ifstream statistics("/proc/self/statm");
  rlim_t pages = 0;
  statistics >> pages;
  const rlim_t bytes = pages * 4096 + (rlim_t{20} << 20);
  const rlimit limit{bytes, bytes};
  setrlimit(RLIMIT_AS, &limit);
}

TEST(ThreadPoolDeathTest, GoesOnWithTheThreadsThatThereAre) {
  const auto workWithoutMemory = [] {
    LimitMemory();
    ThreadPool pool(64);
    std::atomic<int> total{0};
    pool.ForEach(1000, [&total](int) { ++total; });
    const bool right = total == 1000 && pool.ThreadCount() >= 1 && pool.ThreadCount() < 64;
    std::_Exit(right ? 0 : 1);
  };
  EXPECT_EXIT(workWithoutMemory(), ::testing::ExitedWithCode(0), "");
}

#endif

}  // namespace
}  // namespace veltra::host
