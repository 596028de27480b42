// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Runs a job: frames go from the sources through the effect into the sink, several at once.
#include <algorithm>
#include <atomic>
#include <exception>
#include <filesystem>
#include <mutex>
#include <set>
#include <system_error>
#include <thread>
#include <utility>

#include "base/error.h"
#include "base/text.h"
#include "cli/job/frame_render.h"
#include "cli/job/frame_sink.h"
#include "cli/job/frame_source.h"
#include "cli/job/job.h"
#include "cli/job/progress.h"
#include "cli/job/schedule.h"
#include "pictures/picture_world.h"
#include "system/interrupt.h"

namespace veltra::cli {
namespace {

JobMedia MediaOf(const RenderJob& job) {
  JobMedia media{InputMedia(job.options.frame), {}, OutputMedia(job.options.output)};
  for (const auto& [index, path] : job.layers) {
    media.layers[index] = InputMedia(path);
  }
  return media;
}

/// The opened inputs of a job.
struct Sources {
  std::unique_ptr<FrameSource> frame;  ///< null for a transparent frame
  std::map<PF_ParamIndex, std::unique_ptr<FrameSource>> layers;

  explicit Sources(const JobMedia& media) {
    frame = media.frame.kind != MediaKind::kNone ? OpenSource(media.frame) : nullptr;
    for (const auto& [index, layer] : media.layers) {
      layers[index] = OpenSource(layer);
    }
  }

  const VideoInfo* FrameVideo() const { return frame != nullptr ? frame->Video() : nullptr; }
  const VideoInfo* FirstLayerVideo() const {
    for (const auto& [index, layer] : layers) {
      if (layer->Video() != nullptr) {
        return layer->Video();
      }
    }
    return nullptr;
  }
};

/// The pictures of one frame's turn.
struct TakenFrame {
  Schedule::Turn turn;
  std::unique_ptr<SourcePicture> frame;
  std::map<PF_ParamIndex, std::unique_ptr<SourcePicture>> layers;
};

Schedule MakeSchedule(const RenderJob& job, const JobMedia& media, const Sources& sources) {
  const VideoInfo* frameVideo = sources.FrameVideo();
  const VideoInfo* layerVideo =
      media.frame.kind == MediaKind::kSequence ? nullptr : sources.FirstLayerVideo();
  const VideoInfo* counted = frameVideo != nullptr ? frameVideo : layerVideo;
  if (counted == nullptr || job.options.frames) {
    return {job.options, media};
  }
  if (media.output.kind == MediaKind::kStill) {
    throw UsageError(Text(media.output.Name(), ": which frame of the video? (give --frames, or ",
                          "an output such as name.####.png)"));
  }
  return Schedule::UntilTheEnd(counted->frames);
}

/// One run over all frames, from the first look at the inputs to the last word.
class JobRun {
 public:
  explicit JobRun(const RenderJob& job)
      : job_(job),
        media_(MediaOf(job)),
        sink_(MakeSink(media_.output, job.options)),
        sources_(media_),
        schedule_(MakeSchedule(job, media_, sources_)) {}

  void Run();

 private:
  PF_RationalScale Rate() const;
  void CheckFolder() const;
  PictureInfo LookAtFirst();
  void Prepare();
  void RenderAll();
  std::optional<TakenFrame> TakeNext();
  bool RenderNext(const FrameRenderer& renderer);
  void WarnOnce(const std::vector<std::string>& lines);

  const RenderJob& job_;
  JobMedia media_;
  std::unique_ptr<FrameSink> sink_;
  Sources sources_;
  Schedule schedule_;
  std::unique_ptr<Progress> progress_;

  PictureInfo first_;  ///< of the first frame
  host::Depth depth_ = host::Depth::k8;
  Spread spread_;
  std::unique_ptr<host::ThreadPool> pool_;

