// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Reading of parameter definitions.

#include "host/session/control_declaration.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace veltra::host {
namespace {

std::string TextOf(const A_char (&text)[kHostNameCapacity]) {
  return {text, static_cast<std::size_t>(std::find(text, text + kHostNameCapacity, '\0') - text)};
}

std::vector<std::string> SplitChoices(const std::string& joined) {
  std::vector<std::string> choices;
  std::size_t start = 0;
  for (std::size_t bar = joined.find('|'); bar != std::string::npos;
       bar = joined.find('|', start)) {
    choices.push_back(joined.substr(start, bar - start));
    start = bar + 1;
  }
  choices.push_back(joined.substr(start));
  return choices;
}

/// Both whole and 16.16 sliders.
template <class Slider>
void DescribeSlider(const Slider& slider, ControlDeclaration& control) {
  control.defaultValue = slider.dephault;
  control.validMin = slider.valid_min;
  control.validMax = slider.valid_max;
  control.sliderMin = slider.slider_min;
  control.sliderMax = slider.slider_max;
}

void DescribeFloatSlider(const PF_FloatSliderDef& slider, ControlDeclaration& control) {
  control.defaultNumber = static_cast<double>(slider.dephault);
  control.validMinNumber = static_cast<double>(slider.valid_min);
  control.validMaxNumber = static_cast<double>(slider.valid_max);
  control.sliderMinNumber = static_cast<double>(slider.slider_min);
  control.sliderMaxNumber = static_cast<double>(slider.slider_max);
  control.precision = slider.precision;
  control.displayFlags = slider.display_flags;
}

void DescribePopup(const PF_PopupDef& popup, ControlDeclaration& control) {
  control.defaultValue = popup.dephault;
  if (popup.u.namesptr != nullptr) {
    control.joinedChoices = popup.u.namesptr;
    control.choices = SplitChoices(control.joinedChoices);
  }
}

std::string OrNothing(const A_char* text) {
  return text != nullptr ? text : "";
}

/// What belongs to the type alone: fields of other types may be left from before.
void DescribeValue(const PF_ParamDef& param, ControlDeclaration& control) {
  switch (param.param_type) {
    case PF_Param_LAYER:
      control.defaultValue = param.u.ld.dephault;
      break;
    case PF_Param_SLIDER:
      DescribeSlider(param.u.sd, control);
      break;
    case PF_Param_FIX_SLIDER:
      DescribeSlider(param.u.fd, control);
      control.precision = param.u.fd.precision;
      control.displayFlags = param.u.fd.display_flags;
      break;
    case PF_Param_ANGLE:
      control.defaultValue = param.u.ad.dephault;
      break;
    case PF_Param_CHECKBOX:
      control.defaultValue = param.u.bd.dephault;
      control.label = OrNothing(param.u.bd.u.nameptr);
      break;
    case PF_Param_COLOR:
      control.defaultColor = param.u.cd.dephault;
      break;
    case PF_Param_POINT:
      control.defaultX = param.u.td.x_dephault;
      control.defaultY = param.u.td.y_dephault;
      control.restrictBounds = param.u.td.restrict_bounds != 0;
      break;
    case PF_Param_POPUP:
      DescribePopup(param.u.pd, control);
      break;
    case PF_Param_FLOAT_SLIDER:
      DescribeFloatSlider(param.u.fs_d, control);
      break;
    case PF_Param_BUTTON:
      control.label = OrNothing(param.u.button_d.u.namesptr);
      break;
    case PF_Param_POINT_3D:
      control.defaultPoint3d = {param.u.point3d_d.x_dephault, param.u.point3d_d.y_dephault,
                                param.u.point3d_d.z_dephault};
      break;
    default:
      break;
  }
}

}  // namespace

ControlDeclaration DescribeControl(const PF_ParamDef& param) {
  ControlDeclaration control;
  control.id = param.uu.id;
  control.type = param.param_type;
  control.name = TextOf(param.name);
  control.flags = param.flags;
  control.uiFlags = param.ui_flags;
  control.raw = param;
  DescribeValue(param, control);
  return control;
}

void NumberControls(std::vector<ControlDeclaration>& controls) {
  PF_ParamIndex index = 0;
  for (ControlDeclaration& control : controls) {
    control.index = ++index;
    if (control.type == PF_Param_CHECKBOX && control.raw.u.bd.u.nameptr != nullptr) {
      control.raw.u.bd.u.nameptr = control.label.c_str();
    } else if (control.type == PF_Param_POPUP && control.raw.u.pd.u.namesptr != nullptr) {
      control.raw.u.pd.u.namesptr = control.joinedChoices.c_str();
    } else if (control.type == PF_Param_BUTTON && control.raw.u.button_d.u.namesptr != nullptr) {
      control.raw.u.button_d.u.namesptr = control.label.c_str();
    }
  }
}

bool ControlDeclaration::HasValue() const {
  switch (type) {
    case PF_Param_SLIDER:
    case PF_Param_FIX_SLIDER:
    case PF_Param_ANGLE:
    case PF_Param_CHECKBOX:
    case PF_Param_COLOR:
    case PF_Param_POINT:
    case PF_Param_POPUP:
    case PF_Param_FLOAT_SLIDER:
    case PF_Param_POINT_3D:
      return true;
    case PF_Param_ARBITRARY_DATA:
      return raw.u.arb_d.dephault != nullptr;
    default:
      return false;
  }
}

bool ControlDeclaration::CanInterpolate() const {
  return HasValue() && type != PF_Param_CHECKBOX && type != PF_Param_POPUP &&
         (flags & PF_ParamFlag_CANNOT_INTERP) == 0;
}

ControlValue ControlDefault(const ControlDeclaration& control, A_long frameWidth,
                            A_long frameHeight) {
  const auto pixels = [](PF_Fixed percent, A_long size) {
    const std::int64_t exact = std::int64_t{percent} * size / 100;
    return static_cast<A_long>(std::clamp<std::int64_t>(exact, std::numeric_limits<A_long>::min(),
                                                        std::numeric_limits<A_long>::max()));
  };
  ControlValue value;
  switch (control.type) {
    case PF_Param_POINT:
      value.x = pixels(control.defaultX, frameWidth);
      value.y = pixels(control.defaultY, frameHeight);
      break;
    case PF_Param_FLOAT_SLIDER:
      value.numbers[0] = control.defaultNumber;
      break;
    case PF_Param_COLOR:
      value.color = control.defaultColor;
      break;
    case PF_Param_POINT_3D:
      value.numbers = {control.defaultPoint3d[0] * frameWidth / 100,
                       control.defaultPoint3d[1] * frameHeight / 100,
                       control.defaultPoint3d[2] * frameHeight / 100};
      break;
    default:
      value.x = control.defaultValue;
      break;
  }
  return value;
}

}  // namespace veltra::host
