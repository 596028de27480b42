// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Other programs: those that read from us or that we read from, and our own program once more for
// what may crash.
#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace veltra {

/// How a program ended.
struct ProcessEnd {
  enum class How { kExited, kSignalled, kTimedOut, kNotStarted };

  How how = How::kNotStarted;
  int status = 0;      ///< exit status
  std::string signal;  ///< "segmentation fault (SIGSEGV)"; the reason where it was not started
  std::string output;  ///< the last of what it wrote to its standard output and error

  bool Succeeded() const { return how == How::kExited && status == 0; }
};

/// A running program with one end of its standard input or output in our hands. It is in a process
/// group of its own, so that Ctrl-C is ours to handle.
class Process {
 public:
  enum class Pipe { kFromChild, kToChild };

  /// Starts `arguments[0]`, sought on the path. Throws ProgramNotFound when it is not there,
  /// RenderError when it cannot be started.
  Process(const std::vector<std::string>& arguments, Pipe pipe);
  /// Kills it if it still runs.
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  /// Reads until `size` bytes are there or the program has no more; returns how many. Throws
  /// Interrupted when the user asked to stop meanwhile.
  std::size_t Read(void* out, std::size_t size);
  /// False when the program no longer listens. Throws Interrupted likewise.
  bool Write(const void* bytes, std::size_t size);
  /// Closes our end and waits; `output` is what it wrote to its standard error so far, at most
  /// the first 64 KiB. Throws Interrupted likewise.
  ProcessEnd Finish();
  /// The first 64 KiB of its standard error so far.
  std::string Errors() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

/// Runs a program that reports to us through ReportLine, and calls onLine for each of its lines.
/// When the time is over, or the user asked to stop (then Interrupted is thrown), it and whatever
/// it has started are killed.
ProcessEnd RunChild(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                    std::chrono::milliseconds timeout,
                    const std::function<void(std::string_view line)>& onLine);

/// In the child, first of all: dies with its parent and leaves no memory image behind.
void PrepareChild();

/// In the child: sends one line to the parent. Line breaks become blanks.
void ReportLine(std::string_view line);

}  // namespace veltra
