// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Owning images in the host's own layout, and what is computed from whole images.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>

#include "base/expected.h"
#include "host/base/depth.h"
#include "host/pixels/row_work.h"
#include "host_api/world.h"

namespace veltra::host {

class KeptImageFacts;

/// How the rows of a world lie in memory. The defaults suit rendering; a validator asks for odd
/// strides and for guard bytes around every row.
struct WorldLayout {
  A_long extraRowBytes = 0;  ///< added to the row stride; a multiple of the channel's size
  A_long misalignBytes = 0;  ///< shift of the first pixel from a 64-byte boundary, likewise
  bool guarded = false;      ///< fill everything that is not a pixel with a pattern
};

/// A movable, owning image of straight-alpha pixels, alpha first. Rows start on 64-byte
/// boundaries and the stride always exceeds what the pixels need, so that code which confuses
/// the two shows itself.
class World {
 public:
  /// No pixels at all.
  World() = default;

  /// Transparent black. Refuses sides outside 1..30000 before any memory is taken.
  static Expected<World> Create(A_long width, A_long height, Depth depth,
                                const WorldLayout& layout = {});

  World(World&& other) noexcept;
  World& operator=(World&& other) noexcept;
  World(const World&) = delete;
  World& operator=(const World&) = delete;
  ~World() = default;

  bool Empty() const { return pixels_ == nullptr; }
  A_long Width() const { return width_; }
  A_long Height() const { return height_; }
  Depth PixelDepth() const { return depth_; }
  A_long RowBytes() const { return rowBytes_; }

  /// Place of the first pixel in layer coordinates.
  A_long OriginX() const { return originX_; }
  A_long OriginY() const { return originY_; }
  void SetOrigin(A_long x, A_long y) {
    originX_ = x;
    originY_ = y;
  }

  /// Width over height of one pixel; 1/1 unless set.
  PF_RationalScale PixelAspect() const { return pixelAspect_; }
  void SetPixelAspect(PF_RationalScale aspect) { pixelAspect_ = aspect; }

  /// The pixels of row y, 0 <= y < Height(); Pixel must be the type of this world's depth.
  template <class Pixel>
  std::span<Pixel> Row(A_long y) {
    return {reinterpret_cast<Pixel*>(RowAddress(y)), static_cast<std::size_t>(width_)};
  }
  template <class Pixel>
  std::span<const Pixel> Row(A_long y) const {
    return {reinterpret_cast<const Pixel*>(RowAddress(y)), static_cast<std::size_t>(width_)};
  }

  /// The first byte of row y, for readers and writers that do not care for the pixel's type.
  std::byte* RowAddress(A_long y) const {
    return pixels_ + static_cast<std::ptrdiff_t>(y) * rowBytes_;
  }

  /// The whole image as the effect sees it; extent_hint is the whole image.
  PF_EffectWorld View() const;

  /// The part inside `rect` (layer coordinates, clipped to the image), sharing the pixels.
  PF_EffectWorld View(const PF_LRect& rect) const;

  /// Promises that the pixels stay as they are from now on. What one frame works out about them is
  /// then kept with them for the next: sums for the area sampler, up to an eighth of their
  /// memory, and the visible extent. Not while a frame is rendered from the world.
  void KeepFacts();
  /// Null for a world that may change.
  KeptImageFacts* KeptFacts() const { return keptFacts_.get(); }

  /// Whether the bytes around the pixels of a guarded world are still as they were made.
  bool GuardIntact() const;

 private:
  struct FreeMemory {
    void operator()(void* block) const { std::free(block); }
  };

  std::unique_ptr<std::byte, FreeMemory> block_;
  std::size_t blockBytes_ = 0;
  std::byte* pixels_ = nullptr;
  A_long width_ = 0;
  A_long height_ = 0;
  A_long rowBytes_ = 0;
  Depth depth_ = Depth::k8;
  A_long originX_ = 0;
  A_long originY_ = 0;
  PF_RationalScale pixelAspect_{1, 1};
  bool guarded_ = false;
  std::shared_ptr<KeptImageFacts> keptFacts_;
};

/// Empty when a world of this size is possible, otherwise the reason in one line.
std::string WorldSizeError(std::int64_t width, std::int64_t height);

/// The smallest rectangle, in the buffer's coordinates, that holds every pixel of `view` whose
/// alpha is not zero; empty (all zero) for a transparent one.
PF_LRect VisibleExtent(const PF_EffectWorld& view, Depth depth);

/// A side of `length` pixels at 1/factor resolution: length / factor rounded half up, at least 1.
A_long DownsampledLength(A_long length, int factor);

/// The image at 1/factor resolution: alpha is the plain average of factor x factor boxes (the
/// last ones may be cut), colour the average weighted by alpha. Keeps the pixel aspect. Fails with
/// "interrupted" when the work's abort is seen.
Expected<World> BoxDownsample(const World& source, int factor, const RowWork& work = {});

}  // namespace veltra::host
