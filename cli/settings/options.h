// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The options of a render apart from the effect's controls: one list for the command line, the
// scene file, the help and the completion.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "cli/settings/values.h"
#include "host/base/depth.h"
#include "host/effect_library.h"
#include "pictures/picture.h"

namespace veltra::cli {

/// How progress is told.
enum class ProgressStyle { kAuto, kBar, kLines, kJson, kNone };

/// What shows of a layer after its last frame.
enum class LayerEnd { kNone, kHold, kLoop, kPingPong };

/// "none", "hold", "loop" or "ping-pong".
const char* LayerEndName(LayerEnd end);

/// When a layer's sequence or video plays. Without any of it, frame n of the layer belongs to
/// frame n of the output.
struct LayerTiming {
  std::optional<int> start;  ///< frame of the output that shows the layer's first frame
  std::optional<LayerEnd> end;
  std::optional<PF_RationalScale> speed;

  bool IsSet() const { return start || end || speed; }
};

/// How the pictures of two eyes lie in a frame; the left eye's is the upper or left one.
enum class StereoLayout { kTopBottom, kLeftRight };

/// "top-bottom" or "left-right".
const char* StereoLayoutName(StereoLayout layout);

struct RenderOptions {
  std::string effect;
  const host::HostProfile* host = &host::DefaultHost();  ///< what effects are told
  std::string press;  ///< names of buttons, with commas between, in their order
  std::string frame;
  std::string output;
  std::string channels;  ///< of the frame's OpenEXR files; empty for the usual ones
  std::string format;    ///< of the output: an ending without its point, where its name has none
  bool noAlpha = false;
  bool stream = false;  ///< pipes as frame and output carry frame after frame
  std::string saveScene;
  std::optional<PictureSize> size;
  std::optional<FrameList> frames;
  std::optional<FrameList> part;  ///< of those frames
  std::optional<PF_RationalScale> rate;
  std::optional<host::Depth> depth;
  std::optional<pictures::SampleType> outputDepth;
  std::string compression;
  std::optional<int> jpegQuality;  ///< 1..100
  std::string videoOptions;
  bool classic = false;
  bool draft = false;
  std::optional<PF_LRect> region;
  int downsample = 1;
  std::optional<StereoLayout> stereo;
  double disparity = 0.0;  ///< degrees by which each eye's points are turned towards the nose
  PF_RationalScale pixelAspect{1, 1};
  PF_RationalScale layerPixelAspect{1, 1};
  LayerTiming layerTiming;
  bool skipMissing = false;
  bool keepGoing = false;
  bool dryRun = false;
  std::optional<bool> segmentAlpha;  ///< a segment of a video, which has alpha or not
  std::string join;                  ///< the list of segments that make the video
  bool noClobber = false;
  bool resume = false;
  int threads = 0;           ///< 0 is one per core
  int concurrentFrames = 0;  ///< 0 is as many as cores and memory suggest
  ProgressStyle progress = ProgressStyle::kAuto;
  bool quiet = false;  ///< no progress, no warnings
};

struct OptionSpec {
  const char* name;         ///< long name without dashes, also the scene's key
  const char* shortName;    ///< one letter, or empty
  const char* placeholder;  ///< empty for a flag
  const char* group;
  const char* help;
  bool inScene;         ///< may stand in a scene file
  bool isPath;          ///< relative to the scene file's folder
  const char* choices;  ///< blank-separated, for completion; empty where anything may stand
  /// Reads the value ("on" or "off" for a flag). Throws UsageError without the option's name.
  void (*apply)(RenderOptions& options, std::string_view text);
  bool isList = false;  ///< names with commas between; given again, it goes on

  bool IsFlag() const { return placeholder[0] == '\0'; }
};

/// All of them, in the order of the help.
std::span<const OptionSpec> RenderOptionSpecs();

/// The one of this long name, or null.
const OptionSpec* FindOption(std::string_view name);

/// Names that controls cannot have.
std::vector<std::string> TakenNames();

}  // namespace veltra::cli
