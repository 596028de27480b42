// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Work that is split by rows over a render's threads, and ends early when something fails.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>

#include "host/base/guarded.h"
#include "host/base/thread_pool.h"

namespace veltra::host {

/// Calls piece(0) to piece(count - 1), which answer a PF_Err, on the pool's threads or, without a
/// pool, on this one in their order. The first failure is returned and no piece starts after it;
/// an exception counts as one.
template <class Piece>
PF_Err ForEachPiece(ThreadPool* pool, int count, Piece piece) {
  std::atomic<PF_Err> result{PF_Err_NONE};
  const auto guarded = [&result, &piece](int index) {
    if (result.load(std::memory_order_relaxed) != PF_Err_NONE) {
      return;
    }
    const PF_Err error = Guarded([&] { return piece(index); });
    if (error != PF_Err_NONE) {
      PF_Err none = PF_Err_NONE;
      result.compare_exchange_strong(none, error);
    }
  };
  if (pool != nullptr) {
    pool->ForEach(count, guarded);
  } else {
    for (int index = 0; index < count; ++index) {
      guarded(index);
    }
  }
  return result.load();
}

/// Who does the work of a whole image, and who may end it.
struct RowWork {
  /// About a tenth of a millisecond of plain copying: long beside the handing out, short for
  /// somebody who waits for the end.
  static constexpr std::int64_t kChunkBytes = std::int64_t{512} << 10;

  ThreadPool* pool = nullptr;                ///< null is this thread alone
  const std::atomic<bool>* abort = nullptr;  ///< null never ends it

  /// Calls rows(first, last) for stretches of [0, count) until all are done, or answers
  /// PF_Interrupt_CANCEL when the abort is seen before one of them. Images of one stretch stay on
  /// this thread.
  template <class Rows>
  PF_Err Run(A_long count, std::int64_t bytesPerRow, Rows rows) const {
    const std::int64_t whole = kChunkBytes / std::max<std::int64_t>(bytesPerRow, 1);
    const auto step = static_cast<A_long>(std::clamp<std::int64_t>(whole, 1, std::max(count, 1)));
    return ForEachPiece(pool, static_cast<int>((std::int64_t{count} + step - 1) / step),
                        [this, count, step, &rows](int index) -> PF_Err {
                          if (abort != nullptr && abort->load(std::memory_order_relaxed)) {
                            return PF_Interrupt_CANCEL;
                          }
                          const A_long first = index * step;
                          rows(first, std::min(count - first, step) + first);
                          return PF_Err_NONE;
                        });
  }

  /// The same on this thread, in order.
  RowWork InOrder() const { return {nullptr, abort}; }
};

}  // namespace veltra::host
