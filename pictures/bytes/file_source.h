// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Files and pipes as sources of bytes.
#pragma once

#include <memory>
#include <string>

#include "pictures/bytes/byte_source.h"

namespace veltra::pictures {

/// Opens a file for reading; "-" is standard input. What is not a regular file (a pipe, a device)
/// is read when its bytes are first asked for, and kept. Throws RenderError with the reason,
/// without the name.
std::unique_ptr<ByteSource> OpenFileSource(const std::string& path);

}  // namespace veltra::pictures
