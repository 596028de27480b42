// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What a pixel leaves for the next one of its row.
//
// Two neighbours are mapped in the two lanes of a register nearly as quickly as one, but the host
// asks for one pixel at a time. So every even column maps both and leaves a note, and the odd one
// after it only has to sample.
#pragma once

#include <atomic>
#include <bit>
#include <cstdint>

#include "host_api/types.h"

namespace veltra {

/// A position in the layer as the host's samplers take it, and how much of the sample shows.
struct SamplePoint {
  PF_Fixed x;
  PF_Fixed y;
  float coverage;
};

/// What a note says of a pixel.
enum class Noted { kUnknown, kOffStrip, kOnStrip };

/// One row's note, on a cache line of its own since other rows belong to other threads. Threads
/// that share a row may overwrite each other's notes at any moment, without locks: each word holds
/// the column that it is for, so one that is not meant shows itself, and all that write a column
/// write the same. Only odd columns have notes; the empty words are for an even one.
class alignas(64) NeighbourNote {
 public:
  /// For columns of less than 2^30 to either side.
  void Leave(A_long column, const SamplePoint& point) {
    const std::uint64_t mark = MarkOf(column, Noted::kOnStrip);
    Write(0, mark, static_cast<std::uint32_t>(point.x));
    Write(1, mark, static_cast<std::uint32_t>(point.y));
    Write(2, mark, std::bit_cast<std::uint32_t>(point.coverage));
  }
  void LeaveOffStrip(A_long column) { Write(0, MarkOf(column, Noted::kOffStrip), 0); }

  /// Fills in the point of a pixel on the strip.
  Noted Take(A_long column, SamplePoint& point) const {
    const std::uint64_t first = Read(0);
    if (first == MarkOf(column, Noted::kOffStrip)) {
      return Noted::kOffStrip;
    }
    const std::uint64_t second = Read(1);
    const std::uint64_t third = Read(2);
    const std::uint64_t mark = MarkOf(column, Noted::kOnStrip);
    if ((((first ^ mark) | (second ^ mark) | (third ^ mark)) >> 32) != 0) {
      return Noted::kUnknown;
    }
    point = {static_cast<PF_Fixed>(static_cast<std::uint32_t>(first)),
             static_cast<PF_Fixed>(static_cast<std::uint32_t>(second)),
             std::bit_cast<float>(static_cast<std::uint32_t>(third))};
    return Noted::kOnStrip;
  }

 private:
  /// The column, whose two highest bits are alike until one of them is turned.
  static std::uint64_t MarkOf(A_long column, Noted noted) {
    const std::uint32_t turned = noted == Noted::kOnStrip ? 0x80000000U : 0;
    return std::uint64_t{static_cast<std::uint32_t>(column) ^ turned} << 32;
  }
  void Write(int word, std::uint64_t mark, std::uint32_t value) {
    words_[word].store(mark | value, std::memory_order_relaxed);
  }
  std::uint64_t Read(int word) const { return words_[word].load(std::memory_order_relaxed); }

  std::atomic<std::uint64_t> words_[3]{};
};

}  // namespace veltra
