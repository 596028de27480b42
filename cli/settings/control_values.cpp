// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Values of controls as texts, held to what the effect declared.
#include <algorithm>
#include <cmath>

#include "base/error.h"
#include "base/text.h"
#include "cli/settings/controls.h"

namespace veltra::cli {
namespace {

using host::ControlDeclaration;

A_long ParseFixedSlider(const ControlDeclaration& control, std::string_view text) {
  const double number = ParseNumber(text);
  const double least = static_cast<double>(control.validMin) / kFixedOne;
  const double most = static_cast<double>(control.validMax) / kFixedOne;
  if (number < least || number > most) {
    ThrowNotA(text, "in range", RangeText(control));
  }
  return std::max(std::min(ParseFixed(text), control.validMax), control.validMin);
}

A_long ParseWholeSlider(const ControlDeclaration& control, std::string_view text) {
  const double number = ParseNumber(text);
  if (number < control.validMin || number > control.validMax) {
    ThrowNotA(text, "in range", RangeText(control));
  }
  if (number != std::floor(number)) {
    ThrowNotA(text, "a whole number", RangeText(control));
  }
  return static_cast<A_long>(number);
}

/// The declared ends are single precision: what is written as they are shown is within.
double ParseFloatSlider(const ControlDeclaration& control, std::string_view text) {
  const double number = ParseNumber(text);
  const bool below = number < control.validMinNumber &&
                     NumberText(number) != NumberText(static_cast<float>(control.validMinNumber));
  const bool above = number > control.validMaxNumber &&
                     NumberText(number) != NumberText(static_cast<float>(control.validMaxNumber));
  if (below || above) {
    ThrowNotA(text, "in range", RangeText(control));
  }
  return std::max(std::min(number, control.validMaxNumber), control.validMinNumber);
}

/// Any number of turns; "deg" may stand behind it.
A_long ParseAngle(std::string_view text) {
  std::string_view number = text;
  for (const std::string_view suffix : {"deg", "\u00b0"}) {
    if (number.ends_with(suffix)) {
      number.remove_suffix(suffix.size());
      break;
    }
  }
  return ParseFixed(number);
}

bool IsSeparator(const std::string& choice) {
  return choice.starts_with("(-");
}

A_long ParseChoice(const ControlDeclaration& control, std::string_view text) {
  const std::string wanted = Slug(text);
  const auto number = [&](const auto& matches) {
    for (std::size_t i = 0; i < control.choices.size(); ++i) {
      if (!IsSeparator(control.choices[i]) && matches(i)) {
        return static_cast<A_long>(i + 1);
      }
    }
    return A_long{0};
  };
  // Names come first: some choices are called "1", "2", "4" and "8".
  A_long found = wanted.empty()
                     ? 0
                     : number([&](std::size_t i) { return Slug(control.choices[i]) == wanted; });
  if (found == 0) {
    found = number([&](std::size_t i) { return std::to_string(i + 1) == text; });
  }
  if (found == 0) {
    ThrowNotA(text, "a choice", RangeText(control));
  }
  return found;
}

/// The names of the choices, or their numbers where a name has no letters.
std::vector<std::string> ChoiceNames(const ControlDeclaration& control) {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < control.choices.size(); ++i) {
    const std::string slug = Slug(control.choices[i]);
    if (!IsSeparator(control.choices[i])) {
      names.push_back(slug.empty() ? std::to_string(i + 1) : slug);
    }
  }
  return names;
}

std::string ChoiceText(const ControlDeclaration& control, A_long value) {
  const auto number = static_cast<std::size_t>(std::max<A_long>(value, 1));
  const std::string slug =
      number <= control.choices.size() ? Slug(control.choices[number - 1]) : std::string();
  return slug.empty() ? std::to_string(value) : slug;
}

PointText ParseBoundedPoint(const ControlDeclaration& control, std::string_view text) {
  const PointText point = ParsePoint(text);
  constexpr double kWhole = 100.0;
  constexpr double kHalfTurn = 180.0;
  const auto outside = [](const Coordinate& coordinate) {
    switch (coordinate.unit) {
      case PointUnit::kPixels:
        return coordinate.value < 0;  // the other end is known with the frame's size
      case PointUnit::kPercent:
        return coordinate.value < 0 || coordinate.value > kWhole;
      case PointUnit::kDegrees:
        break;
    }
    return std::abs(coordinate.value) > kHalfTurn;
  };
  if (control.restrictBounds && (outside(point.x) || outside(point.y))) {
    throw UsageError(Text("'", text, "' is outside the frame"));
  }
  return point;
}

std::string Joined(const std::vector<std::string>& parts, std::string_view between,
                   std::string_view beforeLast) {
  std::string text;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    text += Text(i == 0 ? "" : i + 1 == parts.size() ? beforeLast : between, parts[i]);
  }
  return text;
}

