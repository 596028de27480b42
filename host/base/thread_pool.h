// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Threads that several frames, and the rows within them, share.
#pragma once

#include <condition_variable>
#include <list>
#include <mutex>
#include <thread>
#include <type_traits>
#include <vector>

namespace veltra::host {

/// Threads for work that is split into numbered pieces. Any number of callers
/// may hand in work at once, also from inside a piece: a caller always works on its own pieces,
/// so that nobody waits for a free thread.
class ThreadPool {
 public:
  /// Cores to use in all, the caller's own thread included; 0 means all of the machine's. Where the
  /// system refuses a thread (a memory limit, a build without threads) the pool has those it got.
  explicit ThreadPool(int threads = 0);
  ~ThreadPool();
  ThreadPool(const ThreadPool&) = delete;
  ThreadPool& operator=(const ThreadPool&) = delete;

  /// Threads that work at once, the caller's included; from 1 to what was asked for.
  int ThreadCount() const { return static_cast<int>(workers_.size()) + 1; }

  /// Calls piece(0) to piece(count - 1), each once, in any order and on several threads; returns
  /// when all have ended. The function must not throw.
  template <class Function>
  void ForEach(int count, Function&& piece) {
    using Bare = std::remove_reference_t<Function>;
    Run(count, const_cast<void*>(static_cast<const void*>(&piece)),
        [](void* context, int index) { (*static_cast<Bare*>(context))(index); });
  }

 private:
  struct Job;

  void Run(int count, void* context, void (*piece)(void*, int));
  void WorkerLoop();

  std::mutex mutex_;
  std::condition_variable workArrived_;
  std::list<Job*> jobs_;
  bool stopping_ = false;
  std::vector<std::thread> workers_;
};

}  // namespace veltra::host
