// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Sums over blocks of an image, made once, so that the average of a large box costs little.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <new>
#include <type_traits>
#include <vector>

#include "host/pixels/pixel_sum.h"
#include "host/pixels/world_view.h"
#include "numerics/compiler.h"
#include "system/large_pages.h"

namespace veltra::host {

/// Adds the pixels of `rect`, row by row.
template <class Pixel, bool kCareful>
VELTRA_FORCE_INLINE void AddRows(const PF_EffectWorld& image, const PF_LRect& rect,
                                 PixelSum<Pixel, kCareful>& sum) {
  // A sum of our own stays in registers: for all the compiler knows, the pixels might lie in the
  // other one.
  PixelSum<Pixel, kCareful> rows = sum;
  for (A_long y = rect.top; y < rect.bottom; ++y) {
    const auto* row = RowOf<const Pixel>(image, y);
    rows.AddRun(row + rect.left, row + rect.right);
  }
  sum = rows;
}

/// Sums of an image of any depth.
class AreaSumsBase {
 public:
  AreaSumsBase() = default;
  virtual ~AreaSumsBase() = default;
  AreaSumsBase(const AreaSumsBase&) = delete;
  AreaSumsBase& operator=(const AreaSumsBase&) = delete;
};

/// Sums of blocks and of large blocks, 4 x 4 of those: 8 and 32 pixels wide in an 8 or 16 bit
/// image, whose memory they take a sixteenth of, and 4 and 16 in a float one, an eighth, since
/// every pixel beside the blocks of a box costs the more to fetch there. Blocks rather than running
/// sums: those would need as much again as the image, lose small floats beside large ones, and
/// carry one infinite pixel into every later box. With two sizes of block the cost of a box grows
/// with its edge, not with its area. Boxes side by side that do not overlap need every pixel once,
/// and then making sums first is the longer way. So a tile as high as a large block is summed, by
/// whichever thread asks, when its pixels have been asked for a second time over; until then they
/// are added themselves. The order of every addition is the same either way, so the result does not
/// depend on who came when.
template <class Pixel>
class AreaSums : public AreaSumsBase {
 public:
  static constexpr A_long kBlock = std::is_same_v<Pixel, PF_PixelFloat> ? 4 : 8;
  static constexpr A_long kLargeBlock = 4;  ///< in blocks
  /// Below this many blocks a side a box is as quickly added pixel by pixel, from memory that the
  /// blocks would have to read as well.
  static constexpr A_long kLeastBlocks = 3;
  static constexpr A_long kBand = kBlock * kLargeBlock;
  static constexpr A_long kTile = 512 / kBlock;  ///< columns of a tile, in blocks

  explicit AreaSums(const PF_EffectWorld& image)
      : image_(image),
        columns_(image.width / kBlock),
        rows_(image.height / kBlock),
        largeColumns_(columns_ / kLargeBlock),
        tileColumns_((columns_ + kTile - 1) / kTile),
        tiles_(static_cast<std::size_t>((image.height + kBand - 1) / kBand) *
               static_cast<std::size_t>(tileColumns_)),
        blocks_(AllocateSums(columns_, rows_)),
        largeBlocks_(AllocateSums(largeColumns_, rows_ / kLargeBlock)) {}

  /// False when there was no memory for the sums; the image is then summed pixel by pixel.
  bool Usable() const { return blocks_ != nullptr && largeBlocks_ != nullptr; }

  /// The blocks that lie wholly in `rect`; too few to be worth it count as none.
  static PF_LRect WholeBlocks(const PF_LRect& rect) {
    return WholeCells(rect, kBlock, kLeastBlocks);
  }

  /// Whether all tiles under the blocks of `rect` have their sums, after making those that have
  /// been asked for often enough.
  bool MakeReady(const PF_LRect& rect) {
    bool ready = true;
    for (A_long band = rect.top / kLargeBlock; band <= (rect.bottom - 1) / kLargeBlock; ++band) {
      for (A_long column = rect.left / kTile; column <= (rect.right - 1) / kTile; ++column) {
        Tile& tile =
            tiles_[static_cast<std::size_t>(band) * static_cast<std::size_t>(tileColumns_) +
                   static_cast<std::size_t>(column)];
        if (tile.ready.load(std::memory_order_acquire)) {
          continue;
        }
        const PF_LRect blocks = BlocksOf(band, column);
        const PF_LRect asked = Intersection(rect, blocks);
        const std::uint32_t now = CountOf(asked);
        if (tile.used.fetch_add(now, std::memory_order_relaxed) < kEnough * CountOf(blocks)) {
          ready = false;
        } else {
          BuildTile(blocks, tile);
        }
      }
    }
    return ready;
  }

