// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Runs a job: frames go from the sources through the passes into the sink, several at once.
#include <algorithm>
#include <array>
#include <charconv>
#include <exception>
#include <filesystem>
#include <limits>
#include <mutex>
#include <new>
#include <set>
#include <span>
#include <thread>
#include <utility>

#include "base/error.h"
#include "base/paths.h"
#include "base/text.h"
#include "cli/job/dry_run.h"
#include "cli/job/frame_render.h"
#include "cli/job/frame_sink.h"
#include "cli/job/frame_source.h"
#include "cli/job/job.h"
#include "cli/job/progress.h"
#include "cli/job/schedule.h"
#include "cli/job/stereo.h"
#include "pictures/picture_world.h"
#include "system/interrupt.h"

namespace veltra::cli {
namespace {

// ---- Inputs ----

Media OutputOf(const RenderOptions& options) {
  const Media media = OutputMedia(options.output);
  return options.stream ? AsStream(media) : media;
}

JobFiles NameFiles(const RenderJob& job) {
  JobFiles files;
  files.output = OutputOf(job.options);
  if (!job.options.frame.empty()) {
    files.frame.emplace();
    files.frame->media = InputMedia(job.options.frame);
    if (job.options.stream) {
      files.frame->media = AsStream(files.frame->media);
    }
    files.frame->pixelAspect = job.options.pixelAspect;
  }
  for (std::size_t pass = 0; pass < job.passes.size(); ++pass) {
    for (const auto& [index, path] : job.passes[pass].layers) {
      JobInput& layer = files.layers.emplace_back();
      layer.media = InputMedia(path);
      layer.isLayer = true;
      layer.timing = job.passes[pass].timing;
      layer.pixelAspect = job.passes[pass].layerPixelAspect;
      layer.pass = pass;
      layer.index = index;
    }
  }
  const bool streams = files.output.kind == MediaKind::kStream ||
                       (files.frame && files.frame->media.kind == MediaKind::kStream);
  if (job.options.stream && !streams) {
    throw UsageError("--stream: neither the frame nor the output is - (add -f - or -o -)");
  }
  return files;
}

const VideoInfo* FrameVideo(const JobFiles& files) {
  return files.frame ? files.frame->source->Video() : nullptr;
}

/// The output's frames per second: --rate, or the frame's video's, or the first layer video's.
PF_RationalScale RateOf(const RenderOptions& options, const JobFiles& files) {
  const VideoInfo* video = FrameVideo(files);
  if (video != nullptr && !video->times.seconds.empty() && !options.rate) {
    throw UsageError(Text(video->path, ": its frames come at varying times (give --rate; each ",
                          "frame of the output then shows what the video shows at its time)"));
  }
  for (const JobInput& layer : files.layers) {
    video = video == nullptr ? layer.source->Video() : video;
  }
  return options.rate.value_or(video != nullptr ? video->rate : PF_RationalScale{24, 1});
}

/// Refuses what is known to be damaged before any frame is rendered of it.
void CheckDamage(const RenderOptions& options, const JobInput& input) {
  const VideoInfo* video = input.source->Video();
  if (video != nullptr && !video->times.damage.empty() && !options.keepGoing) {
    throw RenderError(
        Text(video->path, ": ", video->times.damage, " (--keep-going renders the frames before)"));
  }
}

/// Opens the inputs and places their frames in the output's time.
JobFiles OpenFiles(const RenderJob& job) {
  JobFiles files = NameFiles(job);
  std::vector<JobInput*> inputs;
  if (files.frame) {
    inputs.push_back(&*files.frame);
  }
  for (JobInput& layer : files.layers) {
    inputs.push_back(&layer);
  }
  for (JobInput* input : inputs) {
    input->source = OpenSource(input->media, {input->isLayer ? "" : job.options.channels});
    CheckDamage(job.options, *input);
  }
  const PF_RationalScale rate = RateOf(job.options, files);
  for (JobInput* input : inputs) {
    input->source->SetTiming({input->isLayer, input->timing, rate});
  }
  return files;
}

std::uint64_t BytesOf(int width, int height, host::Depth depth) {
  return static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height) *
         static_cast<std::uint64_t>(host::BytesPerPixel(depth));
}

/// The pictures of one frame's turn.
struct TakenFrame {
  std::unique_ptr<SourcePicture> frame;
  std::vector<std::unique_ptr<SourcePicture>> layers;  ///< as in JobFiles; null is no layer
};

/// The layers of one frame's turn. Each can be read once; for a second eye they are kept.
class TakenLayers {
 public:
  TakenLayers(const std::vector<std::unique_ptr<SourcePicture>>& pictures, bool keep)
      : pictures_(pictures), keep_(keep), worlds_(pictures.size()) {}

