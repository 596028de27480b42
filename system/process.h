// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Another program that reads from us or that we read from.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace veltra {

/// A child process with one end of its standard input or output in our hands.
class Process {
 public:
  enum class Pipe { kFromChild, kToChild };

  /// Starts `arguments[0]`, sought on the path. Throws RenderError when it is not there.
  Process(const std::vector<std::string>& arguments, Pipe pipe);
  /// Kills it if it still runs.
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  /// Reads until `size` bytes are there or the child has no more; returns how many. Throws
  /// Interrupted when the user asked to stop meanwhile.
  std::size_t Read(void* out, std::size_t size);
  /// False when the child no longer listens.
  bool Write(const void* bytes, std::size_t size);
  /// Closes our end and waits; returns the exit code, or 128 + n for signal n.
  int Finish();
  /// What it complained about: the first line of its standard error, or empty.
  std::string Complaint() const;

 private:
  void WaitFor(short events) const;

  int pid_ = -1;
  int file_ = -1;
  int errors_ = -1;
};

/// Runs a program to its end and returns what it printed. Throws RenderError "NAME: reason" when
/// it fails; `what` is that name.
std::string OutputOf(const std::vector<std::string>& arguments, const std::string& what);

}  // namespace veltra
