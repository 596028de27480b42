// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The four kinds of sources.
#include "cli/job/frame_source.h"

#include <algorithm>
#include <deque>
#include <filesystem>
#include <limits>
#include <map>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

#include "base/error.h"
#include "base/paths.h"
#include "base/text.h"
#include "cli/job/layer_timing.h"
#include "pictures/bytes/memory_bytes.h"
#include "pictures/pam_stream.h"
#include "pictures/picture_world.h"
#include "system/interrupt.h"

namespace veltra::cli {
namespace {

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

/// Reduces a world as the settings want it and gives it its pixel aspect; the full-size one is
/// let go. Throws Interrupted after Ctrl-C.
SharedWorld Reduced(host::World world, const SourceSettings& settings) {
  if (settings.downsample > 1) {
    Expected<host::World> reduced =
        host::BoxDownsample(world, settings.downsample, {settings.pool, &InterruptFlag()});
    if (!reduced) {
      ThrowIfInterrupted();
      throw RenderError(reduced.ErrorText());
    }
    world = std::move(*reduced);
  }
  world.SetPixelAspect(settings.pixelAspect);
  world.KeepFacts();
  return std::make_shared<const host::World>(std::move(world));
}

/// An image file: opened when it is asked about, read when it is wanted.
class FilePicture : public SourcePicture {
 public:
  FilePicture(std::string path, pictures::PictureSelection selection,
              const SourceSettings* settings)
      : path_(std::move(path)), selection_(std::move(selection)), settings_(settings) {}

  const pictures::PictureInfo& Info() override {
    if (!info_) {
      Open();
    }
    return *info_;
  }

  SharedWorld Read() override {
    Open();
    return Named(path_, [this] {
      host::World whole = pictures::ReadWorld(*reader_, settings_->depth, settings_->pool);
      if (settings_->downsample > 1 && pictures::HasLightWithoutCoverage(whole)) {
        reader_->Warn("its light without coverage (alpha 0) is left out at reduced resolution");
      }
      SharedWorld world = Reduced(std::move(whole), *settings_);
      info_->warnings = reader_->Info().warnings;
      reader_.reset();  // some formats keep a copy of their own
      source_.reset();
      return world;
    });
  }

 private:
  void Open() {
    if (reader_ == nullptr) {
      Named(path_, [this] {
        source_ = pictures::OpenFileSource(path_);
        reader_ = pictures::OpenPicture(*source_, selection_);
        info_ = reader_->Info();
      });
    }
  }

  std::string path_;
  pictures::PictureSelection selection_;
  const SourceSettings* settings_;
  std::optional<pictures::PictureInfo> info_;
  std::unique_ptr<pictures::ByteSource> source_;
  std::unique_ptr<pictures::PictureReader> reader_;
};

/// A file's picture for several frames and threads, read once, by whoever needs it first.
class SharedFile {
 public:
  explicit SharedFile(std::unique_ptr<FilePicture> picture) : picture_(std::move(picture)) {}

  /// A copy, since another thread's reading may add to it.
  pictures::PictureInfo Info() {
    const std::lock_guard lock(mutex_);
    return picture_->Info();
  }
  /// Where the picture is wanted no more it is not kept, to be freed before others are written.
  SharedWorld Read(bool keep) {
    const std::lock_guard lock(mutex_);
    if (world_ != nullptr) {
      return world_;
    }
    SharedWorld world = picture_->Read();
    world_ = keep ? world : nullptr;
    return world;
  }

 private:
  std::mutex mutex_;
  std::unique_ptr<FilePicture> picture_;
  SharedWorld world_;
};

/// The picture of a shared file for one of its frames.
class SharedPicture : public SourcePicture {
 public:
  SharedPicture(std::shared_ptr<SharedFile> file, bool keep)
      : file_(std::move(file)), keep_(keep) {}
  const pictures::PictureInfo& Info() override {
    info_ = file_->Info();
    return info_;
  }
  SharedWorld Read() override { return file_->Read(keep_); }

