// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Splitting frames, and writing runs of them down.
#include "cli/farm/ranges.h"

#include <algorithm>
#include <cmath>

#include "base/text.h"

namespace veltra::cli {
namespace {

/// Where the evenly spaced run that begins at `first` ends; two numbers alone are no run.
std::size_t EndOfRun(const std::vector<int>& numbers, std::size_t first) {
  std::size_t end = first + 1;
  while (end < numbers.size() &&
         numbers[end] - numbers[end - 1] == numbers[first + 1] - numbers[first]) {
    ++end;
  }
  const bool pair = end - first == 2 && numbers[first + 1] - numbers[first] != 1;
  return pair ? first + 1 : end;
}

std::string RunText(const std::vector<int>& numbers, std::size_t first, std::size_t end) {
  if (end - first == 1) {
    return Text(numbers[first]);
  }
  const int step = numbers[first + 1] - numbers[first];
  return step == 1 ? Text(numbers[first], "-", numbers[end - 1])
                   : Text(numbers[first], "-", numbers[end - 1], "x", step);
}

}  // namespace

std::string FramesText(const std::vector<int>& numbers) {
  std::string text;
  for (std::size_t first = 0; first < numbers.size();) {
    const std::size_t end = EndOfRun(numbers, first);
    text += Text(text.empty() ? "" : ",", RunText(numbers, first, end));
    first = end;
  }
  return text;
}

std::vector<std::vector<int>> SplitFrames(const std::vector<int>& numbers, std::size_t size) {
  std::vector<std::vector<int>> ranges;
  for (std::size_t first = 0; first < numbers.size(); first += size) {
    const std::size_t end = std::min(numbers.size(), first + size);
    ranges.emplace_back(numbers.begin() + static_cast<std::ptrdiff_t>(first),
                        numbers.begin() + static_cast<std::ptrdiff_t>(end));
  }
  return ranges;
}

std::size_t FramesPerTask(std::size_t frames, double secondsPerFrame, std::size_t mostTasks) {
  constexpr double kGood = 180;
  constexpr double kLongest = 600;
  constexpr double kQuickest = 1e-3;  // no frame is read, rendered and written in less
  const double seconds = std::max(secondsPerFrame, kQuickest);
  const auto fitting = [seconds](double length) {
    return static_cast<std::size_t>(std::max(1.0, std::floor(length / seconds)));
  };
  const std::size_t needed = (frames + mostTasks - 1) / std::max<std::size_t>(mostTasks, 1);
  const std::size_t size =
      std::clamp(needed, fitting(kGood), std::max(fitting(kGood), fitting(kLongest)));
  return std::min(std::max<std::size_t>(frames, 1), size);
}

}  // namespace veltra::cli
