// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Runs tests, each in a process of its own, and collects what they found.
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <vector>

#include "check/report.h"

namespace veltra::check {

struct RunnerSettings {
  TestSettings tests;
  std::filesystem::path program;  ///< started again for each test
  std::chrono::milliseconds timeout{0};
  std::vector<const Test*> only;  ///< empty: all that the strictness asks for
};

/// Runs the tests in order. A test whose groundwork has failed is not run. `onResult` is told of
/// each one as it ends.
Report RunTests(const RunnerSettings& settings,
                const std::function<void(const TestResult&)>& onResult);

/// The match names of the library's effects, asked for in a process of its own; empty where it
/// cannot tell, which its tests then report.
std::vector<std::string> EffectsOf(const RunnerSettings& settings);

/// The child's part: reports the match names.
int ListEffects(const TestSettings& settings);

/// The child's part: runs one test in this process and reports to the parent. Returns the exit
/// status.
int RunOneTest(const Test& test, const TestSettings& settings);

/// What to call the program with, so that it comes to RunOneTest.
std::vector<std::string> ChildArguments(const Test& test, const TestSettings& settings);

}  // namespace veltra::check
