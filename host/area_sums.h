// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Sums over blocks of an image, made once, so that the average of a large box costs little.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <new>
#include <vector>

#include "host/large_pages.h"
#include "host/pixel_sum.h"
#include "host/world_view.h"
#include "numerics/compiler.h"

namespace veltra::host {

/// Sums of an image of any depth.
class AreaSumsBase {
 public:
  AreaSumsBase() = default;
  virtual ~AreaSumsBase() = default;
  AreaSumsBase(const AreaSumsBase&) = delete;
  AreaSumsBase& operator=(const AreaSumsBase&) = delete;
};

/// Sums of 8 x 8 and 32 x 32 blocks, a sixteenth of the memory of an 8 or 16 bit image and half
/// of that for a float one. Blocks rather than running sums: those would need as much again as the
/// image, lose small floats beside large ones, and carry one infinite pixel into every later
/// box. With two sizes of block the cost of a box grows with its edge, not with its area.
/// Tiles of 32 rows are summed when first asked for, by whichever thread asks, and are small enough
/// that the pixels around a box are still near when it adds those; the order of every addition is
/// fixed, so the result does not depend on who came first.
template <class Pixel>
class AreaSums : public AreaSumsBase {
 public:
  static constexpr A_long kBlock = 8;
  static constexpr A_long kLargeBlock = 4;  ///< in blocks
  /// Below this many blocks a side a box is as quickly added pixel by pixel, from memory that the
  /// blocks would have to read as well.
  static constexpr A_long kLeastBlocks = 3;
  static constexpr A_long kBand = kBlock * kLargeBlock;
  static constexpr A_long kTile = 64;  ///< columns of a tile, in blocks; whole large blocks

  explicit AreaSums(const PF_EffectWorld& image)
      : image_(image),
        columns_(image.width / kBlock),
        rows_(image.height / kBlock),
        largeColumns_(columns_ / kLargeBlock),
        tileColumns_((columns_ + kTile - 1) / kTile),
        tileReady_(static_cast<std::size_t>((image.height + kBand - 1) / kBand) *
                   static_cast<std::size_t>(tileColumns_)),
        blocks_(AllocateSums(columns_, rows_)),
        largeBlocks_(AllocateSums(largeColumns_, rows_ / kLargeBlock)) {}

  /// False when there was no memory for the sums; the image is then summed pixel by pixel.
  bool Usable() const { return blocks_ != nullptr && largeBlocks_ != nullptr; }

  /// Adds the blocks of `rect`, counted in blocks.
  void AddBlocks(const PF_LRect& rect, PixelSum<Pixel>& sum) {
    MakeReady(rect);
    AddFramed(
        rect, kLargeBlock, 2,
        [this, &sum](A_long row, A_long left, A_long right) {
          sum.AddRun(Block(left, row), Block(right, row));
        },
        [this, &sum](const PF_LRect& inner) {
          for (A_long row = inner.top; row < inner.bottom; ++row) {
            sum.AddRun(LargeBlock(inner.left, row), LargeBlock(inner.right, row));
          }
        });
  }

  /// Splits `rect` into whole cells of `step` units, passed as one rectangle in cells, and the
  /// runs of units around them. A rectangle less than `least` cells wide or high is all runs.
  template <class Run, class Cells>
  static void AddFramed(const PF_LRect& rect, A_long step, A_long least, Run run, Cells cells) {
    const PF_LRect inner{(rect.left + step - 1) / step, (rect.top + step - 1) / step,
                         rect.right / step, rect.bottom / step};
    const bool split = inner.right - inner.left >= least && inner.bottom - inner.top >= least;
    const A_long cellsTop = split ? inner.top * step : rect.bottom;
    const A_long cellsBottom = split ? inner.bottom * step : rect.bottom;
    for (A_long y = rect.top; y < cellsTop; ++y) {
      run(y, rect.left, rect.right);
    }
    for (A_long y = cellsTop; y < cellsBottom; ++y) {
      run(y, rect.left, inner.left * step);
      run(y, inner.right * step, rect.right);
    }
    for (A_long y = cellsBottom; y < rect.bottom; ++y) {
      run(y, rect.left, rect.right);
    }
    if (split) {
      cells(inner);
    }
  }