  std::mutex turnMutex_;  ///< frames are taken one after the other
  bool stop_ = false;     ///< guarded by `turnMutex_`
  std::mutex warnMutex_;
  std::set<std::string> warned_;  ///< guarded by `warnMutex_`
};

PF_RationalScale JobRun::Rate() const {
  const VideoInfo* video =
      sources_.FrameVideo() != nullptr ? sources_.FrameVideo() : sources_.FirstLayerVideo();
  return job_.options.rate.value_or(video != nullptr ? video->rate : PF_RationalScale{24, 1});
}

/// Found out now rather than after the first render.
void JobRun::CheckFolder() const {
  const std::filesystem::path target(media_.output.At(schedule_.First()));
  const std::filesystem::path folder = target.parent_path();
  std::error_code ignored;
  if (!folder.empty() && !std::filesystem::is_directory(folder, ignored)) {
    throw RenderError(Text(media_.output.Name(), ": no such folder ", folder.string()));
  }
  if (std::filesystem::is_directory(target, ignored)) {
    throw RenderError(Text(target.string(), ": is a directory"));
  }
}

PictureInfo JobRun::LookAtFirst() {
  const int number = schedule_.Numbers().front();
  if (sources_.frame != nullptr) {
    return sources_.frame->Look(number);
  }
  PictureInfo info;
  info.channels = 4;
  info.width = job_.options.size->width;
  info.height = job_.options.size->height;
  for (const auto& [index, layer] : sources_.layers) {
    info.stored = layer->Look(number).stored;  // a transparent frame has its layer's depth
  }
  return info;
}

/// Settles depth, threads and memory by the first frame, and tells sources and sink.
void JobRun::Prepare() {
  SetPictureThreads(ThreadsOf(job_.options));
  first_ = LookAtFirst();
  depth_ = job_.options.depth.value_or(DepthOf(first_));
  CheckDepth(job_, depth_);
  const std::uint64_t pixels =
      static_cast<std::uint64_t>(first_.width) * static_cast<std::uint64_t>(first_.height);
  const std::vector<int>& numbers = schedule_.Numbers();
  spread_ = SpreadOver(job_.options, numbers.size(),
                       2 * pixels * static_cast<std::uint64_t>(host::BytesPerPixel(depth_)));
  // Frames in flight work on their own threads; the pool has those that are left.
  pool_ = std::make_unique<host::ThreadPool>(std::max(1, spread_.threads - spread_.frames + 1));

  sink_->Prepare({depth_, Rate(), numbers, sources_.FrameVideo(), pool_.get()}, first_);
  SourceSettings settings{depth_,
                          job_.options.downsample,
                          {1, 1},
                          Rate(),
                          numbers.size() > 1 || schedule_.HasOpenEnd(),
                          pool_.get()};
  for (const auto& [index, layer] : sources_.layers) {
    settings.pixelAspect = job_.options.layerPixelAspect;
    layer->Prepare(settings);
  }
  if (sources_.frame != nullptr) {
    settings.pixelAspect = job_.options.pixelAspect;
    sources_.frame->Prepare(settings);
  }
}

void JobRun::WarnOnce(const std::vector<std::string>& lines) {
  const std::lock_guard lock(warnMutex_);
  for (const std::string& line : lines) {
    if (warned_.insert(line).second) {
      progress_->Warn(line);
    }
  }
}

/// The pictures of the next frame; nothing when there is none. A layer's video may end early: from
/// then on there is no layer.
std::optional<TakenFrame> JobRun::TakeNext() {
  const std::lock_guard lock(turnMutex_);
  ThrowIfInterrupted();
  const std::optional<Schedule::Turn> turn = schedule_.Next();
  if (stop_ || !turn) {
    return std::nullopt;
  }
  TakenFrame taken;
  taken.turn = *turn;
  bool any = sources_.frame != nullptr && sources_.frame->Video() != nullptr;
  if (sources_.frame != nullptr) {
    taken.frame = sources_.frame->Take(turn->number);
    if (taken.frame == nullptr) {
      if (!schedule_.HasOpenEnd()) {
        throw RenderError(Text(media_.frame.Name(), ": has no frame ", turn->number));
      }
      return std::nullopt;
    }
  }
  for (const auto& [index, layer] : sources_.layers) {
    taken.layers[index] = layer->Take(turn->number);
    any = any || (layer->Video() != nullptr && taken.layers[index] != nullptr);
  }
  if (schedule_.HasOpenEnd() && !any) {
    return std::nullopt;
  }
  schedule_.Advance();
  return taken;
}

/// Takes the next frame, if there is one, and does all there is to do for it.
bool JobRun::RenderNext(const FrameRenderer& renderer) {
  std::optional<TakenFrame> taken = TakeNext();
  if (!taken) {
    return false;
  }
  const PictureInfo& info = taken->frame != nullptr ? taken->frame->Info() : first_;
  FrameInputs inputs;
  inputs.width = info.width;
  inputs.height = info.height;
  for (const auto& [index, picture] : taken->layers) {
    inputs.layers[index] = picture != nullptr ? picture->Read() : nullptr;
  }
  if (taken->frame != nullptr) {
    inputs.readFrame = [&frame = *taken->frame] { return frame.Read(); };
  }
  std::function<void(double)> within;
  if (schedule_.Numbers().size() == 1) {
    within = [this](double fraction) { progress_->Within(fraction); };
  }
  const RenderedFrame rendered = renderer.Render(taken->turn.number, inputs, within);
  inputs = {};  // not needed while writing
  WarnOnce(rendered.warnings);
  const std::string path =
      sink_->Write({taken->turn.index, taken->turn.number, info}, rendered.picture);
  progress_->FrameDone(taken->turn.number, path);
  return true;
}

void JobRun::RenderAll() {
  const FrameRenderer renderer(job_, depth_, schedule_.First(), schedule_.Last(), Rate(),
                               pool_.get());
  std::exception_ptr failure;
  const auto work = [&] {
    try {
      while (RenderNext(renderer)) {
      }
    } catch (...) {
      const std::lock_guard lock(turnMutex_);
      failure = failure == nullptr ? std::current_exception() : failure;
      stop_ = true;
      sink_->GiveUp();
    }
  };
  std::vector<std::thread> helpers;
  try {
    for (int i = 1; i < spread_.frames; ++i) {
      helpers.emplace_back(work);
    }
  } catch (const std::system_error&) {
    // No more threads to be had: those that there are do it all.
  }
  work();
  for (std::thread& helper : helpers) {
    helper.join();
  }
  ThrowIfInterrupted();
  if (failure != nullptr) {
    std::rethrow_exception(failure);
  }
}

void JobRun::Run() {
  schedule_.CheckOutputs(job_.options, media_.output);
  progress_ = std::make_unique<Progress>(
      job_.options.progress, static_cast<int>(schedule_.Numbers().size() + schedule_.LeftOut()));
  if (!schedule_.Numbers().empty()) {
    WarnOnce(schedule_.CheckInputs(job_.options, media_));
    CheckFolder();
    Prepare();
  }
  progress_->Skip(static_cast<int>(schedule_.LeftOut()));
  if (!schedule_.Numbers().empty()) {
    RenderAll();
    WarnOnce(sink_->Finish());
  }
  progress_->Finish(job_.options.output);
}

}  // namespace

void RunJob(const RenderJob& job) {
  JobRun(job).Run();
}

}  // namespace veltra::cli
