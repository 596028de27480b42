// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Tables and JSON of the validator.

#include "check/report.h"

#include <algorithm>
#include <iomanip>
#include <nlohmann/json.hpp>
#include <ostream>
#include <sstream>

#include "base/text.h"

namespace veltra::check {
namespace {

// Ordered, so that people who do read the JSON find it in the order of the table.
using Json = nlohmann::ordered_json;

constexpr int kNameWidth = 22;
constexpr std::string_view kIndent = "                ";

std::string_view Mark(Outcome outcome) {
  switch (outcome) {
    case Outcome::kPassed:
      return "ok";
    case Outcome::kFailed:
      return "FAILED";
    case Outcome::kNotApplicable:
      return "n/a";
    case Outcome::kNotRun:
      break;
  }
  return "not run";
}

void PrintOutput(std::ostream& out, const std::string& output) {
  std::istringstream lines(output);
  for (std::string line; std::getline(lines, line);) {
    out << kIndent << "| " << line << '\n';
  }
}

Json ToJson(const TestResult& result) {
  Json messages = Json::array();
  Json findings = Json::array();
  for (const Finding& finding : result.findings) {
    messages.push_back(finding.text);
    findings.push_back({{"text", finding.text}, {"shown", ShownName(finding.shown)}});
  }
  if (!result.reason.empty()) {
    messages.push_back(result.reason);
  }
  Json json{{"name", result.test->name},
            {"strictness", result.test->strictness},
            {"outcome", OutcomeName(result.outcome)},
            {"seconds", result.seconds},
            {"messages", messages},
            {"findings", findings},
            {"notes", result.notes}};
  if (!result.output.empty()) {
    json["output"] = result.output;
  }
  return json;
}

/// As a shell takes it: what could mean something to one is put in single quotes.
std::string Quoted(const std::string& text) {
  constexpr std::string_view kPlain =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-./:=+,@%";
  if (!text.empty() && text.find_first_not_of(kPlain) == std::string::npos) {
    return text;
  }
  std::string quoted = "'";
  for (const char c : text) {
    quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  }
  return quoted + "'";
}

/// The command line that runs the failed tests again, with the same random numbers.
std::string RepeatCommand(const Report& report) {
  const TestSettings& settings = report.settings;
  std::string command =
      Text("veltra check --strictness ", settings.strictness, " --seed ", settings.seed);
  if (settings.host != &host::DefaultHost()) {
    command += Text(" --host ", settings.host->name);
  }
  if (!settings.resource.empty()) {
    command += Text(" --resource ", Quoted(settings.resource.string()));
  }
  for (const TestResult& result : report.results) {
    if (result.outcome == Outcome::kFailed) {
      command += Text(" --only ", result.test->name);
    }
  }
  return Text(command, " ", Quoted(settings.library.string()));
}

/// How many of the findings a host's user is shown.
void PrintShown(std::ostream& out, const Report& report) {
  int shown = 0;
  int silent = 0;
  for (const TestResult& result : report.results) {
    for (const Finding& finding : result.findings) {
      ++(finding.shown == Shown::kNothing ? silent : shown);
    }
  }
  if (shown == 0) {
    out << "a host shows its user nothing of this\n";
  } else if (silent == 0) {
    out << "a host shows its user all of this\n";
  } else {
    out << "a host shows its user " << shown << " of these " << shown + silent
        << " findings, those marked\n";
  }
}

/// Text from a library under test need not be UTF-8; what is not is replaced.
void Write(std::ostream& out, const Json& json) {
  out << json.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

}  // namespace

std::string_view OutcomeName(Outcome outcome) {
  switch (outcome) {
    case Outcome::kPassed:
      return "passed";
    case Outcome::kFailed:
      return "failed";
    case Outcome::kNotApplicable:
      return "not applicable";
    case Outcome::kNotRun:
      break;
  }
  return "not run";
}

std::string_view ShownName(Shown shown) {
  switch (shown) {
    case Shown::kDialog:
      return "error dialog";
    case Shown::kCrash:
      return "crash";
    case Shown::kHang:
      return "hang";
    case Shown::kNothing:
      break;
  }
  return "nothing";
}

int Report::Count(Outcome outcome) const {
  return static_cast<int>(std::count_if(results.begin(), results.end(),
                                        [&](const TestResult& r) { return r.outcome == outcome; }));
}

void PrintHeading(std::ostream& out, const TestSettings& settings) {
  out << settings.library.string() << ": strictness " << settings.strictness << ", seed "
      << settings.seed << ", host " << settings.host->name << "\n\n";
}

void PrintResult(std::ostream& out, const TestResult& result, bool verbose) {
  std::ostringstream line;
  line << std::left << std::setw(8) << Mark(result.outcome) << std::setw(kNameWidth)
       << result.test->name << std::right << std::fixed << std::setprecision(2) << std::setw(6)
       << result.seconds << " s";
  const bool failed = result.outcome == Outcome::kFailed;
  if (!failed && !result.reason.empty()) {
    line << "  " << result.reason;
  } else if (!failed) {
    for (const std::string& note : result.notes) {
      line << "  " << note;
    }
  }
  line << '\n';
  for (const Finding& finding : result.findings) {
    line << kIndent << finding.text;
    if (finding.shown != Shown::kNothing) {
      line << "  [" << ShownName(finding.shown) << ']';
    }
    line << '\n';
  }
  out << line.str();
  if (verbose) {
    PrintOutput(out, result.output);
  }
  out.flush();
}

void PrintSummary(std::ostream& out, const Report& report) {
  out << '\n'
      << report.Count(Outcome::kPassed) << " passed, " << report.Count(Outcome::kFailed)
      << " failed";
  if (const int count = report.Count(Outcome::kNotApplicable); count > 0) {
    out << ", " << count << " not applicable";
  }
  if (const int count = report.Count(Outcome::kNotRun); count > 0) {
    out << ", " << count << " not run";
  }
  out << '\n';
  if (!report.Passed()) {
    PrintShown(out, report);
    out << "repeat what failed: " << RepeatCommand(report) << '\n';
  }
}

namespace {

Json ToJson(const Report& report) {
  Json json{{"library", report.settings.library.string()},
            {"strictness", report.settings.strictness},
            {"seed", report.settings.seed},
            {"host", report.settings.host->name},
            {"passed", report.Passed()},
            {"counts",
             {{"passed", report.Count(Outcome::kPassed)},
              {"failed", report.Count(Outcome::kFailed)},
              {"not_applicable", report.Count(Outcome::kNotApplicable)},
              {"not_run", report.Count(Outcome::kNotRun)}}}};
  Json& tests = json["tests"] = Json::array();
  for (const TestResult& result : report.results) {
    tests.push_back(ToJson(result));
  }
  return json;
}

}  // namespace

void PrintJson(std::ostream& out, const std::filesystem::path& library,
               const std::vector<Report>& reports) {
  if (reports.size() == 1) {
    Write(out, ToJson(reports.front()));
    return;
  }
  const bool passed = std::all_of(reports.begin(), reports.end(),
                                  [](const Report& report) { return report.Passed(); });
  Json json{{"library", library.string()}, {"passed", passed}};
  Json& effects = json["effects"] = Json::array();
  for (const Report& report : reports) {
    effects.push_back(ToJson(report));
  }
  Write(out, json);
}

void PrintTestList(std::ostream& out, bool json) {
  if (json) {
    Json list = Json::array();
    for (const Test& test : AllTests()) {
      list.push_back(
          {{"name", test.name}, {"strictness", test.strictness}, {"summary", test.summary}});
    }
    Write(out, list);
    return;
  }
  for (const Test& test : AllTests()) {
    out << std::setw(2) << test.strictness << "  " << std::left << std::setw(kNameWidth)
        << test.name << std::right << test.summary << '\n';
  }
}

}  // namespace veltra::check
