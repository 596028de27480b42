// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Tells people or programs how far a render is.
#pragma once

#include <chrono>
#include <mutex>
#include <optional>
#include <string>

#include "cli/settings/options.h"

namespace veltra::cli {

/// Counts whole frames, and rows of the one frame of a still. Safe on several threads.
///  - bar: one line of the terminal, on standard error, redrawn ten times a second
///  - lines: a line per ten percent, on standard error; per hundred frames without a known total
///  - json: an object per line, on standard output
/// A total that proves too small grows with the frames.
class Progress {
 public:
  /// `totalFrames` is 0 where it is not known.
  Progress(const RenderOptions& options, int totalFrames);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// How far the only frame is, 0 to 1; does nothing in a sequence.
  void Within(double fraction);
  /// One frame is written.
  void FrameDone(int frame, const std::string& path);
  /// One more of what is counted is done, with no file to name.
  void Step();
  /// So many are done in all; elsewhere, and perhaps fewer than before.
  void Reached(int done);
  /// The frames that are left out count as done, but not for the rate.
  void Skip(int frames);
  /// Everything is done; says so. `what` is the file, the pattern or the video.
  void Finish(const std::string& what);
  /// A line for people that does not disturb the bar; left out by --quiet alone.
  void Warn(const std::string& line);
  /// One frame failed and the run goes on: a line for people, or an object.
  void FrameFailed(int frame, const std::string& message);

 private:
  using Clock = std::chrono::steady_clock;

  double Seconds() const;
  void Show();
  void DrawBar(bool last);
  void ClearBar();
  void PrintLine();
  void PrintJson(const char* event, int frame, const std::string& path);

  /// How much of the total is done, 0 to 1; 0 without a total.
  double Share() const;

  std::mutex mutex_;
  ProgressStyle style_;
  bool quiet_;
  int total_;
  int done_ = 0;
  int skipped_ = 0;
  double within_ = 0;
  int lastTenth_ = 0;
  bool barShown_ = false;
  Clock::time_point start_ = Clock::now();
  Clock::time_point lastDraw_ = start_;
};

/// The object that tells programs why a run ended; `frame` is absent where no single one is to
/// blame. To be printed under --progress json.
void PrintErrorEvent(std::optional<int> frame, const std::string& message);

/// "0.35 s", "12 s", "3:20", "1:02:03".
std::string DurationText(double seconds);

}  // namespace veltra::cli
