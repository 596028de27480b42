// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Suite cache.

#include "effect/context/suite_cache.h"

namespace veltra {
namespace {

constexpr SuiteId kSuiteTable[] = {
#define VELTRA_SUITE_ID(type, name, version) {name, version},
    VELTRA_SUITES(VELTRA_SUITE_ID)
#undef VELTRA_SUITE_ID
};

}  // namespace

std::span<const SuiteId> SuiteTable() {
  return kSuiteTable;
}

SuiteCache::SuiteCache(const SPBasicSuite* basicSuite) : basicSuite_(basicSuite) {
  if (basicSuite == nullptr || basicSuite->AcquireSuite == nullptr ||
      basicSuite->ReleaseSuite == nullptr) {
    throw PF_Err{PF_Err_BAD_CALLBACK_PARAM};
  }
}

const void* SuiteCache::AcquireSlot(SuiteSlot slot) {
  const auto index = static_cast<std::size_t>(slot);
  if (slots_[index] == nullptr) {
    const void* suite = nullptr;
    const SPErr err =
        basicSuite_->AcquireSuite(kSuiteTable[index].name, kSuiteTable[index].version, &suite);
    if (err != PF_Err_NONE || suite == nullptr) {
      throw PF_Err{PF_Err_BAD_CALLBACK_PARAM};
    }
    slots_[index] = suite;
  }
  return slots_[index];
}

void SuiteCache::ReleaseAll() noexcept {
  for (std::size_t i = 0; i < slots_.size(); ++i) {
    if (slots_[i] == nullptr) {
      continue;
    }
    slots_[i] = nullptr;
    try {
      basicSuite_->ReleaseSuite(kSuiteTable[i].name, kSuiteTable[i].version);
    } catch (...) {
      // A host that throws here must not keep the other suites from going back.
    }
  }
}

}  // namespace veltra
