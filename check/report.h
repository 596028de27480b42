// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What a validation found, as a table for people and as JSON for programs.
#pragma once

#include <filesystem>
#include <iosfwd>
#include <string>
#include <vector>

#include "check/test_list.h"

namespace veltra::check {

/// How a test ended.
enum class Outcome {
  kPassed,
  kFailed,
  kNotApplicable,  ///< says nothing about a library of this kind
  kNotRun,         ///< a test that must pass before has failed
};

/// "passed", "failed", "not applicable" and "not run".
std::string_view OutcomeName(Outcome outcome);

/// Something that is wrong.
struct Finding {
  std::string text;
  Shown shown = Shown::kNothing;
};

/// "nothing", "error dialog", "crash" and "hang".
std::string_view ShownName(Shown shown);

/// What came of one test.
struct TestResult {
  const Test* test = nullptr;
  Outcome outcome = Outcome::kPassed;
  double seconds = 0.0;
  std::vector<Finding> findings;  ///< what is wrong
  std::string reason;             ///< why it did not run or does not apply
  std::vector<std::string> notes;
  std::string output;  ///< the last of what the library itself printed, of failed tests
};

/// What came of all of them, in the order in which they ran.
struct Report {
  TestSettings settings;
  std::vector<TestResult> results;

  int Count(Outcome outcome) const;
  bool Passed() const { return Count(Outcome::kFailed) == 0; }
};

/// The line under which the table stands.
void PrintHeading(std::ostream& out, const TestSettings& settings);
/// One test's line, with lines below it for what is wrong; `verbose` adds what the library printed.
void PrintResult(std::ostream& out, const TestResult& result, bool verbose);
/// The last lines: how many of each, and the command that repeats what failed.
void PrintSummary(std::ostream& out, const Report& report);

/// The whole report, or those of each effect of a library; bytes of a library's texts that are no
/// UTF-8 are replaced.
void PrintJson(std::ostream& out, const std::filesystem::path& library,
               const std::vector<Report>& reports);

/// The tests by themselves, with the strictness from which each one runs.
void PrintTestList(std::ostream& out, bool json);

}  // namespace veltra::check
