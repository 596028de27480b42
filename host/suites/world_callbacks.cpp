// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Worlds for effects. They are always cleared: what is not asked for must not differ between runs.

#include "host/suites/world_callbacks.h"

#include "host/suites/callback.h"

namespace veltra::host {
namespace {

PF_Err MakeWorld(Session& session, A_long width, A_long height, Depth depth,
                 PF_EffectWorld& world) {
  if (!WorldSizeError(width, height).empty()) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  auto made = World::Create(width, height, depth);
  if (!made) {
    return PF_Err_OUT_OF_MEMORY;
  }
  world = made->View();
  world.world_flags |= PF_WorldFlag_WRITEABLE;
  KeepOwnWorld(std::move(*made), session.Holdings());
  session.accounts.Count(&RenderDiagnostics::worldsMade);
  return PF_Err_NONE;
}

PF_Err NewWorld(PF_ProgPtr ref, A_long width, A_long height, A_long flags,
                PF_EffectWorld* world) noexcept {
  return Serve(ref, HostCall::kNewWorld, world != nullptr, [&](Session& session) {
    const bool deep = (flags & PF_NewWorldFlag_DEEP_PIXELS) != 0;
    return MakeWorld(session, width, height, deep ? Depth::k16 : Depth::k8, *world);
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

PF_Err NewFormatWorld(PF_ProgPtr ref, A_long width, A_long height, PF_Boolean /*clear*/,
                      PF_PixelFormat format, PF_EffectWorld* world) noexcept {
  Depth depth = Depth::k8;
  const bool usable = world != nullptr && DepthOfFormat(format, depth);
  return Serve(ref, HostCall::kNewWorld, usable,
               [&](Session& session) { return MakeWorld(session, width, height, depth, *world); });
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

PF_Err GetPixelFormat(const PF_EffectWorld* world, PF_PixelFormat* format) noexcept {
  if (world == nullptr || format == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  return Guarded([&]() -> PF_Err {
    if (const PF_Err refused = AskCurrent(HostCall::kGetPixelFormat)) {
      return refused;
    }
    *format = PixelFormatOf(DepthOf(*world));
    return PF_Err_NONE;
  });
}

// ---- Pixels ----

template <class Pixel>
PF_Err PixelData(PF_EffectWorld* world, void* pixels, Pixel** out) noexcept {
  if (world == nullptr || out == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  *out = nullptr;
  return Guarded([&]() -> PF_Err {
    if (const PF_Err refused = AskCurrent(HostCall::kGetPixelData)) {
      return refused;
    }
    if (DepthOf(*world) == kDepthOf<Pixel>) {
      *out = static_cast<Pixel*>(pixels != nullptr ? pixels : world->data);
    }
    return PF_Err_NONE;
  });
}

PF_Err GpuPixelData(PF_EffectWorld* world, void** out) noexcept {
  if (world == nullptr || out == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  *out = nullptr;
  return PF_Err_NONE;
}

constexpr PF_WorldSuite1 kWorldTable{&NewWorld, &DisposeWorld};
constexpr PF_WorldSuite2 kFormatWorldTable{&NewFormatWorld, &DisposeWorld, &GetPixelFormat};
constexpr PF_PixelDataSuite2 kPixelTable{&PixelData<PF_Pixel8>, &PixelData<PF_Pixel16>,
                                         &PixelData<PF_PixelFloat>, &GpuPixelData};

}  // namespace

const PF_WorldSuite1& WorldFunctions() {
  return kWorldTable;
}

const PF_WorldSuite2& FormatWorldFunctions() {
  return kFormatWorldTable;
}

const PF_PixelDataSuite2& PixelDataFunctions() {
  return kPixelTable;
}

}  // namespace veltra::host