std::string PointInSpaceText(const std::array<double, 3>& numbers, std::string_view unit) {
  return Text(NumberText(numbers[0]), unit, ",", NumberText(numbers[1]), unit, ",",
              NumberText(numbers[2]), unit);
}

/// What a value is called that its effect has no words for.
constexpr const char* kNoWords = "data";

}  // namespace

host::ControlValue ControlSetting::OnFrame(int width, int height) const {
  host::ControlValue result;
  result.x = value;
  if (type == PF_Param_POINT) {
    result.x = point.ColumnOf(width);
    result.y = point.RowOf(height);
  } else if (type == PF_Param_FLOAT_SLIDER) {
    result.numbers[0] = number;
  } else if (type == PF_Param_POINT_3D) {
    result.numbers = point3d.OnFrame(width, height);
  }
  result.color = color;
  result.flat = flat;
  return result;
}

ControlSetting ParseControl(const ControlDeclaration& control, std::string_view text) {
  ControlSetting setting;
  setting.index = control.index;
  setting.type = control.type;
  switch (control.type) {
    case PF_Param_LAYER:
      if (text.empty()) {
        throw UsageError("no file name");
      }
      setting.path = text == "none" ? "" : text;
      break;
    case PF_Param_POINT:
      setting.point = ParseBoundedPoint(control, text);
      // Out of what 16.16 can express is an error now, not in the middle of a render.
      static_cast<void>(setting.OnFrame(1, 1));
      break;
    case PF_Param_SLIDER:
      setting.value = ParseWholeSlider(control, text);
      break;
    case PF_Param_FIX_SLIDER:
      setting.value = ParseFixedSlider(control, text);
      break;
    case PF_Param_FLOAT_SLIDER:
      setting.number = ParseFloatSlider(control, text);
      break;
    case PF_Param_ANGLE:
      setting.value = ParseAngle(text);
      break;
    case PF_Param_COLOR:
      setting.color = ParseColor(text);
      break;
    case PF_Param_POINT_3D:
      setting.point3d = ParsePoint3d(text);
      break;
    case PF_Param_CHECKBOX:
      setting.value = ParseSwitch(text) ? 1 : 0;
      break;
    case PF_Param_POPUP:
      setting.value = ParseChoice(control, text);
      break;
    default:
      throw UsageError(Text("a ", TypeName(control.type), " has no value that could be set"));
  }
  return setting;
}

ControlSetting ParseControl(const host::Effect& effect, const ControlDeclaration& control,
                            std::string_view text) {
  if (control.type != PF_Param_ARBITRARY_DATA) {
    return ParseControl(control, text);
  }
  auto flat = effect.DataFromText(control.index, std::string(text));
  if (!flat) {
    throw UsageError(Text("'", text, "': ", flat.ErrorText()));
  }
  ControlSetting setting;
  setting.index = control.index;
  setting.type = control.type;
  setting.flat = std::make_shared<const host::FlatValue>(std::move(*flat));
  return setting;
}

std::string ValuePlaceholder(const ControlDeclaration& control) {
  switch (control.type) {
    case PF_Param_LAYER:
      return "FILE";
    case PF_Param_POINT:
      return "X,Y";
    case PF_Param_POINT_3D:
      return "X,Y,Z";
    case PF_Param_COLOR:
      return "#RRGGBB";
    case PF_Param_ANGLE:
      return "DEGREES";
    case PF_Param_ARBITRARY_DATA:
      return "TEXT";
    case PF_Param_POPUP:
      return Joined(ChoiceNames(control), "|", "|");
    case PF_Param_CHECKBOX:
      return "";
    default:
      return "NUMBER";
  }
}