 private:
  std::shared_ptr<SharedFile> file_;
  bool keep_;
  pictures::PictureInfo info_;
};

/// The same picture for every frame.
class StillSource : public FrameSource {
 public:
  StillSource(const std::string& path, const pictures::PictureSelection& selection)
      : path_(path),
        file_(std::make_shared<SharedFile>(
            std::make_unique<FilePicture>(path, selection, &settings_))) {}

  void SetTiming(const SourceTiming& timing) override {
    if (timing.timing.IsSet()) {
      throw UsageError(Text(path_, ": a still has no time (--layer-start, --layer-end and ",
                            "--layer-speed are for sequences and videos)"));
    }
  }
  Presence Has(int /*frame*/) const override { return Presence::kThere; }
  std::string Describe(int /*frame*/) const override { return path_; }
  pictures::PictureInfo Look(int /*frame*/) override { return file_->Info(); }
  void Prepare(const SourceSettings& settings) override { settings_ = settings; }
  std::unique_ptr<SourcePicture> Take(int /*frame*/) override {
    return std::make_unique<SharedPicture>(file_, settings_.manyFrames);
  }

 private:
  std::string path_;
  SourceSettings settings_;
  std::shared_ptr<SharedFile> file_;
};

/// A file per frame.
class SequenceSource : public FrameSource {
 public:
  SequenceSource(FileName name, pictures::PictureSelection selection)
      : name_(std::move(name)), selection_(std::move(selection)) {}

  void SetTiming(const SourceTiming& timing) override;
  Presence Has(int frame) const override;
  std::string Describe(int frame) const override {
    const std::optional<int> number = NumberFor(frame);
    return number ? name_.At(*number) : "nothing";
  }
  pictures::PictureInfo Look(int frame) override;
  void Prepare(const SourceSettings& settings) override { settings_ = settings; }
  std::unique_ptr<SourcePicture> Take(int frame) override;

 private:
  /// The number of the file for a frame; nothing before the layer's first and after its last.
  std::optional<int> NumberFor(int frame) const;
  /// The picture of a file, where it was looked at the one that is open.
  std::unique_ptr<FilePicture> Open(int number);

  FileName name_;
  pictures::PictureSelection selection_;
  SourceSettings settings_;
  std::optional<TimePlan> plan_;  ///< of a layer with a timing of its own
  int first_ = 0;                 ///< of the files that are there, where there is a plan
  std::int64_t step_ = 1;
  std::int64_t count_ = 1;
  std::map<int, std::unique_ptr<FilePicture>> opened_;  ///< looked at, but not taken yet
  /// The file taken last, where the frame after it shows the same: a held or a slow layer.
  std::optional<int> heldNumber_;
  std::shared_ptr<SharedFile> held_;
};

void SequenceSource::SetTiming(const SourceTiming& timing) {
  if (!timing.timing.IsSet()) {
    return;
  }
  const std::vector<int> numbers = FramesOnDisk(name_);
  if (numbers.empty()) {
    throw RenderError(Text(name_.Pattern(), ": no such files"));
  }
  first_ = numbers.front();
  step_ = std::max<std::int64_t>(1, StepOf(numbers));
  count_ = (std::int64_t{numbers.back()} - first_) / step_ + 1;
  const PF_RationalScale speed = timing.timing.speed.value_or(PF_RationalScale{1, 1});
  plan_ = TimePlan{timing.timing.start.value_or(first_),
                   {speed.num, static_cast<std::int64_t>(speed.den)},
                   timing.timing.end.value_or(LayerEnd::kNone)};
}

std::optional<int> SequenceSource::NumberFor(int frame) const {
  if (!plan_) {
    return frame;
  }
  const std::optional<std::int64_t> place = plan_->PlaceAt(frame, count_);
  return place ? std::optional(static_cast<int>(first_ + *place * step_)) : std::nullopt;
}

Presence SequenceSource::Has(int frame) const {
  const std::optional<int> number = NumberFor(frame);
  if (!number) {
    return Presence::kNothing;
  }
  std::error_code ignored;
  return std::filesystem::exists(PathOf(name_.At(*number)), ignored) ? Presence::kThere
                                                                     : Presence::kMissing;
}

pictures::PictureInfo SequenceSource::Look(int frame) {
  const int number = NumberFor(frame).value_or(first_);
  std::unique_ptr<FilePicture>& picture = opened_[number];
  picture = std::make_unique<FilePicture>(name_.At(number), selection_, &settings_);
  return picture->Info();
}

std::unique_ptr<FilePicture> SequenceSource::Open(int number) {
  const auto found = opened_.find(number);
  if (found == opened_.end()) {
    return std::make_unique<FilePicture>(name_.At(number), selection_, &settings_);
  }
  std::unique_ptr<FilePicture> picture = std::move(found->second);
  opened_.erase(found);
  return picture;
}

std::unique_ptr<SourcePicture> SequenceSource::Take(int frame) {
  const std::optional<int> number = NumberFor(frame);
  if (number && number == heldNumber_) {
    return std::make_unique<SharedPicture>(held_, true);
  }
  heldNumber_.reset();
  held_.reset();
  if (!number) {
    return nullptr;
  }
  std::unique_ptr<FilePicture> picture = Open(*number);
  if (number != NumberFor(frame + 1)) {
    return picture;
  }
  held_ = std::make_shared<SharedFile>(std::move(picture));
  heldNumber_ = number;
  return std::make_unique<SharedPicture>(held_, true);
}

/// Raw frames that come through a pipe: the first is frame 1.
class StreamSource : public FrameSource {
 public:
  explicit StreamSource(std::string path)
      : path_(std::move(path)),
        stream_(Named(path_, [this] { return pictures::PamStream(path_); })) {}

