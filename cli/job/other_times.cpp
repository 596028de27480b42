// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Second sources, and the pictures that were asked for last.
#include "cli/job/other_times.h"

#include <algorithm>
#include <cstdint>

#include "base/error.h"
#include "base/text.h"

namespace veltra::cli {
namespace {

/// The frame that shows at a time: the last one that has begun.
std::int64_t FrameAt(A_long time, A_u_long scale, PF_RationalScale rate) {
  const std::int64_t over = std::int64_t{time} * rate.num;
  const std::int64_t under =
      static_cast<std::int64_t>(std::max<A_u_long>(scale, 1)) * static_cast<std::int64_t>(rate.den);
  return over >= 0 ? over / under : -((-over + under - 1) / under);
}

}  // namespace

bool ChangesWithTime(const JobInput& input) {
  return input.media.kind == MediaKind::kSequence || input.media.kind == MediaKind::kVideo ||
         input.media.kind == MediaKind::kStream;
}

OtherTimes::OtherTimes(const RenderOptions& options, const JobFiles& files, std::size_t pass,
                       PF_RationalScale rate, const SourceSettings& settings)
    : options_(options), rate_(rate), settings_(settings) {
  if (pass == 0 && files.frame && ChangesWithTime(*files.frame)) {
    inputs_[0].input = &*files.frame;
  }
  for (const JobInput& layer : files.layers) {
    if (layer.pass == pass && ChangesWithTime(layer)) {
      inputs_[layer.index].input = &layer;
    }
  }
}

void OtherTimes::Open(Input& input) const {
  const JobInput& job = *input.input;
  if (job.media.kind == MediaKind::kStream) {
    throw RenderError(Text(job.media.Name(),
                           ": the effect asks for frames of other times, which a stream does not "
                           "have (render from files)"));
  }
  if (job.media.kind == MediaKind::kSequence && !job.timing.IsSet()) {
    const std::vector<int> numbers = FramesOnDisk(job.media.name);
    input.onDisk = numbers.empty() ? FrameRange{1, 0} : FrameRange{numbers.front(), numbers.back()};
  }
  std::unique_ptr<FrameSource> source =
      OpenSource(job.media, {job.isLayer ? "" : options_.channels});
  source->SetTiming({job.isLayer, job.timing, rate_});
  SourceSettings settings = settings_;
  settings.pixelAspect = job.pixelAspect;
  source->Prepare(settings);
  input.source = std::move(source);
}

SharedWorld OtherTimes::Read(Input& input, int frame) const {
  if (input.source == nullptr) {
    Open(input);
  }
  const bool outside = input.onDisk && (frame < input.onDisk->first || frame > input.onDisk->last);
  const Presence presence = outside ? Presence::kNothing : input.source->Has(frame);
  if (presence == Presence::kMissing && input.onDisk) {
    throw RenderError(Text(input.source->Describe(frame), ": no such file"));
  }
  if (presence != Presence::kThere) {
    return nullptr;
  }
  const std::unique_ptr<SourcePicture> picture = input.source->Take(frame);
  return picture == nullptr ? nullptr : picture->Read();
}

void OtherTimes::Keep(PF_ParamIndex index, int frame, const SharedWorld& world) {
  constexpr std::size_t kBudget = std::size_t{1} << 29;
  constexpr std::size_t kMostKept = 64;
  kept_.push_front({index, frame, world});
  std::size_t bytes = 0;
  std::size_t count = 0;
  for (auto kept = kept_.begin(); kept != kept_.end(); ++count) {
    bytes += kept->world == nullptr
                 ? 0
                 : static_cast<std::size_t>(kept->world->Width()) *
                       static_cast<std::size_t>(kept->world->Height()) *
                       static_cast<std::size_t>(host::BytesPerPixel(kept->world->PixelDepth()));
    const bool stays = count == 0 || (bytes <= kBudget && count < kMostKept);
    kept = stays ? std::next(kept) : kept_.erase(kept);
  }
}

SharedWorld OtherTimes::At(PF_ParamIndex index, A_long time, A_u_long scale) {
  const std::int64_t wanted = FrameAt(time, scale, rate_);
  if (wanted < 0 || wanted > kMostFrameNumber) {
    return nullptr;
  }
  const auto frame = static_cast<int>(wanted);
  const std::lock_guard lock(mutex_);
  const auto found = std::find_if(kept_.begin(), kept_.end(), [&](const Kept& kept) {
    return kept.index == index && kept.frame == frame;
  });
  if (found != kept_.end()) {
    kept_.splice(kept_.begin(), kept_, found);
    return found->world;
  }
  SharedWorld world = Read(inputs_.at(index), frame);
  Keep(index, frame, world);
  return world;
}

}  // namespace veltra::cli
