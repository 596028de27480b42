// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A process of its own for each test: the one place of the validator that knows how to start one.
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace veltra {

/// How a child ended.
struct ChildEnd {
  enum class How { kExited, kSignalled, kTimedOut, kNotStarted };

  How how = How::kNotStarted;
  int status = 0;      ///< exit status
  std::string signal;  ///< "segmentation fault (SIGSEGV)"; the reason where it was not started
  std::string output;  ///< the last of what it wrote to its standard output and error
};

/// The program that is running, to be started again.
std::filesystem::path OwnProgram();

/// Runs the program and calls onLine for each line it reports through ReportLine. When the time
/// is over, the child and whatever it has started are killed.
ChildEnd RunChild(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                  std::chrono::milliseconds timeout,
                  const std::function<void(std::string_view line)>& onLine);

/// In the child, first of all: dies with its parent and leaves no memory image behind.
void PrepareChild();

/// In the child: sends one line to the parent. Line breaks become blanks.
void ReportLine(std::string_view line);

}  // namespace veltra
