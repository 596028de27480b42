// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The basic suite, and the function tables that draw.

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <new>
#include <string>

#include "host/suites/callback.h"
#include "host/suites/color_callbacks.h"
#include "host/suites/handle_suite.h"
#include "host/suites/iterate.h"
#include "host/suites/matte_callbacks.h"
#include "host/suites/sampling_callbacks.h"
#include "host/suites/suite_list.h"
#include "host/suites/tables.h"
#include "host/suites/transform_callbacks.h"
#include "host/suites/world_callbacks.h"
#include "host_api/suites.h"

namespace veltra::host {
namespace {

// ---- The tables ----

template <class Suite, class Pixel>
constexpr Suite kSampling{&NearestCallback<Pixel>, &SubpixelCallback<Pixel>, &AreaCallback<Pixel>};

constexpr PF_Iterate8Suite1 kIterate8{&IteratePixels<PF_Pixel8>, &IterateOrigin<PF_Pixel8>,
                                      &IterateLut, &IterateOriginNonClip<PF_Pixel8>,
                                      &IterateGeneric};

template <class Suite, class Pixel>
constexpr Suite kIterate{&IteratePixels<Pixel>, &IterateOrigin<Pixel>,
                         &IterateOriginNonClip<Pixel>};

PF_Err AcceptFormat(PF_ProgPtr, PF_PixelFormat) noexcept {
  return PF_Err_NONE;
}

PF_Err ClearFormats(PF_ProgPtr) noexcept {
  return PF_Err_NONE;
}

/// Formats of the other host's: this one gives its own whatever is asked for.
constexpr PF_PixelFormatSuite2 kPixelFormat{&AcceptFormat, &ClearFormats};

PF_Err GetConstSequenceData(PF_ProgPtr ref, const void* const** data) noexcept {
  return Serve(ref, HostCall::kGetConstSequenceData, data != nullptr,
               [data](Session& session) -> PF_Err {
                 *data = session.ConstSequenceData();
                 return PF_Err_NONE;
               });
}

constexpr PF_EffectSequenceDataSuite1 kSequenceData{&GetConstSequenceData};

/// A table that is a constant of this file, or another room's.
template <const auto& table>
const void* Constant() {
  return &table;
}
template <auto function>
const void* TableOf() {
  return &function();
}
const void* AnsiTable() {
  return &UtilityCallbacks().ansi;
}

constexpr OfferedSuite kSuites[] = {
    {"PF Handle Suite", 2, &TableOf<&HandleFunctions>},
    {"PF Iterate8 Suite", 1, &Constant<kIterate8>},
    {"PF Iterate8 Suite", 2, &Constant<kIterate8>, Age::kNewer},
    {"PF iterate16 Suite", 1, &Constant<kIterate<PF_Iterate16Suite1, PF_Pixel16>>},
    {"PF iterate16 Suite", 2, &Constant<kIterate<PF_Iterate16Suite1, PF_Pixel16>>, Age::kNewer},
    {"PF iterateFloat Suite", 1, &Constant<kIterate<PF_iterateFloatSuite1, PF_PixelFloat>>},
    {"PF iterateFloat Suite", 2, &Constant<kIterate<PF_iterateFloatSuite1, PF_PixelFloat>>,
     Age::kNewer},
    {"PF ANSI Suite", 1, &AnsiTable},
    {"PF World Transform Suite", 1, &TableOf<&TransformFunctions>},
    {"PF Fill Matte Suite", 2, &TableOf<&MatteFunctions>},
    {"PF World Suite", 1, &TableOf<&WorldFunctions>},
    {"PF World Suite", 2, &TableOf<&FormatWorldFunctions>},
    {"PF Pixel Data Suite", 1, &TableOf<&PixelDataFunctions>},
    {"PF Pixel Data Suite", 2, &TableOf<&PixelDataFunctions>, Age::kNewer},
    {"PF Pixel Format Suite", 2, &Constant<kPixelFormat>},
    {"PF Color Suite", 1, &TableOf<&ColorFunctions8>},
    {"PF Color16 Suite", 1, &TableOf<&ColorFunctions16>},
    {"PF ColorFloat Suite", 1, &TableOf<&ColorFunctionsFloat>},
    {"PF Effect Sequence Data Suite", 1, &Constant<kSequenceData>, Age::kNewer},
    {"PF Sampling8 Suite", 1, &Constant<kSampling<PF_Sampling8Suite1, PF_Pixel8>>},
    {"PF Sampling16 Suite", 1, &Constant<kSampling<PF_Sampling16Suite1, PF_Pixel16>>},
    {"PF SamplingFloat Suite", 1, &Constant<kSampling<PF_SamplingFloatSuite1, PF_PixelFloat>>},
};

// ---- The basic suite ----

SPErr Acquire(Session& session, const char* name, A_long version, const void** suite) {
  if (const PF_Err refused = session.Ask(HostCall::kAcquireSuite, version, name)) {
    return refused;
  }
  RenderHooks* hooks = session.Settings() != nullptr ? session.Settings()->hooks : nullptr;
  if (hooks != nullptr && hooks->GiveNullSuite(name, version)) {
    return PF_Err_NONE;
  }
  const void* found = FindSuite(name, version, *session.Context().host);
  if (found == nullptr) {
    session.accounts.Missing("the suite \"" + std::string(name) + "\" version " +
                             std::to_string(version));
    return kSPSuiteNotFoundError;
  }
  session.accounts.CountSuite(name, version, true);
  *suite = found;
  return PF_Err_NONE;
}

SPErr AcquireSuite(const char* name, A_long version, const void** suite) noexcept {
  if (name == nullptr || suite == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  *suite = nullptr;
  Session* session = Session::Current();
  if (session == nullptr) {
    *suite = FindSuite(name, version, DefaultHost());
    return *suite != nullptr ? PF_Err_NONE : kSPSuiteNotFoundError;
  }
  return Guarded([&]() -> PF_Err {
    try {
      return Acquire(*session, name, version, suite);
    } catch (const std::bad_alloc&) {
      session->NoteOutOfMemory();
      throw;
    }
  });
}

SPErr ReleaseSuite(const char* name, A_long version) noexcept {
  if (name == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  return Guarded([&]() -> PF_Err {
    Session* session = Session::Current();
    if (session == nullptr) {
      return PF_Err_NONE;
    }
    session->accounts.CountSuite(name, version, false);
    return session->Ask(HostCall::kReleaseSuite, version, name);
  });
}

A_long IsEqual(const char* first, const char* second) noexcept {
  return first != nullptr && second != nullptr && std::strcmp(first, second) == 0 ? 1 : 0;
}

void CountBlock(int RenderDiagnostics::*counter) {
  if (Session* session = Session::Current()) {
    session->accounts.Count(counter);
  }
}

SPErr AllocateBlock(std::size_t size, void** block) noexcept {
  if (block == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  *block = nullptr;
  return Guarded([&]() -> PF_Err {
    if (Session* session = Session::Current()) {
      if (const PF_Err refused = session->Ask(HostCall::kAllocateBlock)) {
        return refused;
      }
    }
    *block = std::malloc(size > 0 ? size : 1);
    if (*block == nullptr) {
      return PF_Err_OUT_OF_MEMORY;
    }
    CountBlock(&RenderDiagnostics::blocksAllocated);
    return PF_Err_NONE;
  });
}

SPErr FreeBlock(void* block) noexcept {
  return Guarded([&]() -> PF_Err {
    if (block != nullptr) {
      std::free(block);
      CountBlock(&RenderDiagnostics::blocksFreed);
    }
    return PF_Err_NONE;
  });
}

SPErr ReallocateBlock(void* block, std::size_t newSize, void** newBlock) noexcept {
  if (newBlock == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  if (block == nullptr) {
    return AllocateBlock(newSize, newBlock);
  }
  void* grown = std::realloc(block, newSize > 0 ? newSize : 1);
  if (grown == nullptr) {
    return PF_Err_OUT_OF_MEMORY;
  }
  *newBlock = grown;
  return PF_Err_NONE;
}

SPErr Undefined() noexcept {
  return kSPUnimplementedError;
}

}  // namespace

std::span<const OfferedSuite> PixelSuites() {
  return kSuites;
}

namespace {

std::array<std::span<const OfferedSuite>, 4> SuiteLists(const HostProfile& host) {
  std::array lists{PixelSuites(), ParameterSuites(), ApplicationSuites(), ProjectSuites()};
  if (!host.hasProjectSuites) {
    lists[2] = {};
    lists[3] = {};
  }
  return lists;
}

bool Offers(const HostProfile& host, const OfferedSuite& suite) {
  return host.hasNewerSuites || suite.age == Age::kOld;
}

}  // namespace

std::vector<OfferedSuite> SuitesOf(const HostProfile& host) {
  std::vector<OfferedSuite> offered;
  for (const auto& suites : SuiteLists(host)) {
    std::copy_if(suites.begin(), suites.end(), std::back_inserter(offered),
                 [&host](const OfferedSuite& suite) { return Offers(host, suite); });
  }
  return offered;
}

const void* FindSuite(const char* name, A_long version, const HostProfile& host) {
  for (const auto& suites : SuiteLists(host)) {
    for (const OfferedSuite& suite : suites) {
      if (suite.version == version && std::strcmp(suite.name, name) == 0) {
        return Offers(host, suite) ? suite.table() : nullptr;
      }
    }
  }
  return nullptr;
}

SPBasicSuite& BasicSuite() {
  static SPBasicSuite suite{&AcquireSuite, &ReleaseSuite,    &IsEqual,  &AllocateBlock,
                            &FreeBlock,    &ReallocateBlock, &Undefined};
  return suite;
}

HostTables Tables() {
  return {&InteractCallbacks(), &UtilityCallbacks(), &BasicSuite()};
}

}  // namespace veltra::host
