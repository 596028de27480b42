// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Renders one frame.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "host/base/error_names.h"
#include "host/effect.h"
#include "host/session/accounts.h"
#include "host/session/render_settings.h"

namespace veltra::host {

struct RenderResult {
  PF_Err error = PF_Err_NONE;
  std::string errorText;      ///< one line when the render failed, empty otherwise
  std::string effectMessage;  ///< what the effect wants shown to the user
  /// The picture of the region asked for, its origin that of the region; transparent where the
  /// effect has no result. Empty after a failure, but kept (as far as it got) after a cancel.
  World output;
  PF_LRect resultRect{0, 0, 0, 0};  ///< what the effect filled, in reduced frame coordinates
  PF_LRect maxResultRect{0, 0, 0, 0};
  /// The flags as they are for this frame: some may change with its values.
  A_long outFlags = 0;
  A_long outFlags2 = 0;
  RenderDiagnostics diagnostics;

  bool Ok() const { return error == PF_Err_NONE && errorText.empty(); }
};

/// One application of an effect over several frames: its sequence is set up with the first of them
/// and set down in the end, and lives no longer than the effect. Frames of an effect with
/// CopiesSequences work on copies of it, any number at a time; others on itself, one at a time.
class HeldSequence {
 public:
  explicit HeldSequence(const Effect& effect) : effect_(effect) {}
  ~HeldSequence();
  HeldSequence(const HeldSequence&) = delete;
  HeldSequence& operator=(const HeldSequence&) = delete;

 private:
  friend class FrameSequence;

  const Effect& effect_;
  bool isSetUp_ = false;
  PF_Handle data_ = nullptr;
  std::unique_ptr<const FlatValue> flat_;  ///< what copies are made of; null for no data
  std::map<PF_ParamIndex, ControlValue> changedValues_;  ///< by the effect, when it was set up
};

/// Renders one frame. Safe to call on several threads at once with one effect that declares
/// threaded rendering. Wrong settings give error PF_Err_BAD_CALLBACK_PARAM and a text.
RenderResult RenderFrame(const Effect& effect, const RenderSettings& settings);

}  // namespace veltra::host
