// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Patterns of numbered files.
#include "cli/job/sequence.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdint>
#include <filesystem>
#include <numeric>

#include "base/error.h"
#include "base/paths.h"
#include "base/text.h"
#include "system/files.h"

namespace veltra::cli {
namespace {

bool IsDigit(char c) {
  return std::isdigit(static_cast<unsigned char>(c)) != 0;
}

struct Place {
  std::size_t start = 0;
  std::size_t length = 0;
  int digits = 0;
};

/// The number place at `at`, if there is one; length 0 otherwise.
Place PlaceAt(const std::string& pattern, std::size_t at) {
  if (pattern[at] == '#') {
    const std::size_t end = std::min(pattern.find_first_not_of('#', at), pattern.size());
    return {at, end - at, static_cast<int>(end - at)};
  }
  std::size_t end = at + 1;
  while (end < pattern.size() && IsDigit(pattern[end])) {
    ++end;
  }
  constexpr std::size_t kMostWidthDigits = 3;
  if (pattern[at] != '%' || end >= pattern.size() || pattern[end] != 'd' ||
      end - at > kMostWidthDigits) {
    return {};
  }
  const int digits = end == at + 1 ? 1 : std::stoi(pattern.substr(at + 1, end - at - 1));
  return {at, end + 1 - at, std::max(digits, 1)};
}

}  // namespace

FileName::FileName(const std::string& pattern) : pattern_(pattern) {
  std::string* text = &before_;
  // Folders may contain anything; only the file's own name is a pattern.
  const std::size_t folder = pattern.find_last_of('/');
  std::size_t at = folder == std::string::npos ? 0 : folder + 1;
  before_ = pattern.substr(0, at);
  while (at < pattern.size()) {
    if (pattern.compare(at, 2, "%%") == 0) {
      *text += '%';
      at += 2;
      continue;
    }
    const Place place = PlaceAt(pattern, at);
    if (place.length == 0) {
      *text += pattern[at++];
      continue;
    }
    if (isSequence_) {
      throw UsageError(Text(pattern, ": more than one place for a frame number"));
    }
    isSequence_ = true;
    digits_ = place.digits;
    text = &after_;
    at += place.length;
  }
}

FileName FileName::Literal(const std::string& path) {
  FileName name;
  name.pattern_ = path;
  name.before_ = path;
  return name;
}

std::string FileName::At(int frame) const {
  if (!isSequence_) {
    return before_;
  }
  std::string number = std::to_string(frame);
  if (number.size() < static_cast<std::size_t>(digits_)) {
    number.insert(0, static_cast<std::size_t>(digits_) - number.size(), '0');
  }
  return Text(before_, number, after_);
}

std::vector<int> FramesOnDisk(const FileName& name) {
  const std::filesystem::path folder = PathOf(name.At(0)).parent_path();
  std::vector<int> numbers;
  for (const std::string& file : NamesIn(folder.empty() ? "." : folder.string())) {
    // A name is one of ours when its number gives it back.
    for (std::size_t at = 0; at < file.size(); ++at) {
      int number = 0;
      if (IsDigit(file[at]) && (at == 0 || !IsDigit(file[at - 1])) &&
          std::from_chars(file.data() + at, file.data() + file.size(), number).ec == std::errc() &&
          PathOf(name.At(number)).filename().string() == file) {
        numbers.push_back(number);
        break;
      }
    }
  }
  std::sort(numbers.begin(), numbers.end());
  return numbers;
}

std::int64_t StepOf(const std::vector<int>& numbers) {
  std::int64_t step = 0;
  for (std::size_t i = 1; i < numbers.size(); ++i) {
    step = std::gcd(step, std::int64_t{numbers[i]} - numbers[i - 1]);
  }
  return step;
}

std::vector<int> HolesIn(const std::vector<int>& numbers) {
  constexpr std::int64_t kMost = 1'000'000;
  const std::int64_t step = StepOf(numbers);
  std::vector<int> holes;
  if (step == 0 || (std::int64_t{numbers.back()} - numbers.front()) / step > kMost) {
    return holes;
  }
  for (std::size_t i = 1; i < numbers.size(); ++i) {
    for (std::int64_t hole = numbers[i - 1] + step; hole < numbers[i]; hole += step) {
      holes.push_back(static_cast<int>(hole));
    }
  }
  return holes;
}

std::string NumbersText(const std::vector<int>& numbers, std::size_t most) {
  std::string text;
  std::size_t runs = 0;
  for (std::size_t i = 0; i < numbers.size(); ++runs) {
    std::size_t end = i + 1;
    while (end < numbers.size() && numbers[end] == numbers[end - 1] + 1) {
      ++end;
    }
    if (runs == most) {
      return Text(text, ", ... (", numbers.size(), " in all)");
    }
    text += Text(text.empty() ? "" : ", ", numbers[i]);
    if (end - i > 1) {
      text += Text("-", numbers[end - 1]);
    }
    i = end;
  }
  return text;
}

}  // namespace veltra::cli