std::string RangeText(const ControlDeclaration& control) {
  switch (control.type) {
    case PF_Param_LAYER:
      return "an image";
    case PF_Param_SLIDER:
      return Text(control.validMin, " to ", control.validMax, ", whole");
    case PF_Param_FIX_SLIDER:
      return Text(FixedText(control.validMin), " to ", FixedText(control.validMax));
    case PF_Param_FLOAT_SLIDER:
      return Text(NumberText(static_cast<float>(control.validMinNumber)), " to ",
                  NumberText(static_cast<float>(control.validMaxNumber)));
    case PF_Param_ANGLE:
      return "degrees";
    case PF_Param_COLOR:
      return "#RRGGBB or RED,GREEN,BLUE";
    case PF_Param_CHECKBOX:
      return "on or off";
    case PF_Param_POINT:
      return control.restrictBounds ? "pixels, percent or degrees, inside the frame"
                                    : "pixels, percent or degrees";
    case PF_Param_POINT_3D:
      return "pixels or percent";
    case PF_Param_POPUP:
      return Joined(ChoiceNames(control), ", ", " or ");
    case PF_Param_ARBITRARY_DATA:
      return "what the effect reads";
    default:
      return "";
  }
}

std::string DefaultText(const host::Effect& effect, const ControlDeclaration& control) {
  switch (control.type) {
    case PF_Param_LAYER:
      return control.defaultValue == PF_LayerDefault_MYSELF ? "the frame" : "none";
    case PF_Param_POINT:
      return Text(FixedText(control.defaultX), "%,", FixedText(control.defaultY), "%");
    case PF_Param_POINT_3D:
      return PointInSpaceText(control.defaultPoint3d, "%");
    case PF_Param_FLOAT_SLIDER:
      return NumberText(static_cast<float>(control.defaultNumber));
    default:
      return control.HasValue() ? ValueText(effect, control, effect.DefaultValue(control, 1, 1))
                                : "";
  }
}

std::string ValueText(const host::Effect& effect, const ControlDeclaration& control,
                      const host::ControlValue& value) {
  switch (control.type) {
    case PF_Param_POINT:
      return Text(FixedText(value.x), ",", FixedText(value.y));
    case PF_Param_POINT_3D:
      return PointInSpaceText(value.numbers, "");
    case PF_Param_FIX_SLIDER:
    case PF_Param_ANGLE:
      return FixedText(value.x);
    case PF_Param_FLOAT_SLIDER:
      return NumberText(value.numbers[0]);
    case PF_Param_COLOR:
      return ColorText(value.color);
    case PF_Param_CHECKBOX:
      return value.x != 0 ? "on" : "off";
    case PF_Param_POPUP:
      return ChoiceText(control, value.x);
    case PF_Param_ARBITRARY_DATA: {
      const auto flat = value.flat != nullptr ? Expected<host::FlatValue>(*value.flat)
                                              : effect.DefaultData(control.index);
      const auto text = flat ? effect.DataText(control.index, *flat) : Failure{""};
      return text && !text->empty() ? *text : kNoWords;
    }
    default:
      return std::to_string(value.x);
  }
}

const char* TypeName(PF_ParamType type) {
  switch (type) {
    case PF_Param_LAYER:
      return "layer";
    case PF_Param_POINT:
      return "point";
    case PF_Param_POINT_3D:
      return "3D point";
    case PF_Param_POPUP:
      return "popup";
    case PF_Param_CHECKBOX:
      return "checkbox";
    case PF_Param_FIX_SLIDER:
      return "slider";
    case PF_Param_SLIDER:
      return "whole slider";
    case PF_Param_FLOAT_SLIDER:
      return "float slider";
    case PF_Param_ANGLE:
      return "angle";
    case PF_Param_COLOR:
      return "colour";
    case PF_Param_ARBITRARY_DATA:
      return "data";
    case PF_Param_PATH:
      return "path";
    case PF_Param_BUTTON:
      return "button";
    case PF_Param_GROUP_START:
      return "group";
    case PF_Param_GROUP_END:
      return "group end";
    default:
      return "other";
  }
}

}  // namespace veltra::cli