  bool Has(std::size_t layer) const { return pictures_[layer] != nullptr; }
  SharedWorld Read(std::size_t layer) {
    if (worlds_[layer] != nullptr) {
      return worlds_[layer];
    }
    SharedWorld world = pictures_[layer]->Read();
    worlds_[layer] = keep_ ? world : nullptr;
    return world;
  }

 private:
  const std::vector<std::unique_ptr<SourcePicture>>& pictures_;
  bool keep_;
  std::vector<SharedWorld> worlds_;
};

// ---- A run ----

/// One run over all frames, from the first look at the inputs to the last word.
class JobRun {
 public:
  explicit JobRun(const RenderJob& job)
      : job_(job),
        options_(job.options),
        sink_(MakeSink(OutputOf(job.options), job.options)),
        files_(OpenFiles(job)),
        rate_(RateOf(options_, files_)),
        schedule_(options_, files_) {}

  void Run();
  JobPlan Plan();

 private:
  /// One for each pass; with --stereo the same again for the right eye, since each has its own
  /// sequence data.
  using Renderers = std::vector<FrameRenderer>;

  void CheckFolder() const;
  pictures::PictureInfo LookAtFirst();
  void LookAhead();
  void LowerDepth();
  void CheckStereo();
  std::uint64_t BytesPerFrame() const;
  void Prepare();
  bool ChangesBefore(std::size_t pass) const;
  void RenderAll();
  void TryFrames(const Renderers& renderers);
  bool RenderNext(const Renderers& renderers);
  host::World LayPasses(int number, FrameInputs inputs, TakenLayers& layers,
                        std::span<const FrameRenderer> renderers);
  host::World LayOntoEyes(int number, const FrameInputs& inputs, TakenLayers& layers,
                          const Renderers& renderers);
  std::optional<TakenFrame> Take(int number);
  void RenderTaken(const Schedule::Turn& turn, TakenFrame taken, const Renderers& renderers);
  bool FrameFailed(const Schedule::Turn& turn, const std::string& message);
  void CheckSameDepth(int number, const pictures::PictureInfo& info) const;
  void WarnAbout(const TakenFrame& taken);
  void WarnOnce(const std::vector<std::string>& lines);
  void Conclude();

  const RenderJob& job_;
  const RenderOptions& options_;
  std::unique_ptr<FrameSink> sink_;
  JobFiles files_;
  PF_RationalScale rate_;
  Schedule schedule_;
  std::unique_ptr<Progress> progress_;

  pictures::PictureInfo first_;  ///< of the first frame
  host::Depth depth_ = host::Depth::k8;
  Spread spread_;
  std::unique_ptr<host::ThreadPool> pool_;

