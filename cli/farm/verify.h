// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Whether frames are there, whole, and what they should be.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "cli/job/sequence.h"
#include "pictures/picture.h"

namespace veltra::cli {

/// What every frame of a sequence should be.
struct ExpectedPicture {
  int width = 0;
  int height = 0;
  pictures::SampleType stored = pictures::SampleType::kUint8;  ///< of a file
};

struct Verified {
  std::size_t whole = 0;
  std::vector<int> missing;            ///< ascending
  std::map<int, std::string> damaged;  ///< with what is wrong
};

/// Splits the frames into those that are there and those that are not, reading the folder once, or
/// asking for each where they are few. The ones there count as whole so far.
Verified FindFrames(const FileName& name, const std::vector<int>& numbers);

/// Decodes every frame that is there, on several threads. `onFrame` is called after each, one call
/// at a time. Throws Interrupted.
Verified VerifyFrames(const FileName& name, const std::vector<int>& numbers,
                      const ExpectedPicture& expected, int threads,
                      const std::function<void()>& onFrame);

/// Empty when the video holds that many frames and all of them decode, otherwise what is wrong.
std::string VideoTrouble(const std::string& path, std::size_t frames);

/// Empty when the file is a whole picture of that kind, otherwise what is wrong in one line
/// without the file's name.
std::string PictureTrouble(const std::string& path, const ExpectedPicture& expected);

}  // namespace veltra::cli
