// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Accounts of a render.

#include "check/accounts.h"

#include <string_view>

#include "base/text.h"

namespace veltra::check {
namespace {

void CompareCounts(std::vector<std::string>& out, int taken, int returned, std::string_view what,
                   bool keptOnly) {
  if (taken > returned || (taken < returned && !keptOnly)) {
    out.push_back(Text(what, ": ", taken, " taken, ", returned, " returned"));
  }
}

std::vector<std::string> Accounts(const host::RenderResult& result, bool keptOnly) {
  const host::RenderDiagnostics& d = result.diagnostics;
  std::vector<std::string> out;
  CompareCounts(out, d.paramCheckouts, d.paramCheckins + d.paramsTakenBack, "parameters", keptOnly);
  for (const host::Violation& note : d.notes) {
    if (note.rule == host::Rule::kSuiteKept ||
        (note.rule == host::Rule::kSuiteOverReleased && !keptOnly)) {
      out.push_back(note.text);
    }
  }
  CompareCounts(out, d.worldsMade, d.worldsDisposed, "worlds", keptOnly);
  CompareCounts(out, d.blocksAllocated, d.blocksFreed, "memory blocks", keptOnly);
  if (d.layerCheckins > d.layerCheckouts && !keptOnly) {
    CompareCounts(out, d.layerCheckouts, d.layerCheckins, "layer pixels", keptOnly);
  }
  return out;
}

}  // namespace

std::vector<std::string> Imbalances(const host::RenderResult& result) {
  return Accounts(result, false);
}

std::vector<std::string> Kept(const host::RenderResult& result) {
  return Accounts(result, true);
}

std::vector<host::Violation> BrokenRules(const host::RenderResult& result) {
  return result.diagnostics.violations;
}

}  // namespace veltra::check