  /// Adds the blocks of `rect`, counted in blocks, from their sums or from their pixels, with the
  /// same bits; `ready` is what MakeReady said of them.
  template <bool kCareful>
  void AddBlocks(const PF_LRect& rect, bool ready, PixelSum<Pixel, kCareful>& sum) const {
    if (ready) {
      AddCells(
          rect, [this](A_long column, A_long row) { return *Block(column, row); },
          [this](A_long column, A_long row) { return *LargeBlock(column, row); }, sum);
      return;
    }
    const auto block = [this](A_long column, A_long row) {
      return SumOfPixelsAs<kCareful>(column, row);
    };
    AddCells(
        rect, block, [block](A_long column, A_long row) { return SumOfBlocks(column, row, block); },
        sum);
  }

  /// Splits `rect` into the cells of `step` units in `inner`, which is counted in cells and may be
  /// empty, and the rectangles of units around them: each is passed on as it is.
  template <class Units, class Cells>
  static VELTRA_FORCE_INLINE void AddFramed(const PF_LRect& rect, A_long step,
                                            const PF_LRect& inner, Units units, Cells cells) {
    if (IsEmpty(inner)) {
      units(rect);
      return;
    }
    const PF_LRect framed{inner.left * step, inner.top * step, inner.right * step,
                          inner.bottom * step};
    units({rect.left, rect.top, rect.right, framed.top});
    units({rect.left, framed.top, framed.left, framed.bottom});
    units({framed.right, framed.top, rect.right, framed.bottom});
    units({rect.left, framed.bottom, rect.right, rect.bottom});
    cells(inner);
  }

 private:
  using Sum = BlockSum<Pixel>;

  /// The cells of `step` units that lie wholly in `rect`; none where fewer than `least` a side.
  static PF_LRect WholeCells(const PF_LRect& rect, A_long step, A_long least) {
    const PF_LRect cells{(rect.left + step - 1) / step, (rect.top + step - 1) / step,
                         rect.right / step, rect.bottom / step};
    const bool enough = cells.right - cells.left >= least && cells.bottom - cells.top >= least;
    return enough ? cells : PF_LRect{0, 0, 0, 0};
  }

  struct FreeSums {
    void operator()(Sum* sums) const { ::operator delete (sums, std::align_val_t{alignof(Sum)}); }
  };
  using SumArray = std::unique_ptr<Sum, FreeSums>;

  static SumArray AllocateSums(A_long columns, A_long rows) {
    const std::size_t count = static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows);
    // Left unwritten: pages that no tile needs never become real memory.
    const std::size_t bytes = std::max<std::size_t>(count, 1) * sizeof(Sum);
    void* block = ::operator new (bytes, std::align_val_t{alignof(Sum)}, std::nothrow);
    if (block != nullptr) {
      PreferLargePages(block, bytes);
    }
    return SumArray(static_cast<Sum*>(block));
  }

  Sum* Block(A_long column, A_long row) const {
    return blocks_.get() + static_cast<std::ptrdiff_t>(row) * columns_ + column;
  }
  Sum* LargeBlock(A_long column, A_long row) const {
    return largeBlocks_.get() + static_cast<std::ptrdiff_t>(row) * largeColumns_ + column;
  }

  /// Blocks of `rect`, by whatever gives the sum of one or of a large one.
  template <class BlockAt, class LargeBlockAt, bool kCareful>
  static void AddCells(const PF_LRect& rect, BlockAt blockAt, LargeBlockAt largeBlockAt,
                       PixelSum<Pixel, kCareful>& sum) {
    const auto add = [&sum](const PF_LRect& cells, auto at) {
      for (A_long row = cells.top; row < cells.bottom; ++row) {
        for (A_long column = cells.left; column < cells.right; ++column) {
          sum.AddBlock(at(column, row));
        }
      }
    };
    AddFramed(
        rect, kLargeBlock, WholeCells(rect, kLargeBlock, 2),
        [&](const PF_LRect& blocks) { add(blocks, blockAt); },
        [&](const PF_LRect& largeBlocks) { add(largeBlocks, largeBlockAt); });
  }

