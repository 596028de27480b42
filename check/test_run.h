// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What a test of the validator works with, and how it says what it found.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "check/random.h"
#include "host/session/host_profile.h"

namespace veltra::check {

inline constexpr int kLowestStrictness = 1;
inline constexpr int kDefaultStrictness = 5;
inline constexpr int kHighestStrictness = 10;
inline constexpr std::uint64_t kDefaultSeed = 1;

/// What every test is told.
struct TestSettings {
  std::filesystem::path library;   ///< may name one of its effects, as FILE::MATCH NAME
  std::filesystem::path resource;  ///< library whose resource describes the effect; may be empty
  const host::HostProfile* host = &host::DefaultHost();
  int strictness = kDefaultStrictness;
  std::uint64_t seed = kDefaultSeed;
};

/// Ends a test early; what was wrong has been said before.
struct TestEnded {};

/// What the user of a host would be shown of something that is wrong.
enum class Shown {
  kNothing,  ///< not a word; at most a picture that is wrong
  kDialog,   ///< an error dialog
  kCrash,    ///< the host crashes, or an error leaves it in no known state
  kHang,     ///< the host stands still
};

/// The kinds of line that a test sends to whoever runs it; a failure's says what is shown of it.
enum class LineKind { kStep, kFail, kFailDialog, kFailCrash, kNote, kSkip, kDone };

/// One test on its way. Everything said is passed on at once, so that a crash loses nothing.
/// Used on one thread only.
class TestRun {
 public:
  using Sink = std::function<void(LineKind kind, std::string_view text)>;

  TestRun(TestSettings settings, std::string_view testName, Sink sink);

  const TestSettings& Settings() const { return settings_; }
  Random& Rng() { return random_; }

  /// How often to repeat something that is done `base` times at the default strictness.
  int Rounds(int base) const;

  /// What is being tried now; named in the report when the process does not survive it.
  void Step(std::string_view text);
  /// Something is wrong. Each text counts once, and only the first few are passed on.
  void Fail(std::string_view text, Shown shown = Shown::kNothing);
  /// Like Fail, with what was being tried in front.
  void FailStep(std::string_view text, Shown shown = Shown::kNothing);
  [[noreturn]] void FailAndEnd(std::string_view text, Shown shown = Shown::kNothing);
  /// A word about a test that passed.
  void Note(std::string_view text);
  /// The test does not apply to this library; ends it.
  [[noreturn]] void Skip(std::string_view why);
  /// The effect did its work although these were not there, so that a later failure is its own.
  void DoesWithout(const std::vector<std::string>& missing);
  /// Something failed while these were asked for and not there. Where the effect has not shown
  /// that it does without, this is no fault of its own, and the test ends as not applicable.
  void SkipIfNeeded(const std::vector<std::string>& missing);

  /// The effect declares that its picture depends on more than its parameters.
  void LetPicturesVary() { picturesVary_ = true; }
  /// Whether two pictures of one frame need not be equal; a note says so once.
  bool PicturesVary();

  bool Failed() const { return !failures_.empty(); }
  /// So much is wrong that going on tells nothing new.
  bool HadEnough() const;

 private:
  TestSettings settings_;
  Random random_;
  Sink sink_;
  std::string step_;
  std::set<std::string, std::less<>> failures_;
  std::set<std::string, std::less<>> doneWithout_;
  bool picturesVary_ = false;
  bool saidSo_ = false;
};

}  // namespace veltra::check
