// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A test on its way.

#include "check/test_run.h"

#include <algorithm>
#include <utility>

#include "base/text.h"

namespace veltra::check {
namespace {

constexpr std::size_t kMostFailures = 6;

LineKind FailureKind(Shown shown) {
  switch (shown) {
    case Shown::kDialog:
      return LineKind::kFailDialog;
    case Shown::kCrash:
    case Shown::kHang:
      return LineKind::kFailCrash;
    case Shown::kNothing:
      break;
  }
  return LineKind::kFail;
}

}  // namespace

TestRun::TestRun(TestSettings settings, std::string_view testName, Sink sink)
    : settings_(std::move(settings)), random_(settings_.seed, testName), sink_(std::move(sink)) {}

int TestRun::Rounds(int base) const {
  return std::max(1, base * settings_.strictness / kDefaultStrictness);
}

void TestRun::Step(std::string_view text) {
  step_ = text;
  sink_(LineKind::kStep, text);
}

void TestRun::Fail(std::string_view text, Shown shown) {
  if (failures_.size() >= kMostFailures || !failures_.emplace(text).second) {
    return;
  }
  sink_(FailureKind(shown), text);
}

void TestRun::FailStep(std::string_view text, Shown shown) {
  Fail(Text(step_, ": ", text), shown);
}

void TestRun::FailAndEnd(std::string_view text, Shown shown) {
  Fail(text, shown);
  throw TestEnded{};
}

void TestRun::Note(std::string_view text) {
  sink_(LineKind::kNote, text);
}

void TestRun::Skip(std::string_view why) {
  sink_(LineKind::kSkip, why);
  throw TestEnded{};
}

void TestRun::DoesWithout(const std::vector<std::string>& missing) {
  doneWithout_.insert(missing.begin(), missing.end());
}

void TestRun::SkipIfNeeded(const std::vector<std::string>& missing) {
  std::string needed;
  for (const std::string& one : missing) {
    if (!doneWithout_.contains(one)) {
      needed += Text(needed.empty() ? "" : ", ", one);
    }
  }
  if (!needed.empty() && !Failed()) {
    Skip(Text("needs what this host does not offer: ", needed));
  }
}

bool TestRun::PicturesVary() {
  if (picturesVary_ && !saidSo_) {
    saidSo_ = true;
    Note("pictures are not compared: it declares that they vary by themselves");
  }
  return picturesVary_;
}

bool TestRun::HadEnough() const {
  return failures_.size() >= kMostFailures;
}

}  // namespace veltra::check
