// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Moves pictures between files and worlds without a second copy of either.
#include "pictures/picture_world.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <utility>
#include <vector>

#include "base/error.h"
#include "pictures/picture_rows.h"
#include "system/interrupt.h"

namespace veltra::pictures {
namespace {

using host::Depth;
using host::ThreadPool;
using host::World;

// Small enough to stay in a core's cache between reading and converting.
constexpr std::size_t kBlockBytes = std::size_t{1} << 17;

int BlockRows(const PictureReader& reader) {
  const auto rows = static_cast<int>(
      std::max<std::size_t>(1, kBlockBytes / std::max<std::size_t>(1, reader.Info().RowBytes())));
  return std::max(reader.PreferredRows(), reader.AnyOrder() ? rows : 1);
}

/// Calls piece(0) .. piece(count - 1) on the pool, or here where there is none.
template <class Piece>
void ForEach(ThreadPool* pool, int count, const Piece& piece) {
  if (pool != nullptr && count > 1) {
    pool->ForEach(count, piece);
    return;
  }
  for (int i = 0; i < count; ++i) {
    piece(i);
  }
}

/// Notices a picture whose alpha is zero everywhere although it shows something.
class HiddenPicture {
 public:
  explicit HiddenPicture(const PictureInfo& info)
      : info_(info), open_(info.premultiplied && info.rowType == SampleType::kFloat) {}

  /// Safe on several threads at once.
  void Look(const std::byte* row) {
    if (!open_.load(std::memory_order_relaxed)) {
      return;
    }
    const auto* sample = reinterpret_cast<const float*>(row);
    const int colours = info_.channels - 1;
    for (int x = 0; x < info_.width; ++x, sample += info_.channels) {
      if (sample[colours] != 0.0F) {
        open_ = false;
        return;
      }
      if (std::any_of(sample, sample + colours, [](float colour) { return colour != 0.0F; })) {
        lit_ = true;
      }
    }
  }

  bool Found() const { return open_ && lit_; }

 private:
  const PictureInfo& info_;
  std::atomic<bool> open_;
  std::atomic<bool> lit_{false};
};

/// Rows in any order: every block is read and converted by whichever thread is free.
void ReadBlocks(PictureReader& reader, World& world, ThreadPool* pool, int blockRows) {
  const PictureInfo& info = reader.Info();
  const int blocks = (info.height + blockRows - 1) / blockRows;
  std::mutex mutex;
  std::exception_ptr failure;
  ForEach(pool, blocks, [&](int block) {
    try {
      ThrowIfInterrupted();
      const int first = block * blockRows;
      const int count = std::min(blockRows, info.height - first);
      std::vector<std::byte> rows(info.RowBytes() * static_cast<std::size_t>(count));
      reader.ReadRows(first, count, rows.data());
      for (int row = 0; row < count; ++row) {
        UnpackRow(info, rows.data() + static_cast<std::size_t>(row) * info.RowBytes(),
                  world.PixelDepth(), world.RowAddress(first + row));
      }
    } catch (...) {
      const std::lock_guard lock(mutex);
      failure = std::current_exception();
    }
  });
  if (failure != nullptr) {
    std::rethrow_exception(failure);
  }
}

/// Rows of a world as a file has them, a few at a time.
class PackedBlock {
 public:
  PackedBlock(const World& world, const PackedRow& format, int mostRows)
      : world_(&world),
        format_(format),
        rowBytes_(format.PixelBytes() * static_cast<std::size_t>(world.Width())),
        bytes_(rowBytes_ * static_cast<std::size_t>(mostRows)) {}

  int Count() const { return count_; }
  std::byte* Bytes() { return bytes_.data(); }

  void Pack(int first, int count, ThreadPool* pool) {
    count_ = count;
    ForEach(pool, count, [&](int row) {
      PackRow(world_->PixelDepth(), world_->RowAddress(first + row), world_->Width(), format_,
              bytes_.data() + static_cast<std::size_t>(row) * rowBytes_);
    });
  }

