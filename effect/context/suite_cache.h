// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Host suites acquired on first use and all given back when the cache ends.
#pragma once

#include <array>
#include <cstddef>
#include <span>

#include "effect/context/suite_list.h"
#include "host_api/suites.h"

namespace veltra {

// Suites that the effect never calls stay opaque.
#define VELTRA_DECLARE_SUITE(type, name, version) struct type##version;
VELTRA_SUITES(VELTRA_DECLARE_SUITE)
#undef VELTRA_DECLARE_SUITE

enum class SuiteSlot : std::size_t {
#define VELTRA_SUITE_SLOT(type, name, version) type##version,
  VELTRA_SUITES(VELTRA_SUITE_SLOT)
#undef VELTRA_SUITE_SLOT
      kCount
};

/// The slot that holds a suite's function table, by the table's type.
template <class Suite>
inline constexpr SuiteSlot kSlotOf = SuiteSlot::kCount;
#define VELTRA_SLOT_OF(type, name, version) \
  template <>                               \
  inline constexpr SuiteSlot kSlotOf<type##version> = SuiteSlot::type##version;
VELTRA_SUITES(VELTRA_SLOT_OF)
#undef VELTRA_SLOT_OF

struct SuiteId {
  const char* name;
  A_long version;
};

/// Name and version of every slot, in slot order.
std::span<const SuiteId> SuiteTable();

/// Belongs to one call on one thread. A missing suite is thrown as the error code
/// PF_Err_BAD_CALLBACK_PARAM, a PF_Err.
class SuiteCache {
 public:
  /// Throws when the basic suite is null.
  explicit SuiteCache(const SPBasicSuite* basicSuite);
  ~SuiteCache() { ReleaseAll(); }
  SuiteCache(const SuiteCache&) = delete;
  SuiteCache& operator=(const SuiteCache&) = delete;

  /// The suite's function table, asked of the host on the first call only. Throws when the host
  /// has no such suite.
  template <class Suite>
  const Suite* Acquire() {
    static_assert(kSlotOf<Suite> != SuiteSlot::kCount, "not a suite of the list");
    return static_cast<const Suite*>(AcquireSlot(kSlotOf<Suite>));
  }

  /// Gives back every suite that was acquired, in slot order; never throws.
  void ReleaseAll() noexcept;

 private:
  const void* AcquireSlot(SuiteSlot slot);

  const SPBasicSuite* basicSuite_;
  std::array<const void*, static_cast<std::size_t>(SuiteSlot::kCount)> slots_{};
};

/// One suite for a scope; null when the host has none. Goes back also when the host throws.
template <class Suite>
class ScopedSuite {
 public:
  explicit ScopedSuite(const SPBasicSuite& basicSuite) : basicSuite_(basicSuite) {
    const void* suite = nullptr;
    if (basicSuite_.AcquireSuite(Id().name, Id().version, &suite) == PF_Err_NONE) {
      suite_ = static_cast<const Suite*>(suite);
    }
  }
  ~ScopedSuite() {
    if (suite_ == nullptr) {
      return;
    }
    try {
      basicSuite_.ReleaseSuite(Id().name, Id().version);
    } catch (...) {
      // Nothing can be done for a host that throws while it takes a suite back.
    }
  }
  ScopedSuite(const ScopedSuite&) = delete;
  ScopedSuite& operator=(const ScopedSuite&) = delete;

  const Suite* Get() const { return suite_; }

 private:
  static const SuiteId& Id() { return SuiteTable()[static_cast<std::size_t>(kSlotOf<Suite>)]; }

  const SPBasicSuite& basicSuite_;
  const Suite* suite_ = nullptr;
};

}  // namespace veltra