  std::mutex turnMutex_;        ///< frames are taken one after the other
  bool stop_ = false;           ///< guarded by `turnMutex_`, as the two below
  std::exception_ptr failure_;  ///< what ended the run
  std::set<int> failed_;        ///< frames that failed while the run went on
  std::mutex warnMutex_;
  std::set<std::string> warned_;  ///< guarded by `warnMutex_`
};

/// Found out now rather than after the first render.
void JobRun::CheckFolder() const {
  const std::filesystem::path target = PathOf(files_.output.At(schedule_.First()));
  const std::filesystem::path folder = target.parent_path();
  std::error_code ignored;
  if (!folder.empty() && !std::filesystem::is_directory(folder, ignored)) {
    throw RenderError(Text(files_.output.Name(), ": no such folder ", folder.string()));
  }
  if (std::filesystem::is_directory(target, ignored)) {
    throw RenderError(Text(target.string(), ": is a directory"));
  }
}

/// A part of a run goes by the first frame of the whole, so that all parts agree.
pictures::PictureInfo JobRun::LookAtFirst() {
  const int number = options_.part ? schedule_.First() : schedule_.Numbers().front();
  if (files_.frame) {
    return files_.frame->source->Look(number);
  }
  pictures::PictureInfo info;
  info.channels = 4;
  info.width = options_.size->width;
  info.height = options_.size->height;
  for (const JobInput& layer : files_.layers) {
    info.stored = layer.source->Look(number).stored;  // a transparent frame has its layer's depth
  }
  return info;
}

/// Settles size and depth by the first frame.
void JobRun::LookAhead() {
  pictures::SetPictureThreads(ThreadsOf(options_));
  first_ = LookAtFirst();
  depth_ = options_.depth.value_or(pictures::DepthOf(first_));
  if (!options_.depth) {
    LowerDepth();
  }
  for (const RenderPass& pass : job_.passes) {
    CheckDepth(options_, *pass.effect, depth_);
  }
  CheckStereo();
}

/// Two eyes want a whole frame with two halves; a video that says it has them wants to be asked.
void JobRun::CheckStereo() {
  if (options_.stereo) {
    if (options_.region) {
      throw UsageError("--stereo: renders whole frames only (leave --region out)");
    }
    EyeSize(*options_.stereo, first_.width, first_.height, options_.downsample);
    return;
  }
  if (options_.disparity != 0.0) {
    throw UsageError("--disparity: is for frames of two eyes (add --stereo)");
  }
  const VideoInfo* video = FrameVideo(files_);
  const std::string layout = video != nullptr ? pictures::StereoOf(video->spherical) : "";
  if (!layout.empty()) {
    WarnOnce({Text(video->path,
                   ": its metadata says that it holds two eyes; they count as one "
                   "sphere (render with --stereo ",
                   layout, ")")});
  }
}

/// Renders at the best depth that all effects have, where nobody asked for another.
void JobRun::LowerDepth() {
  const host::Depth wanted = depth_;
  const auto every = [&](host::Depth depth) {
    return std::all_of(job_.passes.begin(), job_.passes.end(),
                       [&](const RenderPass& pass) { return pass.effect->SupportsDepth(depth); });
  };
  if (options_.classic || every(depth_)) {
    return;
  }
  for (const host::Depth lower : {host::Depth::k16, host::Depth::k8}) {
    if (lower < wanted && every(lower)) {
      depth_ = lower;
      WarnOnce({Text("the effect has no depth ", host::DepthName(wanted), ": renders at depth ",
                     host::DepthName(lower))});
      return;
    }
  }
}

std::uint64_t JobRun::BytesPerFrame() const {
  const std::uint64_t worlds = job_.passes.size() > 1 ? 3 : 2;
  return worlds * BytesOf(first_.width, first_.height, depth_);
}

/// Settles threads and memory, and tells sources and sink.
void JobRun::Prepare() {
  const std::vector<int>& numbers = schedule_.Numbers();
  const std::size_t total = schedule_.Total();
  spread_ = SpreadOver(options_, total == 0 ? std::numeric_limits<std::size_t>::max() : total,
                       BytesPerFrame());
  if (std::any_of(job_.passes.begin(), job_.passes.end(), [](const RenderPass& pass) {
        return !pass.effect->SupportsThreadedRendering();
      })) {
    spread_.frames = 1;  // its frames go on with one sequence, in their order
  }
  // Frames in flight work on their own threads; the pool has those that are left.
  pool_ = std::make_unique<host::ThreadPool>(std::max(1, spread_.threads - spread_.frames + 1));

  sink_->Prepare({depth_, rate_, numbers, FrameVideo(files_), pool_.get()}, first_);
  SourceSettings settings;
  settings.depth = depth_;
  settings.downsample = options_.downsample;
  settings.manyFrames = numbers.size() > 1 || schedule_.HasOpenEnd();
  settings.pool = pool_.get();
  for (JobInput& layer : files_.layers) {
    settings.pixelAspect = layer.pixelAspect;
    layer.source->Prepare(settings);
  }
  if (files_.frame) {
    settings.pixelAspect = files_.frame->pixelAspect;
    files_.frame->source->Prepare(settings);
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

/// The pictures of a frame; nothing after the end of the frame's video.
std::optional<TakenFrame> JobRun::Take(int number) {
  TakenFrame taken;
  if (files_.frame) {
    taken.frame = files_.frame->source->Take(number);
    if (taken.frame == nullptr && !schedule_.HasOpenEnd()) {
      throw RenderError(Text(files_.frame->media.Name(), ": has no frame ", number));
    }
    if (taken.frame == nullptr) {
      return std::nullopt;
    }
  }
  for (JobInput& layer : files_.layers) {
    taken.layers.push_back(layer.source->Take(number));
  }
  return taken;
}

/// Frames of one sequence that differ in depth would come out differently in another run, which
/// begins with another of them.
void JobRun::CheckSameDepth(int number, const pictures::PictureInfo& info) const {
  if (!options_.depth && pictures::DepthOf(info) != pictures::DepthOf(first_)) {
    throw RenderError(Text(files_.frame->media.At(number), ": has depth ",
                           host::DepthName(pictures::DepthOf(info)), " where the first frame has ",
                           host::DepthName(pictures::DepthOf(first_)), " (give --depth)"));
  }
}

/// Lays pass after pass onto the frame.
host::World JobRun::LayPasses(int number, FrameInputs inputs, TakenLayers& layers,
                              std::span<const FrameRenderer> renderers) {
  std::function<void(double)> within;
  if (schedule_.Total() == 1 && renderers.size() == 1 && !options_.stereo) {
    within = [this](double fraction) { progress_->Within(fraction); };
  }
  for (std::size_t pass = 0;; ++pass) {
    inputs.layers.clear();
    for (std::size_t i = 0; i < files_.layers.size(); ++i) {
      if (files_.layers[i].pass == pass && layers.Has(i)) {
        inputs.layers[files_.layers[i].index] = layers.Read(i);
      }
    }
    RenderedFrame rendered = renderers[pass].Render(number, inputs, within);
    WarnOnce(rendered.warnings);
    if (pass + 1 == renderers.size()) {
      return std::move(rendered.picture);
    }
    auto shared = std::make_shared<const host::World>(std::move(rendered.picture));
    inputs.readFrame = [shared = std::move(shared)] { return shared; };
  }
}

/// The same for each eye's part of the frame, which is read once.
host::World JobRun::LayOntoEyes(int number, const FrameInputs& inputs, TakenLayers& layers,
                                const Renderers& renderers) {
  const StereoLayout layout = *options_.stereo;
  const PictureSize size = EyeSize(layout, inputs.width, inputs.height, options_.downsample);
  SharedWorld frame;
  std::array<host::World, 2> pictures;
  for (const Eye eye : {Eye::kLeft, Eye::kRight}) {
    FrameInputs part;
    part.width = size.width;
    part.height = size.height;
    part.isEye = true;
    part.turn = eye == Eye::kLeft ? options_.disparity : -options_.disparity;
    if (inputs.readFrame) {
      part.readFrame = [&] {
        frame = frame != nullptr ? frame : inputs.readFrame();
        return EyeOf(*frame, layout, eye);
      };
    }
    host::World& picture = pictures[static_cast<std::size_t>(eye)];
    const std::size_t passes = job_.passes.size();
    picture = LayPasses(number, std::move(part), layers,
                        std::span(renderers).subspan(eye == Eye::kLeft ? 0 : passes, passes));
  }
  return JoinEyes(pictures[0], pictures[1], layout);
}

/// Renders a frame and writes what comes out.
void JobRun::RenderTaken(const Schedule::Turn& turn, TakenFrame taken, const Renderers& renderers) {
  const pictures::PictureInfo& info = taken.frame != nullptr ? taken.frame->Info() : first_;
  FrameInputs inputs;
  inputs.width = info.width;
  inputs.height = info.height;
  if (taken.frame != nullptr) {
    CheckSameDepth(turn.number, info);
    inputs.readFrame = [&frame = *taken.frame] { return frame.Read(); };
  }
  host::World picture;
  {
    TakenLayers layers(taken.layers, options_.stereo.has_value());
    picture = options_.stereo ? LayOntoEyes(turn.number, inputs, layers, renderers)
                              : LayPasses(turn.number, std::move(inputs), layers, renderers);
  }
  inputs = {};  // not needed while writing
  WarnAbout(taken);
  const std::string path = sink_->Write({turn.index, turn.number, info}, picture);
  progress_->FrameDone(turn.number, path);
}

/// What the files of a frame and its layers have that is lost, or that somebody should know.
void JobRun::WarnAbout(const TakenFrame& taken) {
  const auto warn = [this](const JobInput& input, const pictures::PictureInfo& info) {
    for (const std::string& warning : info.warnings) {
      WarnOnce({Text(input.media.Name(), ": ", warning)});
    }
  };
  for (std::size_t i = 0; i < taken.layers.size(); ++i) {
    if (taken.layers[i] != nullptr) {
      warn(files_.layers[i], taken.layers[i]->Info());
    }
  }
  if (taken.frame == nullptr) {
    return;
  }
  const pictures::PictureInfo& info = taken.frame->Info();
  warn(*files_.frame, info);
  const PF_RationalScale& aspect = options_.pixelAspect;
  if (info.pixelAspect != 1 && static_cast<A_u_long>(aspect.num) == aspect.den) {
    std::array<char, 32> told{};  // files keep it in single precision, from 1e-6 to 1e6
    const auto end =
        std::to_chars(told.data(), told.data() + told.size(), static_cast<float>(info.pixelAspect));
    WarnOnce({Text(files_.frame->media.Name(), ": its pixel aspect ratio of ",
                   std::string_view(told.data(), end.ptr),
                   " counts as 1 (render with it through --pixel-aspect)")});
  }
}

/// Notes a frame that failed where the run may go on without it.
bool JobRun::FrameFailed(const Schedule::Turn& turn, const std::string& message) {
  if (!options_.keepGoing) {
    return false;
  }
  progress_->FrameFailed(turn.number, message);
  const bool ends = sink_->EndBefore(turn.index);
  const std::lock_guard lock(turnMutex_);
  failed_.insert(turn.number);
  stop_ = stop_ || ends;
  return true;
}

/// Takes the next frame, if there is one, and does all there is to do for it.
bool JobRun::RenderNext(const Renderers& renderers) {
  Schedule::Turn turn;
  try {
    std::optional<TakenFrame> taken;
    {
      const std::lock_guard lock(turnMutex_);
      ThrowIfInterrupted();
      const std::optional<Schedule::Turn> next = schedule_.Next();
      if (stop_ || !next) {
        return false;
      }
      turn = *next;
      schedule_.Advance();
      taken = Take(turn.number);
      if (!taken) {
        stop_ = true;
        return false;
      }
    }
    RenderTaken(turn, std::move(*taken), renderers);
  } catch (const RenderError& error) {
    if (!FrameFailed(turn, error.what())) {
      throw;
    }
  } catch (const std::bad_alloc&) {
    if (!FrameFailed(turn, "not enough memory")) {
      throw;
    }
  }
  return true;
}

/// Renders frames until there are no more, or one of them ends the run.
void JobRun::TryFrames(const Renderers& renderers) {
  try {
    while (RenderNext(renderers)) {
    }
  } catch (...) {
    {
      const std::lock_guard lock(turnMutex_);
      failure_ = failure_ == nullptr ? std::current_exception() : failure_;
      stop_ = true;
    }
    sink_->EndBefore(0);
  }
}

/// Whether what the passes before this one make changes with time.
bool JobRun::ChangesBefore(std::size_t pass) const {
  const auto moves = [](const auto& track) { return track.second.keys.size() > 1; };
  for (std::size_t i = 0; i < pass; ++i) {
    const auto& tracks = job_.passes[i].tracks;
    if (std::any_of(tracks.begin(), tracks.end(), moves)) {
      return true;
    }
  }
  return (files_.frame && ChangesWithTime(*files_.frame)) ||
         std::any_of(files_.layers.begin(), files_.layers.end(), [&](const JobInput& layer) {
           return layer.pass < pass && ChangesWithTime(layer);
         });
}

void JobRun::RenderAll() {
  SourceSettings settings;
  settings.depth = depth_;
  settings.downsample = options_.downsample;
  settings.pool = pool_.get();
  std::vector<std::unique_ptr<OtherTimes>> otherTimes;
  std::vector<FrameSettings> allFrames;
  Renderers renderers;
  for (std::size_t i = 0; i < job_.passes.size(); ++i) {
    FrameSettings frames{depth_, schedule_.First(), schedule_.Last(), rate_, pool_.get(), i > 0,
                         nullptr};
    auto times = std::make_unique<OtherTimes>(options_, files_, i, rate_, settings);
    if (times->Any() || (i > 0 && ChangesBefore(i))) {
      frames.otherTimes = times.get();
      otherTimes.push_back(std::move(times));
    }
    allFrames.push_back(frames);
  }
  for (int eye = options_.stereo ? 0 : 1; eye < 2; ++eye) {
    for (std::size_t i = 0; i < job_.passes.size(); ++i) {
      renderers.emplace_back(options_, job_.passes[i], allFrames[i], i + 1 < job_.passes.size());
    }
  }
  std::vector<std::thread> helpers;
  try {
    helpers.reserve(static_cast<std::size_t>(spread_.frames));
    for (int i = 1; i < spread_.frames; ++i) {
      helpers.emplace_back([&] { TryFrames(renderers); });
    }
  } catch (const std::exception&) {
    // No more threads to be had, or no memory for them: those that there are do it all.
  }
  TryFrames(renderers);
  for (std::thread& helper : helpers) {
    helper.join();
  }
  ThrowIfInterrupted();
  if (failure_ != nullptr) {
    std::rethrow_exception(failure_);
  }
}

/// The last word: what failed while the run went on.
void JobRun::Conclude() {
  if (failed_.empty()) {
    progress_->Finish(options_.output);
    return;
  }
  throw RenderError(Text(options_.output, ": ", Count(failed_.size(), "frame"),
                         " failed: ", NumbersText({failed_.begin(), failed_.end()})));
}

void JobRun::Run() {
  schedule_.CheckOutputs(options_, files_.output);
  progress_ = std::make_unique<Progress>(options_, static_cast<int>(schedule_.Total()));
  const bool any = !schedule_.Numbers().empty();
  if (any) {
    WarnOnce(schedule_.CheckInputs(options_, files_));
    CheckFolder();
    LookAhead();
  }
  if (options_.dryRun) {
    PrintDryRun(job_, files_, schedule_,
                {depth_, schedule_.First(), schedule_.Last(), rate_, nullptr}, first_);
    return;
  }
  progress_->Skip(static_cast<int>(schedule_.LeftOut()));
  if (any) {
    Prepare();
    if (!options_.join.empty()) {
      WarnOnce(sink_->Join());
      progress_->Skip(static_cast<int>(schedule_.Numbers().size()));
    } else {
      RenderAll();
      WarnOnce(sink_->Finish());
    }
  }
  Conclude();
}

JobPlan JobRun::Plan() {
  progress_ = std::make_unique<Progress>(options_, 0);
  schedule_.CheckInputs(options_, files_);
  CheckFolder();
  LookAhead();
  JobPlan plan;
  plan.numbers = schedule_.Numbers();
  plan.output = files_.output;
  plan.size = OutputSize(options_, first_.width, first_.height);
  plan.stored = sink_->StoredType(depth_, first_);
  plan.untilTheEnd = schedule_.HasOpenEnd();
  plan.bytesPerFrame = BytesPerFrame();
  for (const JobInput& layer : files_.layers) {
    const pictures::PictureInfo info = layer.source->Look(plan.numbers.front());
    plan.bytesOfLayers += BytesOf(info.width, info.height, depth_);
  }
  return plan;
}

}  // namespace

JobPlan PlanJob(const RenderJob& job) {
  RenderJob whole = job;
  whole.options.resume = false;
  whole.options.noClobber = false;
  whole.options.quiet = true;
  whole.options.progress = ProgressStyle::kNone;
  return JobRun(whole).Plan();
}

void RunJob(const RenderJob& job) {
  const auto tell = [&job](const char* message) {
    if (job.options.progress == ProgressStyle::kJson) {
      PrintErrorEvent(std::nullopt, message);
    }
  };
  try {
    JobRun(job).Run();
  } catch (const Error& error) {
    tell(error.what());
    throw;
  } catch (const std::bad_alloc&) {
    tell("not enough memory");
    throw;
  }
}

}  // namespace veltra::cli
