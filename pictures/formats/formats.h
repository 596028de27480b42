// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The readers and writers of each format, for the table, and what they share.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "pictures/bytes/byte_sink.h"
#include "pictures/bytes/byte_source.h"
#include "pictures/formats/picture_types.h"

namespace veltra::pictures {

// Each reads the header of a picture whose first bytes are the format's, and checks sizes before
// it takes memory. Throws RenderError with the reason, without the file's name.
std::unique_ptr<PictureReader> OpenPng(const ByteSource& source);
std::unique_ptr<PictureReader> OpenTiff(const ByteSource& source);
std::unique_ptr<PictureReader> OpenJpeg(const ByteSource& source);
std::unique_ptr<PictureReader> OpenExr(const ByteSource& source, const PictureSelection& selection);
std::unique_ptr<PictureReader> OpenHdr(const ByteSource& source);
std::unique_ptr<PictureReader> OpenWebp(const ByteSource& source);
std::unique_ptr<PictureReader> OpenPam(const ByteSource& source);

// Each writes the header of a picture of width x height. Throws RenderError with the reason.
std::unique_ptr<PictureWriter> CreatePng(ByteSink& sink, int width, int height,
                                         const PictureOptions& options);
std::unique_ptr<PictureWriter> CreateTiff(ByteSink& sink, int width, int height,
                                          const PictureOptions& options);
std::unique_ptr<PictureWriter> CreateJpeg(ByteSink& sink, int width, int height,
                                          const PictureOptions& options);
std::unique_ptr<PictureWriter> CreateExr(ByteSink& sink, int width, int height,
                                         const PictureOptions& options);
std::unique_ptr<PictureWriter> CreatePam(ByteSink& sink, int width, int height,
                                         const PictureOptions& options);

/// How many threads OpenEXR may start for files that are opened from now on.
void SetExrThreads(int threads);

/// Throws RenderError for a picture without pixels or larger than the host's worlds can be.
void CheckPictureSize(std::int64_t width, std::int64_t height);

/// The failure of a picture that ends early or is damaged; `detail` may be empty.
[[noreturn]] void ThrowDamaged(const char* format, const std::string& detail);

}  // namespace veltra::pictures