  void SetTiming(const SourceTiming& /*timing*/) override {}
  Presence Has(int frame) const override {
    return frame >= 1 ? Presence::kThere : Presence::kMissing;
  }
  std::string Describe(int frame) const override { return Text(path_, " frame ", frame); }
  pictures::PictureInfo Look(int frame) override {
    auto picture = Take(frame);
    if (picture == nullptr) {
      throw RenderError(Text(path_, ": ends after ", EndText()));
    }
    looked_ = std::move(picture);
    lookedAt_ = frame;
    return looked_->Info();
  }
  void Prepare(const SourceSettings& settings) override { settings_ = settings; }
  std::unique_ptr<SourcePicture> Take(int frame) override;

 private:
  /// A frame in memory, decoded by whoever renders it.
  class Raw : public SourcePicture {
   public:
    Raw(std::vector<std::byte> bytes, const std::string& path, const SourceSettings& settings)
        : bytes_(std::move(bytes)),
          path_(path),
          settings_(settings),
          source_(bytes_),
          reader_(Named(path_, [this] { return pictures::OpenPicture(source_); })) {}
    const pictures::PictureInfo& Info() override { return reader_->Info(); }
    SharedWorld Read() override {
      return Named(path_, [this] {
        return Reduced(pictures::ReadWorld(*reader_, settings_.depth, settings_.pool), settings_);
      });
    }

   private:
    std::vector<std::byte> bytes_;
    const std::string& path_;
    const SourceSettings& settings_;
    pictures::MemorySource source_;
    std::unique_ptr<pictures::PictureReader> reader_;
  };

  std::string EndText() const { return Count(static_cast<std::size_t>(given_), "frame"); }

  std::string path_;
  SourceSettings settings_;
  pictures::PamStream stream_;
  int given_ = 0;  ///< frames that have been read
  std::unique_ptr<SourcePicture> looked_;
  int lookedAt_ = 0;
};

std::unique_ptr<SourcePicture> StreamSource::Take(int frame) {
  if (looked_ != nullptr && lookedAt_ == frame) {
    return std::move(looked_);
  }
  std::vector<std::byte> bytes;
  while (given_ < frame) {
    bytes = Named(path_, [this] { return stream_.Next(); });
    if (bytes.empty()) {
      return nullptr;
    }
    ++given_;
  }
  return std::make_unique<Raw>(std::move(bytes), path_, settings_);
}

/// The frames of a video, decoded in their order. Its first frame belongs to frame 1 unless a layer
/// is told to begin elsewhere.
class VideoSource : public FrameSource {
 public:
  explicit VideoSource(const std::string& path) : info_(ProbeVideo(path)) {}

