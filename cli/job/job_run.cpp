// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Runs a job: reading, rendering and writing, several frames at once.
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <exception>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <set>
#include <thread>

#include "base/error.h"
#include "base/text.h"
#include "cli/job/frame_render.h"
#include "cli/job/job.h"
#include "cli/job/progress.h"
#include "cli/video/video.h"
#include "pictures/output_file.h"
#include "pictures/picture_world.h"
#include "system/interrupt.h"

namespace veltra::cli {
namespace {

using host::Depth;

/// An opened picture with the bytes it is read from.
struct OpenedPicture {
  std::unique_ptr<ByteSource> source;
  std::unique_ptr<PictureReader> reader;
};

/// Calls work and puts the file's name before what it complains about.
template <class Work>
auto Named(const std::string& path, const Work& work) {
  try {
    return work();
  } catch (const RenderError& error) {
    throw RenderError(Text(path, ": ", error.what()));
  } catch (const std::bad_alloc&) {
    throw RenderError(Text(path, ": not enough memory"));
  }
}

OpenedPicture Open(const std::string& path) {
  return Named(path, [&path] {
    OpenedPicture picture;
    picture.source = OpenFileSource(path);
    picture.reader = OpenPicture(*picture.source);
    return picture;
  });
}

bool Exists(const std::string& path) {
  std::error_code ignored;
  return std::filesystem::exists(path, ignored);
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

/// How many threads in all, and how many frames are in flight on them.
struct Spread {
  int threads = 1;
  int frames = 1;
};

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

SampleType OutputType(const RenderOptions& options, PictureFormat format, Depth depth,
                      std::optional<SampleType> frameStored) {
  const std::vector<SampleType> possible = WritableTypes(format);
  const auto can = [&possible](SampleType type) {
    return std::find(possible.begin(), possible.end(), type) != possible.end();
  };
  if (options.outputDepth) {
    if (!can(*options.outputDepth)) {
      std::string list;
      for (const SampleType type : possible) {
        list += Text(list.empty() ? "" : ", ", SampleTypeName(type));
      }
      throw UsageError(Text("--output-depth: ", FormatName(format), " has no '",
                            SampleTypeName(*options.outputDepth), "' (expected ", list, ")"));
    }
    return *options.outputDepth;
  }
  if (depth == Depth::k8) {
    return possible.front();
  }
  if (depth == Depth::k16) {
    return can(SampleType::kUint16) ? SampleType::kUint16 : possible.back();
  }
  // A float render of a half file needs no more than half.
  return frameStored == SampleType::kHalf && can(SampleType::kHalf) ? SampleType::kHalf
                                                                    : possible.back();
}

/// One run over all frames. Pictures are read and written by whichever thread has the frame;
/// videos are read and written in order.
class JobRun {
 public:
  explicit JobRun(const RenderJob& job)
      : job_(job), frame_(InputMedia(job.options.frame)), output_(OutputMedia(job.options.output)) {
    for (const auto& [index, path] : job.layers) {
      layers_[index] = InputMedia(path);
    }
    CheckFormat();
    ProbeVideos();
    numbers_ = openEnd_ ? VideoNumbers() : FrameNumbers(job, frame_, layers_, output_);
    firstNumber_ = numbers_.front();
    lastNumber_ = numbers_.back();
  }

  void Run();

 private:
  PF_RationalScale Rate() const;
  bool NeedsFrame() const { return frame_.kind != MediaKind::kNone; }

  bool WritesVideo() const { return output_.kind == MediaKind::kVideo; }

  void CheckFormat();
  void ProbeVideos();
  std::vector<int> VideoNumbers() const;
  void OpenVideos();
  bool ReadVideos(int number, FrameInputs& inputs);
  void WriteVideo(std::size_t turn, const host::World& picture);
  void FinishVideo();
  void CheckOutputs();
  void CheckInputs();
  void CheckFolder() const;
  PictureInfo LookAt(const std::string& path);
  OpenedPicture Take(const std::string& path);
  void LookAtFirst();
  void LoadStills();
  void RunFrames(const Spread& spread);
  bool RenderNext(const FrameRenderer& renderer);
  void ReadInputs(int number, const FrameRenderer& renderer, FrameInputs& inputs);
  SharedWorld ReadShared(const std::string& path, PF_RationalScale aspect);
  void Write(int number, const host::World& picture);

  const RenderJob& job_;
  Media frame_;
  Media output_;
  std::map<PF_ParamIndex, Media> layers_;
  PictureFormat format_ = PictureFormat::kPng;
  std::vector<int> numbers_;
  int firstNumber_ = 0;
  int lastNumber_ = 0;
  std::size_t skipped_ = 0;

  Depth depth_ = Depth::k8;
  SampleType stored_ = SampleType::kUint8;
  PictureInfo first_;  ///< of the first frame
  SharedWorld stillFrame_;
  std::map<PF_ParamIndex, SharedWorld> stillLayers_;
  std::unique_ptr<host::ThreadPool> pool_;
  std::unique_ptr<Progress> progress_;
  std::map<std::string, OpenedPicture> opened_;  ///< looked at, but not read yet
  std::set<std::string> warned_;
  std::mutex mutex_;

  /// Frames are handed out, and read from videos, one after the other.
  std::mutex turnMutex_;
  std::size_t next_ = 0;
  int videoPosition_ = 1;  ///< number of the next frame in the videos
  bool openEnd_ = false;   ///< goes on until the frame's video ends
  std::atomic<bool> stop_{false};

  std::optional<VideoInfo> frameVideo_;
  std::map<PF_ParamIndex, VideoInfo> layerVideos_;
  std::unique_ptr<VideoReader> frameReader_;
  std::map<PF_ParamIndex, std::unique_ptr<VideoReader>> layerReaders_;
  std::unique_ptr<VideoWriter> writer_;
  std::size_t written_ = 0;
  std::condition_variable turnCame_;
};

/// What the output can be is known from its name alone.
void JobRun::CheckFormat() {
  const RenderOptions& options = job_.options;
  if (!WritesVideo()) {
    format_ = WritableFormatOf(options.output);
    CheckCompression(format_, options.compression);
    return;
  }
  if (options.resume) {
    throw UsageError("--resume: a video can only be written whole");
  }
  if (!options.compression.empty() || options.outputDepth) {
    throw UsageError(Text(options.compression.empty() ? "--output-depth" : "--compression",
                          ": not for videos (see --video-options)"));
  }
}

void JobRun::ProbeVideos() {
  if (frame_.kind == MediaKind::kVideo) {
    frameVideo_ = ProbeVideo(job_.options.frame);
    openEnd_ = !job_.options.frames;
  }
  for (const auto& [index, layer] : layers_) {
    if (layer.kind == MediaKind::kVideo) {
      layerVideos_.emplace(index, ProbeVideo(layer.At(0)));
      openEnd_ = openEnd_ || (!job_.options.frames && frame_.kind != MediaKind::kSequence);
    }
  }
  if (openEnd_ && output_.kind == MediaKind::kStill) {
    throw UsageError(Text(output_.name.Pattern(), ": which frame of the video? (give --frames, or ",
                          "an output such as name.####.png)"));
  }
}

/// All frames of the video, counted from 1, as far as it tells; more may come.
std::vector<int> JobRun::VideoNumbers() const {
  const VideoInfo& video = frameVideo_ ? *frameVideo_ : layerVideos_.begin()->second;
  return FrameRange{1, std::max(1, video.frames), 1}.Numbers();
}

void JobRun::OpenVideos() {
  const PF_RationalScale rate = Rate();
  if (frameVideo_) {
    frameReader_ = std::make_unique<VideoReader>(*frameVideo_, rate);
  }
  for (const auto& [index, video] : layerVideos_) {
    layerReaders_[index] = std::make_unique<VideoReader>(video, rate);
  }
}

/// Reads the videos' frames of this number, which is later than the one before. A layer's video
/// may end early: from then on there is no layer. False when the frame's video has ended.
bool JobRun::ReadVideos(int number, FrameInputs& inputs) {
  const auto advance = [&](std::unique_ptr<VideoReader>& reader) {
    std::optional<host::World> world;
    bool there = reader != nullptr;
    for (int position = videoPosition_; there && position < number; ++position) {
      there = reader->Skip();
    }
    if (there) {
      world = reader->Next(depth_);
    }
    if (!world) {
      reader.reset();
    }
    return world;
  };
  if (frameVideo_) {
    std::optional<host::World> world = advance(frameReader_);
    if (!world) {
      return false;
    }
    inputs.frame = AtJobResolution(std::move(*world), job_.options.downsample,
                                   job_.options.pixelAspect, pool_.get());
  }
  bool any = frameVideo_.has_value();
  for (auto& [index, reader] : layerReaders_) {
    if (std::optional<host::World> world = advance(reader)) {
      any = true;
      inputs.layers[index] = AtJobResolution(std::move(*world), job_.options.downsample,
                                             job_.options.layerPixelAspect, pool_.get());
    }
  }
  videoPosition_ = number + 1;
  return any || !openEnd_;
}

void JobRun::WriteVideo(std::size_t turn, const host::World& picture) {
  std::unique_lock lock(turnMutex_);
  turnCame_.wait(lock, [&] { return written_ == turn || stop_; });
  if (stop_) {
    return;
  }
  if (writer_ == nullptr) {
    VideoOptions options;
    options.rate = Rate();
    options.deep = depth_ != Depth::k8;
    options.encoder = job_.options.videoOptions;
    options.source = frameVideo_ ? &*frameVideo_ : nullptr;
    if (job_.options.frames) {
      const double rate = static_cast<double>(options.rate.num) / options.rate.den;
      options.soundStart = (firstNumber_ - 1) / rate;
      options.soundLength = (lastNumber_ - firstNumber_ + 1) / rate;
      options.sound = job_.options.frames->step == 1;  // every second frame has no sound to fit
    }
    writer_ = std::make_unique<VideoWriter>(job_.options.output, picture.Width(), picture.Height(),
                                            options);
  }
  VideoWriter& writer = *writer_;
  lock.unlock();
  writer.Write(picture);  // nobody else has this turn
  lock.lock();
  ++written_;
  turnCame_.notify_all();
}

void JobRun::FinishVideo() {
  if (writer_ == nullptr) {
    throw RenderError(Text(job_.options.output, ": no frames to write"));
  }
  if (frameVideo_ && frameVideo_->hasAudio && job_.options.frames &&
      job_.options.frames->step > 1) {
    progress_->Warn("the sound is left out, since frames are");
  }
  if (!writer_->Finish()) {
    progress_->Warn(Text(job_.options.output,
                         ": the spherical metadata could not be kept (.mp4 and .mov can)"));
  }
}

PF_RationalScale JobRun::Rate() const {
  const PF_RationalScale otherwise = frameVideo_             ? frameVideo_->rate
                                     : !layerVideos_.empty() ? layerVideos_.begin()->second.rate
                                                             : PF_RationalScale{24, 1};
  return job_.options.rate.value_or(otherwise);
}

void JobRun::CheckOutputs() {
  std::vector<int> there;
  std::vector<int> missing;
  for (const int number : numbers_) {
    (Exists(output_.At(number)) ? there : missing).push_back(number);
  }
  if (job_.options.noClobber && !there.empty() && !job_.options.resume) {
    throw RenderError(output_.kind == MediaKind::kSequence
                          ? Text(output_.name.Pattern(), ": already there: ", RunsText(there))
                          : Text(output_.At(there.front()), ": already there"));
  }
  if (job_.options.resume) {
    skipped_ += there.size();
    numbers_ = std::move(missing);
  }
}

void JobRun::CheckInputs() {
  std::vector<Media> sequences;
  if (frame_.kind == MediaKind::kSequence) {
    sequences.push_back(frame_);
  }
  for (const auto& [index, layer] : layers_) {
    if (layer.kind == MediaKind::kSequence) {
      sequences.push_back(layer);
    }
  }
  for (const Media& sequence : sequences) {
    std::vector<int> missing;
    std::vector<int> there;
    for (const int number : numbers_) {
      (Exists(sequence.At(number)) ? there : missing).push_back(number);
    }
    if (missing.empty()) {
      continue;
    }
    if (!job_.options.skipMissing) {
      throw RenderError(MissingFramesText(sequence.name.Pattern(), missing));
    }
    if (there.empty()) {
      throw RenderError(Text(sequence.name.Pattern(), ": no such files"));
    }
    skipped_ += missing.size();
    progress_->Warn(Text(sequence.name.Pattern(), ": left out ", RunsText(missing)));
    numbers_ = std::move(there);
  }
}

/// Found out now rather than after the first render.
void JobRun::CheckFolder() const {
  const std::filesystem::path target(output_.At(firstNumber_));
  const std::filesystem::path folder = target.parent_path();
  std::error_code ignored;
  if (!folder.empty() && !std::filesystem::is_directory(folder, ignored)) {
    throw RenderError(Text(output_.name.Pattern(), ": no such folder ", folder.string()));
  }
  if (std::filesystem::is_directory(target, ignored)) {
    throw RenderError(Text(target.string(), ": is a directory"));
  }
}

/// What the header says. The picture stays open for whoever reads it, since a pipe cannot be
/// opened twice.
PictureInfo JobRun::LookAt(const std::string& path) {
  OpenedPicture picture = Open(path);
  PictureInfo info = picture.reader->Info();
  opened_[path] = std::move(picture);
  return info;
}

OpenedPicture JobRun::Take(const std::string& path) {
  {
    const std::lock_guard lock(mutex_);
    const auto found = opened_.find(path);
    if (found != opened_.end()) {
      OpenedPicture picture = std::move(found->second);
      opened_.erase(found);
      return picture;
    }
  }
  return Open(path);
}

void JobRun::LookAtFirst() {
  const int number = numbers_.front();
  if (frameVideo_) {
    first_ = frameVideo_->picture;
  } else if (NeedsFrame()) {
    first_ = LookAt(frame_.At(number));
  } else {
    first_.width = job_.options.size->width;
    first_.height = job_.options.size->height;
    for (const auto& [index, layer] : layers_) {
      // A transparent frame has its layer's depth.
      first_.stored = layer.kind == MediaKind::kVideo ? layerVideos_.at(index).picture.stored
                                                      : LookAt(layer.At(number)).stored;
    }
  }
  depth_ = job_.options.depth.value_or(DepthOf(first_));
  CheckDepth(job_, depth_);
  if (!WritesVideo()) {
    stored_ = OutputType(job_.options, format_, depth_, first_.stored);
  }
}

SharedWorld JobRun::ReadShared(const std::string& path, PF_RationalScale aspect) {
  const OpenedPicture picture = Take(path);
  return Named(path, [&] {
    return AtJobResolution(ReadWorld(*picture.reader, depth_, pool_.get()), job_.options.downsample,
                           aspect, pool_.get());
  });
}

/// What is the same in every frame is read once.
void JobRun::LoadStills() {
  if (frame_.kind == MediaKind::kStill && (numbers_.size() > 1 || openEnd_)) {
    stillFrame_ = ReadShared(frame_.At(0), job_.options.pixelAspect);
  }
  for (const auto& [index, layer] : layers_) {
    if (layer.kind == MediaKind::kStill) {
      stillLayers_[index] = ReadShared(layer.At(0), job_.options.layerPixelAspect);
    }
  }
}

void JobRun::ReadInputs(int number, const FrameRenderer& renderer, FrameInputs& inputs) {
  for (const auto& [index, layer] : layers_) {
    if (layer.kind == MediaKind::kVideo) {
      continue;
    }
    const auto still = stillLayers_.find(index);
    inputs.layers[index] = still != stillLayers_.end()
                               ? still->second
                               : ReadShared(layer.At(number), job_.options.layerPixelAspect);
  }
  if (stillFrame_ != nullptr) {
    inputs.frame = stillFrame_;
  } else if (NeedsFrame() && !frameVideo_) {
    const std::string path = frame_.At(number);
    const OpenedPicture picture = Take(path);
    inputs.width = picture.reader->Info().width;
    inputs.height = picture.reader->Info().height;
    if (renderer.WantsFrame(number, inputs)) {
      inputs.frame = Named(path, [&] {
        return AtJobResolution(ReadWorld(*picture.reader, depth_, pool_.get()),
                               job_.options.downsample, job_.options.pixelAspect, pool_.get());
      });
    }
  }
}

void JobRun::Write(int number, const host::World& picture) {
  const std::string path = output_.At(number);
  PictureOptions options;
  options.format = format_;
  options.stored = stored_;
  options.alpha = format_ != PictureFormat::kJpeg;
  options.compression = job_.options.compression;
  options.jpegQuality = job_.options.jpegQuality;
  options.pixelAspect =
      static_cast<double>(job_.options.pixelAspect.num) / job_.options.pixelAspect.den;
  options.metadata = first_.metadata;
  if (job_.options.region || job_.options.downsample > 1) {
    options.metadata.xmp.clear();  // it tells the size of a whole panorama
  }
  OutputFile file(path);
  try {
    WriteWorld(picture, file, options, pool_.get());
  } catch (const RenderError& error) {
    file.ThrowIfFailed();
    throw RenderError(Text(path, ": ", error.what()));
  }
  file.Commit();
  progress_->FrameDone(number, path);
}

/// Takes the next frame, if there is one, and does all there is to do for it.
bool JobRun::RenderNext(const FrameRenderer& renderer) {
  FrameInputs inputs;
  inputs.width = first_.width;
  inputs.height = first_.height;
  std::size_t turn = 0;
  int number = 0;
  {
    const std::lock_guard lock(turnMutex_);
    ThrowIfInterrupted();
    turn = next_;
    number = turn < numbers_.size()
                 ? numbers_[turn]
                 : numbers_.back() + static_cast<int>(turn + 1 - numbers_.size());
    if (stop_ || (turn >= numbers_.size() && !openEnd_)) {
      return false;
    }
    if (!ReadVideos(number, inputs)) {
      if (!openEnd_) {
        throw RenderError(Text(job_.options.frame, ": has no frame ", number));
      }
      return false;
    }
    ++next_;
  }
  ReadInputs(number, renderer, inputs);
  std::function<void(double)> within;
  if (numbers_.size() == 1) {
    within = [this](double fraction) { progress_->Within(fraction); };
  }
  const RenderedFrame rendered = renderer.Render(number, inputs, within);
  inputs = {};  // not needed while writing
  for (const std::string& warning : rendered.warnings) {
    const std::lock_guard lock(mutex_);
    if (warned_.insert(warning).second) {
      progress_->Warn(warning);
    }
  }
  if (WritesVideo()) {
    WriteVideo(turn, rendered.picture);
    progress_->FrameDone(number, "");
  } else {
    Write(number, rendered.picture);
  }
  return true;
}

void JobRun::RunFrames(const Spread& spread) {
  const FrameRenderer renderer(job_, depth_, firstNumber_, lastNumber_, Rate(), pool_.get());
  std::exception_ptr failure;
  const auto work = [&] {
    try {
      while (RenderNext(renderer)) {
      }
    } catch (...) {
      const std::lock_guard lock(turnMutex_);
      failure = failure == nullptr ? std::current_exception() : failure;
      stop_ = true;
      turnCame_.notify_all();
    }
  };
  std::vector<std::thread> helpers;
  for (int i = 1; i < spread.frames; ++i) {
    helpers.emplace_back(work);
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
  CheckOutputs();
  progress_ = std::make_unique<Progress>(job_.options.progress,
                                         static_cast<int>(numbers_.size() + skipped_));
  if (!numbers_.empty()) {
    SetPictureThreads(ThreadsOf(job_.options));
    CheckInputs();
    CheckFolder();
    LookAtFirst();
    if (format_ == PictureFormat::kJpeg && !WritesVideo()) {
      progress_->Warn("JPEG has no alpha; it is left out");
    }
    const std::uint64_t pixels =
        static_cast<std::uint64_t>(first_.width) * static_cast<std::uint64_t>(first_.height);
    const Spread spread =
        SpreadOver(job_.options, numbers_.size(),
                   2 * pixels * static_cast<std::uint64_t>(host::BytesPerPixel(depth_)));
    // Frames in flight work on their own threads; the pool has those that are left.
    pool_ = std::make_unique<host::ThreadPool>(std::max(1, spread.threads - spread.frames + 1));
    progress_->Skip(static_cast<int>(skipped_));
    LoadStills();
    OpenVideos();
    RunFrames(spread);
    if (WritesVideo()) {
      FinishVideo();
    }
  } else {
    progress_->Skip(static_cast<int>(skipped_));
  }
  progress_->Finish(job_.options.output);
}

}  // namespace

void RunJob(const RenderJob& job) {
  JobRun(job).Run();
}

}  // namespace veltra::cli
