// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What a frame is made of.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <vector>

#include "base/expected.h"
#include "host/base/thread_pool.h"
#include "host/pixels/world.h"
#include "host/session/controls.h"
#include "host/session/render_hooks.h"

namespace veltra::host {

enum class RenderMode { kSmart, kClassic };

class HeldSequence;

/// What happens to a sequence before a frame, as by saving and opening a project; the picture must
/// be the same.
enum class Reopening {
  kNever,
  kAsDeclared,    ///< stored as a flat copy, where the effect gives one, and set up again
  kByFlattening,  ///< flattened, where the effect asks for it, and set up again
  kCopiedOnly,    ///< a flat copy is taken, where the effect gives one, and the frame goes on
};

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
  /// Where given, takes the place of `input`: called once, on any thread, when the effect has asked
  /// for pixels of the frame or hears of what somebody set or pressed, and never otherwise. Null is
  /// a transparent frame; a failure ends the render with its text. The world must live as long as
  /// the render.
  std::function<Expected<const World*>()> readInput;
  /// Layers for layer controls, by control index; null is no layer, and absent the default, which
  /// is no layer or the frame under the effect.
  std::map<PF_ParamIndex, const World*> layers;
  /// By control index; a control that is absent has its declared default.
  std::map<PF_ParamIndex, ControlValue> controls;
  /// Where given, the value of a control (layers apart) at any time, in units of 1 / scale
  /// seconds; takes precedence over `controls`. Called on several threads at once.
  std::function<ControlValue(PF_ParamIndex index, A_long time, A_u_long scale)> controlAt;

  /// Where given, the image of a layer control, or of the frame (index 0), at another time than the
  /// current one, in units of 1 / scale seconds; null is no layer, or a transparent frame, and a
  /// failure ends the render with its text. Without it every image stands still. Called on several
  /// threads at once.
  std::function<Expected<std::shared_ptr<const World>>(PF_ParamIndex index, A_long time,
                                                       A_u_long scale)>
      layerAt;
  /// Where given, the times of a control's keyframes, growing; none for a constant one.
  std::function<std::vector<A_Time>(PF_ParamIndex index)> keyframesOf;

  /// Controls that somebody has just set. The effect hears of those that it supervises, after its
  /// sequence was set up, and what it then changes in other controls counts.
  std::set<PF_ParamIndex> changedByUser;
  /// Buttons that somebody presses after that, one after the other. What the effect then changes
  /// counts for all controls, also for those in `controls`; with keyframes it ends the frame.
  std::vector<PF_ParamIndex> pressed;
  /// Somebody looks at the controls: an effect that wants UPDATE_PARAMS_UI gets it, as after
  /// changes that it hears of.
  bool controlsShown = false;
  /// When somebody did all this, in units of 1 / timeScale seconds; absent is the frame's time.
  std::optional<A_long> changeTime;
  /// Where given, the sequence that this frame goes on with; null is one of the frame's own.
  HeldSequence* sequence = nullptr;

  int downsample = 1;  ///< 1/n of the resolution
  /// The part to render, in coordinates of the reduced frame; absent is all of it.
  std::optional<PF_LRect> region;
  /// Without a region the picture is all of the output: in classic render what the effect answers,
  /// which may be larger or smaller than the frame, and in smart render the frame and what the
  /// effect can fill around it, up to 4 times the frame's pixels or 4096 x 4096 of them.
  bool wholeOutput = false;
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
  Reopening reopening = Reopening::kNever;
  /// Ends after the pre-render, or sends FRAME_SETUP and FRAME_SETDOWN alone, as a host does that
  /// only wants to learn the rectangles.
  bool preRenderOnly = false;
};

}  // namespace veltra::host
