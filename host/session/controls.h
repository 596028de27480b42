// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The controls of an effect: declarations, values, and the values that nobody set.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "host_api/params.h"

namespace veltra::host {

/// One control as the effect declared it. Numbers are in the control's own units: whole ones for
/// sliders, 16.16 for fixed sliders, 16.16 degrees for angles, 0 or 1 for checkboxes, from 1 for
/// popups, 16.16 percent of the frame for points.
struct ControlDeclaration {
  PF_ParamIndex index = 0;  ///< 1 for the first declared; 0 is always the effect's own input
  A_long id = 0;
  PF_ParamType type = PF_Param_NO_DATA;
  std::string name;
  std::string label;                 ///< beside a checkbox, on a button
  std::vector<std::string> choices;  ///< of a popup; those that start with "(-" are separators
  std::string joinedChoices;         ///< the same as declared, with '|' between
  A_long defaultValue = 0;  ///< all sliders but float, angle, checkbox, popup; -1 or 0 of a layer
  PF_Fixed defaultX = 0;    ///< point
  PF_Fixed defaultY = 0;
  bool restrictBounds = false;  ///< point: only inside the frame
  A_long validMin = 0;          ///< slider, fixed slider: what may be typed
  A_long validMax = 0;
  A_long sliderMin = 0;  ///< slider, fixed slider: what dragging reaches
  A_long sliderMax = 0;
  double defaultNumber = 0;  ///< float slider, as every number below
  double validMinNumber = 0;
  double validMaxNumber = 0;
  double sliderMinNumber = 0;
  double sliderMaxNumber = 0;
  PF_Pixel8 defaultColor{};                ///< colour; alpha is not used
  std::array<double, 3> defaultPoint3d{};  ///< 3D point: percent of width, height and height
  int precision = 0;                       ///< fixed and float slider: decimals shown
  int displayFlags = 0;
  A_long flags = 0;
  A_long uiFlags = 0;
  PF_ParamDef raw{};  ///< as it was added; other types are carried through so

  /// Whether it has a value that can be set; groups, buttons, paths and layers have none.
  bool HasValue() const;
  /// Whether values between two keyframes make sense.
  bool CanInterpolate() const;
};

/// The bytes that an effect flattens a value of arbitrary data into.
using FlatValue = std::vector<std::byte>;

/// The value of one control; which field counts depends on the control's type.
struct ControlValue {
  /// Slider: a whole number. Fixed slider: 16.16. Angle: 16.16 degrees. Checkbox: 0 or 1. Popup:
  /// the number of a choice. Point: 16.16 pixels in the full-resolution frame.
  A_long x = 0;
  A_long y = 0;  ///< points only
  /// Float slider: the first. 3D point: pixels in the full-resolution frame.
  std::array<double, 3> numbers{};
  PF_Pixel8 color{255, 0, 0, 0};
  /// Arbitrary data, as its effect flattens it; null is the default.
  std::shared_ptr<const FlatValue> flat = nullptr;
  /// Where given, the value lies between `flat` and this one, at `share` of the way, 0 to 1; the
  /// effect interpolates.
  std::shared_ptr<const FlatValue> flatAfter = nullptr;
  double share = 0;
};

/// The value that a control has when nobody set it, for a frame of this full-resolution size.
ControlValue ControlDefault(const ControlDeclaration& control, A_long frameWidth,
                            A_long frameHeight);

}  // namespace veltra::host
