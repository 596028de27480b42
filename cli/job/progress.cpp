// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The bar, the lines and the objects.
#include "cli/job/progress.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <nlohmann/json.hpp>

#include "base/print.h"
#include "base/text.h"
#include "system/console.h"

namespace veltra::cli {
namespace {

constexpr double kRedrawSeconds = 0.1;
constexpr double kFirstDrawSeconds = 0.3;  // what is quicker needs no bar
constexpr int kTenths = 10;
constexpr const char* kClearLine = "\x1b[K";  // from the cursor to the end

ProgressStyle Resolve(ProgressStyle style) {
  if (style != ProgressStyle::kAuto) {
    return style;
  }
  return ErrorsGoToTerminal() ? ProgressStyle::kBar : ProgressStyle::kLines;
}

std::string Decimals(double value, int decimals) {
  std::array<char, 64> buffer{};
  const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                          std::chars_format::fixed, decimals);
  return error == std::errc() ? std::string(buffer.data(), end) : std::string("?");
}

std::string TwoDigits(long long value) {
  return Text(value < 10 ? "0" : "", value);
}

/// The percentage of a share, three characters wide.
std::string Percent(double share) {
  const std::string text = std::to_string(static_cast<int>(share * 100));
  return Text(std::string(3 - std::min<std::size_t>(text.size(), 3), ' '), text, "%");
}

void PrintObject(const nlohmann::ordered_json& object) {
  using Handler = nlohmann::ordered_json::error_handler_t;
  Print(stdout, object.dump(-1, ' ', false, Handler::replace), "\n");
  Flush(stdout);
}

}  // namespace

void PrintErrorEvent(std::optional<int> frame, const std::string& message) {
  nlohmann::ordered_json object = {{"event", "error"}};
  if (frame) {
    object["frame"] = *frame;
  }
  object["message"] = message;
  PrintObject(object);
}

std::string DurationText(double seconds) {
  constexpr double kFine = 9.95;
  constexpr long long kMinute = 60;
  if (seconds < kFine) {
    return Text(Decimals(seconds, 2), " s");
  }
  const auto whole = std::llround(seconds);
  if (whole < kMinute) {
    return Text(whole, " s");
  }
  const std::string end = Text(":", TwoDigits(whole % kMinute));
  if (whole < kMinute * kMinute) {
    return Text(whole / kMinute, end);
  }
  return Text(whole / (kMinute * kMinute), ":", TwoDigits(whole / kMinute % kMinute), end);
}

Progress::Progress(const RenderOptions& options, int totalFrames)
    : style_(Resolve(options.progress)), quiet_(options.quiet), total_(std::max(totalFrames, 0)) {}

Progress::~Progress() {
  ClearBar();
}

double Progress::Seconds() const {
  return std::chrono::duration<double>(Clock::now() - start_).count();
}

double Progress::Share() const {
  return total_ > 0 ? std::min((done_ + skipped_ + within_) / total_, 1.0) : 0.0;
}

void Progress::Within(double fraction) {
  const std::lock_guard lock(mutex_);
  if (total_ == 1) {
    within_ = std::clamp(fraction, 0.0, 1.0);
    if (style_ == ProgressStyle::kBar) {
      DrawBar(false);
    }
  }
}

void Progress::FrameDone(int frame, const std::string& path) {
  const std::lock_guard lock(mutex_);
  ++done_;
  within_ = 0;
  total_ = total_ > 0 ? std::max(total_, done_ + skipped_) : 0;
  if (style_ == ProgressStyle::kBar) {
    DrawBar(false);
  } else if (style_ == ProgressStyle::kLines) {
    PrintLine();
  } else if (style_ == ProgressStyle::kJson) {
    PrintJson("frame", frame, path);
  }
}

void Progress::Step() {
  const std::lock_guard lock(mutex_);
  ++done_;
  Show();
}

void Progress::Reached(int done) {
  const std::lock_guard lock(mutex_);
  if (done != done_) {
    done_ = done;
    Show();
  }
}

void Progress::Show() {
  if (style_ == ProgressStyle::kBar) {
    DrawBar(false);
  } else if (style_ == ProgressStyle::kLines) {
    PrintLine();
  } else if (style_ == ProgressStyle::kJson) {
    PrintJson("progress", 0, "");
  }
}

