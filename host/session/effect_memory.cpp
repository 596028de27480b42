// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Registers of the handles and worlds that effects hold.

#include "host/session/effect_memory.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <mutex>
#include <unordered_map>

namespace veltra::host {
namespace {

/// A handle points at `data`, the first field; `*handle` is the block.
struct HandleCell {
  void* data = nullptr;
  std::uint64_t size = 0;
  std::shared_ptr<EffectHoldings> owner;
};

struct HandleRegister {
  std::mutex mutex;
  std::unordered_map<PF_Handle, std::unique_ptr<HandleCell>> cells;
};

// Never destroyed: effects dispose of handles while the program ends, too.
HandleRegister& Handles() {
  static auto* handles = new HandleRegister;
  return *handles;
}

struct OwnWorld {
  World world;
  std::shared_ptr<EffectHoldings> owner;
};

struct WorldRegister {
  std::mutex mutex;
  std::unordered_map<const void*, OwnWorld> worlds;
};

WorldRegister& Worlds() {
  static auto* worlds = new WorldRegister;
  return *worlds;
}

bool Allocatable(std::uint64_t size) {
  return size <= static_cast<std::uint64_t>(std::numeric_limits<std::ptrdiff_t>::max());
}

std::size_t BlockBytes(std::uint64_t size) {
  return static_cast<std::size_t>(std::max<std::uint64_t>(size, 1));
}

/// The cell of a live handle; call with the register locked.
HandleCell* Find(HandleRegister& handles, PF_Handle handle) {
  const auto found = handles.cells.find(handle);
  return found != handles.cells.end() ? found->second.get() : nullptr;
}

}  // namespace

PF_Handle NewHandle(std::uint64_t size, const std::shared_ptr<EffectHoldings>& owner) {
  void* block = Allocatable(size) ? std::calloc(BlockBytes(size), 1) : nullptr;
  if (block == nullptr) {
    return nullptr;
  }
  auto cell = std::make_unique<HandleCell>();
  cell->data = block;
  cell->size = size;
  cell->owner = owner;
  const PF_Handle handle = &cell->data;
  HandleRegister& handles = Handles();
  const std::lock_guard lock(handles.mutex);
  handles.cells.emplace(handle, std::move(cell));
  if (owner != nullptr) {
    ++owner->handles;
  }
  return handle;
}

bool IsHandle(PF_Handle handle) {
  HandleRegister& handles = Handles();
  const std::lock_guard lock(handles.mutex);
  return Find(handles, handle) != nullptr;
}

void* HandleData(PF_Handle handle) {
  HandleRegister& handles = Handles();
  const std::lock_guard lock(handles.mutex);
  const HandleCell* cell = Find(handles, handle);
  return cell != nullptr ? cell->data : nullptr;
}

std::uint64_t HandleSize(PF_Handle handle) {
  HandleRegister& handles = Handles();
  const std::lock_guard lock(handles.mutex);
  const HandleCell* cell = Find(handles, handle);
  return cell != nullptr ? cell->size : 0;
}

std::unique_ptr<std::vector<std::byte>> BytesOfHandle(PF_Handle handle) {
  if (!IsHandle(handle)) {
    return nullptr;
  }
  const auto* first = static_cast<const std::byte*>(HandleData(handle));
  return std::make_unique<std::vector<std::byte>>(first, first + HandleSize(handle));
}

PF_Err ResizeHandle(PF_Handle handle, std::uint64_t size) {
  HandleRegister& handles = Handles();
  const std::lock_guard lock(handles.mutex);
  HandleCell* cell = Find(handles, handle);
  if (cell == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  void* block = Allocatable(size) ? std::realloc(cell->data, BlockBytes(size)) : nullptr;
  if (block == nullptr) {
    return PF_Err_OUT_OF_MEMORY;
  }
  if (size > cell->size) {
    std::memset(static_cast<std::byte*>(block) + cell->size, 0,
                static_cast<std::size_t>(size - cell->size));
  }
  cell->data = block;
  cell->size = size;
  return PF_Err_NONE;
}

bool DisposeHandle(PF_Handle handle) {
  std::unique_ptr<HandleCell> cell;
  HandleRegister& handles = Handles();
  {
    const std::lock_guard lock(handles.mutex);
    const auto found = handles.cells.find(handle);
    if (found == handles.cells.end()) {
      return false;
    }
    cell = std::move(found->second);
    handles.cells.erase(found);
  }
  std::free(cell->data);
  if (cell->owner != nullptr) {
    --cell->owner->handles;
  }
  return true;
}

void KeepOwnWorld(World world, const std::shared_ptr<EffectHoldings>& owner) {
  const void* data = world.RowAddress(0);
  WorldRegister& worlds = Worlds();
  const std::lock_guard lock(worlds.mutex);
  worlds.worlds.emplace(data, OwnWorld{std::move(world), owner});
  if (owner != nullptr) {
    ++owner->worlds;
  }
}

bool DisposeOwnWorld(const void* data) {
  OwnWorld gone;
  WorldRegister& worlds = Worlds();
  {
    const std::lock_guard lock(worlds.mutex);
    const auto found = worlds.worlds.find(data);
    if (found == worlds.worlds.end()) {
      return false;
    }
    gone = std::move(found->second);
    worlds.worlds.erase(found);
  }
  if (gone.owner != nullptr) {
    --gone.owner->worlds;
  }
  return true;
}

}  // namespace veltra::host
