// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Names and values of controls, derived from their declarations.
#include "cli/settings/controls.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <map>

#include "base/error.h"
#include "base/text.h"

namespace veltra::cli {
namespace {

using host::ControlDeclaration;

bool CanBeSet(PF_ParamType type) {
  return type == PF_Param_LAYER || type == PF_Param_FIX_SLIDER || type == PF_Param_CHECKBOX ||
         type == PF_Param_POINT || type == PF_Param_POPUP;
}

std::vector<std::string> Words(const std::string& slug) {
  std::vector<std::string> words;
  std::size_t start = 0;
  while (start < slug.size()) {
    const std::size_t end = std::min(slug.find('-', start), slug.size());
    words.push_back(slug.substr(start, end - start));
    start = end + 1;
  }
  return words;
}

template <class Range>
bool Contains(const Range& range, const std::string& value) {
  return std::find(range.begin(), range.end(), value) != range.end();
}

/// A word short enough to be a preposition names nothing.
bool NamesSomething(const std::string& word) {
  constexpr std::size_t kShortestName = 3;
  return word.size() >= kShortestName && word != "with" && word != "and" && word != "the" &&
         word != "for" && word != "from" && std::isalpha(static_cast<unsigned char>(word[0])) != 0;
}

void AddShortNames(std::vector<ControlOption>& options, const std::vector<std::string>& taken) {
  std::map<std::string, int> uses;
  for (const ControlOption& option : options) {
    std::vector<std::string> words = Words(option.LongName());
    std::sort(words.begin(), words.end());
    words.erase(std::unique(words.begin(), words.end()), words.end());
    for (const std::string& word : words) {
      ++uses[word];
    }
  }
  for (ControlOption& option : options) {
    for (const std::string& word : Words(option.LongName())) {
      if (uses[word] == 1 && NamesSomething(word) && !Contains(taken, word) &&
          !Contains(option.names, word)) {
        option.names.push_back(word);
      }
    }
  }
}

/// The long name, made different from the program's own options and from controls before it.
std::string UniqueName(const ControlDeclaration& control, const std::vector<ControlOption>& before,
                       const std::vector<std::string>& taken) {
  const std::string slug = Slug(control.name.empty() ? control.label : control.name);
  std::string name = slug.empty() ? Text("control-", control.index) : slug;
  const bool used = Contains(taken, name) ||
                    std::any_of(before.begin(), before.end(), [&](const ControlOption& other) {
                      return other.LongName() == name;
                    });
  return used ? Text(name, "-", control.index) : name;
}

A_long ParseSlider(const ControlDeclaration& control, std::string_view text) {
  const double number = ParseNumber(text);
  const double least = static_cast<double>(control.validMin) / kFixedOne;
  const double most = static_cast<double>(control.validMax) / kFixedOne;
  if (number < least || number > most) {
    ThrowNotA(text, "in range", RangeText(control));
  }
  return std::clamp(ParseFixed(text), control.validMin, control.validMax);
}

A_long ParseChoice(const ControlDeclaration& control, std::string_view text) {
  const std::string wanted = Slug(text);
  for (std::size_t i = 0; i < control.choices.size(); ++i) {
    if (Slug(control.choices[i]) == wanted || std::to_string(i + 1) == text) {
      return static_cast<A_long>(i + 1);
    }
  }
  ThrowNotA(text, "a choice", RangeText(control));
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

}  // namespace

std::string Slug(std::string_view visible) {
  std::string slug;
  for (const char c : visible) {
    const auto letter = static_cast<unsigned char>(c);
    if (std::isalnum(letter) != 0) {
      slug += static_cast<char>(std::tolower(letter));
    } else if (!slug.empty() && slug.back() != '-') {
      slug += '-';
    }
  }
  while (slug.ends_with('-')) {
    slug.pop_back();
  }
  return slug;
}

std::vector<ControlOption> ControlOptions(const host::Effect& effect,
                                          const std::vector<std::string>& taken) {
  std::vector<ControlOption> options;
  for (const ControlDeclaration& control : effect.Controls()) {
    if (CanBeSet(control.type)) {
      options.push_back({&control, {UniqueName(control, options, taken)}});
    }
  }
  AddShortNames(options, taken);
  return options;
}

const ControlOption* FindControl(const std::vector<ControlOption>& options, std::string_view name) {
  for (const ControlOption& option : options) {
    if (Contains(option.names, std::string(name))) {
      return &option;
    }
  }
  return nullptr;
}

host::ControlValue ControlSetting::OnFrame(int width, int height) const {
  if (type == PF_Param_POINT) {
    return {point.ColumnOf(width), point.RowOf(height)};
  }
  return {value, 0};
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
    case PF_Param_FIX_SLIDER:
      setting.value = ParseSlider(control, text);
      break;
    case PF_Param_CHECKBOX:
      setting.value = ParseSwitch(text) ? 1 : 0;
      break;
    default:
      setting.value = ParseChoice(control, text);
  }
  return setting;
}

std::string ValuePlaceholder(const ControlDeclaration& control) {
  switch (control.type) {
    case PF_Param_LAYER:
      return "FILE";
    case PF_Param_POINT:
      return "X,Y";
    case PF_Param_POPUP: {
      std::string choices;
      for (const std::string& choice : control.choices) {
        choices += Text(choices.empty() ? "" : "|", Slug(choice));
      }
      return choices;
    }
    case PF_Param_CHECKBOX:
      return "";
    default:
      return "NUMBER";
  }
}

std::string RangeText(const ControlDeclaration& control) {
  switch (control.type) {
    case PF_Param_FIX_SLIDER:
      return Text(FixedText(control.validMin), " to ", FixedText(control.validMax));
    case PF_Param_CHECKBOX:
      return "on or off";
    case PF_Param_POINT:
      return control.restrictBounds ? "pixels, percent or degrees, inside the frame"
                                    : "pixels, percent or degrees";
    case PF_Param_POPUP: {
      std::string choices;
      for (std::size_t i = 0; i < control.choices.size(); ++i) {
        const bool last = i + 1 == control.choices.size();
        choices += Text(i == 0 ? "" : last ? " or " : ", ", Slug(control.choices[i]));
      }
      return choices;
    }
    default:
      return "an image";
  }
}

std::string DefaultText(const ControlDeclaration& control) {
  switch (control.type) {
    case PF_Param_LAYER:
      return "none";
    case PF_Param_POINT:
      return Text(FixedText(control.defaultX), "%,", FixedText(control.defaultY), "%");
    case PF_Param_CHECKBOX:
      return control.defaultValue != 0 ? "on" : "off";
    case PF_Param_POPUP: {
      const auto number = static_cast<std::size_t>(std::max<A_long>(control.defaultValue, 1));
      return number <= control.choices.size() ? Slug(control.choices[number - 1])
                                              : std::to_string(control.defaultValue);
    }
    default:
      return FixedText(control.defaultValue);
  }
}

const char* TypeName(PF_ParamType type) {
  switch (type) {
    case PF_Param_LAYER:
      return "layer";
    case PF_Param_POINT:
      return "point";
    case PF_Param_POPUP:
      return "popup";
    case PF_Param_CHECKBOX:
      return "checkbox";
    case PF_Param_FIX_SLIDER:
      return "slider";
    default:
      return "other";
  }
}

}  // namespace veltra::cli
