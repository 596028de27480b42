// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Calls of ffmpeg and ffprobe.
#include "cli/video/ffmpeg.h"

#include <array>

#include "base/error.h"
#include "base/text.h"

namespace veltra::cli {

std::unique_ptr<Process> StartFfmpeg(const std::vector<std::string>& arguments,
                                     Process::Pipe pipe) {
  try {
    return std::make_unique<Process>(arguments, pipe);
  } catch (const ProgramNotFound& error) {
    throw RenderError(Text(error.what(), " (videos need ffmpeg)"));
  }
}

std::string ComplaintIn(std::string_view errors) {
  std::string text(errors.substr(0, errors.find('\n')));
  // ffmpeg puts "[part @ 0x5581] " before what it says.
  const std::size_t part = text.find("] ");
  if (text.starts_with('[') && part != std::string::npos) {
    text.erase(0, part + 2);
  }
  while (!text.empty() && (text.back() == ' ' || text.back() == '.')) {
    text.pop_back();
  }
  return text;
}

std::string FfmpegOutput(const std::vector<std::string>& arguments, const std::string& path) {
  const std::unique_ptr<Process> process = StartFfmpeg(arguments, Process::Pipe::kFromChild);
  std::string text;
  std::array<char, 4096> block{};
  std::size_t got = 0;
  while ((got = process->Read(block.data(), block.size())) > 0) {
    text.append(block.data(), got);
  }
  const ProcessEnd end = process->Finish();
  if (!end.Succeeded()) {
    const std::string complaint = ComplaintIn(end.output);
    throw RenderError(
        Text(path, ": not a readable video", complaint.empty() ? "" : Text(" (", complaint, ")")));
  }
  return text;
}

std::string FileUrl(const std::string& path) {
  return Text("file:", path);
}

}  // namespace veltra::cli
