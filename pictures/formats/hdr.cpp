// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Radiance HDR files through the single-header reader, which this file alone compiles.
#ifndef __clang_analyzer__  // which would go through somebody else's code
#define STB_IMAGE_IMPLEMENTATION
#endif
#define STB_IMAGE_STATIC
#define STBI_ONLY_HDR
#define STBI_NO_STDIO
#define STBI_MAX_DIMENSIONS 30000
#include <stb/stb_image.h>

#include <algorithm>
#include <cstring>

#include "base/error.h"
#include "pictures/formats/formats.h"

namespace veltra::pictures {
namespace {

// Handed out past the end of the file. The reader would take missing bytes for zeros and wait for
// ever at a run of none; empty lines end its header, and ten pixels at a time its rows.
constexpr int kPadding = '\n';

/// The reader asks for more only when it needs more, so a file that ends early is noticed here.
struct HdrInput {
  const ByteSource* source = nullptr;
  std::uint64_t offset = 0;
  bool endedEarly = false;
};

int ReadInput(void* user, char* out, int size) {
  auto* input = static_cast<HdrInput*>(user);
  const std::size_t got =
      input->source->ReadAt(input->offset, out, static_cast<std::size_t>(std::max(size, 0)));
  if (got == 0) {
    input->endedEarly = true;
    std::memset(out, kPadding, static_cast<std::size_t>(std::max(size, 0)));
    return size;
  }
  input->offset += got;
  return static_cast<int>(got);
}

void SkipInput(void* user, int count) {
  auto* input = static_cast<HdrInput*>(user);
  input->offset += static_cast<std::uint64_t>(std::max(count, 0));
}

int InputEnded(void* user) {
  const auto* input = static_cast<HdrInput*>(user);
  return input->offset >= input->source->Size() ? 1 : 0;
}

/// The fewest bytes that can hold the pixels: plain ones, or four channels of the longest runs
/// behind each row's mark.
std::uint64_t LeastBytes(int width, int height) {
  constexpr std::uint64_t kLongestRun = 127;
  constexpr std::uint64_t kChannels = 4;
  constexpr int kLeastWidthOfRuns = 8;
  const auto columns = static_cast<std::uint64_t>(width);
  const std::uint64_t plain = columns * kChannels;
  const std::uint64_t runs =
      kChannels + kChannels * 2 * ((columns + kLongestRun - 1) / kLongestRun);
  return static_cast<std::uint64_t>(height) *
         (width < kLeastWidthOfRuns ? plain : std::min(plain, runs));
}

constexpr stbi_io_callbacks kCallbacks = {ReadInput, SkipInput, InputEnded};

struct FreePixels {
  void operator()(float* pixels) const { stbi_image_free(pixels); }
};

class HdrReader : public PictureReader {
 public:
  explicit HdrReader(const ByteSource& source) : source_(source) {
    HdrInput input{&source_, 0, false};
    int channels = 0;
    if (stbi_info_from_callbacks(&kCallbacks, &input, &info_.width, &info_.height, &channels) ==
        0) {
      ThrowDamaged("Radiance HDR", "no usable header");
    }
    CheckPictureSize(info_.width, info_.height);
    if (source_.Size() < LeastBytes(info_.width, info_.height)) {
      ThrowDamaged("Radiance HDR", "the file ends early");
    }
    info_.format = PictureFormat::kHdr;
    info_.channels = 3;
    info_.stored = SampleType::kFloat;
    info_.rowType = SampleType::kFloat;
  }

  void ReadRows(int first, int count, std::byte* out) override {
    Load();
    std::memcpy(out,
                reinterpret_cast<const std::byte*>(pixels_.get()) +
                    static_cast<std::size_t>(first) * info_.RowBytes(),
                static_cast<std::size_t>(count) * info_.RowBytes());
    if (first + count == info_.height) {
      pixels_.reset();
    }
  }

 private:
  void Load() {
    if (pixels_ != nullptr) {
      return;
    }
    HdrInput input{&source_, 0, false};
    int width = 0;
    int height = 0;
    int channels = 0;
    pixels_.reset(stbi_loadf_from_callbacks(&kCallbacks, &input, &width, &height, &channels, 3));
    if (pixels_ == nullptr) {
      const char* reason = stbi_failure_reason();
      ThrowDamaged("Radiance HDR", reason == nullptr ? "" : reason);
    }
    if (input.endedEarly || width != info_.width || height != info_.height) {
      ThrowDamaged("Radiance HDR", "the file ends early");
    }
  }

  const ByteSource& source_;
  std::unique_ptr<float, FreePixels> pixels_;
};

}  // namespace

std::unique_ptr<PictureReader> OpenHdr(const ByteSource& source) {
  return std::make_unique<HdrReader>(source);
}

}  // namespace veltra::pictures
