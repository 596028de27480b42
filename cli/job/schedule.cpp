// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Frame numbers, what is there already, what is missing, and how much fits.
#include "cli/job/schedule.h"

#include <algorithm>
#include <filesystem>
#include <thread>
#include <utility>

#include "base/error.h"
#include "base/paths.h"
#include "base/text.h"
#include "system/memory.h"

namespace veltra::cli {
namespace {

/// "in.####.png: 2 frames missing: 3, 5 (...)", with the way out.
std::string MissingFramesText(const std::string& pattern, const std::vector<int>& missing) {
  return Text(pattern, ": ", Count(missing.size(), "frame"), " missing: ", NumbersText(missing),
              " (--skip-missing leaves them out)");
}

std::string MissingText(const JobInput& input, const std::vector<int>& missing) {
  if (input.media.kind != MediaKind::kVideo) {
    return MissingFramesText(input.media.Name(), missing);
  }
  return Text(input.media.Name(), ": has no frame ", NumbersText(missing), " (its frames are 1-",
              input.source->LastFrame(), "; --skip-missing leaves others out)");
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

/// The input that tells which frames there are: the frame where it is a sequence, a stream or a
/// video, or else the first layer that is, a video before a sequence. Null where nothing counts.
const JobInput* CountedInput(const JobFiles& files) {
  const auto counts = [](const JobInput& input, MediaKind kind) {
    return input.media.kind == kind && (kind == MediaKind::kVideo || !input.timing.IsSet());
  };
  if (files.frame && files.frame->media.kind == MediaKind::kStream) {
    return &*files.frame;
  }
  for (const MediaKind kind : {MediaKind::kVideo, MediaKind::kSequence}) {
    if (files.frame && counts(*files.frame, kind)) {
      return &*files.frame;
    }
  }
  const LayerEnd none = LayerEnd::kNone;
  for (const MediaKind kind : {MediaKind::kVideo, MediaKind::kSequence}) {
    for (const JobInput& layer : files.layers) {
      if (counts(layer, kind) && layer.timing.end.value_or(none) == none) {
        return &layer;
      }
    }
  }
  return nullptr;
}

/// All frames for which a video has something.
std::vector<int> VideoNumbers(const JobInput& video) {
  const int first = std::max(video.timing.start.value_or(1), 0);
  std::vector<int> numbers;
  for (int number = first; number <= std::max(video.source->LastFrame(), first); ++number) {
    numbers.push_back(number);
  }
  return numbers;
}

std::vector<int> FrameNumbers(const RenderOptions& options, const JobFiles& files) {
  const Media& output = files.output;
  const bool outputCounts = output.kind == MediaKind::kSequence ||
                            output.kind == MediaKind::kVideo || output.kind == MediaKind::kStream;
  if (options.frames) {
    std::vector<int> numbers = options.frames->Numbers();
    if (numbers.size() > 1 && !outputCounts) {
      throw UsageError(
          Text(output.Name(), ": needs a place for the frame number, such as ", "name.####.png"));
    }
    return numbers;
  }
  const JobInput* counted = CountedInput(files);
  if (counted == nullptr && !outputCounts) {
    return {0};
  }
  if (counted == nullptr) {
    throw UsageError(Text(output.Name(), ": which frames? (give --frames, such as 1-240)"));
  }
  const bool stream = counted->media.kind == MediaKind::kStream;
  const bool video = counted->media.kind == MediaKind::kVideo || stream;
  if (!outputCounts && video) {
    throw UsageError(Text(output.Name(), ": which frame of the ", stream ? "stream" : "video",
                          "? (give --frames, or an ", "output such as name.####.png)"));
  }
  if (!outputCounts) {
    throw UsageError(Text(counted->media.Name(),
                          ": which frame? (give --frames, or an output such as name.####.png)"));
  }
  return video ? VideoNumbers(*counted) : SequenceNumbers(options, counted->media);
}

std::vector<int> Chosen(const FrameList& part, const std::vector<int>& numbers) {
  std::vector<int> chosen = part.Numbers();
  for (const int number : chosen) {
    if (!std::binary_search(numbers.begin(), numbers.end(), number)) {
      throw UsageError(
          Text("--part: ", number, " is none of the frames (", NumbersText(numbers), ")"));
    }
  }
  return chosen;
}

}  // namespace

Schedule::Schedule(const RenderOptions& options, const JobFiles& files)
    : numbers_(FrameNumbers(options, files)),
      first_(numbers_.front()),
      last_(numbers_.back()),
      openEnd_(!options.frames && !options.part && files.frame &&
               (files.frame->media.kind == MediaKind::kVideo ||
                files.frame->media.kind == MediaKind::kStream)),
      unknownCount_(openEnd_ && files.frame->media.kind == MediaKind::kStream) {
  if (options.part) {
    numbers_ = Chosen(*options.part, numbers_);
  }
}

void Schedule::CheckOutputs(const RenderOptions& options, const Media& output) {
  if (!options.noClobber && !options.resume) {
    return;
  }
  std::vector<int> there;
  std::vector<int> missing;
  for (const int number : numbers_) {
    std::error_code ignored;
    (std::filesystem::exists(PathOf(output.At(number)), ignored) ? there : missing)
        .push_back(number);
  }
  if (options.resume) {
    leftOut_ += there.size();
    numbers_ = std::move(missing);
  } else if (!there.empty()) {
    throw RenderError(output.kind == MediaKind::kSequence
                          ? Text(output.Name(), ": already there: ", NumbersText(there))
                          : Text(output.At(there.front()), ": already there"));
  }
}

void Schedule::CheckInput(const RenderOptions& options, const JobInput& input,
                          std::vector<std::string>& notes) {
  std::vector<int> kept;
  std::vector<int> missing;
  std::vector<int> without;
  for (const int number : numbers_) {
    const Presence presence = input.source->Has(number);
    (presence == Presence::kMissing ? missing : kept).push_back(number);
    if (presence == Presence::kNothing) {
      without.push_back(number);
    }
  }
  const std::string& name = input.media.Name();
  if (!missing.empty() && !options.skipMissing) {
    throw RenderError(MissingText(input, missing));
  }
  if (!missing.empty() && kept.empty()) {
    throw RenderError(input.media.kind == MediaKind::kVideo ? MissingText(input, missing)
                                                            : Text(name, ": no such files"));
  }
  if (!missing.empty()) {
    leftOut_ += missing.size();
    notes.push_back(Text(name, ": left out ", NumbersText(missing)));
    numbers_ = std::move(kept);
  }
  if (!without.empty() && without.size() == numbers_.size()) {
    notes.push_back(Text(name, ": shows in none of the frames (see --layer-start)"));
  } else if (!without.empty() && !input.timing.end) {
    notes.push_back(Text(name, ": no layer in ", NumbersText(without),
                         " (--layer-end hold, loop or ping-pong continues it)"));
  }
}

std::vector<std::string> Schedule::CheckInputs(const RenderOptions& options,
                                               const JobFiles& files) {
  std::vector<std::string> notes;
  if (files.frame) {
    CheckInput(options, *files.frame, notes);
  }
  for (const JobInput& layer : files.layers) {
    CheckInput(options, layer, notes);
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
