// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The three kinds of sources.
#include "cli/job/frame_source.h"

#include <map>
#include <mutex>
#include <new>
#include <utility>

#include "base/error.h"
#include "base/text.h"
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
  FilePicture(std::string path, const SourceSettings* settings)
      : path_(std::move(path)), settings_(settings) {}

  const PictureInfo& Info() override {
    Open();
    return info_;
  }

  SharedWorld Read() override {
    Open();
    return Named(path_, [this] {
      SharedWorld world =
          Reduced(ReadWorld(*reader_, settings_->depth, settings_->pool), *settings_);
      reader_.reset();  // some formats keep a copy of their own
      source_.reset();
      return world;
    });
  }

 private:
  void Open() {
    if (reader_ == nullptr) {
      Named(path_, [this] {
        source_ = OpenFileSource(path_);
        reader_ = OpenPicture(*source_);
        info_ = reader_->Info();
      });
    }
  }

  std::string path_;
  const SourceSettings* settings_;
  PictureInfo info_;
  std::unique_ptr<ByteSource> source_;
  std::unique_ptr<PictureReader> reader_;
};

/// The same picture for every frame, read once, by whoever needs it first.
class StillSource : public FrameSource {
 public:
  explicit StillSource(const std::string& path) : picture_(path, &settings_) {}

  PictureInfo Look(int /*number*/) override { return picture_.Info(); }
  void Prepare(const SourceSettings& settings) override { settings_ = settings; }
  std::unique_ptr<SourcePicture> Take(int /*number*/) override {
    return std::make_unique<Shared>(*this);
  }

 private:
  class Shared : public SourcePicture {
   public:
    explicit Shared(StillSource& source) : source_(source) {}
    const PictureInfo& Info() override {
      const std::lock_guard lock(source_.mutex_);
      return source_.picture_.Info();
    }
    SharedWorld Read() override { return source_.ReadOnce(); }

   private:
    StillSource& source_;
  };

  SharedWorld ReadOnce() {
    const std::lock_guard lock(mutex_);
    if (world_ != nullptr) {
      return world_;
    }
    SharedWorld world = picture_.Read();
    world_ = settings_.manyFrames ? world : nullptr;  // one frame alone frees it before writing
    return world;
  }

  SourceSettings settings_;
  std::mutex mutex_;
  FilePicture picture_;
  SharedWorld world_;
};

/// A file per frame.
class SequenceSource : public FrameSource {
 public:
  explicit SequenceSource(FileName name) : name_(std::move(name)) {}

  PictureInfo Look(int number) override {
    std::unique_ptr<FilePicture>& picture = opened_[number];
    picture = std::make_unique<FilePicture>(name_.At(number), &settings_);
    return picture->Info();
  }

  void Prepare(const SourceSettings& settings) override { settings_ = settings; }

  std::unique_ptr<SourcePicture> Take(int number) override {
    const auto found = opened_.find(number);
    if (found == opened_.end()) {
      return std::make_unique<FilePicture>(name_.At(number), &settings_);
    }
    std::unique_ptr<FilePicture> picture = std::move(found->second);
    opened_.erase(found);
    return picture;
  }

 private:
  FileName name_;
  SourceSettings settings_;
  std::map<int, std::unique_ptr<FilePicture>> opened_;  ///< looked at, but not taken yet
};

/// The frames of a video, counted from 1 and decoded in their order.
class VideoSource : public FrameSource {
 public:
  explicit VideoSource(const std::string& path) : info_(ProbeVideo(path)) {}

  PictureInfo Look(int /*number*/) override { return info_.picture; }
  void Prepare(const SourceSettings& settings) override {
    settings_ = settings;
    reader_ = std::make_unique<VideoReader>(info_, settings.rate);
  }
  std::unique_ptr<SourcePicture> Take(int number) override;
  const VideoInfo* Video() const override { return &info_; }

 private:
  class Decoded : public SourcePicture {
   public:
    Decoded(const PictureInfo& info, SharedWorld world) : info_(info), world_(std::move(world)) {}
    const PictureInfo& Info() override { return info_; }
    SharedWorld Read() override { return std::move(world_); }

   private:
    const PictureInfo& info_;
    SharedWorld world_;
  };

  VideoInfo info_;
  SourceSettings settings_;
  std::unique_ptr<VideoReader> reader_;  ///< null after the last frame
  int position_ = 1;                     ///< number of the frame that the reader gives next
};

std::unique_ptr<SourcePicture> VideoSource::Take(int number) {
  for (; reader_ != nullptr && position_ < number; ++position_) {
    if (!reader_->Skip()) {
      reader_.reset();
    }
  }
  std::optional<host::World> world =
      reader_ != nullptr ? reader_->Next(settings_.depth) : std::nullopt;
  position_ = number + 1;
  if (!world) {
    reader_.reset();
    return nullptr;
  }
  return std::make_unique<Decoded>(info_.picture, Reduced(std::move(*world), settings_));
}

}  // namespace

std::unique_ptr<FrameSource> OpenSource(const Media& media) {
  switch (media.kind) {
    case MediaKind::kVideo:
      return std::make_unique<VideoSource>(media.At(0));
    case MediaKind::kSequence:
      return std::make_unique<SequenceSource>(media.name);
    case MediaKind::kStill:
    case MediaKind::kNone:
      break;
  }
  return std::make_unique<StillSource>(media.At(0));
}

}  // namespace veltra::cli