 private:
  using Sum = BlockSum<Pixel>;

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

  void MakeReady(const PF_LRect& rect) {
    for (A_long band = rect.top / kLargeBlock; band <= (rect.bottom - 1) / kLargeBlock; ++band) {
      for (A_long column = rect.left / kTile; column <= (rect.right - 1) / kTile; ++column) {
        const std::size_t tile =
            static_cast<std::size_t>(band) * static_cast<std::size_t>(tileColumns_) +
            static_cast<std::size_t>(column);
        if (!tileReady_[tile].load(std::memory_order_acquire)) {
          BuildTile(band, column, tile);
        }
      }
    }
  }

  VELTRA_NOINLINE void BuildTile(A_long band, A_long tileColumn, std::size_t tile) {
    // A few locks, so that threads on different tiles do not wait for each other.
    const std::lock_guard lock(locks_[tile % kLocks]);
    if (tileReady_[tile].load(std::memory_order_relaxed)) {
      return;
    }
    const PF_LRect blocks{tileColumn * kTile, band * kLargeBlock,
                          std::min((tileColumn + 1) * kTile, columns_),
                          std::min((band + 1) * kLargeBlock, rows_)};
    for (A_long row = blocks.top; row < blocks.bottom; ++row) {
      BuildBlocks(row, blocks.left, blocks.right);
    }
    if (blocks.bottom - blocks.top == kLargeBlock) {
      BuildLargeBlocks(band, blocks.left / kLargeBlock, blocks.right / kLargeBlock);
    }
    tileReady_[tile].store(true, std::memory_order_release);
  }

  void BuildBlocks(A_long row, A_long firstColumn, A_long lastColumn) {
    const Pixel* lines[kBlock];
    for (A_long i = 0; i < kBlock; ++i) {
      lines[i] = RowOf<const Pixel>(image_, row * kBlock + i) + firstColumn * kBlock;
    }
    for (A_long column = firstColumn; column < lastColumn; ++column) {
      PixelSum<Pixel> sum;
      for (const Pixel*& line : lines) {
        sum.AddRun(line, line + kBlock);
        line += kBlock;
      }
      new (Block(column, row)) Sum(sum.ToBlock());
    }
  }

  void BuildLargeBlocks(A_long band, A_long firstColumn, A_long lastColumn) {
    for (A_long column = firstColumn; column < lastColumn; ++column) {
      PixelSum<Pixel> sum;
      for (A_long i = 0; i < kLargeBlock; ++i) {
        const Sum* first = Block(column * kLargeBlock, band * kLargeBlock + i);
        sum.AddRun(first, first + kLargeBlock);
      }
      new (LargeBlock(column, band)) Sum(sum.ToBlock());
    }
  }

  static constexpr std::size_t kLocks = 16;

  PF_EffectWorld image_;
  A_long columns_;
  A_long rows_;
  A_long largeColumns_;
  A_long tileColumns_;
  std::vector<std::atomic<bool>> tileReady_;
  SumArray blocks_;
  SumArray largeBlocks_;
  std::mutex locks_[kLocks];
};

/// Adds every pixel of `rect`, which lies inside the image; an empty one adds nothing.
template <class Pixel>
void AddRectangle(const PF_EffectWorld& image, AreaSums<Pixel>* sums, const PF_LRect& rect,
                  PixelSum<Pixel>& sum) {
  if (IsEmpty(rect)) {
    return;
  }
  const auto run = [&image, &sum](A_long y, A_long left, A_long right) {
    const auto* row = RowOf<const Pixel>(image, y);
    sum.AddRun(row + left, row + right);
  };
  if (sums == nullptr) {
    for (A_long y = rect.top; y < rect.bottom; ++y) {
      run(y, rect.left, rect.right);
    }
    return;
  }
  AreaSums<Pixel>::AddFramed(
      rect, AreaSums<Pixel>::kBlock, AreaSums<Pixel>::kLeastBlocks, run,
      [sums, &sum](const PF_LRect& blocks) { sums->AddBlocks(blocks, sum); });
}

/// Sums of an image of any depth; null when there is no memory for them.
std::unique_ptr<AreaSumsBase> MakeAreaSums(const PF_EffectWorld& image, Depth depth);

}  // namespace veltra::host
