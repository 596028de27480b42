// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// An effect that has been set up, with the controls that it declared.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "base/expected.h"
#include "host/base/depth.h"
#include "host/effect_library.h"
#include "host_api/params.h"

namespace veltra::host {

/// One control as the effect declared it. Numbers are in the control's own units: 16.16 for
/// sliders, 0 or 1 for checkboxes, from 1 for popups, 16.16 percent of the frame for points.
struct ControlDeclaration {
  PF_ParamIndex index = 0;  ///< 1 for the first declared; 0 is always the effect's own input
  A_long id = 0;
  PF_ParamType type = PF_Param_NO_DATA;
  std::string name;
  std::string label;                 ///< beside a checkbox
  std::vector<std::string> choices;  ///< of a popup
  std::string joinedChoices;         ///< the same as declared, with '|' between
  A_long defaultValue = 0;           ///< slider, checkbox, popup; -1 or 0 of a layer
  PF_Fixed defaultX = 0;             ///< point
  PF_Fixed defaultY = 0;
  bool restrictBounds = false;  ///< point: only inside the frame
  PF_Fixed validMin = 0;        ///< slider: what may be typed
  PF_Fixed validMax = 0;
  PF_Fixed sliderMin = 0;  ///< slider: what dragging reaches
  PF_Fixed sliderMax = 0;
  int precision = 0;  ///< slider: decimals shown
  int displayFlags = 0;
  A_long flags = 0;
  A_long uiFlags = 0;
  PF_ParamDef raw{};  ///< as it was added; other types are carried through so
};

/// The value of one control: 16.16 for a slider, 0 or 1, the number of a choice, or the 16.16
/// pixel coordinates of a point in the full-resolution frame.
struct ControlValue {
  A_long x = 0;
  A_long y = 0;  ///< points only
};

/// The value that a control has when nobody set it, for a frame of this full-resolution size.
ControlValue ControlDefault(const ControlDeclaration& control, A_long frameWidth,
                            A_long frameHeight);

/// A set-up effect. Set-up and set-down run alone; rendering may use it from many threads.
class Effect {
 public:
  /// Sends GLOBAL_SETUP and PARAMS_SETUP as version 13.28 of the host. The error names what the
  /// effect answered.
  static Expected<std::unique_ptr<const Effect>> Load(std::shared_ptr<const EffectLibrary> library);

  /// Sends GLOBAL_SETDOWN.
  ~Effect();
  Effect(const Effect&) = delete;
  Effect& operator=(const Effect&) = delete;

  const EffectLibrary& Library() const { return *library_; }
  A_u_long Version() const { return version_; }
  A_long OutFlags() const { return outFlags_; }
  A_long OutFlags2() const { return outFlags2_; }
  /// What the set-up left in the message field; mostly empty.
  const std::string& SetupMessage() const { return setupMessage_; }
  const std::vector<ControlDeclaration>& Controls() const { return controls_; }
  /// The effect's own input included, as PARAMS_SETUP reported it.
  A_long ParamCount() const { return static_cast<A_long>(controls_.size()) + 1; }

  bool SupportsSmartRender() const { return (outFlags2_ & PF_OutFlag2_SUPPORTS_SMART_RENDER) != 0; }
  bool SupportsThreadedRendering() const {
    return (outFlags2_ & PF_OutFlag2_SUPPORTS_THREADED_RENDERING) != 0;
  }
  bool SupportsDepth(Depth depth) const;

  /// ControlDefault, for those who have the effect at hand.
  ControlValue DefaultValue(  // NOLINT(readability-convert-member-functions-to-static)
      const ControlDeclaration& control, A_long frameWidth, A_long frameHeight) const {
    return ControlDefault(control, frameWidth, frameHeight);
  }

  /// The text the effect shows about itself.
  Expected<std::string> About() const;

  /// Sends any command without parameters, output or extra, and returns the answer; `message`,
  /// where given, receives what the effect wants shown.
  PF_Err Send(PF_Cmd command, std::string* message = nullptr) const;

  /// The effect's own block, handed to every command.
  PF_Handle GlobalData() const { return globalData_; }

  /// Held around commands that must not meet: sequence set-up, and whole frames of an effect that
  /// does not declare threaded rendering.
  std::mutex& CommandMutex() const { return commandMutex_; }

 private:
  explicit Effect(std::shared_ptr<const EffectLibrary> library);
  Expected<bool> SetUp();

  std::shared_ptr<const EffectLibrary> library_;
  A_u_long version_ = 0;
  A_long outFlags_ = 0;
  A_long outFlags2_ = 0;
  std::string setupMessage_;
  std::vector<ControlDeclaration> controls_;
  PF_Handle globalData_ = nullptr;
  bool isSetUp_ = false;
  mutable std::mutex commandMutex_;
};

}  // namespace veltra::host
