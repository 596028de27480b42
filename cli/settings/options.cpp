// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The list of options, each with its reader.
#include "cli/settings/options.h"

#include <array>
#include <cmath>

#include "base/error.h"
#include "cli/settings/hosts.h"

namespace veltra::cli {
namespace {

constexpr int kMostThreads = 256;
constexpr int kMostFramesAtOnce = 256;

host::Depth ParseDepth(std::string_view text) {
  for (const host::Depth depth : host::kAllDepths) {
    if (text == host::DepthName(depth)) {
      return depth;
    }
  }
  ThrowNotA(text, "a depth", "8, 16 or float");
}

pictures::SampleType ParseSampleType(std::string_view text) {
  for (const pictures::SampleType type :
       {pictures::SampleType::kUint8, pictures::SampleType::kUint16, pictures::SampleType::kHalf,
        pictures::SampleType::kFloat}) {
    if (text == pictures::SampleTypeName(type)) {
      return type;
    }
  }
  ThrowNotA(text, "a depth", "8, 16, half or float");
}

bool ParseQuality(std::string_view text) {
  if (text == "best" || text == "draft") {
    return text == "draft";
  }
  ThrowNotA(text, "a quality", "best or draft");
}

bool ParseSegment(std::string_view text) {
  if (text == "alpha" || text == "opaque") {
    return text == "alpha";
  }
  ThrowNotA(text, "a kind of segment", "alpha or opaque");
}

constexpr std::array<const char*, 4> kLayerEnds = {"none", "hold", "loop", "ping-pong"};

LayerEnd ParseLayerEnd(std::string_view text) {
  for (std::size_t i = 0; i < kLayerEnds.size(); ++i) {
    if (text == kLayerEnds[i]) {
      return static_cast<LayerEnd>(i);
    }
  }
  ThrowNotA(text, "an end for a layer", "none, hold, loop or ping-pong");
}

constexpr std::array<const char*, 2> kStereoLayouts = {"top-bottom", "left-right"};

StereoLayout ParseStereo(std::string_view text) {
  for (std::size_t i = 0; i < kStereoLayouts.size(); ++i) {
    if (text == kStereoLayouts[i]) {
      return static_cast<StereoLayout>(i);
    }
  }
  if (text == "vr180") {
    throw UsageError(
        "'vr180' shows half a sphere to each eye, and the effect takes a frame for the whole one "
        "(lay each eye's picture into the middle of one twice as wide, then expected top-bottom or "
        "left-right)");
  }
  ThrowNotA(text, "a layout of two eyes", "top-bottom or left-right");
}

constexpr double kMostDisparity = 45.0;

double ParseDisparity(std::string_view text) {
  const double degrees = ParseNumber(text);
  if (!(std::abs(degrees) <= kMostDisparity)) {
    ThrowNotA(text, "in range", "-45 to 45");
  }
  return degrees;
}

ProgressStyle ParseProgress(std::string_view text) {
  constexpr std::array<std::string_view, 5> kNames = {"auto", "bar", "lines", "json", "none"};
  for (std::size_t i = 0; i < kNames.size(); ++i) {
    if (text == kNames[i]) {
      return static_cast<ProgressStyle>(i);
    }
  }
  ThrowNotA(text, "a way to show progress", "auto, bar, lines, json or none");
}

constexpr const char* kFiles = "Pictures";
constexpr const char* kRendering = "Rendering";
constexpr const char* kSequences = "Sequences and scenes";
constexpr const char* kOutput = "Output";
constexpr const char* kRunning = "Running";

constexpr std::array kSpecs = {
    OptionSpec{"frame", "f", "FILE", kFiles,
               "the 360-degree frame: an image, a sequence (name.####.exr, name.%04d.exr) or a "
               "video",
               true, true, "", [](RenderOptions& o, std::string_view t) { o.frame = t; }},
    OptionSpec{"size", "", "WxH", kFiles, "a transparent frame of this size instead", true, false,
               "", [](RenderOptions& o, std::string_view t) { o.size = ParseSize(t); }},
    OptionSpec{"output", "o", "FILE", kFiles,
               "what to write: .png, .exr, .tif, .jpg, a sequence of them, or a video", true, true,
               "", [](RenderOptions& o, std::string_view t) { o.output = t; }},
    OptionSpec{"channels", "", "NAMES", kFiles,
               "the frame's part, layer or channels of an OpenEXR file: left, left.R,left.G,left.B "
               "or depth:Z",
               true, false, "", [](RenderOptions& o, std::string_view t) { o.channels = t; }},
    OptionSpec{"effect", "", "FILE", kFiles,
               "the effect library (default: the one beside this program)", true, true, "",
               [](RenderOptions& o, std::string_view t) { o.effect = t; }},
    OptionSpec{"host", "", "NAME", kFiles,
               "what the effect is told that its host is (default after-effects; help lists them)",
               true, false, "",
               [](RenderOptions& o, std::string_view t) { o.host = &ParseHost(t); }},
    OptionSpec{"press", "", "BUTTONS", kFiles,
               "press these buttons of the effect before the first frame, in this order: reset or "
               "reset,bake",
               true, false, "", [](RenderOptions& o, std::string_view t) { o.press = t; }, true},

    OptionSpec{"depth", "d", "8|16|float", kRendering,
               "bits per channel to render in (default: the frame's)", true, false, "8 16 float",
               [](RenderOptions& o, std::string_view t) { o.depth = ParseDepth(t); }},
    OptionSpec{"quality", "q", "best|draft", kRendering,
               "draft takes the nearest pixel of the layer", true, false, "best draft",
               [](RenderOptions& o, std::string_view t) { o.draft = ParseQuality(t); }},
    OptionSpec{"downsample", "", "N", kRendering, "render at 1/N of the resolution", true, false,
               "",
               [](RenderOptions& o, std::string_view t) {
                 o.downsample = ParseInteger(t, 1, kHostMaxWorldSide);
               }},
    OptionSpec{"region", "", "X,Y,W,H", kRendering,
               "only this part, in pixels of the full-resolution frame", true, false, "",
               [](RenderOptions& o, std::string_view t) { o.region = ParseRegion(t); }},
    OptionSpec{"stereo", "", "LAYOUT", kRendering,
               "the frame holds a sphere for each eye: top-bottom or left-right", true, false,
               "top-bottom left-right",
               [](RenderOptions& o, std::string_view t) { o.stereo = ParseStereo(t); }},
    OptionSpec{"disparity", "", "DEGREES", kRendering,
               "with --stereo: turns each eye's points towards the nose, which brings the layer "
               "nearer (default 0, -45 to 45)",
               true, false, "",
               [](RenderOptions& o, std::string_view t) { o.disparity = ParseDisparity(t); }},
    OptionSpec{"pixel-aspect", "", "N/D", kRendering, "width of the frame's pixels over height",
               true, false, "",
               [](RenderOptions& o, std::string_view t) { o.pixelAspect = ParseRatio(t); }},
    OptionSpec{"layer-pixel-aspect", "", "N/D", kRendering,
               "width of the layer's pixels over height", true, false, "",
               [](RenderOptions& o, std::string_view t) { o.layerPixelAspect = ParseRatio(t); }},
    OptionSpec{"classic", "", "", kRendering, "use the older render command (8 and 16 bit only)",
               true, false, "",
               [](RenderOptions& o, std::string_view t) { o.classic = ParseSwitch(t); }},

    OptionSpec{"frames", "", "LIST", kSequences,
               "the frames to render: 12, 1-240, 1-240x2 or 1,5,10-20,30-60x2", true, false, "",
               [](RenderOptions& o, std::string_view t) { o.frames = ParseFrames(t); }},
    OptionSpec{"part", "", "LIST", kSequences,
               "of those frames only these, with the depth and the times that they have in the "
               "whole run",
               false, false, "",
               [](RenderOptions& o, std::string_view t) { o.part = ParseFrames(t); }},
    OptionSpec{"rate", "r", "FPS", kSequences,
               "frames per second, such as 25 or 30000/1001 (default: the video's, or 24)", true,
               false, "", [](RenderOptions& o, std::string_view t) { o.rate = ParseRate(t); }},
    OptionSpec{
        "layer-start", "", "FRAME", kSequences,
        "the frame that shows the first frame of the layer's sequence or video", true, false, "",
        [](RenderOptions& o, std::string_view t) {
          o.layerTiming.start = ParseInteger(t, -kMostFrameNumber, kMostFrameNumber);
        }},
    OptionSpec{"layer-end", "", "KIND", kSequences,
               "what follows the layer's last frame: none (default), hold, loop or ping-pong", true,
               false, "none hold loop ping-pong",
               [](RenderOptions& o, std::string_view t) { o.layerTiming.end = ParseLayerEnd(t); }},
    OptionSpec{"layer-speed", "", "RATIO", kSequences,
               "how fast the layer plays: 2, 0.5 or 24/25 (default 1)", true, false, "",
               [](RenderOptions& o, std::string_view t) { o.layerTiming.speed = ParseRatio(t); }},
    OptionSpec{"stream", "", "", kSequences,
               "raw frames (PAM), one after the other, from -f - and to -o -", true, false, "",
               [](RenderOptions& o, std::string_view t) { o.stream = ParseSwitch(t); }},
    OptionSpec{"skip-missing", "", "", kSequences, "leave out frames whose input is missing", true,
               false, "",
               [](RenderOptions& o, std::string_view t) { o.skipMissing = ParseSwitch(t); }},
    OptionSpec{"resume", "", "", kSequences, "leave out frames whose output is there already",
               false, false, "",
               [](RenderOptions& o, std::string_view t) { o.resume = ParseSwitch(t); }},
    OptionSpec{"keep-going", "", "", kSequences,
               "render on past frames that fail; they are listed at the end", false, false, "",
               [](RenderOptions& o, std::string_view t) { o.keepGoing = ParseSwitch(t); }},
    OptionSpec{"dry-run", "", "", kSequences,
               "only tell what would be read and written, and each frame's settings", false, false,
               "", [](RenderOptions& o, std::string_view t) { o.dryRun = ParseSwitch(t); }},
    OptionSpec{"segment", "", "alpha|opaque", kSequences,
               "write a part of a video without its sound, to be joined (what a farm does)", false,
               false, "alpha opaque",
               [](RenderOptions& o, std::string_view t) { o.segmentAlpha = ParseSegment(t); }},
    OptionSpec{"join", "", "LIST", kSequences,
               "make the video of the segments that this file lists instead of rendering it", false,
               true, "", [](RenderOptions& o, std::string_view t) { o.join = t; }},
    OptionSpec{"save-scene", "", "FILE", kSequences,
               "write all of this as a scene file; renders too when there is an output", false,
               true, "", [](RenderOptions& o, std::string_view t) { o.saveScene = t; }},

    OptionSpec{"output-depth", "", "8|16|half|float", kOutput,
               "bits per channel of the file (default: what the render has, as far as the format "
               "can)",
               true, false, "8 16 half float",
               [](RenderOptions& o, std::string_view t) { o.outputDepth = ParseSampleType(t); }},
    OptionSpec{"format", "", "png|exr|tif|jpg|pam", kOutput,
               "the format of an output whose name does not tell it, such as - (standard output)",
               true, false, "png exr tif jpg pam",
               [](RenderOptions& o, std::string_view t) { o.format = t; }},
    OptionSpec{"no-alpha", "", "", kOutput, "write red, green and blue only", true, false, "",
               [](RenderOptions& o, std::string_view t) { o.noAlpha = ParseSwitch(t); }},
    OptionSpec{"compression", "", "NAME", kOutput,
               "none, fast, best; png: 0 to 9; tiff: lzw, deflate, packbits; exr: zip, zips, piz, "
               "rle, dwaa, dwab",
               true, false, "none fast best lzw deflate packbits zip zips piz rle dwaa dwab",
               [](RenderOptions& o, std::string_view t) { o.compression = t; }},
    OptionSpec{"jpeg-quality", "", "N", kOutput, "1 to 100 (default 95)", true, false, "",
               [](RenderOptions& o, std::string_view t) {
                 constexpr int kMostQuality = 100;
                 o.jpegQuality = ParseInteger(t, 1, kMostQuality);
               }},
    OptionSpec{"video-options", "", "TEXT", kOutput,
               "options for the video encoder, such as \"-c:v libx265 -crf 16\"", true, false, "",
               [](RenderOptions& o, std::string_view t) { o.videoOptions = t; }},
    OptionSpec{"no-clobber", "n", "", kOutput, "refuse to overwrite what is there", false, false,
               "", [](RenderOptions& o, std::string_view t) { o.noClobber = ParseSwitch(t); }},

    OptionSpec{
        "threads", "j", "N", kRunning, "threads to use (default: one per core)", false, false, "",
        [](RenderOptions& o, std::string_view t) { o.threads = ParseInteger(t, 1, kMostThreads); }},
    OptionSpec{"concurrent-frames", "", "N", kRunning,
               "frames in flight at once (default: from cores and memory)", false, false, "",
               [](RenderOptions& o, std::string_view t) {
                 o.concurrentFrames = ParseInteger(t, 1, kMostFramesAtOnce);
               }},
    OptionSpec{"quiet", "", "", kRunning, "no progress and no warnings", false, false, "",
               [](RenderOptions& o, std::string_view t) {
                 o.quiet = ParseSwitch(t);
                 o.progress = o.quiet ? ProgressStyle::kNone : o.progress;
               }},
    OptionSpec{"progress", "", "KIND", kRunning, "auto, bar, lines, json or none", false, false,
               "auto bar lines json none",
               [](RenderOptions& o, std::string_view t) { o.progress = ParseProgress(t); }},
};

}  // namespace

std::span<const OptionSpec> RenderOptionSpecs() {
  return kSpecs;
}

const OptionSpec* FindOption(std::string_view name) {
  for (const OptionSpec& spec : kSpecs) {
    if (name == spec.name) {
      return &spec;
    }
  }
  return nullptr;
}

const char* StereoLayoutName(StereoLayout layout) {
  return kStereoLayouts[static_cast<std::size_t>(layout)];
}

const char* LayerEndName(LayerEnd end) {
  return kLayerEnds[static_cast<std::size_t>(end)];
}

std::vector<std::string> TakenNames() {
  std::vector<std::string> names = {"help", "version", "scene"};
  for (const OptionSpec& spec : kSpecs) {
    names.emplace_back(spec.name);
  }
  return names;
}

}  // namespace veltra::cli
