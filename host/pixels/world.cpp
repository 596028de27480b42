// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Owning images: memory, views and the extent of what can be seen.

#include "host/pixels/world.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

#include "host/pixels/image_facts.h"
#include "host/pixels/world_view.h"
#include "numerics/compiler.h"
#include "system/large_pages.h"

namespace veltra::host {
namespace {

constexpr std::size_t kRowAlignment = 64;
constexpr std::size_t kGuardBytes = 4096;
constexpr std::byte kGuardPattern{0xC5};

/// Memory that reads as zero; large blocks come untouched from the system and cost nothing until
/// they are used.
std::byte* AllocateZeroed(std::size_t bytes) {
  auto* block = static_cast<std::byte*>(std::calloc(bytes, 1));
  if (block != nullptr) {
    PreferLargePages(block, bytes);
  }
  return block;
}

/// Calls visit(first, count) for every run of bytes of the block that is not pixels.
template <class Visit>
void ForEachGap(std::byte* block, std::size_t blockBytes, const std::byte* firstPixel,
                std::size_t rowBytes, std::size_t usedBytes, A_long height, Visit visit) {
  std::byte* gap = block;
  std::byte* row = block + (firstPixel - block);
  for (A_long y = 0; y < height; ++y) {
    visit(gap, static_cast<std::size_t>(row - gap));
    gap = row + usedBytes;
    row += rowBytes;
  }
  visit(gap, blockBytes - static_cast<std::size_t>(gap - block));
}

/// Bytes of a row's pixels.
std::size_t RowUse(A_long width, Depth depth) {
  return static_cast<std::size_t>(width) * static_cast<std::size_t>(BytesPerPixel(depth));
}

std::size_t RoundUp(std::size_t value, std::size_t step) {
  return (value + step - 1) / step * step;
}

}  // namespace

std::string WorldSizeError(std::int64_t width, std::int64_t height) {
  if (width >= 1 && height >= 1 && width <= kHostMaxWorldSide && height <= kHostMaxWorldSide) {
    return {};
  }
  const std::string most = std::to_string(kHostMaxWorldSide);
  return "an image of " + std::to_string(width) + " x " + std::to_string(height) +
         " pixels is not possible (from 1 x 1 to " + most + " x " + most + ")";
}

Expected<World> World::Create(A_long width, A_long height, Depth depth, const WorldLayout& layout) {
  if (std::string reason = WorldSizeError(width, height); !reason.empty()) {
    return Failure{reason};
  }
  const std::size_t used = RowUse(width, depth);
  const auto extra = static_cast<std::size_t>(std::clamp<A_long>(layout.extraRowBytes, 0, 1 << 20));
  const auto shift = static_cast<std::size_t>(std::clamp<A_long>(layout.misalignBytes, 0, 1 << 20));
  const std::size_t guard = layout.guarded ? kGuardBytes : 0;
  World world;
  world.width_ = width;
  world.height_ = height;
  world.depth_ = depth;
  const std::size_t rowBytes = RoundUp(used, kRowAlignment) + kRowAlignment + extra;
  world.rowBytes_ = static_cast<A_long>(rowBytes);
  world.guarded_ = layout.guarded;
  world.blockBytes_ =
      rowBytes * static_cast<std::size_t>(height) + shift + kRowAlignment + 2 * guard;
  world.block_.reset(AllocateZeroed(world.blockBytes_));
  if (world.block_ == nullptr) {
    return Failure{"not enough memory for an image of " + std::to_string(width) + " x " +
                   std::to_string(height) + " pixels"};
  }
  const auto address = reinterpret_cast<std::uintptr_t>(world.block_.get()) + guard;
  const std::size_t toAligned = RoundUp(address, kRowAlignment) - address;
  world.pixels_ = world.block_.get() + guard + toAligned + shift;
  if (layout.guarded) {
    ForEachGap(world.block_.get(), world.blockBytes_, world.pixels_, rowBytes, used, height,
               [](std::byte* gap, std::size_t count) { std::fill_n(gap, count, kGuardPattern); });
  }
  return world;
}

World::World(World&& other) noexcept {
  *this = std::move(other);
}

World& World::operator=(World&& other) noexcept {
  block_ = std::move(other.block_);
  blockBytes_ = std::exchange(other.blockBytes_, 0);
  pixels_ = std::exchange(other.pixels_, nullptr);
  width_ = std::exchange(other.width_, 0);
  height_ = std::exchange(other.height_, 0);
  rowBytes_ = std::exchange(other.rowBytes_, 0);
  depth_ = other.depth_;
  originX_ = other.originX_;
  originY_ = other.originY_;
  pixelAspect_ = other.pixelAspect_;
  guarded_ = std::exchange(other.guarded_, false);
  keptFacts_ = std::move(other.keptFacts_);
  return *this;
}

PF_EffectWorld World::View() const {
  PF_EffectWorld view{};
  MarkDepth(view, depth_);
  view.data = pixels_;
  view.rowbytes = rowBytes_;
  view.width = width_;
  view.height = height_;
  view.extent_hint = {0, 0, width_, height_};
  view.pix_aspect_ratio = pixelAspect_;
  view.origin_x = originX_;
  view.origin_y = originY_;
  return view;
}

PF_EffectWorld World::View(const PF_LRect& rect) const {
  const PF_LRect whole{originX_, originY_, originX_ + width_, originY_ + height_};
  const PF_LRect part = Intersection(rect, whole);
  PF_EffectWorld view = View();
  view.width = part.right - part.left;
  view.height = part.bottom - part.top;
  view.extent_hint = {0, 0, view.width, view.height};
  view.origin_x = part.left;
  view.origin_y = part.top;
  if (!IsEmpty(part)) {
    view.data = RowAddress(part.top - originY_) +
                static_cast<std::ptrdiff_t>(part.left - originX_) * BytesPerPixel(depth_);
  }
  return view;
}

void World::KeepFacts() {
  if (keptFacts_ == nullptr) {
    keptFacts_ = std::make_shared<KeptImageFacts>();
  }
}

bool World::GuardIntact() const {
  if (!guarded_) {
    return true;
  }
  bool intact = true;
  const std::size_t used = RowUse(width_, depth_);
  ForEachGap(block_.get(), blockBytes_, pixels_, static_cast<std::size_t>(rowBytes_), used, height_,
             [&intact](const std::byte* gap, std::size_t count) {
               intact = intact && std::all_of(gap, gap + count,
                                              [](std::byte b) { return b == kGuardPattern; });
             });
  return intact;
}

namespace {

/// A float alpha of -0 counts: readers of pictures give it to pixels whose file has light there
/// without coverage.
template <class Pixel>
bool IsVisible(const Pixel& pixel) {
  if constexpr (std::is_same_v<Pixel, PF_PixelFloat>) {
    return numerics::BitCast<std::uint32_t>(pixel.alpha) != 0;
  } else {
    return pixel.alpha != 0;
  }
}

template <class Pixel>
bool AnyVisible(const PF_EffectWorld& view, A_long y, A_long left, A_long right) {
  const auto* row = RowOf<const Pixel>(view, y);
  // A stretch at a time without a branch inside, so that long transparent stretches pass quickly.
  for (A_long x = left; x < right;) {
    const A_long stop = std::min<A_long>(right, x + 64);
    bool any = false;
    for (; x < stop; ++x) {
      any |= IsVisible(row[x]);
    }
    if (any) {
      return true;
    }
  }
  return false;
}

/// The first and the last visible column of one row are only sought outside what is known.
template <class Pixel>
void WidenColumns(const PF_EffectWorld& view, A_long y, PF_LRect& extent) {
  const auto* row = RowOf<const Pixel>(view, y);
  for (A_long x = 0; x < extent.left; ++x) {
    if (IsVisible(row[x])) {
      extent.left = x;
    }
  }
  for (A_long x = view.width; x > extent.right; --x) {
    if (IsVisible(row[x - 1])) {
      extent.right = x;
    }
  }
}

template <class Pixel>
PF_LRect TypedExtent(const PF_EffectWorld& view) {
  PF_LRect extent{view.width, 0, 0, view.height};
  while (extent.top < view.height && !AnyVisible<Pixel>(view, extent.top, 0, view.width)) {
    ++extent.top;
  }
  if (extent.top == view.height) {
    return {0, 0, 0, 0};
  }
  while (!AnyVisible<Pixel>(view, extent.bottom - 1, 0, view.width)) {
    --extent.bottom;
  }
  for (A_long y = extent.top; y < extent.bottom; ++y) {
    WidenColumns<Pixel>(view, y, extent);
  }
  return extent;
}

}  // namespace

PF_LRect VisibleExtent(const PF_EffectWorld& view, Depth depth) {
  if (view.data == nullptr || view.width <= 0 || view.height <= 0) {
    return {0, 0, 0, 0};
  }
  return WithPixelType(depth, [&view](auto pixel) { return TypedExtent<decltype(pixel)>(view); });
}

}  // namespace veltra::host
