// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Stills and sequences: reading, rendering and writing, several frames at once.
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <exception>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <set>
#include <thread>

#include "cli/error.h"
#include "cli/frame_render.h"
#include "cli/interrupt.h"
#include "cli/job.h"
#include "cli/output_file.h"
#include "cli/picture_world.h"
#include "cli/progress.h"
#include "cli/text.h"
#include "cli/video_job.h"

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

Spread SpreadOver(const RenderOptions& options, std::size_t frameCount,
                  std::uint64_t bytesPerFrame) {
  Spread spread;
  spread.threads = options.threads > 0
                       ? options.threads
                       : static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
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

/// One run over the frames of a still or a sequence.
class PictureRun {
 public:
  explicit PictureRun(const RenderJob& job)
      : job_(job), frame_(InputMedia(job.options.frame)), output_(OutputMedia(job.options.output)) {
    for (const auto& [index, path] : job.layers) {
      layers_[index] = InputMedia(path);
    }
    format_ = WritableFormatOf(job.options.output);
    CheckCompression(format_, job.options.compression);
    numbers_ = FrameNumbers(job, frame_, layers_, output_);
    firstNumber_ = numbers_.front();
    lastNumber_ = numbers_.back();
  }

  void Run();

 private:
  bool NeedsFrame() const { return frame_.kind != MediaKind::kNone; }

  void CheckOutputs();
  void CheckInputs();
  void CheckFolder() const;
  void LookAtFirst();
  void LoadStills();
  void RunFrames(const Spread& spread);
  void RenderOne(int number, const FrameRenderer& renderer);
  FrameInputs ReadInputs(int number) const;
  SharedWorld ReadShared(const std::string& path, PF_RationalScale aspect) const;
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
  std::set<std::string> warned_;
  std::mutex mutex_;
};

void PictureRun::CheckOutputs() {
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

void PictureRun::CheckInputs() {
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
      throw RenderError(Text(sequence.name.Pattern(), ": ", Count(missing.size(), "frame"),
                             " missing: ", RunsText(missing), " (--skip-missing leaves them out)"));
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
void PictureRun::CheckFolder() const {
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

void PictureRun::LookAtFirst() {
  const int number = numbers_.front();
  if (NeedsFrame()) {
    first_ = Open(frame_.At(number)).reader->Info();
  } else {
    first_.width = job_.options.size->width;
    first_.height = job_.options.size->height;
    for (const auto& [index, layer] : layers_) {
      const PictureInfo info = Open(layer.At(number)).reader->Info();
      first_.stored = info.stored;  // a transparent frame has its layer's depth
    }
  }
  depth_ = job_.options.depth.value_or(DepthOf(first_));
  CheckDepth(job_, depth_);
  stored_ = OutputType(job_.options, format_, depth_, first_.stored);
}

SharedWorld PictureRun::ReadShared(const std::string& path, PF_RationalScale aspect) const {
  const OpenedPicture picture = Open(path);
  return Named(path, [&] {
    return AtJobResolution(ReadWorld(*picture.reader, depth_, pool_.get()), job_.options.downsample,
                           aspect);
  });
}

/// What is the same in every frame is read once.
void PictureRun::LoadStills() {
  if (frame_.kind == MediaKind::kStill && numbers_.size() > 1) {
    stillFrame_ = ReadShared(frame_.At(0), job_.options.pixelAspect);
  }
  for (const auto& [index, layer] : layers_) {
    if (layer.kind == MediaKind::kStill) {
      stillLayers_[index] = ReadShared(layer.At(0), job_.options.layerPixelAspect);
    }
  }
}

FrameInputs PictureRun::ReadInputs(int number) const {
  FrameInputs inputs;
  inputs.width = first_.width;
  inputs.height = first_.height;
  if (stillFrame_ != nullptr) {
    inputs.frame = stillFrame_;
  } else if (NeedsFrame()) {
    const std::string path = frame_.At(number);
    const OpenedPicture picture = Open(path);
    inputs.width = picture.reader->Info().width;
    inputs.height = picture.reader->Info().height;
    inputs.frame = Named(path, [&] {
      return AtJobResolution(ReadWorld(*picture.reader, depth_, pool_.get()),
                             job_.options.downsample, job_.options.pixelAspect);
    });
  }
  for (const auto& [index, layer] : layers_) {
    const auto still = stillLayers_.find(index);
    inputs.layers[index] = still != stillLayers_.end()
                               ? still->second
                               : ReadShared(layer.At(number), job_.options.layerPixelAspect);
  }
  return inputs;
}

void PictureRun::Write(int number, const host::World& picture) {
  const std::string path = output_.At(number);
  PictureOptions options;
  options.format = format_;
  options.stored = stored_;
  options.alpha = format_ != PictureFormat::kJpeg;
  options.compression = job_.options.compression;
  options.jpegQuality = job_.options.jpegQuality;
  options.pixelAspect =
      static_cast<double>(job_.options.pixelAspect.num) / job_.options.pixelAspect.den;
  options.threads = pool_->ThreadCount();
  options.metadata = first_.metadata;
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

void PictureRun::RenderOne(int number, const FrameRenderer& renderer) {
  ThrowIfInterrupted();
  FrameInputs inputs = ReadInputs(number);
  std::function<void(double)> within;
  if (numbers_.size() == 1) {
    within = [this](double fraction) { progress_->Within(fraction); };
  }
  const RenderedFrame rendered = renderer.Render(number, inputs, within);
  for (const std::string& warning : rendered.warnings) {
    const std::lock_guard lock(mutex_);
    if (warned_.insert(warning).second) {
      progress_->Warn(warning);
    }
  }
  inputs = {};  // not needed while writing
  Write(number, rendered.picture);
}

void PictureRun::RunFrames(const Spread& spread) {
  const PF_RationalScale rate = job_.options.rate.value_or(PF_RationalScale{24, 1});
  const FrameRenderer renderer(job_, depth_, firstNumber_, lastNumber_, rate, pool_.get());
  std::atomic<std::size_t> next{0};
  std::atomic<bool> stop{false};
  std::exception_ptr failure;
  const auto work = [&] {
    for (std::size_t i = next++; i < numbers_.size() && !stop; i = next++) {
      try {
        RenderOne(numbers_[i], renderer);
      } catch (...) {
        const std::lock_guard lock(mutex_);
        failure = failure == nullptr ? std::current_exception() : failure;
        stop = true;
      }
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

void PictureRun::Run() {
  CheckOutputs();
  progress_ = std::make_unique<Progress>(job_.options.progress,
                                         static_cast<int>(numbers_.size() + skipped_));
  if (!numbers_.empty()) {
    CheckInputs();
    CheckFolder();
    LookAtFirst();
    if (format_ == PictureFormat::kJpeg) {
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
    RunFrames(spread);
  } else {
    progress_->Skip(static_cast<int>(skipped_));
  }
  progress_->Finish(job_.options.output);
}

}  // namespace

void RunJob(const RenderJob& job) {
  const bool videoOut = OutputMedia(job.options.output).kind == MediaKind::kVideo;
  const bool videoIn = InputMedia(job.options.frame).kind == MediaKind::kVideo;
  if (videoIn || videoOut) {
    RunVideoJob(job);
    return;
  }
  PictureRun(job).Run();
}

}  // namespace veltra::cli
