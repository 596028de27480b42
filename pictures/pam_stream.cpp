// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Cuts a stream into frames by what their headers tell.
#include "pictures/pam_stream.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

#include "base/error.h"
#include "base/text.h"
#include "pictures/formats/formats.h"
#include "pictures/formats/pam_header.h"

namespace veltra::pictures {
namespace {

std::string_view TextOf(const std::vector<std::byte>& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace

PamStream::PamStream(const std::string& path) {
  Expected<File> file = path == "-" ? Expected<File>(StandardInput()) : OpenForReading(path);
  if (!file) {
    throw RenderError(file.ErrorText());
  }
  file_ = std::move(*file);
}

void PamStream::FillTo(std::size_t size) {
  constexpr std::size_t kMostAtOnce = std::size_t{1} << 20;
  while (!ended_ && bytes_.size() < size) {
    const std::size_t before = bytes_.size();
    bytes_.resize(before + std::min(size - before, kMostAtOnce));
    std::size_t got = 0;
    try {
      got = file_.ReadNext(bytes_.data() + before, bytes_.size() - before);
    } catch (...) {
      bytes_.resize(before);
      throw;
    }
    bytes_.resize(before + got);
    ended_ = got == 0;
  }
}

std::vector<std::byte> PamStream::Next() {
  FillTo(kPamSignature.size());
  if (bytes_.empty()) {
    return {};
  }
  if (!TextOf(bytes_).starts_with(kPamSignature)) {
    throw RenderError(
        "not a PAM frame (expected raw frames, such as those of ffmpeg -f image2pipe -c:v pam -)");
  }
  // A little at a time, so that a frame is there as soon as its last byte is.
  constexpr std::size_t kStep = 64;
  std::optional<PamHeader> header = ReadPamHeader(TextOf(bytes_));
  while (!header) {
    if (ended_ || bytes_.size() >= kMostPamHeader) {
      ThrowDamaged("PAM", "no usable header");
    }
    FillTo(bytes_.size() + kStep);
    header = ReadPamHeader(TextOf(bytes_));
  }
  const auto size = static_cast<std::size_t>(header->FrameBytes());
  FillTo(size);
  if (bytes_.size() < size) {
    ThrowDamaged("PAM", "the stream ends within a frame");
  }
  std::vector<std::byte> rest(bytes_.begin() + static_cast<std::ptrdiff_t>(size), bytes_.end());
  bytes_.resize(size);
  return std::exchange(bytes_, std::move(rest));
}

}  // namespace veltra::pictures
