// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Tells people or programs how far a render is.
#pragma once

#include <chrono>
#include <mutex>
#include <string>

#include "cli/settings/options.h"

namespace veltra::cli {

/// Counts whole frames, and rows of the one frame of a still. Safe on several threads.
///  - bar: one line of the terminal, on standard error, redrawn ten times a second
///  - lines: a line per ten percent, on standard error
///  - json: an object per line, on standard output
class Progress {
 public:
  Progress(ProgressStyle style, int totalFrames);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// How far the only frame is, 0 to 1; does nothing in a sequence.
  void Within(double fraction);
  /// One frame is written.
  void FrameDone(int frame, const std::string& path);
  /// The frames that are left out count as done, but not for the rate.
  void Skip(int frames);
  /// Everything is done; says so. `what` is the file, the pattern or the video.
  void Finish(const std::string& what);
  /// A line for people that does not disturb the bar; left out by --quiet.
  void Warn(const std::string& line);

 private:
  using Clock = std::chrono::steady_clock;

  double Seconds() const;
  void DrawBar(bool last);
  void ClearBar();
  void PrintLine();
  void PrintJson(const char* event, int frame, const std::string& path);

  std::mutex mutex_;
  ProgressStyle style_;
  int total_;
  int done_ = 0;
  int skipped_ = 0;
  double within_ = 0;
  int lastTenth_ = 0;
  bool barShown_ = false;
  Clock::time_point start_ = Clock::now();
  Clock::time_point lastDraw_ = start_;
};

/// "0.35 s", "12 s", "3:20", "1:02:03".
std::string DurationText(double seconds);

}  // namespace veltra::cli
