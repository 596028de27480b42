// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Mutates PNG files so that their checksums hold: without, libpng would look no further.

#include <cstddef>
#include <cstdint>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace veltra::fuzz {
namespace {

constexpr std::size_t kSignature = 8;
constexpr std::size_t kAroundData = 12;  ///< length, kind and checksum of a chunk

/// The checksum of PNG and zlib, bit by bit.
std::uint32_t Crc32(const std::uint8_t* data, std::size_t size) {
  std::uint32_t crc = 0xFFFFFFFFU;
  for (std::size_t i = 0; i < size; ++i) {
    crc ^= data[i];
    for (int bit = 0; bit < 8; ++bit) {
      crc = (crc >> 1) ^ ((crc & 1U) != 0 ? 0xEDB88320U : 0U);
    }
  }
  return ~crc;
}

std::uint32_t Load(const std::uint8_t* data) {
  return std::uint32_t{data[0]} << 24 | std::uint32_t{data[1]} << 16 | std::uint32_t{data[2]} << 8 |
         data[3];
}

void Store(std::uint8_t* data, std::uint32_t value) {
  for (int i = 0; i < 4; ++i) {
    data[i] = static_cast<std::uint8_t>(value >> (24 - 8 * i));
  }
}

void FixChecksums(std::uint8_t* data, std::size_t size) {
  std::size_t at = kSignature;
  while (at + kAroundData <= size) {
    const std::size_t length = Load(data + at);
    if (length > size - at - kAroundData) {
      return;
    }
    Store(data + at + 8 + length, Crc32(data + at + 4, length + 4));
    at += kAroundData + length;
  }
}

}  // namespace
}  // namespace veltra::fuzz

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned seed) {
  const std::size_t newSize = LLVMFuzzerMutate(data, size, maxSize);
  // Now and then a wrong checksum is what is wanted.
  if (seed % 8 != 0) {
    veltra::fuzz::FixChecksums(data, newSize);
  }
  return newSize;
}
