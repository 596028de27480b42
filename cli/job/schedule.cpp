// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Frame numbers, what is there already, what is missing, and how much fits.
#include "cli/job/schedule.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <thread>
#include <utility>

#include "base/error.h"
#include "base/text.h"

namespace veltra::cli {
namespace {

/// Those of ascending numbers for which there is a file, and those for which there is none.
struct Presence {
  std::vector<int> there;
  std::vector<int> missing;
};

Presence LookFor(const Media& media, const std::vector<int>& numbers) {
  Presence presence;
  for (const int number : numbers) {
    std::error_code ignored;
    const bool there = std::filesystem::exists(media.At(number), ignored);
    (there ? presence.there : presence.missing).push_back(number);
  }
  return presence;
}

/// "in.####.png: 2 frames missing: 3, 5 (...)", with the way out.
std::string MissingFramesText(const std::string& pattern, const std::vector<int>& missing) {
  return Text(pattern, ": ", Count(missing.size(), "frame"), " missing: ", NumbersText(missing),
              " (--skip-missing leaves them out)");
}

std::vector<int> SequenceNumbers(const RenderOptions& options, const Media& sequence) {
  std::vector<int> numbers = FramesOnDisk(sequence.name);
  if (numbers.empty()) {
    throw RenderError(Text(sequence.Name(), ": no such files"));
  }
  const std::vector<int> holes = HolesIn(numbers);
  if (!holes.empty() && !options.skipMissing) {
    throw RenderError(MissingFramesText(sequence.Name(), holes));
  }
  return numbers;
}

/// The sequence that tells which frames there are: the frame, or else a layer.
const Media* CountedSequence(const JobMedia& media) {
  const Media* counted = media.frame.kind == MediaKind::kSequence ? &media.frame : nullptr;
  for (const auto& [index, layer] : media.layers) {
    counted = counted == nullptr && layer.kind == MediaKind::kSequence ? &layer : counted;
  }
  return counted;
}

std::vector<int> FrameNumbers(const RenderOptions& options, const JobMedia& media) {
  const Media& output = media.output;
  const bool outputCounts = output.kind == MediaKind::kSequence || output.kind == MediaKind::kVideo;
  if (options.frames) {
    std::vector<int> numbers = options.frames->Numbers();
    if (numbers.size() > 1 && !outputCounts) {
      throw UsageError(
          Text(output.Name(), ": needs a place for the frame number, such as ", "name.####.png"));
    }
    return numbers;
  }
  const Media* counted = CountedSequence(media);
  if (counted != nullptr && !outputCounts) {
    throw UsageError(Text(counted->Name(),
                          ": which frame? (give --frames, or an output such as name.####.png)"));
  }
  if (counted != nullptr) {
    return SequenceNumbers(options, *counted);
  }
  if (outputCounts) {
    throw UsageError(Text(output.Name(), ": which frames? (give --frames, such as 1-240)"));
  }
  return {0};
}

std::uint64_t AvailableMemory() {
  std::ifstream file("/proc/meminfo");
  std::string key;
  std::uint64_t kilobytes = 0;
  std::string unit;
  while (file >> key >> kilobytes) {
    if (key == "MemAvailable:") {
      return kilobytes * 1024;
    }
    std::getline(file, unit);
  }
  constexpr std::uint64_t kModest = std::uint64_t{2} << 30;
  return kModest;
}

}  // namespace

Schedule::Schedule(const RenderOptions& options, const JobMedia& media) {
  SetNumbers(FrameNumbers(options, media));
}

Schedule Schedule::UntilTheEnd(int told) {
  Schedule schedule;
  schedule.openEnd_ = true;
  schedule.SetNumbers(FrameRange{1, std::max(1, told), 1}.Numbers());
  return schedule;
}

void Schedule::SetNumbers(std::vector<int> numbers) {
  numbers_ = std::move(numbers);
  first_ = numbers_.front();
  last_ = numbers_.back();
}

void Schedule::CheckOutputs(const RenderOptions& options, const Media& output) {
  if (!options.noClobber && !options.resume) {
    return;
  }
  Presence outputs = LookFor(output, numbers_);
  if (options.resume) {
    leftOut_ += outputs.there.size();
    numbers_ = std::move(outputs.missing);
  } else if (!outputs.there.empty()) {
    throw RenderError(output.kind == MediaKind::kSequence
                          ? Text(output.Name(), ": already there: ", NumbersText(outputs.there))
                          : Text(output.At(outputs.there.front()), ": already there"));
  }
}

std::vector<std::string> Schedule::CheckInputs(const RenderOptions& options,
                                               const JobMedia& media) {
  std::vector<const Media*> inputs = {&media.frame};
  for (const auto& [index, layer] : media.layers) {
    inputs.push_back(&layer);
  }
  std::vector<std::string> notes;
  for (const Media* input : inputs) {
    if (input->kind != MediaKind::kSequence) {
      continue;
    }
    Presence frames = LookFor(*input, numbers_);
    if (frames.missing.empty()) {
      continue;
    }
    if (!options.skipMissing) {
      throw RenderError(MissingFramesText(input->Name(), frames.missing));
    }
    if (frames.there.empty()) {
      throw RenderError(Text(input->Name(), ": no such files"));
    }
    leftOut_ += frames.missing.size();
    notes.push_back(Text(input->Name(), ": left out ", NumbersText(frames.missing)));
    numbers_ = std::move(frames.there);
  }
  return notes;
}

std::optional<Schedule::Turn> Schedule::Next() const {
  if (next_ < numbers_.size()) {
    return Turn{next_, numbers_[next_]};
  }
  if (!openEnd_) {
    return std::nullopt;
  }
  return Turn{next_, numbers_.back() + static_cast<int>(next_ + 1 - numbers_.size())};
}

int ThreadsOf(const RenderOptions& options) {
  return options.threads > 0 ? options.threads
                             : static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
}

Spread SpreadOver(const RenderOptions& options, std::size_t frameCount,
                  std::uint64_t bytesPerFrame) {
  Spread spread;
  spread.threads = ThreadsOf(options);
  const auto most = static_cast<int>(std::min<std::size_t>(frameCount, 1U << 16));
  if (options.concurrentFrames > 0) {
    spread.frames = std::min(options.concurrentFrames, most);
    return spread;
  }
  // Half of what is free: the rest of the machine has uses for memory too.
  const std::uint64_t fitting = AvailableMemory() / 2 / std::max<std::uint64_t>(bytesPerFrame, 1);
  const auto memoryLimit = static_cast<int>(std::clamp<std::uint64_t>(fitting, 1, 1U << 16));
  spread.frames = std::max(1, std::min({spread.threads, memoryLimit, most}));
  return spread;
}

}  // namespace veltra::cli
