// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A fixed table, since a signal handler can neither lock nor allocate.
#include "system/temporary_files.h"

#include <array>
#include <atomic>
#include <cstring>

#include "system/files.h"

namespace veltra {
namespace {

constexpr std::size_t kMostTemporaries = 256;
constexpr std::size_t kLongestPath = 4096;

/// What may be done with a slot. Only whoever brought it to kFilling or kRemoving touches the
/// path.
enum Phase : std::uint64_t { kFree, kFilling, kInUse, kRemoving };
constexpr std::uint64_t kPhases = 4;

/// The state counts how often the slot was used, so that a ticket fits one use of it only.
struct Slot {
  std::atomic<std::uint64_t> state{kFree};  // 4 * uses + phase
  std::array<char, kLongestPath> path{};
};

std::array<Slot, kMostTemporaries>& Slots() {
  static std::array<Slot, kMostTemporaries> slots;
  return slots;
}

}  // namespace

TemporaryTicket RememberTemporary(const std::string& path) noexcept {
  if (path.size() >= kLongestPath) {
    return 0;
  }
  std::array<Slot, kMostTemporaries>& slots = Slots();
  for (std::size_t i = 0; i < slots.size(); ++i) {
    std::uint64_t state = slots[i].state.load();
    if (state % kPhases != kFree ||
        !slots[i].state.compare_exchange_strong(state, state + kPhases + kFilling)) {
      continue;
    }
    const std::uint64_t inUse = state + kPhases + kInUse;
    std::memcpy(slots[i].path.data(), path.c_str(), path.size() + 1);
    slots[i].state.store(inUse);
    return inUse * kMostTemporaries + i;
  }
  return 0;
}

void ForgetTemporary(TemporaryTicket ticket) noexcept {
  if (ticket == 0) {
    return;
  }
  std::uint64_t inUse = ticket / kMostTemporaries;
  // Fails where the file is just being removed, which frees the slot too.
  Slots()[ticket % kMostTemporaries].state.compare_exchange_strong(inUse, inUse - kInUse + kFree);
}

void RemoveTemporaryFiles() noexcept {
  for (Slot& slot : Slots()) {
    std::uint64_t state = slot.state.load();
    const std::uint64_t removing = state - kInUse + kRemoving;
    if (state % kPhases == kInUse && slot.state.compare_exchange_strong(state, removing)) {
      RemoveFile(slot.path.data());
      slot.state.store(removing - kRemoving + kFree);
    }
  }
}

}  // namespace veltra
