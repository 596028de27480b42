// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Workers that take numbered pieces from whichever jobs are open.

#include "host/base/thread_pool.h"

#include <algorithm>
#include <atomic>
#include <new>
#include <system_error>

namespace veltra::host {

struct ThreadPool::Job {
  Job(int pieces, void* pieceContext, void (*function)(void*, int))
      : context(pieceContext), piece(function), count(pieces) {}

  void* context;
  void (*piece)(void*, int);
  int count;
  std::atomic<int> next{0};
  int helpers = 0;  ///< workers inside, guarded by the pool's mutex
  std::condition_variable helpersGone;

  void WorkOff() {
    for (int index = next.fetch_add(1, std::memory_order_relaxed); index < count;
         index = next.fetch_add(1, std::memory_order_relaxed)) {
      piece(context, index);
    }
  }
};

ThreadPool::ThreadPool(int threads) {
  if (threads <= 0) {
    threads = static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
  }
  workers_.reserve(static_cast<std::size_t>(threads - 1));
  // Every piece is also the caller's to do, so fewer workers than asked for are slower, not wrong.
  try {
    for (int i = 1; i < threads; ++i) {
      workers_.emplace_back([this] { WorkerLoop(); });
    }
  } catch (const std::system_error&) {
  } catch (const std::bad_alloc&) {
  }
}

ThreadPool::~ThreadPool() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  workArrived_.notify_all();
  for (std::thread& worker : workers_) {
    worker.join();
  }
}

void ThreadPool::Run(int count, void* context, void (*piece)(void*, int)) {
  Job job(count, context, piece);
  const bool shared = count > 1 && !workers_.empty();
  std::list<Job*>::iterator place;
  if (shared) {
    const std::lock_guard lock(mutex_);
    place = jobs_.insert(jobs_.end(), &job);
  }
  if (shared) {
    workArrived_.notify_all();
  }
  job.WorkOff();
  if (shared) {
    // A worker joins only while the job is listed, so none can come after this.
    std::unique_lock lock(mutex_);
    jobs_.erase(place);
    job.helpersGone.wait(lock, [&job] { return job.helpers == 0; });
  }
}

void ThreadPool::WorkerLoop() {
  std::unique_lock lock(mutex_);
  while (!stopping_) {
    const auto open = std::find_if(jobs_.begin(), jobs_.end(), [](const Job* job) {
      return job->next.load(std::memory_order_relaxed) < job->count;
    });
    if (open == jobs_.end()) {
      workArrived_.wait(lock);
      continue;
    }
    // To the end of the line: concurrent frames share the workers instead of queueing for them.
    Job* job = *open;
    jobs_.splice(jobs_.end(), jobs_, open);
    ++job->helpers;
    lock.unlock();
    job->WorkOff();
    lock.lock();
    if (--job->helpers == 0) {
      job->helpersGone.notify_all();
    }
  }
}

}  // namespace veltra::host
