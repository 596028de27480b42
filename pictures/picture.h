// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Image files of every format.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "pictures/bytes/byte_sink.h"
#include "pictures/bytes/byte_source.h"
#include "pictures/bytes/file_source.h"
#include "pictures/formats/picture_types.h"

namespace veltra::pictures {

/// "PNG", "TIFF", "JPEG", "OpenEXR", "Radiance HDR", "WebP" or "PAM".
std::string_view FormatName(PictureFormat format);

/// "PNG, TIFF, JPEG, EXR, HDR, WebP or PAM".
std::string ReadableFormats();

/// Recognises the format by the first bytes and reads the header; sizes are checked before
/// memory is taken. The source must outlive the reader. Throws RenderError with the reason,
/// without the file's name.
std::unique_ptr<PictureReader> OpenPicture(const ByteSource& source,
                                           const PictureSelection& selection = {});

/// How many threads the libraries behind the formats may have in all, where they start their own;
/// 1 until this is called. Counts for pictures opened and created later, and only once.
void SetPictureThreads(int threads);

/// Starts a picture of width x height. The sink must outlive the writer. Throws RenderError, also
/// for a format that is only read.
std::unique_ptr<PictureWriter> CreatePicture(ByteSink& sink, int width, int height,
                                             const PictureOptions& options);

/// The format a file name asks for by its ending. Throws UsageError when it is none that can be
/// written.
PictureFormat WritableFormatOf(const std::string& path);

/// Whether the format keeps colour multiplied by alpha.
bool IsPremultiplied(PictureFormat format);

/// Whether the format can keep alpha.
bool HasAlpha(PictureFormat format);

/// Refuses a compression that the format does not know. Throws UsageError.
void CheckCompression(PictureFormat format, const std::string& compression);

/// The stored types that a format can be written in, the preferred one first; none for a format
/// that is only read.
std::vector<SampleType> WritableTypes(PictureFormat format);

/// "8", "16", "half" or "float".
const char* SampleTypeName(SampleType type);

}  // namespace veltra::pictures
