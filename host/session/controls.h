// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The controls of an effect: declarations, values, and the values that nobody set.
#pragma once

#include <string>
#include <vector>

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

}  // namespace veltra::host
