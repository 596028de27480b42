// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// `veltra check`: the command line of the validator.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <functional>
#include <iostream>

#include "base/error.h"
#include "base/paths.h"
#include "base/print.h"
#include "base/text.h"
#include "check/runner.h"
#include "cli/commands/command_line.h"
#include "cli/commands/commands.h"
#include "cli/settings/hosts.h"
#include "cli/settings/values.h"
#include "host/effect_library.h"
#include "system/process.h"
#include "system/program_file.h"

namespace veltra::cli {
namespace {

namespace fs = std::filesystem;

constexpr double kDefaultTimeoutSeconds = 60.0;
constexpr double kLongestTimeoutSeconds = 86400.0;

struct CheckOptions {
  check::TestSettings tests;
  bool listHosts = false;
  std::string library;
  std::string resource;
  double timeoutSeconds = kDefaultTimeoutSeconds;
  std::vector<std::string> only;
  std::string childTest;
  bool childEffects = false;
  bool json = false;
  bool list = false;
  bool verbose = false;
};

/// An option whose value is read as everywhere in the program, with the same words where it is
/// wrong.
void AddNumber(CommandLine& commandLine, const std::string& name, const char* placeholder,
               const std::string& help, const std::function<void(std::string_view)>& read) {
  commandLine
      .Option(
          name,
          [name, read](const std::string& text) {
            try {
              read(text);
            } catch (const UsageError& error) {
              throw UsageError(Text(name, ": ", error.what()));
            }
          },
          help)
      .LastCounts()
      .Type(placeholder);
}

void ReadHost(const std::string& name, CheckOptions& options) {
  options.listHosts = name == kListHosts;
  if (options.listHosts) {
    return;
  }
  try {
    options.tests.host = &ParseHost(name);
  } catch (const UsageError& error) {
    throw UsageError(Text("--host: ", error.what()));
  }
}

void DeclareOptions(CommandLine& commandLine, CheckOptions& options) {
  commandLine
      .Option("library", options.library,
              "the effect library to check, every effect in it, or FILE::MATCH NAME")
      .Type("LIBRARY");
  AddNumber(commandLine, "--strictness", "N",
            Text("how much is asked for, from ", check::kLowestStrictness, " to ",
                 check::kHighestStrictness, " (default ", check::kDefaultStrictness, ")"),
            [&options](std::string_view text) {
              options.tests.strictness =
                  ParseInteger(text, check::kLowestStrictness, check::kHighestStrictness);
            });
  AddNumber(commandLine, "--seed", "N",
            Text("where the random numbers start (default ", check::kDefaultSeed, ")"),
            [&options](std::string_view text) { options.tests.seed = ParseSeed(text); });
  AddNumber(
      commandLine, "--timeout", "SECONDS",
      Text("seconds a test may take (default ", static_cast<int>(kDefaultTimeoutSeconds), ")"),
      [&options](std::string_view text) {
        options.timeoutSeconds = ParseNumber(text);
        if (!(options.timeoutSeconds > 0.0) || options.timeoutSeconds > kLongestTimeoutSeconds) {
          ThrowNotA(text, "in range",
                    Text("more than 0, to ", static_cast<int>(kLongestTimeoutSeconds)));
        }
      });
  commandLine.Option("--only", options.only, "run this test, at any strictness; may be repeated")
      .Type("TEST")
      .OneEachTime();
  commandLine
      .Option("--resource", options.resource,
              "Windows library whose resource describes this effect too")
      .Type("FILE");
  commandLine
      .Option(
          "--host", [&options](const std::string& name) { ReadHost(name, options); },
          HostOptionHelp())
      .LastCounts()
      .Type("NAME");
  commandLine.Flag("--json", options.json, "for programs");
  commandLine.Flag("--list", options.list, "show the tests and end");
  commandLine.Flag("--verbose", options.verbose, "show what the library prints in failed tests");
  commandLine.Option("--child-test", options.childTest).Group("");
  commandLine.Flag("--child-effects", options.childEffects).Group("");
  commandLine.Footer(
      "Every test runs in a process of its own. Exit code 0: all passed; 1: something failed;\n"
      "2: the command line is wrong.\n\n"
      "Examples:\n"
      "  veltra check libveltra.so\n"
      "  veltra check --strictness 10 --seed 42 libveltra.so\n"
      "  veltra check --only regions --only abort libveltra.so\n"
      "  veltra check 'Several.aex::Match Name'\n"
      "  veltra check --host older-suites libveltra.so\n"
      "  veltra check --json libveltra.so > report.json\n");
}

const check::Test& KnownTest(const std::string& name) {
  const check::Test* test = check::FindTest(name);
  if (test == nullptr) {
    throw UsageError(Text("there is no test ", name, " (--list shows them)"));
  }
  return *test;
}

fs::path ExistingFile(const std::string& text) {
  fs::path path = PathOf(text);
  std::error_code error;
  if (!fs::exists(path, error)) {
    throw UsageError(Text(text, ": no such file"));
  }
  if (fs::is_directory(path, error)) {
    throw UsageError(Text(text, ": is a directory (expected an effect library)"));
  }
  return path;
}

void CheckOptionValues(CheckOptions& options) {
  if (options.library.empty()) {
    throw UsageError("no library to check (try veltra check --help)");
  }
  options.tests.library = PathOf(options.library);
  ExistingFile(host::ReadEffectChoice(options.tests.library).file.string());
  if (!options.resource.empty()) {
    options.tests.resource = ExistingFile(options.resource);
  }
}

/// Runs the tests on one effect; all but JSON is printed as it comes.
check::Report RunTestsOn(const check::RunnerSettings& settings, const CheckOptions& options) {
  if (options.json) {
    return RunTests(settings, [](const check::TestResult&) {});
  }
  check::PrintHeading(std::cout, settings.tests);
  check::Report report = RunTests(settings, [&](const check::TestResult& result) {
    check::PrintResult(std::cout, result, options.verbose);
  });
  check::PrintSummary(std::cout, report);
  return report;
}

int RunTestsAndReport(const CheckOptions& options) {
  check::RunnerSettings settings;
  settings.tests = options.tests;
  settings.program = ProgramFile();
  settings.timeout = std::chrono::milliseconds(
      static_cast<std::int64_t>(std::ceil(options.timeoutSeconds * 1000.0)));
  for (const std::string& name : options.only) {
    settings.only.push_back(&KnownTest(name));
  }
  std::vector<std::string> effects;
  if (host::ReadEffectChoice(settings.tests.library).matchName.empty()) {
    effects = EffectsOf(settings);
  }
  std::vector<check::Report> reports;
  if (effects.size() < 2) {
    reports.push_back(RunTestsOn(settings, options));
  }
  for (std::size_t i = 0; effects.size() > 1 && i < effects.size(); ++i) {
    settings.tests.library = PathOf(Text(options.library, "::", effects[i]));
    if (i > 0 && !options.json) {
      std::cout << '\n';
    }
    reports.push_back(RunTestsOn(settings, options));
  }
  if (options.json) {
    check::PrintJson(std::cout, options.tests.library, reports);
  }
  const bool passed = std::all_of(reports.begin(), reports.end(),
                                  [](const check::Report& report) { return report.Passed(); });
  return passed ? kExitDone : kExitFailed;
}

}  // namespace

int RunCheck(const Arguments& arguments) {
  CheckOptions options;
  CommandLine commandLine(
      "Checks an effect library, any with this interface, for what hosts rely on.", "veltra check");
  DeclareOptions(commandLine, options);
  if (!commandLine.Read(arguments)) {
    return kExitDone;
  }
  if (options.list) {
    check::PrintTestList(std::cout, options.json);
    return kExitDone;
  }
  if (options.listHosts) {
    Print(stdout, HostsText());
    return kExitDone;
  }
  CheckOptionValues(options);
  if (options.childEffects) {
    return check::ListEffects(options.tests);
  }
  if (!options.childTest.empty()) {
    return check::RunOneTest(KnownTest(options.childTest), options.tests);
  }
  return RunTestsAndReport(options);
}

}  // namespace veltra::cli
