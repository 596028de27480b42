// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Where the pictures of a job come from: a still, a sequence of files, a stream of frames or a
// video.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "cli/job/media.h"
#include "cli/settings/options.h"
#include "cli/video/video.h"
#include "host/base/thread_pool.h"
#include "host/pixels/world.h"
#include "pictures/picture.h"

namespace veltra::cli {

using SharedWorld = std::shared_ptr<const host::World>;

/// What an input has for a frame of the output.
enum class Presence {
  kThere,
  kNothing,  ///< a layer that has not begun, or is over
  kMissing,  ///< something should be there and is not
};

/// How an input's frames go with those of the output.
struct SourceTiming {
  bool isLayer = false;
  LayerTiming timing;            ///< of a layer
  PF_RationalScale rate{24, 1};  ///< of the output, in frames per second
};

/// How the pictures of a source are wanted.
struct SourceSettings {
  host::Depth depth = host::Depth::k8;
  int downsample = 1;                  ///< 1/n of the resolution
  PF_RationalScale pixelAspect{1, 1};  ///< of the pictures
  bool manyFrames = false;             ///< a still is wanted more than once
  host::ThreadPool* pool = nullptr;    ///< outlives the source
};

/// One picture of a source, taken for one frame. For one thread at a time.
class SourcePicture {
 public:
  SourcePicture() = default;
  SourcePicture(const SourcePicture&) = delete;
  SourcePicture& operator=(const SourcePicture&) = delete;
  virtual ~SourcePicture() = default;

  /// What the header tells, before any pixel is read; afterwards also what reading noticed. Throws
  /// RenderError "NAME: reason".
  virtual const pictures::PictureInfo& Info() = 0;
  /// The pixels, as the settings want them. Throws RenderError "NAME: reason", Interrupted.
  virtual SharedWorld Read() = 0;
};

/// Gives the pictures of one input for the frames of the output, told by their numbers alone. Not
/// for several threads at once, but the pictures it gave may be read on as many threads as there
/// are pictures. The calls come in the order of their declaration.
class FrameSource {
 public:
  FrameSource() = default;
  FrameSource(const FrameSource&) = delete;
  FrameSource& operator=(const FrameSource&) = delete;
  virtual ~FrameSource() = default;

  /// What a video tells of itself; null for pictures.
  virtual const VideoInfo* Video() const { return nullptr; }
  /// Says how the frames lie in time. Throws UsageError where that cannot be.
  virtual void SetTiming(const SourceTiming& timing) = 0;
  /// The last frame of the output that a video has something for; 0 for pictures and streams.
  virtual int LastFrame() const { return 0; }
  /// Whether there is a picture for a frame, as far as can be told without reading it.
  virtual Presence Has(int frame) const = 0;
  /// What is read for a frame, for people: a file's name, or a video's and the frame in it.
  virtual std::string Describe(int frame) const = 0;

  /// What the header of a frame's picture tells. The picture stays open for whoever takes it, since
  /// a pipe cannot be opened twice. Throws RenderError "NAME: reason".
  virtual pictures::PictureInfo Look(int frame) = 0;
  virtual void Prepare(const SourceSettings& settings) = 0;
  /// The picture for a frame; null where a layer has nothing, and after the last frame of a video
  /// or a stream.
  /// Frames must rise. Throws RenderError "NAME: reason".
  virtual std::unique_ptr<SourcePicture> Take(int frame) = 0;
};

/// Opens an input, which must not be of kind none. Throws RenderError where a video cannot be read;
/// pictures are opened when they are looked at or taken.
/// `selection` is what of each picture is read.
std::unique_ptr<FrameSource> OpenSource(const Media& media,
                                        const pictures::PictureSelection& selection);

}  // namespace veltra::cli
