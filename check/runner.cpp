// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Running tests in child processes.

#include "check/runner.h"

#include <algorithm>
#include <array>
#include <exception>
#include <string>

#include "base/text.h"
#include "host/effect_library.h"
#include "system/process.h"

namespace veltra::check {
namespace {

using std::chrono::duration;
using std::chrono::steady_clock;

constexpr std::array<std::string_view, 7> kLineWords{"step", "fail", "fail-dialog", "fail-crash",
                                                     "note", "skip", "done"};

/// What a child has said so far.
struct ChildReport {
  std::string step;
  bool skipped = false;
  bool done = false;
};

void AddFinding(TestResult& result, std::string text, Shown shown) {
  result.findings.push_back({std::move(text), shown});
  result.outcome = Outcome::kFailed;
}

void TakeLine(std::string_view line, ChildReport& said, TestResult& result) {
  const std::string_view word = line.substr(0, line.find(' '));
  const std::string text(line.substr(std::min(line.size(), word.size() + 1)));
  const auto* const found = std::find(kLineWords.begin(), kLineWords.end(), word);
  switch (static_cast<LineKind>(found - kLineWords.begin())) {
    case LineKind::kStep:
      said.step = text;
      break;
    case LineKind::kFail:
      AddFinding(result, text, Shown::kNothing);
      break;
    case LineKind::kFailDialog:
      AddFinding(result, text, Shown::kDialog);
      break;
    case LineKind::kFailCrash:
      AddFinding(result, text, Shown::kCrash);
      break;
    case LineKind::kNote:
      result.notes.push_back(text);
      break;
    case LineKind::kSkip:
      result.reason = text;
      said.skipped = true;
      break;
    case LineKind::kDone:
      said.done = true;
      break;
  }
}

std::string LastLine(const std::string& output) {
  const std::size_t end = output.find_last_not_of("\r\n");
  if (end == std::string::npos) {
    return {};
  }
  const std::size_t lineBreak = output.find_last_of('\n', end);
  const std::size_t start = lineBreak == std::string::npos ? 0 : lineBreak + 1;
  return output.substr(start, end + 1 - start);
}

/// What is wrong about the way the process ended; empty when nothing is.
std::string TroubleWith(const ProcessEnd& end, const ChildReport& said,
                        std::chrono::milliseconds timeout) {
  const std::string where = said.done           ? " after the test was over"
                            : said.step.empty() ? ""
                                                : Text(" in: ", said.step);
  switch (end.how) {
    case ProcessEnd::How::kNotStarted:
      return Text("no process could be started for the test: ", end.signal);
    case ProcessEnd::How::kTimedOut:
      return Text("hung: not done after ", timeout.count(), " ms", where);
    case ProcessEnd::How::kSignalled:
      return Text("crashed: ", end.signal, where);
    case ProcessEnd::How::kExited:
      break;
  }
  if (end.status != 0 || !said.done) {
    const std::string lastWords = LastLine(end.output);
    return Text("ended the process with exit status ", end.status, where,
                lastWords.empty() ? "" : " (", lastWords, lastWords.empty() ? "" : ")");
  }
  return {};
}

Shown ShownOf(const ProcessEnd& end) {
  switch (end.how) {
    case ProcessEnd::How::kNotStarted:
      return Shown::kNothing;
    case ProcessEnd::How::kTimedOut:
      return Shown::kHang;
    case ProcessEnd::How::kSignalled:
    case ProcessEnd::How::kExited:
      break;
  }
  return Shown::kCrash;
}

TestResult RunInChild(const Test& test, const RunnerSettings& settings) {
  TestResult result;
  result.test = &test;
  ChildReport said;
  const auto start = steady_clock::now();
  const ProcessEnd end =
      RunChild(settings.program, ChildArguments(test, settings.tests), settings.timeout,
               [&](std::string_view line) { TakeLine(line, said, result); });
  result.seconds = duration<double>(steady_clock::now() - start).count();
  if (std::string trouble = TroubleWith(end, said, settings.timeout); !trouble.empty()) {
    AddFinding(result, std::move(trouble), ShownOf(end));
  } else if (said.skipped && result.outcome == Outcome::kPassed) {
    result.outcome = Outcome::kNotApplicable;
  }
  if (result.outcome == Outcome::kFailed) {
    result.output = end.output;
  }
  return result;
}

/// The test that this one builds upon, directly or through others, and that did not pass; null for
/// none.
const Test* MissingGroundwork(const Test& test, const Report& report) {
  const std::string_view name = TestThatProves(test.needs);
  const auto found = std::find_if(report.results.begin(), report.results.end(),
                                  [&](const TestResult& r) { return r.test->name == name; });
  return found == report.results.end() || found->outcome == Outcome::kPassed ? nullptr
                                                                             : found->test;
}

/// So that no path can be taken for an option.
std::string AbsoluteLibrary(const TestSettings& settings) {
  return std::filesystem::absolute(settings.library).string();
}

bool Wanted(const Test& test, const RunnerSettings& settings) {
  if (settings.only.empty()) {
    return test.strictness <= settings.tests.strictness;
  }
  return std::find(settings.only.begin(), settings.only.end(), &test) != settings.only.end();
}

}  // namespace

std::vector<std::string> ChildArguments(const Test& test, const TestSettings& settings) {
  std::vector<std::string> arguments{"check",
                                     "--child-test",
                                     std::string(test.name),
                                     "--strictness",
                                     std::to_string(settings.strictness),
                                     "--seed",
                                     std::to_string(settings.seed)};
  if (settings.host != &host::DefaultHost()) {
    arguments.insert(arguments.end(), {"--host", std::string(settings.host->name)});
  }
  if (!settings.resource.empty()) {
    arguments.insert(arguments.end(), {"--resource", settings.resource.string()});
  }
  arguments.push_back(AbsoluteLibrary(settings));
  return arguments;
}

Report RunTests(const RunnerSettings& settings,
                const std::function<void(const TestResult&)>& onResult) {
  Report report;
  report.settings = settings.tests;
  for (const Test& test : AllTests()) {
    if (!Wanted(test, settings)) {
      continue;
    }
    if (const Test* missing = MissingGroundwork(test, report); missing != nullptr) {
      TestResult result;
      result.test = &test;
      result.outcome = Outcome::kNotRun;
      result.reason = Text("needs ", missing->name);
      report.results.push_back(std::move(result));
    } else {
      report.results.push_back(RunInChild(test, settings));
    }
    onResult(report.results.back());
  }
  return report;
}

std::vector<std::string> EffectsOf(const RunnerSettings& settings) {
  std::vector<std::string> names;
  RunChild(settings.program, {"check", "--child-effects", AbsoluteLibrary(settings.tests)},
           settings.timeout, [&names](std::string_view line) { names.emplace_back(line); });
  return names;
}

int ListEffects(const TestSettings& settings) {
  PrepareChild();
  const auto effects = host::EffectLibrary::EffectsIn(settings.library);
  for (const host::Registration& effect : effects ? *effects : std::vector<host::Registration>()) {
    ReportLine(effect.matchName);
  }
  return 0;
}

int RunOneTest(const Test& test, const TestSettings& settings) {
  PrepareChild();
  const auto send = [](LineKind kind, std::string_view text) {
    ReportLine(Text(kLineWords[static_cast<std::size_t>(kind)], " ", text));
  };
  try {
    TestRun run(settings, test.name, send);
    test.run(run);
  } catch (const TestEnded&) {
    // It has said why.
  } catch (const std::exception& problem) {
    send(LineKind::kFailCrash, Text("an exception left the library: ", problem.what()));
  } catch (...) {
    send(LineKind::kFailCrash, "an exception left the library");
  }
  send(LineKind::kDone, "");
  return 0;
}

}  // namespace veltra::check
