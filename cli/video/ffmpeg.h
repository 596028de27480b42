// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What every call of ffmpeg and ffprobe has in common.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "system/process.h"

namespace veltra::cli {

/// A command and its arguments.
using Words = std::vector<std::string>;

/// How ffmpeg's scaler converts between pixel formats: exactly, chroma in full.
inline constexpr const char* kConversion = "accurate_rnd+full_chroma_int+full_chroma_inp";

inline void Append(Words& words, const Words& more) {
  words.insert(words.end(), more.begin(), more.end());
}

/// Starts ffmpeg or ffprobe, `arguments[0]`. Throws RenderError that names the package where it is
/// not installed.
std::unique_ptr<Process> StartFfmpeg(const Words& arguments, Process::Pipe pipe);

/// The first line of what ffmpeg wrote to its standard error, without the part of ffmpeg that said
/// it; empty where it wrote nothing.
std::string ComplaintIn(std::string_view errors);

/// Runs ffprobe or ffmpeg to its end and returns what it printed. Throws RenderError
/// "PATH: not a readable video (reason)" when it fails.
std::string FfmpegOutput(const Words& arguments, const std::string& path);

/// So that no name is taken for an option or another protocol.
std::string FileUrl(const std::string& path);

}  // namespace veltra::cli