  const VideoInfo* Video() const override { return &info_; }
  void SetTiming(const SourceTiming& timing) override;
  int LastFrame() const override;
  Presence Has(int frame) const override {
    return PlaceFor(frame, count_) ? Presence::kThere
           : isLayer_              ? Presence::kNothing
                                   : Presence::kMissing;
  }
  std::string Describe(int frame) const override {
    const std::optional<std::int64_t> place = PlaceFor(frame, count_);
    return place ? Text(info_.path, " frame ", *place + 1) : "nothing";
  }
  pictures::PictureInfo Look(int /*frame*/) override { return info_.picture; }
  void Prepare(const SourceSettings& settings) override;
  std::unique_ptr<SourcePicture> Take(int frame) override;

 private:
  class Decoded : public SourcePicture {
   public:
    Decoded(const pictures::PictureInfo& info, SharedWorld world)
        : info_(info), world_(std::move(world)) {}
    const pictures::PictureInfo& Info() override { return info_; }
    SharedWorld Read() override { return std::move(world_); }

   private:
    const pictures::PictureInfo& info_;
    SharedWorld world_;
  };

  /// The place in the video, from 0, for a frame of the output, of a video of so many steps.
  std::optional<std::int64_t> PlaceFor(int frame, std::int64_t count) const;
  /// The frame at a place; null after the last one.
  SharedWorld WorldAt(std::int64_t place);
  SharedWorld ReadNext();
  [[noreturn]] void ThrowEnded() const;

  struct Kept {
    std::int64_t place;
    SharedWorld world;
  };

