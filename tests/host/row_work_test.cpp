// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Work split by rows: every row once, and its early ends.

#include "host/pixels/row_work.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>
#include <vector>

namespace veltra::host {
namespace {

TEST(RowWork, EveryRowIsVisitedOnceWhateverItsSize) {
  ThreadPool pool(4);
  for (ThreadPool* threads : {static_cast<ThreadPool*>(nullptr), &pool}) {
    for (const std::int64_t bytesPerRow :
         {std::int64_t{0}, std::int64_t{1000}, RowWork::kChunkBytes, std::int64_t{1} << 40}) {
      for (const A_long count : {0, 1, 7, 1049}) {
        std::vector<std::atomic<int>> visits(static_cast<std::size_t>(count));
        const RowWork work{threads, nullptr};
        ASSERT_EQ(work.Run(count, bytesPerRow,
                           [&visits](A_long first, A_long last) {
                             for (A_long row = first; row < last; ++row) {
                               ++visits.at(static_cast<std::size_t>(row));
                             }
                           }),
                  PF_Err_NONE);
        for (const std::atomic<int>& times : visits) {
          ASSERT_EQ(times.load(), 1) << count << " rows of " << bytesPerRow << " bytes";
        }
      }
    }
  }
}

TEST(RowWork, ASmallImageStaysOnTheCallersThread) {
  ThreadPool pool(4);
  const RowWork work{&pool, nullptr};
  std::vector<std::thread::id> threads;
  ASSERT_EQ(work.Run(64, 256,
                     [&threads](A_long, A_long) { threads.push_back(std::this_thread::get_id()); }),
            PF_Err_NONE);
  EXPECT_EQ(threads, std::vector{std::this_thread::get_id()});
}

TEST(RowWork, AnAbortBetweenTwoStretchesEndsItWithCancel) {
  std::atomic<bool> abort{false};
  const RowWork work{nullptr, &abort};
  A_long rows = 0;
  EXPECT_EQ(work.Run(100, RowWork::kChunkBytes,
                     [&](A_long first, A_long last) {
                       rows += last - first;
                       abort = last == 3;
                     }),
            PF_Interrupt_CANCEL);
  EXPECT_EQ(rows, 3);
}

TEST(RowWork, WorkInsideOfWorkOnTheSameThreadsEnds) {
  ThreadPool pool(3);
  const RowWork work{&pool, nullptr};
  std::atomic<int> rows{0};
  ASSERT_EQ(work.Run(20, RowWork::kChunkBytes,
                     [&](A_long, A_long) {
                       work.Run(20, RowWork::kChunkBytes,
                                [&rows](A_long first, A_long last) { rows += last - first; });
                     }),
            PF_Err_NONE);
  EXPECT_EQ(rows.load(), 400);
}

TEST(RowWork, AnExceptionOfAPieceIsAnError) {
  ThreadPool pool(2);
  EXPECT_EQ(ForEachPiece(&pool, 9, [](int) -> PF_Err { throw std::bad_alloc(); }),
            PF_Err_OUT_OF_MEMORY);
  EXPECT_EQ(ForEachPiece(&pool, 9, [](int) -> PF_Err { throw std::runtime_error("no"); }),
            PF_Err_INTERNAL_STRUCT_DAMAGED);
}

}  // namespace
}  // namespace veltra::host
