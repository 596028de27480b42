// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The three kinds of sinks.
#include "cli/job/frame_sink.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <limits>
#include <mutex>
#include <optional>

#include "base/error.h"
#include "base/text.h"
#include "cli/video/alpha.h"
#include "cli/video/ffmpeg.h"
#include "cli/video/video_join.h"
#include "cli/video/video_writer.h"
#include "pictures/output_file.h"
#include "pictures/picture_world.h"

namespace veltra::cli {
namespace {

using host::Depth;

/// The sample type of the files: what was asked for, or the least that keeps what the render has.
pictures::SampleType OutputType(const RenderOptions& options, pictures::PictureFormat format,
                                Depth depth, std::optional<pictures::SampleType> inputStored) {
  const std::vector<pictures::SampleType> possible = pictures::WritableTypes(format);
  const auto can = [&possible](pictures::SampleType type) {
    return std::find(possible.begin(), possible.end(), type) != possible.end();
  };
  if (options.outputDepth) {
    if (!can(*options.outputDepth)) {
      std::string list;
      for (const pictures::SampleType type : possible) {
        list += Text(list.empty() ? "" : ", ", pictures::SampleTypeName(type));
      }
      throw UsageError(Text("--output-depth: ", pictures::FormatName(format), " has no '",
                            pictures::SampleTypeName(*options.outputDepth), "' (expected ", list,
                            ")"));
    }
    return *options.outputDepth;
  }
  if (depth == Depth::k8) {
    return possible.front();
  }
  if (depth == Depth::k16) {
    return can(pictures::SampleType::kUint16) ? pictures::SampleType::kUint16 : possible.back();
  }
  // A float render of a half file needs no more than half, where half is what people expect.
  return inputStored == pictures::SampleType::kHalf &&
                 possible.front() == pictures::SampleType::kHalf
             ? pictures::SampleType::kHalf
             : possible.back();
}

/// By the name, or by --format where the name is no file's.
pictures::PictureFormat FormatOf(const Media& output, const RenderOptions& options) {
  if (!options.format.empty()) {
    try {
      return pictures::WritableFormatOf(Text(".", options.format).insert(0, "format"));
    } catch (const UsageError&) {
      throw UsageError(
          Text("--format: '", options.format, "' is none (expected png, exr, tif, jpg or pam)"));
    }
  }
  if (output.kind == MediaKind::kStream) {
    return pictures::PictureFormat::kPam;
  }
  if (output.Name() == "-") {
    throw UsageError("-: standard output needs a format (add --format png, exr, tif, jpg or pam)");
  }
  return pictures::WritableFormatOf(output.Name());
}

/// Whether a picture shows the frame and nothing else: no part of it, nothing around it.
bool IsWholeFrame(const RenderOptions& options, const host::World& picture,
                  const pictures::PictureInfo& frame) {
  return !options.region &&
         picture.Width() == host::DownsampledLength(frame.width, options.downsample) &&
         picture.Height() == host::DownsampledLength(frame.height, options.downsample);
}

/// An image file per frame, each under its name only when it is whole.
class FileSink : public FrameSink {
 public:
  FileSink(const Media& output, const RenderOptions& options)
      : output_(output), options_(options), format_(FormatOf(output, options)) {
    pictures::CheckCompression(format_, options.compression);
    if (options.jpegQuality && format_ != pictures::PictureFormat::kJpeg) {
      throw UsageError(Text("--jpeg-quality: ", pictures::FormatName(format_), " has none"));
    }
    if (!options.videoOptions.empty() || options.segmentAlpha || !options.join.empty()) {
      throw UsageError(Text(options.segmentAlpha    ? "--segment"
                            : !options.join.empty() ? "--join"
                                                    : "--video-options",
                            ": ", output.Name(), " is no video"));
    }
    if (output.Name() == "-" && options.progress == ProgressStyle::kJson) {
      throw UsageError("-: standard output has the picture already (leave out --progress json)");
    }
  }

  std::optional<pictures::SampleType> StoredType(
      Depth depth, const pictures::PictureInfo& firstInput) const override {
    return OutputType(options_, format_, depth, firstInput.stored);
  }

