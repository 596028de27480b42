// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// From a job's settings to the renderer's.
#include "cli/job/frame_render.h"

#include <algorithm>
#include <exception>
#include <limits>

#include "base/error.h"
#include "base/text.h"
#include "system/interrupt.h"

namespace veltra::cli {
namespace {

/// Where the effect reads a control at another time than the current one, the frame may be a
/// fraction, and lie before the first.
double FrameAtTime(A_long time, A_u_long scale, PF_RationalScale rate, int firstFrame) {
  return firstFrame + static_cast<double>(time) * rate.num /
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
  if (reduced.left >= reduced.right || reduced.top >= reduced.bottom) {
    throw UsageError(Text("--region: lies outside the frame of ", width, "x", height));
  }
  return reduced;
}

}  // namespace

void CheckDepth(const RenderJob& job, host::Depth depth) {
  const std::string name = host::DepthName(depth);
  if (job.options.classic && depth == host::Depth::kFloat) {
    throw UsageError("--classic: renders 8 and 16 bit only (add --depth 16)");
  }
  if (!job.options.classic && !job.effect->SupportsSmartRender()) {
    throw UsageError("this effect has no smart render (add --classic)");
  }
  if (!job.effect->SupportsDepth(depth)) {
    throw UsageError(Text("this effect does not render at depth ", name, " (see --depth)"));
  }
}

FrameRenderer::FrameRenderer(const RenderJob& job, host::Depth depth, int firstFrame, int lastFrame,
                             PF_RationalScale rate, host::ThreadPool* pool)
    : job_(job),
      depth_(depth),
      firstFrame_(firstFrame),
      lastFrame_(lastFrame),
      rate_(rate),
      pool_(pool) {
  const std::int64_t end =
      (static_cast<std::int64_t>(lastFrame) - firstFrame + 1) * static_cast<std::int64_t>(rate.den);
  if (end > std::numeric_limits<A_long>::max()) {
    throw UsageError("--frames: too many frames for the host's clock at this --rate");
  }
}

host::RenderSettings FrameRenderer::Settings(int frame, const FrameInputs& inputs) const {
  const RenderOptions& options = job_.options;
  host::RenderSettings settings;
  settings.width = inputs.width;
  settings.height = inputs.height;
  settings.depth = depth_;
  settings.mode = options.classic ? host::RenderMode::kClassic : host::RenderMode::kSmart;
  settings.draft = options.draft;
  for (const auto& [index, world] : inputs.layers) {
    settings.layers[index] = world.get();
  }
  settings.downsample = options.downsample;
  if (options.region) {
    settings.region =
        ReducedRegion(*options.region, options.downsample, inputs.width, inputs.height);
  }
  settings.pixelAspect = options.pixelAspect;
  settings.timeScale = static_cast<A_u_long>(rate_.num);
  settings.timeStep = static_cast<A_long>(rate_.den);
  settings.currentTime = (frame - firstFrame_) * settings.timeStep;
  settings.totalTime = (lastFrame_ - firstFrame_ + 1) * settings.timeStep;
  bool moves = false;
  for (const auto& [index, track] : job_.tracks) {
    settings.controls[index] = ValueAt(track, frame, inputs.width, inputs.height);
    moves = moves || track.keys.size() > 1;
  }
  if (moves) {
    settings.controlAt = [this, &inputs](PF_ParamIndex index, A_long time, A_u_long scale) {
      const auto track = job_.tracks.find(index);
      if (track != job_.tracks.end()) {
        return ValueAt(track->second, FrameAtTime(time, scale, rate_, firstFrame_), inputs.width,
                       inputs.height);
      }
      for (const host::ControlDeclaration& control : job_.effect->Controls()) {
        if (control.index == index) {
          return job_.effect->DefaultValue(control, inputs.width, inputs.height);
        }
      }
      return host::ControlValue{};
    };
  }
  return settings;
}

RenderedFrame FrameRenderer::Render(int frame, const FrameInputs& inputs,
                                    const std::function<void(double)>& progress) const {
  host::RenderSettings settings = Settings(frame, inputs);
  settings.abort = &InterruptFlag();
  settings.pool = pool_;
  if (progress) {
    settings.progress = [&progress](A_long current, A_long total) {
      progress(total > 0 ? static_cast<double>(current) / total : 0.0);
    };
  }
  SharedWorld world;  // stays for as long as the effect may look at it
  std::exception_ptr failure;
  if (inputs.readFrame) {
    settings.readInput = [&]() -> Expected<const host::World*> {
      try {
        world = inputs.readFrame();
        return world.get();
      } catch (...) {
        failure = std::current_exception();
        return Failure{"the frame cannot be read"};
      }
    };
  }
  host::RenderResult result = host::RenderFrame(*job_.effect, settings);
  ThrowIfInterrupted();
  if (failure != nullptr) {
    std::rethrow_exception(failure);
  }
  if (!result.Ok()) {
    throw RenderError(result.errorText.empty() ? host::ErrorName(result.error) : result.errorText);
  }
  RenderedFrame rendered{std::move(result.output), {}};
  for (host::Violation& violation : result.diagnostics.violations) {
    rendered.warnings.push_back(std::move(violation.text));
  }
  if (!result.effectMessage.empty()) {
    rendered.warnings.push_back(Text("the effect says: ", result.effectMessage));
  }
  return rendered;
}

}  // namespace veltra::cli
