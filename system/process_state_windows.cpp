// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Reading the process's own state on Windows.
#include "system/process_state.h"
#include "system/windows_api.h"
// After Windows' own declarations, which it needs.
#include <tlhelp32.h>

namespace veltra {
namespace {

int CountThreads() {
  const Handle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
  THREADENTRY32 entry{};
  entry.dwSize = sizeof(entry);
  int count = 0;
  if (snapshot.Valid() && Thread32First(snapshot.Get(), &entry) != 0) {
    do {
      count += entry.th32OwnerProcessID == GetCurrentProcessId() ? 1 : 0;
    } while (Thread32Next(snapshot.Get(), &entry) != 0);
  }
  return count;
}

/// Every library of the process shares the process heap or has its own; all of them are walked.
std::optional<std::int64_t> HeapBytes() {
  constexpr DWORD kMostHeaps = 64;
  HANDLE heaps[kMostHeaps];  // NOLINT(modernize-avoid-c-arrays): as the call fills it
  const DWORD count = GetProcessHeaps(kMostHeaps, heaps);
  if (count == 0 || count > kMostHeaps) {
    return std::nullopt;
  }
  std::int64_t bytes = 0;
  for (DWORD i = 0; i < count; ++i) {
    if (HeapLock(heaps[i]) == 0) {
      return std::nullopt;
    }
    PROCESS_HEAP_ENTRY entry{};
    while (HeapWalk(heaps[i], &entry) != 0) {
      bytes += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0 ? entry.cbData : 0;
    }
    HeapUnlock(heaps[i]);
  }
  return bytes;
}

}  // namespace

ProcessState ProcessState::Now() {
  ProcessState state;
  DWORD handles = 0;
  GetProcessHandleCount(GetCurrentProcess(), &handles);
  state.openFiles = static_cast<int>(handles);
  state.threads = CountThreads();
  state.heapBytes = HeapBytes();
  return state;
}

}  // namespace veltra