  void Prepare(const SinkSettings& settings, const pictures::PictureInfo& firstInput) override {
    settings_ = settings;
    OutputType(options_, format_, settings.depth, firstInput.stored);  // complains now
    pictures::RemoveLeftovers(output_.At(settings.numbers.front()));
  }

  std::string Write(const FinishedFrame& frame, const host::World& picture) override {
    std::string path = output_.At(frame.number);
    if (!pictures::HasAlpha(format_) && !losesAlpha_ && HasTransparency(picture)) {
      losesAlpha_ = true;
    }
    pictures::OutputFile file(path);
    try {
      pictures::WriteWorld(picture, file, OptionsFor(frame.input, picture), settings_.pool);
    } catch (const RenderError& error) {
      file.ThrowIfFailed();
      throw RenderError(Text(path, ": ", error.what()));
    }
    file.Commit();
    return path;
  }

  std::vector<std::string> Finish() override {
    if (losesAlpha_) {
      return {Text(pictures::FormatName(format_), " has no alpha; it is left out")};
    }
    return {};
  }

 private:
  pictures::PictureOptions OptionsFor(const pictures::PictureInfo& input,
                                      const host::World& picture) const {
    pictures::PictureOptions written;
    written.format = format_;
    written.stored = OutputType(options_, format_, settings_.depth, input.stored);
    written.alpha = pictures::HasAlpha(format_) && !options_.noAlpha;
    written.compression = options_.compression;
    written.jpegQuality = options_.jpegQuality.value_or(written.jpegQuality);
    written.pixelAspect = static_cast<double>(options_.pixelAspect.num) / options_.pixelAspect.den;
    if (static_cast<A_u_long>(options_.pixelAspect.num) == options_.pixelAspect.den) {
      written.pixelAspect = input.pixelAspect;
    }
    written.metadata = input.metadata;
    if (!IsWholeFrame(options_, picture, input) || options_.downsample > 1) {
      written.metadata.KeepForPart();
    }
    return written;
  }

  Media output_;
  const RenderOptions& options_;
  pictures::PictureFormat format_;
  SinkSettings settings_;
  std::atomic<bool> losesAlpha_{false};
};

/// Lets frames that are rendered side by side out one after the other.
class TurnQueue {
 public:
  /// Waits for the frames before this turn; false where it does not come any more.
  bool WaitFor(std::size_t turn) {
    std::unique_lock lock(mutex_);
    turnCame_.wait(lock, [&] { return done_ == turn || turn >= end_; });
    return turn < end_;
  }
  /// The frame whose turn it was is out.
  void Done() {
    const std::lock_guard lock(mutex_);
    ++done_;
    turnCame_.notify_all();
  }
  /// This turn and all after it are dropped.
  void EndBefore(std::size_t turn) {
    const std::lock_guard lock(mutex_);
    end_ = std::min(end_, turn);
    turnCame_.notify_all();
  }

 private:
  std::mutex mutex_;
  std::condition_variable turnCame_;
  std::size_t done_ = 0;
  std::size_t end_ = std::numeric_limits<std::size_t>::max();
};

/// Raw frames one after the other, each passed on when it is whole.
class StreamSink : public FileSink {
 public:
  StreamSink(const Media& output, const RenderOptions& options) : FileSink(output, options) {
    if (!options.format.empty() && options.format != "pam") {
      throw UsageError(
          Text("--stream: passes frames on as PAM (leave out --format ", options.format, ")"));
    }
    if (options.resume || options.noClobber) {
      throw UsageError(Text(options.resume ? "--resume" : "--no-clobber",
                            ": not for a stream, which has nothing before it"));
    }
  }

  std::string Write(const FinishedFrame& frame, const host::World& picture) override {
    if (!turns_.WaitFor(frame.turn)) {
      return {};
    }
    std::string path = FileSink::Write(frame, picture);
    turns_.Done();
    return path;
  }

  bool EndBefore(std::size_t turn) override {
    turns_.EndBefore(turn);
    return true;
  }