  template <bool kCareful>
  Sum SumOfPixelsAs(A_long column, A_long row) const {
    PixelSum<Pixel, kCareful> sum;
    for (A_long y = row * kBlock; y < (row + 1) * kBlock; ++y) {
      const auto* pixels = RowOf<const Pixel>(image_, y) + column * kBlock;
      sum.AddRun(pixels, pixels + kBlock);
    }
    return sum.ToBlock();
  }
  /// As it is kept, for careful sums as well as for others.
  Sum SumOfPixels(A_long column, A_long row) const {
    const Sum sum = SumOfPixelsAs<false>(column, row);
    if constexpr (std::is_same_v<Pixel, PF_PixelFloat>) {
      if (AnyNan(sum.lanes)) {
        return SumOfPixelsAs<true>(column, row);
      }
    }
    return sum;
  }

  /// Of the large block, counted in large blocks.
  template <class BlockAt>
  static Sum SumOfBlocks(A_long column, A_long row, BlockAt blockAt) {
    PixelSum<Pixel> sum;
    for (A_long y = row * kLargeBlock; y < (row + 1) * kLargeBlock; ++y) {
      for (A_long x = column * kLargeBlock; x < (column + 1) * kLargeBlock; ++x) {
        sum.AddBlock(blockAt(x, y));
      }
    }
    return sum.ToBlock();
  }

  struct Tile {
    std::atomic<bool> ready{false};
    std::atomic<std::uint32_t> used{0};  ///< blocks added from their pixels
  };

  PF_LRect BlocksOf(A_long band, A_long tileColumn) const {
    return {tileColumn * kTile, band * kLargeBlock, std::min((tileColumn + 1) * kTile, columns_),
            std::min((band + 1) * kLargeBlock, rows_)};
  }
  static std::uint32_t CountOf(const PF_LRect& rect) {
    return static_cast<std::uint32_t>((rect.right - rect.left) * (rect.bottom - rect.top));
  }

  VELTRA_NOINLINE void BuildTile(const PF_LRect& blocks, Tile& tile) {
    // A few locks, so that threads on different tiles do not wait for each other.
    const std::lock_guard lock(locks_[static_cast<std::size_t>(&tile - tiles_.data()) % kLocks]);
    if (tile.ready.load(std::memory_order_relaxed)) {
      return;
    }
    for (A_long row = blocks.top; row < blocks.bottom; ++row) {
      for (A_long column = blocks.left; column < blocks.right; ++column) {
        new (Block(column, row)) Sum(SumOfPixels(column, row));
      }
    }
    const PF_LRect large{blocks.left / kLargeBlock, blocks.top / kLargeBlock,
                         blocks.right / kLargeBlock, blocks.bottom / kLargeBlock};
    for (A_long row = large.top; row < large.bottom; ++row) {
      for (A_long column = large.left; column < large.right; ++column) {
        new (LargeBlock(column, row))
            Sum(SumOfBlocks(column, row, [this](A_long x, A_long y) { return *Block(x, y); }));
      }
    }
    tile.ready.store(true, std::memory_order_release);
  }

  /// How often a tile's blocks are added from their pixels on average before their sums are made.
  static constexpr std::uint32_t kEnough = 2;
  static constexpr std::size_t kLocks = 16;

  PF_EffectWorld image_;
  A_long columns_;
  A_long rows_;
  A_long largeColumns_;
  A_long tileColumns_;
  std::vector<Tile> tiles_;
  SumArray blocks_;
  SumArray largeBlocks_;
  std::mutex locks_[kLocks];
};

/// Adds every pixel of `rect`, which lies inside the image; an empty one adds nothing.
template <class Pixel, bool kCareful>
VELTRA_FORCE_INLINE void AddRectangle(const PF_EffectWorld& image, AreaSums<Pixel>* sums,
                                      const PF_LRect& rect, PixelSum<Pixel, kCareful>& sum) {
  if (IsEmpty(rect)) {
    return;
  }
  const PF_LRect blocks = sums != nullptr ? AreaSums<Pixel>::WholeBlocks(rect) : PF_LRect{};
  const bool ready = !IsEmpty(blocks) && sums->MakeReady(blocks);
  // Where the order of additions is free, pixels are added row by row.
  const bool framed = ready || (!IsEmpty(blocks) && !PixelSum<Pixel>::kAnyOrder);
  AreaSums<Pixel>::AddFramed(
      rect, AreaSums<Pixel>::kBlock, framed ? blocks : PF_LRect{},
      [&](const PF_LRect& pixels) { AddRows(image, pixels, sum); },
      [&](const PF_LRect& inner) { sums->AddBlocks(inner, ready, sum); });
}

/// Sums of an image of any depth; null when there is no memory for them.
std::unique_ptr<AreaSumsBase> MakeAreaSums(const PF_EffectWorld& image, Depth depth);

}  // namespace veltra::host
