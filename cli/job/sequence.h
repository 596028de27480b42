// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// File names that stand for one file per frame.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace veltra::cli {

/// A file name with at most one place for a frame number: a run of # (as many digits) or printf's
/// %d and %04d. "%%" is a percent sign.
class FileName {
 public:
  /// Throws UsageError for a pattern with more than one place or another conversion.
  explicit FileName(const std::string& pattern);

  /// A name that stands for itself, whatever characters it has.
  static FileName Literal(const std::string& path);

  bool IsSequence() const { return isSequence_; }
  const std::string& Pattern() const { return pattern_; }
  /// The name of one frame's file; the same for every frame unless it is a sequence.
  std::string At(int frame) const;

 private:
  FileName() = default;

  std::string pattern_;
  std::string before_;
  std::string after_;
  int digits_ = 0;
  bool isSequence_ = false;
};

/// The frame numbers for which a sequence has files, ascending.
std::vector<int> FramesOnDisk(const FileName& name);

/// The largest step that meets all of ascending numbers from the first on; 0 for fewer than two.
std::int64_t StepOf(const std::vector<int>& numbers);

/// The numbers that are left out between the first and the last of ascending ones, going by the
/// largest step that meets them all: none in 1, 4, 7, and 5 in 1, 3, 7. None either where
/// there would be more than a million.
std::vector<int> HolesIn(const std::vector<int>& numbers);

/// "3, 7-12, 20": ascending numbers for people, in runs of neighbours; after `most` runs
/// "... (40 in all)".
std::string NumbersText(const std::vector<int>& numbers, std::size_t most = 8);

}  // namespace veltra::cli