 private:
  TurnQueue turns_;
};

/// All frames into one video, in their order.
class VideoSink : public FrameSink {
 public:
  VideoSink(const Media& output, const RenderOptions& options)
      : output_(output), options_(options) {
    if (options.resume) {
      throw UsageError("--resume: a video can only be written whole");
    }
    const char* pictureOption = !options.compression.empty() ? "--compression"
                                : options.outputDepth        ? "--output-depth"
                                : options.jpegQuality        ? "--jpeg-quality"
                                                             : nullptr;
    if (pictureOption != nullptr) {
      throw UsageError(Text(pictureOption, ": not for videos (see --video-options)"));
    }
    FfmpegOutput({"ffmpeg", "-v", "error", "-version"}, output.Name());  // is it there at all?
  }

  void Prepare(const SinkSettings& settings, const pictures::PictureInfo& firstInput) override {
    settings_ = settings;
    alpha_ =
        firstInput.channels % 2 == 0 && (settings.video == nullptr || settings.video->format.alpha);
    pictures::RemoveLeftovers(output_.Name());
  }

  std::string Write(const FinishedFrame& frame, const host::World& picture) override {
    if (!turns_.WaitFor(frame.turn)) {
      return {};
    }
    if (writer_ == nullptr) {
      writer_ =
          std::make_unique<VideoWriter>(output_.Name(), picture.Width(), picture.Height(),
                                        Options(!IsWholeFrame(options_, picture, frame.input)));
    }
    writer_->Write(picture);
    turns_.Done();
    return {};
  }

  bool EndBefore(std::size_t turn) override {
    turns_.EndBefore(turn);
    return true;
  }

  std::vector<std::string> Join() override {
    std::vector<std::string> losses = SoundLosses();
    for (const std::string& lost : JoinVideo(output_.Name(), ReadSegments(options_.join),
                                             Options(options_.region.has_value()))) {
      losses.push_back(Text(output_.Name(), ": ", lost));
    }
    return losses;
  }

  std::vector<std::string> Finish() override {
    if (writer_ == nullptr) {
      throw RenderError(Text(output_.Name(), ": no frames to write"));
    }
    std::vector<std::string> losses = SoundLosses();
    for (const std::string& lost : writer_->Finish()) {
      losses.push_back(Text(output_.Name(), ": ", lost));
    }
    return losses;
  }

 private:
  std::vector<std::string> SoundLosses() const {
    const bool wanted = settings_.video != nullptr && !options_.segmentAlpha;
    if (wanted && settings_.video->hasAudio && !KeepsSound()) {
      return {"the sound is left out, since frames are"};
    }
    return {};
  }

  /// Where frames are left out, the sound does not fit any more.
  bool KeepsSound() const {
    const std::vector<int>& numbers = settings_.numbers;
    return numbers.back() - numbers.front() + 1 == static_cast<int>(numbers.size());
  }

  VideoOptions Options(bool isPart) const {
    VideoOptions video;
    video.rate = settings_.rate;
    video.deep = settings_.depth != Depth::k8;
    video.alpha = alpha_;
    video.part = isPart;
    video.encoder = options_.videoOptions;
    video.source = settings_.video;
    if (options_.frames) {
      const double rate = static_cast<double>(video.rate.num) / video.rate.den;
      const int first = settings_.numbers.front();
      video.soundStart = (first - 1) / rate;
      video.soundLength = (settings_.numbers.back() - first + 1) / rate;
      video.sound = KeepsSound();
    }
    if (options_.segmentAlpha) {
      video.sound = false;
      video.projection = false;
      video.alphaIs = options_.segmentAlpha;
    }
    return video;
  }

  Media output_;
  const RenderOptions& options_;
  SinkSettings settings_;
  bool alpha_ = false;  ///< the frames come from something that has it
  TurnQueue turns_;
  std::unique_ptr<VideoWriter> writer_;
};

}  // namespace

std::unique_ptr<FrameSink> MakeSink(const Media& output, const RenderOptions& options) {
  if (output.kind == MediaKind::kVideo) {
    return std::make_unique<VideoSink>(output, options);
  }
  if (output.kind == MediaKind::kStream) {
    return std::make_unique<StreamSink>(output, options);
  }
  return std::make_unique<FileSink>(output, options);
}

}  // namespace veltra::cli