 private:
  const World* world_;
  PackedRow format_;
  std::size_t rowBytes_;
  std::vector<std::byte> bytes_;
  int count_ = 0;
};

/// Packs the next rows while the ones before them are written.
void WriteBlocks(const World& world, const PackedRow& format, PictureWriter& writer,
                 ThreadPool* pool) {
  const int height = world.Height();
  const int blockRows = std::min(writer.PreferredRows(), height);
  PackedBlock written(world, format, blockRows);
  PackedBlock packed(world, format, blockRows);
  // The integer conversions are quicker than waking a thread.
  ThreadPool* const packers =
      format.stored == SampleType::kHalf || format.premultiplied ? pool : nullptr;
  packed.Pack(0, blockRows, packers);
  for (int first = blockRows; packed.Count() != 0; first += blockRows) {
    ThrowIfInterrupted();
    std::swap(written, packed);
    std::exception_ptr failure;
    ForEach(pool, 2, [&](int piece) {
      if (piece == 1) {
        packed.Pack(first, std::clamp(height - first, 0, blockRows), packers);
        return;
      }
      try {
        writer.WriteRows(written.Count(), written.Bytes());
      } catch (...) {
        failure = std::current_exception();
      }
    });
    if (failure != nullptr) {
      std::rethrow_exception(failure);
    }
  }
}

}  // namespace

Depth DepthOf(const PictureInfo& info) {
  return info.stored == SampleType::kUint8    ? Depth::k8
         : info.stored == SampleType::kUint16 ? Depth::k16
                                              : Depth::kFloat;
}

World ReadWorld(PictureReader& reader, Depth depth, ThreadPool* pool) {
  const PictureInfo& info = reader.Info();
  Expected<World> made = World::Create(info.width, info.height, depth);
  if (!made) {
    throw RenderError(made.ErrorText());
  }
  World world = std::move(*made);
  const int blockRows = BlockRows(reader);
  if (reader.AnyOrder()) {
    ReadBlocks(reader, world, pool, blockRows);
    return world;
  }
  HiddenPicture hidden(info);
  std::vector<std::byte> rows(info.RowBytes() *
                              static_cast<std::size_t>(std::min(blockRows, info.height)));
  for (int first = 0; first < info.height; first += blockRows) {
    ThrowIfInterrupted();
    const int count = std::min(blockRows, info.height - first);
    reader.ReadRows(first, count, rows.data());
    ForEach(pool, blockRows > 1 ? count : 1, [&](int row) {
      const std::byte* bytes = rows.data() + static_cast<std::size_t>(row) * info.RowBytes();
      hidden.Look(bytes);
      UnpackRow(info, bytes, depth, world.RowAddress(first + row));
    });
  }
  if (hidden.Found()) {
    reader.Warn("alpha is 0 everywhere; the colours are kept as they are, but nothing covers");
  }
  return world;
}

bool HasLightWithoutCoverage(const World& world) {
  if (world.PixelDepth() != host::Depth::kFloat) {
    return false;
  }
  for (A_long y = 0; y < world.Height(); ++y) {
    const auto row = world.Row<PF_PixelFloat>(y);
    if (std::any_of(row.begin(), row.end(), IsOwnLight)) {
      return true;
    }
  }
  return false;
}

void WriteWorld(const World& world, ByteSink& sink, const PictureOptions& options,
                ThreadPool* pool) {
  PictureOptions withPool = options;
  withPool.pool = pool;
  const auto writer = CreatePicture(sink, world.Width(), world.Height(), withPool);
  const PackedRow format{options.stored, options.alpha, IsPremultiplied(options.format)};
  WriteBlocks(world, format, *writer, pool);
  writer->Finish();
  sink.ThrowIfFailed();
}

}  // namespace veltra::pictures
