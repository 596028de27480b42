// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The failures the program reports, each with the exit code it ends in.
#pragma once

#include <stdexcept>
#include <string>

namespace veltra {

inline constexpr int kExitDone = 0;
inline constexpr int kExitFailed = 1;         ///< the render failed
inline constexpr int kExitUsage = 2;          ///< the command line or the scene is wrong
inline constexpr int kExitInterrupted = 130;  ///< Ctrl-C, as shells count it
inline constexpr int kSignalExitBase = 128;   ///< signal n ends in 128 + n, as shells count it

/// One line for people, without the program's name and without a full stop.
class Error : public std::runtime_error {
 public:
  Error(const std::string& message, int exitCode)
      : std::runtime_error(message), exitCode_(exitCode) {}
  int ExitCode() const { return exitCode_; }

 private:
  int exitCode_;
};

/// The command line or the scene is wrong.
class UsageError : public Error {
 public:
  explicit UsageError(const std::string& message) : Error(message, kExitUsage) {}
};

/// The render cannot be done: an input, the effect or an output failed.
class RenderError : public Error {
 public:
  explicit RenderError(const std::string& message) : Error(message, kExitFailed) {}
};

/// A program that the render needs is not on the path.
class ProgramNotFound : public RenderError {
 public:
  using RenderError::RenderError;
};

/// The user asked to stop.
class Interrupted : public Error {
 public:
  Interrupted() : Error("interrupted", kExitInterrupted) {}
};

}  // namespace veltra
