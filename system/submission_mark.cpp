// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The mark goes through the environment, so that processes that are started later have it too.
#include "system/submission_mark.h"

#include <algorithm>
#include <cctype>

#include "system/environment.h"

namespace veltra {
namespace {

constexpr const char* kVariable = "VELTRA_SUBMISSION_MARK";

std::string& Mark() {
  static std::string mark = [] {
    std::string text = EnvironmentValue(kVariable);
    // It becomes part of file names.
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return std::isalnum(c) == 0 && c != '-'; },
        '_');
    return text;
  }();
  return mark;
}

}  // namespace

void SetSubmissionMark(const std::string& mark) {
  SetEnvironmentValue(kVariable, mark);
  Mark() = mark;
}

const std::string& SubmissionMark() {
  return Mark();
}

}  // namespace veltra
