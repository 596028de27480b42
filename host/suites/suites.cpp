// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The basic suite and the function tables it hands out.

#include <cstdlib>
#include <cstring>
#include <string>

#include "host/suites/iterate.h"
#include "host/suites/sampling_callbacks.h"
#include "host/suites/tables.h"
#include "host/suites/unused_functions.h"
#include "host_api/suites.h"

namespace veltra::host {
namespace {

// ---- The world suite ----

PF_Err GetPixelFormat(const PF_EffectWorld* world, PF_PixelFormat* format) noexcept {
  if (world == nullptr || format == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  return Guarded([&]() -> PF_Err {
    Session* session = Session::Current();
    if (session != nullptr) {
      if (const PF_Err refused = session->Ask(HostCall::kGetPixelFormat)) {
        return refused;
      }
    }
    *format = PixelFormatOf(DepthOf(*world));
    return PF_Err_NONE;
  });
}

bool DepthOfFormat(PF_PixelFormat format, Depth& depth) {
  for (const Depth known : kAllDepths) {
    if (PixelFormatOf(known) == format) {
      depth = known;
      return true;
    }
  }
  return false;
}

/// Worlds for the effect are always cleared: what is not asked for must not differ between runs.
PF_Err NewWorld(PF_ProgPtr ref, A_long width, A_long height, PF_Boolean /*clear*/,
                PF_PixelFormat format, PF_EffectWorld* world) noexcept {
  Session* session = Session::From(ref);
  Depth depth = Depth::k8;
  if (session == nullptr || world == nullptr || !DepthOfFormat(format, depth)) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  return Guarded([&]() -> PF_Err {
    if (const PF_Err refused = session->Ask(HostCall::kNewWorld)) {
      return refused;
    }
    if (!WorldSizeError(width, height).empty()) {
      return PF_Err_BAD_CALLBACK_PARAM;
    }
    auto made = World::Create(width, height, depth);
    if (!made) {
      return PF_Err_OUT_OF_MEMORY;
    }
    *world = made->View();
    world->world_flags |= PF_WorldFlag_WRITEABLE;
    KeepOwnWorld(std::move(*made), session->Holdings());
    session->accounts.Count(&RenderDiagnostics::worldsMade);
    return PF_Err_NONE;
  });
}

PF_Err DisposeWorld(PF_ProgPtr ref, PF_EffectWorld* world) noexcept {
  Session* session = Session::From(ref);
  if (session == nullptr || world == nullptr || world->data == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  return Guarded([&]() -> PF_Err {
    const PF_Err refused = session->Ask(HostCall::kDisposeWorld);
    if (!DisposeOwnWorld(world->data)) {
      session->accounts.Broke(Rule::kForeignHandle);
      return PF_Err_BAD_CALLBACK_PARAM;
    }
    session->accounts.Count(&RenderDiagnostics::worldsDisposed);
    *world = PF_EffectWorld{};
    return refused;
  });
}

// ---- The tables ----

// Only the second version of the world suite: its layout is known, that of the first is not, and
// a wrong table is worse than none.
constexpr PF_WorldSuite2 kWorldSuite{&NewWorld, &DisposeWorld, &GetPixelFormat};

template <class Suite, class Pixel>
constexpr Suite kSamplingSuite{&NearestCallback<Pixel>, &SubpixelCallback<Pixel>,
                               &AreaCallback<Pixel>};

const void* Iterate8Table() {
  static const PF_Iterate8Suite1 table{&IteratePixels<PF_Pixel8>, NotOffered(), NotOffered(),
                                       NotOffered(), NotOffered()};
  return &table;
}

const void* Iterate16Table() {
  static const PF_Iterate16Suite1 table{&IteratePixels<PF_Pixel16>, NotOffered(), NotOffered()};
  return &table;
}

const void* IterateFloatTable() {
  static const PF_iterateFloatSuite1 table{&IteratePixels<PF_PixelFloat>, NotOffered(),
                                           NotOffered()};
  return &table;
}

/// The table of that name and version; null for what this host does not offer.
const void* FindSuite(const char* name, A_long version) {
  const auto is = [name, version](const char* known, A_long knownVersion) {
    return version == knownVersion && std::strcmp(name, known) == 0;
  };
  if (is("PF World Suite", 2)) {
    return &kWorldSuite;
  }
  if (is("PF Sampling8 Suite", 1)) {
    return &kSamplingSuite<PF_Sampling8Suite1, PF_Pixel8>;
  }
  if (is("PF Sampling16 Suite", 1)) {
    return &kSamplingSuite<PF_Sampling16Suite1, PF_Pixel16>;
  }
  if (is("PF SamplingFloat Suite", 1)) {
    return &kSamplingSuite<PF_SamplingFloatSuite1, PF_PixelFloat>;
  }
  if (is("PF Iterate8 Suite", 1)) {
    return Iterate8Table();
  }
  if (is("PF iterate16 Suite", 1)) {
    return Iterate16Table();
  }
  if (is("PF iterateFloat Suite", 1)) {
    return IterateFloatTable();
  }
  return nullptr;
}

// ---- The basic suite ----

/// 'S!Fd': the suite was not found.
constexpr SPErr kSuiteNotFound = 0x53214664;

SPErr AcquireSuite(const char* name, A_long version, const void** suite) noexcept {
  if (name == nullptr || suite == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  *suite = nullptr;
  return Guarded([&]() -> PF_Err {
    Session* session = Session::Current();
    if (session != nullptr) {
      if (const PF_Err refused = session->Ask(HostCall::kAcquireSuite, version, name)) {
        return refused;
      }
      RenderHooks* hooks = session->Settings() != nullptr ? session->Settings()->hooks : nullptr;
      if (hooks != nullptr && hooks->GiveNullSuite(name, version)) {
        return PF_Err_NONE;
      }
    }
    const void* found = FindSuite(name, version);
    if (found == nullptr) {
      if (session != nullptr) {
        session->accounts.Missing("the suite \"" + std::string(name) + "\" version " +
                                  std::to_string(version));
      }
      return kSuiteNotFound;
    }
    if (session != nullptr) {
      session->accounts.CountSuite(name, version, true);
    }
    *suite = found;
    return PF_Err_NONE;
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

PF_Boolean IsEqual(const char* first, const char* second) noexcept {
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
  return PF_Err_INVALID_CALLBACK;
}

}  // namespace

SPBasicSuite& BasicSuite() {
  static SPBasicSuite suite{&AcquireSuite, &ReleaseSuite,    &IsEqual,  &AllocateBlock,
                            &FreeBlock,    &ReallocateBlock, &Undefined};
  return suite;
}

HostTables Tables() {
  return {&InteractCallbacks(), &UtilityCallbacks(), &BasicSuite()};
}

}  // namespace veltra::host
