// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Keeping the books of a session.

#include "host/session/accounts.h"

#include <algorithm>

namespace veltra::host {

void Accounts::Count(int RenderDiagnostics::*counter) {
  const std::lock_guard lock(mutex_);
  ++(diagnostics_.*counter);
}

void Accounts::CountSuite(const char* name, A_long version, bool acquired) {
  const std::lock_guard lock(mutex_);
  ++(acquired ? diagnostics_.suitesAcquired : diagnostics_.suitesReleased);
  suitesHeld_[{name, version}] += acquired ? 1 : -1;
}

void Accounts::TakeBackParameters() {
  const std::lock_guard lock(mutex_);
  RenderDiagnostics& d = diagnostics_;
  d.paramsTakenBack += std::max(0, d.paramCheckouts - d.paramCheckins - d.paramsTakenBack);
}

void Accounts::NoteInputRequest() {
  const std::lock_guard lock(mutex_);
  diagnostics_.inputRequested = true;
}

void Accounts::Broke(Rule rule, const std::string& text) {
  const std::lock_guard lock(mutex_);
  Add(rule, text);
}

void Accounts::Add(Rule rule, const std::string& text) {
  auto& all = IsAboutAccounts(rule) ? diagnostics_.notes : diagnostics_.violations;
  if (std::none_of(all.begin(), all.end(),
                   [&text](const Violation& known) { return known.text == text; })) {
    all.push_back({rule, text});
  }
}

void Accounts::Missing(const std::string& what) {
  const std::lock_guard lock(mutex_);
  auto& all = diagnostics_.missing;
  if (std::find(all.begin(), all.end(), what) == all.end()) {
    all.push_back(what);
  }
}

void Accounts::CompareSuites() {
  for (const auto& [suite, held] : suitesHeld_) {
    const std::string name =
        "suite \"" + suite.first + "\" version " + std::to_string(suite.second);
    if (held > 0) {
      Add(Rule::kSuiteKept, name + " was not released");
    } else if (held < 0) {
      Add(Rule::kSuiteOverReleased, name + " was released without being acquired");
    }
  }
}

void Accounts::Close() {
  const std::lock_guard lock(mutex_);
  CompareSuites();
  const RenderDiagnostics& d = diagnostics_;
  const auto compare = [this](Rule rule, int taken, int returned, const char* what) {
    if (taken != returned) {
      Add(rule, std::string(what) + ": " + std::to_string(taken) + " taken, " +
                    std::to_string(returned) + " returned");
    }
  };
  compare(Rule::kParametersUneven, d.paramCheckouts, d.paramCheckins + d.paramsTakenBack,
          "parameters");
  compare(Rule::kWorldsUneven, d.worldsMade, d.worldsDisposed, "worlds");
  compare(Rule::kBlocksUneven, d.blocksAllocated, d.blocksFreed, "memory blocks");
}

RenderDiagnostics Accounts::Diagnostics() const {
  const std::lock_guard lock(mutex_);
  return diagnostics_;
}

std::vector<std::string> Accounts::MissingSoFar() const {
  const std::lock_guard lock(mutex_);
  return diagnostics_.missing;
}

std::string MissingText(const std::vector<std::string>& missing) {
  if (missing.empty()) {
    return {};
  }
  std::string text = "it asked for " + missing.front();
  for (std::size_t i = 1; i < missing.size(); ++i) {
    text += (i + 1 == missing.size() ? " and " : ", ") + missing[i];
  }
  return text + ", which this host does not offer";
}

}  // namespace veltra::host