void Progress::Skip(int frames) {
  const std::lock_guard lock(mutex_);
  skipped_ += frames;
}

void Progress::PrintLine() {
  const int all = done_ + skipped_;
  constexpr int kFramesPerLine = 100;
  if (total_ == 0 && done_ % kFramesPerLine == 0) {
    Print(stderr, Count(static_cast<std::size_t>(all), "frame"), ", ", DurationText(Seconds()),
          "\n");
  }
  const int tenth = total_ > 0 ? static_cast<int>(std::int64_t{kTenths} * all / total_) : 0;
  if (total_ > 1 && tenth > lastTenth_) {
    lastTenth_ = tenth;
    Print(stderr, Percent(static_cast<double>(tenth) / kTenths), "  ", all, " of ", total_,
          " frames, ", DurationText(Seconds()), "\n");
  }
}

void Progress::PrintJson(const char* event, int frame, const std::string& path) {
  nlohmann::ordered_json line = {{"event", event}, {"done", done_ + skipped_}};
  line["total"] = total_ > 0 ? nlohmann::ordered_json(total_) : nlohmann::ordered_json();
  line["seconds"] = Seconds();
  if (event == std::string_view("frame")) {
    line["frame"] = frame;
  }
  if (!path.empty()) {
    line["output"] = path;
  }
  PrintObject(line);
}

void Progress::DrawBar(bool last) {
  const Clock::time_point now = Clock::now();
  const double sinceDraw = std::chrono::duration<double>(now - lastDraw_).count();
  if (!last && (Seconds() < kFirstDrawSeconds || (barShown_ && sinceDraw < kRedrawSeconds))) {
    return;
  }
  lastDraw_ = now;
  const double share = Share();
  const double rendered = done_ + within_;
  const double rate = rendered / std::max(Seconds(), 1e-9);
  const std::string fps = Decimals(rate, rate < 10 ? 2 : 0);
  const double left = rendered > 0 ? (total_ - skipped_ - rendered) / rate : 0;
  const std::string numbers =
      total_ == 1   ? Text(" ", Percent(share), "  ", DurationText(left), " left")
      : total_ == 0 ? Text(" ", Count(static_cast<std::size_t>(done_), "frame"), "  ", fps, " fps")
                    : Text(" ", done_ + skipped_, "/", total_, "  ", fps, " fps  ",
                           DurationText(left), " left");
  constexpr int kLongestBar = 40;
  const int cells =
      std::clamp(TerminalWidth() - static_cast<int>(numbers.size()) - 4, 0, kLongestBar);
  const auto full = static_cast<std::size_t>(share * cells);
  const std::string bar =
      Text(std::string(full, '#'), std::string(static_cast<std::size_t>(cells) - full, '.'));
  Print(stderr, "\r[", bar, "]", numbers, kClearLine);
  Flush(stderr);
  barShown_ = true;
}

void Progress::ClearBar() {
  if (barShown_) {
    Print(stderr, "\r", kClearLine);
    Flush(stderr);
    barShown_ = false;
  }
}

void Progress::Finish(const std::string& what) {
  const std::lock_guard lock(mutex_);
  ClearBar();
  if (style_ == ProgressStyle::kJson) {
    PrintJson("done", 0, what);
  } else if (style_ != ProgressStyle::kNone) {
    const std::string frames =
        total_ == 1 ? "" : Text(Count(static_cast<std::size_t>(done_), "frame"), " in ");
    Print(stderr, what, ": ", frames, DurationText(Seconds()), "\n");
  }
}

void Progress::Warn(const std::string& line) {
  const std::lock_guard lock(mutex_);
  if (!quiet_) {
    ClearBar();
    Print(stderr, "veltra: warning: ", line, "\n");
  }
}

void Progress::FrameFailed(int frame, const std::string& message) {
  const std::lock_guard lock(mutex_);
  if (style_ == ProgressStyle::kJson) {
    PrintErrorEvent(frame, message);
  } else if (!quiet_) {
    ClearBar();
    Print(stderr, "veltra: frame ", frame, ": ", message, "\n");
  }
}

}  // namespace veltra::cli
