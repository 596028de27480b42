// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What an effect takes and gives back, asks for in vain, and the rules it breaks.
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "host/session/rules.h"
#include "host_api/types.h"

namespace veltra::host {

/// What the effect took and gave back, and the rules it broke.
struct RenderDiagnostics {
  int paramCheckouts = 0;
  int paramCheckins = 0;
  /// Parameters that pre-render left checked out; a host takes them back itself.
  int paramsTakenBack = 0;
  /// Layer pixels fetched in smart render, output apart. They may stay out: the host takes them
  /// back when the command ends.
  int layerCheckouts = 0;
  int layerCheckins = 0;
  int suitesAcquired = 0;
  int suitesReleased = 0;
  int worldsMade = 0;
  int worldsDisposed = 0;
  int blocksAllocated = 0;
  int blocksFreed = 0;
  int handlesMade = 0;
  int handlesDisposed = 0;
  /// The pre-render asked for pixels of the effect's own input, so there is a use for a frame.
  bool inputRequested = false;
  /// Broken rules, each wording once.
  std::vector<Violation> violations;
  /// Accounts that do not balance: of no harm, and left so by many an effect.
  std::vector<Violation> notes;
  /// What the effect asked for and this host does not offer, as `the suite "Name" version 3` or
  /// `the callback app`, each once.
  std::vector<std::string> missing;

  /// Everything that has to be given back within a frame was, as often as it was taken. Handles
  /// may outlive a frame and do not count.
  bool Balanced() const {
    return paramCheckouts == paramCheckins + paramsTakenBack && suitesAcquired == suitesReleased &&
           worldsMade == worldsDisposed && blocksAllocated == blocksFreed;
  }
};

/// The books of one session. Safe on many threads.
class Accounts {
 public:
  /// Adds one to a counter.
  void Count(int RenderDiagnostics::*counter);
  void CountSuite(const char* name, A_long version, bool acquired);
  /// Parameters that are out now stay no longer: the host takes them back.
  void TakeBackParameters();
  void NoteInputRequest();
  /// Notes a broken rule in its own words, or in words with particulars.
  void Broke(Rule rule) { Broke(rule, RuleText(rule)); }
  void Broke(Rule rule, const std::string& text);
  /// Notes what was asked for and is not offered, for instance `the callback app`.
  void Missing(const std::string& what);

  /// Compares what was taken and returned; call when the last command has ended.
  void Close();
  RenderDiagnostics Diagnostics() const;
  std::vector<std::string> MissingSoFar() const;

 private:
  void CompareSuites();
  void Add(Rule rule, const std::string& text);

  mutable std::mutex mutex_;
  RenderDiagnostics diagnostics_;                             // guarded by mutex_
  std::map<std::pair<std::string, A_long>, int> suitesHeld_;  // guarded by mutex_
};

/// "it asked for the suite "PF X Suite" version 3, which this host does not offer"; empty where
/// nothing was missing.
std::string MissingText(const std::vector<std::string>& missing);

}  // namespace veltra::host
