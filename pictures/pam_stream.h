// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Raw frames one after the other, as programs hand them each other through pipes.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "system/files.h"

namespace veltra::pictures {

/// PAM frames that follow each other in a pipe. For one thread at a time.
class PamStream {
 public:
  /// "-" is standard input. Throws RenderError with the reason.
  explicit PamStream(const std::string& path);

  /// The bytes of the next frame, its header with them; none at the end. Throws RenderError for
  /// what is no frame or is cut short, and Interrupted.
  std::vector<std::byte> Next();

 private:
  /// Reads until there are so many bytes or the stream ends.
  void FillTo(std::size_t size);

  File file_;
  std::vector<std::byte> bytes_;  ///< read, but not given
  bool ended_ = false;
};

}  // namespace veltra::pictures
