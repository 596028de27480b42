// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Handles and worlds that effects have of this host. They may outlive a frame, so they belong to
// no session; each knows the effect that it was made for. Safe on many threads.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "host/pixels/world.h"
#include "host_api/types.h"

namespace veltra::host {

/// What one effect holds now, over all of its sessions.
struct EffectHoldings {
  std::atomic<int> handles{0};
  std::atomic<int> worlds{0};
};

/// A zeroed block behind a handle, which stays where it is until it is resized; null without
/// memory. A size of 0 gives a valid handle.
PF_Handle NewHandle(std::uint64_t size, const std::shared_ptr<EffectHoldings>& owner);
/// Whether it is a live handle of this host.
bool IsHandle(PF_Handle handle);
/// The block's address; null for what is no handle of this host.
void* HandleData(PF_Handle handle);
/// The block's size in bytes; 0 for what is no handle of this host.
std::uint64_t HandleSize(PF_Handle handle);
/// Keeps the handle and the common front part; bytes beyond it are zero. PF_Err_OUT_OF_MEMORY
/// leaves all as it was, PF_Err_BAD_CALLBACK_PARAM says that it is no handle of this host.
PF_Err ResizeHandle(PF_Handle handle, std::uint64_t size);
/// A copy of the block's bytes; null for what is no handle of this host.
std::unique_ptr<std::vector<std::byte>> BytesOfHandle(PF_Handle handle);
/// Frees block and handle; false for what is no live handle of this host.
bool DisposeHandle(PF_Handle handle);

/// Keeps a world's pixels for an effect until they are disposed of.
void KeepOwnWorld(World world, const std::shared_ptr<EffectHoldings>& owner);
/// Frees the pixels that start at `data`; false for what is no such world.
bool DisposeOwnWorld(const void* data);

}  // namespace veltra::host
