// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// An open file that changes hands, the same on every system.
#include "system/files.h"

#include <utility>

namespace veltra {

File::~File() {
  Close();
}

File::File(File&& other) noexcept
    : handle_(std::exchange(other.handle_, -1)),
      owned_(other.owned_),
      kind_(other.kind_),
      size_(other.size_) {}

File& File::operator=(File&& other) noexcept {
  if (this != &other) {
    Close();
    handle_ = std::exchange(other.handle_, -1);
    owned_ = other.owned_;
    kind_ = other.kind_;
    size_ = other.size_;
  }
  return *this;
}

}  // namespace veltra