  VideoInfo info_;
  SourceSettings settings_;
  bool isLayer_ = false;
  TimePlan plan_;
  PF_RationalScale rate_{24, 1};
  std::int64_t count_ = 0;  ///< steps of the plan: frames, or where their times vary, output frames
  std::unique_ptr<VideoReader> reader_;  ///< null before the first and after the last frame
  std::int64_t position_ = 0;            ///< place of the frame that the reader gives next
  bool ended_ = false;                   ///< the reader has no more frames, or failed
  std::deque<Kept> kept_;                ///< the frames read last
  std::size_t mostKept_ = 1;
};

void VideoSource::SetTiming(const SourceTiming& timing) {
  isLayer_ = timing.isLayer;
  rate_ = timing.rate;
  const LayerTiming& layer = timing.timing;
  const bool varies = !info_.times.seconds.empty();
  // Frames of varying times are found by their times, in steps of the output's own frames.
  plan_ = {layer.start.value_or(1),
           StepPerFrame(layer.speed.value_or(PF_RationalScale{1, 1}), varies ? rate_ : info_.rate,
                        rate_),
           layer.end.value_or(LayerEnd::kNone)};
  count_ = info_.times.count;
  if (varies) {
    constexpr std::int64_t kMostFrames = 10000000;  // a damaged file may tell of any time
    const double last = info_.times.seconds.back() * rate_.num / static_cast<double>(rate_.den);
    count_ =
        last < static_cast<double>(kMostFrames) ? static_cast<std::int64_t>(last) + 1 : kMostFrames;
  }
}

int VideoSource::LastFrame() const {
  // The last frame whose place, rounded down, is below the count.
  const std::int64_t frames =
      (std::max<std::int64_t>(count_, 1) * plan_.step.denominator - 1) / plan_.step.numerator;
  return static_cast<int>(std::min<std::int64_t>(plan_.start + frames, kMostFrameNumber));
}

std::optional<std::int64_t> VideoSource::PlaceFor(int frame, std::int64_t count) const {
  const std::optional<std::int64_t> step = plan_.PlaceAt(frame, std::max<std::int64_t>(count, 1));
  if (!step || info_.times.seconds.empty()) {
    return step;
  }
  return PlaceAtTime(info_.times, static_cast<double>(*step) * rate_.den / rate_.num);
}

void VideoSource::Prepare(const SourceSettings& settings) {
  settings_ = settings;
  const bool repeats =
      isLayer_ || !info_.times.seconds.empty() || plan_.step.numerator < plan_.step.denominator;
  mostKept_ = repeats ? 1 : 0;
  if (plan_.end == LayerEnd::kPingPong) {
    // Going back begins before the frame that is wanted, and what lies between is kept.
    const std::uint64_t bytes = static_cast<std::uint64_t>(info_.picture.width) *
                                static_cast<std::uint64_t>(info_.picture.height) *
                                static_cast<std::uint64_t>(host::BytesPerPixel(settings.depth));
    constexpr std::uint64_t kBudget = std::uint64_t{1} << 29;
    constexpr std::uint64_t kMostKept = 64;
    mostKept_ = static_cast<std::size_t>(std::clamp<std::uint64_t>(kBudget / bytes, 2, kMostKept));
  }
}

void VideoSource::ThrowEnded() const {
  throw RenderError(Text(info_.path, ": ends after ",
                         Count(static_cast<std::size_t>(position_), "frame"), " of ",
                         info_.times.count, " (cut short or damaged)"));
}

SharedWorld VideoSource::ReadNext() {
  std::optional<host::World> world = reader_->Next(settings_.depth);
  if (!world) {
    return nullptr;
  }
  SharedWorld reduced = Reduced(std::move(*world), settings_);
  kept_.push_back({position_++, reduced});
  if (kept_.size() > mostKept_) {
    kept_.pop_front();
  }
  return reduced;
}

SharedWorld VideoSource::WorldAt(std::int64_t place) {
  const auto found = std::find_if(kept_.begin(), kept_.end(),
                                  [place](const Kept& kept) { return kept.place == place; });
  if (found != kept_.end()) {
    return found->world;
  }
  if (reader_ == nullptr || position_ > place) {
    const bool back = reader_ != nullptr;
    const std::int64_t before = static_cast<std::int64_t>(mostKept_) - 1;
    position_ = back ? std::max<std::int64_t>(place - before, 0) : place;
    kept_.clear();
    ended_ = false;
    reader_ = std::make_unique<VideoReader>(info_, position_);
  }
  if (ended_) {
    return nullptr;
  }
  ended_ = true;  // stays so where reading fails
  while (position_ < place) {
    if (mostKept_ > 1) {
      if (ReadNext() == nullptr) {
        return nullptr;
      }
    } else if (reader_->Skip()) {
      ++position_;
    } else {
      return nullptr;
    }
  }
  SharedWorld world = ReadNext();
  ended_ = world == nullptr;
  return world;
}

std::unique_ptr<SourcePicture> VideoSource::Take(int frame) {
  // More frames may come than were told; at another rate nobody would miss them.
  const bool mayBeLonger = !isLayer_ && info_.times.seconds.empty();
  const std::optional<std::int64_t> place =
      PlaceFor(frame, mayBeLonger ? std::numeric_limits<std::int64_t>::max() : count_);
  if (!place) {
    return nullptr;
  }
  SharedWorld world = WorldAt(*place);
  if (world == nullptr) {
    if (*place < info_.times.count) {
      ThrowEnded();
    }
    return nullptr;
  }
  return std::make_unique<Decoded>(info_.picture, std::move(world));
}

}  // namespace

std::unique_ptr<FrameSource> OpenSource(const Media& media,
                                        const pictures::PictureSelection& selection) {
  switch (media.kind) {
    case MediaKind::kVideo:
      if (!selection.channels.empty()) {
        throw UsageError("--channels: not for videos");
      }
      return std::make_unique<VideoSource>(media.At(0));
    case MediaKind::kSequence:
      return std::make_unique<SequenceSource>(media.name, selection);
    case MediaKind::kStream:
      return std::make_unique<StreamSource>(media.At(0));
    case MediaKind::kStill:
    case MediaKind::kNone:
      break;
  }
  return std::make_unique<StillSource>(media.At(0), selection);
}

}  // namespace veltra::cli
