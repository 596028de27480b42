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

void DescribeSlider(const PF_FixedSliderDef& slider, ControlDeclaration& control) {
  control.defaultValue = slider.dephault;
  control.validMin = slider.valid_min;
  control.validMax = slider.valid_max;
  control.sliderMin = slider.slider_min;
  control.sliderMax = slider.slider_max;
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

}  // namespace

ControlDeclaration DescribeControl(const PF_ParamDef& param) {
  ControlDeclaration control;
  control.id = param.uu.id;
  control.type = param.param_type;
  control.name = TextOf(param.name);
  control.flags = param.flags;
  control.uiFlags = param.ui_flags;
  control.raw = param;
  switch (param.param_type) {
    case PF_Param_LAYER:
      control.defaultValue = param.u.ld.dephault;
      break;
    case PF_Param_FIX_SLIDER:
      DescribeSlider(param.u.fd, control);
      break;
    case PF_Param_CHECKBOX:
      control.defaultValue = param.u.bd.dephault;
      control.label = param.u.bd.u.nameptr != nullptr ? param.u.bd.u.nameptr : "";
      break;
    case PF_Param_POINT:
      control.defaultX = param.u.td.x_dephault;
      control.defaultY = param.u.td.y_dephault;
      control.restrictBounds = param.u.td.restrict_bounds != 0;
      break;
    case PF_Param_POPUP:
      DescribePopup(param.u.pd, control);
      break;
    default:
      break;
  }
  return control;
}

void SettleControls(std::vector<ControlDeclaration>& controls) {
  PF_ParamIndex index = 0;
  for (ControlDeclaration& control : controls) {
    control.index = ++index;
    if (control.type == PF_Param_CHECKBOX && control.raw.u.bd.u.nameptr != nullptr) {
      control.raw.u.bd.u.nameptr = control.label.c_str();
    } else if (control.type == PF_Param_POPUP && control.raw.u.pd.u.namesptr != nullptr) {
      control.raw.u.pd.u.namesptr = control.joinedChoices.c_str();
    }
  }
}

ControlValue ControlDefault(const ControlDeclaration& control, A_long frameWidth,
                            A_long frameHeight) {
  if (control.type != PF_Param_POINT) {
    return {control.defaultValue, 0};
  }
  const auto pixels = [](PF_Fixed percent, A_long size) {
    const std::int64_t exact = std::int64_t{percent} * size / 100;
    return static_cast<A_long>(std::clamp<std::int64_t>(exact, std::numeric_limits<A_long>::min(),
                                                        std::numeric_limits<A_long>::max()));
  };
  return {pixels(control.defaultX, frameWidth), pixels(control.defaultY, frameHeight)};
}

}  // namespace veltra::host
