// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Renders one frame: what a frame is made of, and what comes back.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/expected.h"
#include "host/base/error_names.h"
#include "host/base/thread_pool.h"
#include "host/effect.h"
#include "host/pixels/world.h"
#include "host/render_hooks.h"

namespace veltra::host {

enum class RenderMode { kSmart, kClassic };

/// One frame. Worlds are borrowed, never changed and already at the frame's depth and at
/// 1/downsample resolution; the renderer makes no copy of them.
struct RenderSettings {
  A_long width = 0;  ///< of the frame at full resolution
  A_long height = 0;
  Depth depth = Depth::k8;
  RenderMode mode = RenderMode::kSmart;  ///< classic knows 8 and 16 bit only
  bool draft = false;                    ///< low quality: nearest sampling

  /// The frame under the effect, DownsampledLength(width) x DownsampledLength(height) pixels;
  /// null is a transparent one.
  const World* input = nullptr;
  /// Where given, takes the place of `input`: called once, on the rendering thread, when the
  /// effect has asked for pixels of the frame, and never when it has not. Null is a transparent
  /// frame; a failure ends the render with its text. The world must live as long as the render.
  std::function<Expected<const World*>()> readInput;
  /// Layers for layer controls, by control index; absent or null is no layer.
  std::map<PF_ParamIndex, const World*> layers;
  /// By control index; a control that is absent has its declared default.
  std::map<PF_ParamIndex, ControlValue> controls;
  /// Where given, the value of a control (layers apart) at any time, in units of 1 / scale
  /// seconds; takes precedence over `controls`. Called on several threads at once.
  std::function<ControlValue(PF_ParamIndex index, A_long time, A_u_long scale)> controlAt;

  int downsample = 1;  ///< 1/n of the resolution
  /// The part to render, in coordinates of the reduced frame; absent is all of it.
  std::optional<PF_LRect> region;
  PF_RationalScale pixelAspect{1, 1};  ///< of the frame; a layer's is its world's

  A_long currentTime = 0;  ///< in units of 1 / timeScale seconds
  A_long timeStep = 1;
  A_long totalTime = 1;
  A_u_long timeScale = 24;

  /// Set by anybody, also a signal handler, to end the render with PF_Interrupt_CANCEL.
  const std::atomic<bool>* abort = nullptr;
  /// Called on any of the pool's threads, one at a time.
  std::function<void(A_long current, A_long total)> progress;
  /// Shared by concurrent frames; null renders on the calling thread alone.
  ThreadPool* pool = nullptr;
  RenderHooks* hooks = nullptr;
  /// Ends after the pre-render, as a host does that only wants to learn the rectangles.
  bool preRenderOnly = false;
};

/// What the effect took and gave back, and the rules it broke.
struct RenderDiagnostics {
  int paramCheckouts = 0;
  int paramCheckins = 0;
  /// Layer pixels fetched in smart render, output apart. They may stay out: the host takes them
  /// back when the command ends.
  int layerCheckouts = 0;
  int layerCheckins = 0;
  int suitesAcquired = 0;
  int suitesReleased = 0;
  int worldsMade = 0;
  int worldsDisposed = 0;
  int blocksAllocated = 0;
  int blocksFreed = 0;
  /// The pre-render asked for pixels of the effect's own input, so there is a use for a frame.
  bool inputRequested = false;
  /// One line per broken rule of the interface, each kind once.
  std::vector<std::string> violations;

  /// Everything that has to be given back was, as often as it was taken.
  bool Balanced() const {
    return paramCheckouts == paramCheckins && suitesAcquired == suitesReleased &&
           worldsMade == worldsDisposed && blocksAllocated == blocksFreed;
  }
};

struct RenderResult {
  PF_Err error = PF_Err_NONE;
  std::string errorText;      ///< one line when the render failed, empty otherwise
  std::string effectMessage;  ///< what the effect wants shown to the user
  /// The picture of the region asked for, its origin that of the region; transparent where the
  /// effect has no result. Empty after a failure, but kept (as far as it got) after a cancel.
  World output;
  PF_LRect resultRect{0, 0, 0, 0};  ///< what the effect filled, in reduced frame coordinates
  PF_LRect maxResultRect{0, 0, 0, 0};
  RenderDiagnostics diagnostics;

  bool Ok() const { return error == PF_Err_NONE && errorText.empty(); }
};

/// Renders one frame. Safe to call on several threads at once with one effect that declares
/// threaded rendering. Wrong settings give error PF_Err_BAD_CALLBACK_PARAM and a text.
RenderResult RenderFrame(const Effect& effect, const RenderSettings& settings);

}  // namespace veltra::host
