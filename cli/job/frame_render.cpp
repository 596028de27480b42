// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// From a job's settings to the renderer's.
#include "cli/job/frame_render.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <limits>
#include <mutex>
#include <optional>
#include <utility>

#include "base/error.h"
#include "base/text.h"
#include "cli/job/stereo.h"
#include "system/interrupt.h"

namespace veltra::cli {
namespace {

/// Where the effect reads a control at another time than the current one, the frame may be a
/// fraction, and lie before the first.
double FrameAtTime(A_long time, A_u_long scale, PF_RationalScale rate) {
  return static_cast<double>(time) * rate.num /
         (static_cast<double>(rate.den) * std::max<A_u_long>(scale, 1));
}

/// A region in pixels of the full-resolution frame, in those of the reduced one: every reduced
/// pixel that it touches, inside the frame.
PF_LRect ReducedRegion(const PF_LRect& region, int downsample, int width, int height) {
  const auto down = [downsample](A_long value) {
    return value >= 0 ? value / downsample : -((-value + downsample - 1) / downsample);
  };
  const auto up = [downsample](A_long value) {
    return value >= 0 ? (value + downsample - 1) / downsample : -(-value / downsample);
  };
  const A_long reducedWidth = host::DownsampledLength(width, downsample);
  const A_long reducedHeight = host::DownsampledLength(height, downsample);
  const PF_LRect reduced{std::max(down(region.left), 0), std::max(down(region.top), 0),
                         std::min(up(region.right), reducedWidth),
                         std::min(up(region.bottom), reducedHeight)};
  if (IsEmpty(reduced)) {
    throw UsageError(Text("--region: lies outside the frame of ", width, "x", height));
  }
  return reduced;
}

/// One row and column more towards the top left, as far as the frame has them: an effect may look
/// at its neighbour there, and take the other one where the part that it is asked for begins.
PF_LRect WithNeighbours(const PF_LRect& region) {
  return {std::max(region.left - 1, 0), std::max(region.top - 1, 0), region.right, region.bottom};
}

/// The last `width` x `height` pixels of a picture. Throws RenderError.
host::World LastPart(host::World picture, A_long width, A_long height) {
  if (picture.Width() == width && picture.Height() == height) {
    return picture;
  }
  auto part = host::World::Create(width, height, picture.PixelDepth());
  if (!part) {
    throw RenderError(part.ErrorText());
  }
  const auto pixelBytes = static_cast<std::size_t>(host::BytesPerPixel(picture.PixelDepth()));
  const A_long left = picture.Width() - width;
  const A_long top = picture.Height() - height;
  for (A_long y = 0; y < height; ++y) {
    std::memcpy(part->RowAddress(y),
                picture.RowAddress(y + top) + static_cast<std::size_t>(left) * pixelBytes,
                static_cast<std::size_t>(width) * pixelBytes);
  }
  part->SetOrigin(picture.OriginX() + left, picture.OriginY() + top);
  part->SetPixelAspect(picture.PixelAspect());
  return std::move(*part);
}

/// Whether an effect can fill more than the picture shows. A rectangle in the frame's pixels.
bool LosesBorder(const host::World& picture, const PF_LRect& filled) {
  return !IsEmpty(filled) && (filled.left < picture.OriginX() || filled.top < picture.OriginY() ||
                              filled.right > picture.OriginX() + picture.Width() ||
                              filled.bottom > picture.OriginY() + picture.Height());
}

std::string LostBorderText(const host::Effect& effect, const PF_LRect& filled) {
  return Text("what ", effect.Library().Identity().name, " draws beyond the frame is left out (",
              std::int64_t{filled.right} - filled.left, "x",
              std::int64_t{filled.bottom} - filled.top, " pixels at most, from ", filled.left, ",",
              filled.top, ")");
}

}  // namespace

PictureSize OutputSize(const RenderOptions& options, int width, int height) {
  if (!options.region) {
    return {host::DownsampledLength(width, options.downsample),
            host::DownsampledLength(height, options.downsample)};
  }
  const PF_LRect region = ReducedRegion(*options.region, options.downsample, width, height);
  return {region.right - region.left, region.bottom - region.top};
}

void CheckDepth(const RenderOptions& options, const host::Effect& effect, host::Depth depth) {
  const std::string name = host::DepthName(depth);
  if (options.classic && depth == host::Depth::kFloat) {
    throw UsageError("--classic: renders 8 and 16 bit only (add --depth 16)");
  }
  if (!effect.SupportsDepth(depth)) {
    throw UsageError(Text("this effect does not render at depth ", name, " (see --depth)"));
  }
}

FrameRenderer::FrameRenderer(const RenderOptions& options, const RenderPass& pass,
                             const FrameSettings& frames, bool whole)
    : options_(options), pass_(pass), frames_(frames), whole_(whole) {
  if (!pass.effect->SupportsThreadedRendering() || pass.effect->CopiesSequences()) {
    sequence_ = std::make_unique<host::HeldSequence>(*pass.effect);
  }
  const std::int64_t end = (static_cast<std::int64_t>(frames.lastFrame) + 1) *
                           static_cast<std::int64_t>(frames.rate.den);
  if (end > std::numeric_limits<A_long>::max()) {
    throw UsageError("--frames: numbers too large for the host's clock at this --rate");
  }
}

/// The value of a control at a frame, which may be a fraction; its default where nothing sets it.
host::ControlValue FrameRenderer::ControlAt(PF_ParamIndex index, double frame,
                                            const FrameInputs& inputs) const {
  for (const host::ControlDeclaration& control : pass_.effect->Controls()) {
    if (control.index != index) {
      continue;
    }
    const auto track = pass_.tracks.find(index);
    const host::ControlValue value =
        track != pass_.tracks.end()
            ? ValueAt(track->second, frame, inputs.width, inputs.height)
            : pass_.effect->DefaultValue(control, inputs.width, inputs.height);
    return control.type == PF_Param_POINT ? Turned(value, inputs.turn, inputs.width) : value;
  }
  return {};
}

host::RenderSettings FrameRenderer::Settings(int frame, const FrameInputs& inputs) const {
  const RenderOptions& options = options_;
  host::RenderSettings settings;
  settings.width = inputs.width;
  settings.height = inputs.height;
  settings.depth = frames_.depth;
  settings.mode = options.classic || !pass_.effect->SupportsSmartRender()
                      ? host::RenderMode::kClassic
                      : host::RenderMode::kSmart;
  settings.wholeOutput = !whole_ && !inputs.isEye;
  settings.changedByUser = pass_.supervised;
  settings.pressed = pass_.pressed;
  settings.sequence = sequence_.get();
  settings.draft = options.draft;
  for (const auto& [index, world] : inputs.layers) {
    settings.layers[index] = world.get();
  }
  settings.downsample = options.downsample;
  if (options.region && !whole_) {
    settings.region =
        ReducedRegion(*options.region, options.downsample, inputs.width, inputs.height);
  }
  settings.pixelAspect = options.pixelAspect;
  settings.timeScale = static_cast<A_u_long>(frames_.rate.num);
  settings.timeStep = static_cast<A_long>(frames_.rate.den);
  settings.currentTime = frame * settings.timeStep;
  settings.changeTime = frames_.firstFrame * settings.timeStep;
  settings.totalTime = (std::max(frames_.lastFrame, frame) + 1) * settings.timeStep;
  bool moves = false;
  for (const auto& [index, track] : pass_.tracks) {
    settings.controls[index] = ControlAt(index, frame, inputs);
    moves = moves || track.keys.size() > 1;
  }
  for (const host::ControlDeclaration& control : pass_.effect->Controls()) {
    if (control.type == PF_Param_POINT && inputs.turn != 0.0) {
      settings.controls[control.index] = ControlAt(control.index, frame, inputs);
    }
  }
  settings.keyframesOf = [this](PF_ParamIndex index) {
    std::vector<A_Time> times;
    const auto track = pass_.tracks.find(index);
    if (track != pass_.tracks.end() && track->second.keys.size() > 1) {
      for (const Keyframe& key : track->second.keys) {
        times.push_back({static_cast<A_long>(key.frame * std::int64_t{frames_.rate.den}),
                         static_cast<A_u_long>(frames_.rate.num)});
      }
    }
    return times;
  };
  if (moves) {
    settings.controlAt = [this, &inputs](PF_ParamIndex index, A_long time, A_u_long scale) {
      return ControlAt(index, FrameAtTime(time, scale, frames_.rate), inputs);
    };
  }
  return settings;
}

/// The image of a control (0 for the frame) at another time than the frame's.
SharedWorld FrameRenderer::ImageAt(PF_ParamIndex index, A_long time, A_u_long scale,
                                   const FrameInputs& inputs,
                                   const std::function<SharedWorld()>& readFrame) const {
  if (inputs.isEye && (index == 0 || !pass_.layers.contains(index))) {
    throw RenderError("the effect asks for the frame at another time, which --stereo has not");
  }
  const bool isFrame =
      index == 0 || (!pass_.layers.contains(index) &&
                     pass_.effect->Controls()[static_cast<std::size_t>(index - 1)].defaultValue ==
                         PF_LayerDefault_MYSELF);
  if (isFrame && frames_.madeByPassBefore) {
    throw RenderError(
        "the effect asks for the frame at another time, which only the first of several layers "
        "has");
  }
  const PF_ParamIndex wanted = isFrame ? 0 : index;
  if (frames_.otherTimes->Has(wanted)) {
    return frames_.otherTimes->At(wanted, time, scale);
  }
  if (isFrame) {
    return readFrame();
  }
  const auto layer = inputs.layers.find(index);  // a still, or none
  return layer != inputs.layers.end() ? layer->second : nullptr;
}

RenderedFrame FrameRenderer::Render(int frame, const FrameInputs& inputs,
                                    const std::function<void(double)>& progress) const {
  host::RenderSettings settings = Settings(frame, inputs);
  const std::optional<PF_LRect> region = settings.region;
  if (region) {
    settings.region = WithNeighbours(*region);
  }
  settings.abort = &InterruptFlag();
  settings.pool = frames_.pool;
  if (progress) {
    settings.progress = [&progress](A_long current, A_long total) {
      progress(total > 0 ? static_cast<double>(current) / total : 0.0);
    };
  }
  SharedWorld world;  // stays for as long as the effect may look at it
  std::mutex mutex;   // other times are asked for on several threads
  std::exception_ptr failure;
  const auto readOnce = [&] {
    if (world == nullptr && inputs.readFrame) {
      world = inputs.readFrame();
    }
    return world;
  };
  const auto guarded = [&](const auto& read) -> Expected<SharedWorld> {
    const std::lock_guard lock(mutex);
    try {
      return read();
    } catch (...) {
      failure = std::current_exception();
      return Failure{"a picture cannot be read"};
    }
  };
  if (inputs.readFrame) {
    settings.readInput = [&]() -> Expected<const host::World*> {
      const Expected<SharedWorld> read = guarded(readOnce);
      return read ? Expected<const host::World*>(read->get()) : Failure{read.ErrorText()};
    };
  }
  if (frames_.otherTimes != nullptr) {
    settings.layerAt = [&](PF_ParamIndex index, A_long time, A_u_long scale) {
      return guarded([&] { return ImageAt(index, time, scale, inputs, readOnce); });
    };
  }
  host::RenderResult result = host::RenderFrame(*pass_.effect, settings);
  ThrowIfInterrupted();
  if (failure != nullptr) {
    std::rethrow_exception(failure);
  }
  if (!result.Ok()) {
    throw RenderError(result.errorText.empty() ? host::ErrorName(result.error) : result.errorText);
  }
  if (region) {
    result.output = LastPart(std::move(result.output), region->right - region->left,
                             region->bottom - region->top);
  }
  RenderedFrame rendered{std::move(result.output), {}};
  if (!options_.region && LosesBorder(rendered.picture, result.maxResultRect)) {
    rendered.warnings.push_back(LostBorderText(*pass_.effect, result.maxResultRect));
  }
  for (host::Violation& violation : result.diagnostics.violations) {
    rendered.warnings.push_back(std::move(violation.text));
  }
  if (!result.effectMessage.empty()) {
    rendered.warnings.push_back(Text("the effect says: ", OneLine(result.effectMessage)));
  }
  return rendered;
}

}  // namespace veltra::cli
