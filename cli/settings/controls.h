// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The effect's controls as options: their names, their values, and the table of them.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "cli/settings/values.h"
#include "host/effect.h"

namespace veltra::cli {

/// A control with the names under which people may set it. Everything comes from what the effect
/// declared. The names follow one rule: the visible name (a checkbox's label) in lower case with
/// dashes is the long name, and every word of it that no other control has and that is no
/// option of the program is a short one. "Start Point" is start-point and start;
/// "Size (Degrees)" is size-degrees and degrees.
struct ControlOption {
  const host::ControlDeclaration* declaration = nullptr;
  std::vector<std::string> names;  ///< the long one first

  const std::string& LongName() const { return names.front(); }
  /// The one to show: the first short name, or the long one where there is none.
  const std::string& ShownName() const { return names.size() > 1 ? names[1] : names[0]; }
  std::string_view VisibleName() const {
    return declaration->name.empty() ? declaration->label : declaration->name;
  }
};

/// The controls that can be set; others (groups, buttons, paths) are left out. `taken` are the
/// program's own option names, without dashes in front.
std::vector<ControlOption> ControlOptions(const host::Effect& effect,
                                          const std::vector<std::string>& taken);

/// All buttons, each with one name, made by the same rule.
std::vector<ControlOption> ButtonOptions(const host::Effect& effect);

/// Whether a press does anything: the effect asks to hear of it.
bool CanBePressed(const host::ControlDeclaration& button);

/// The buttons that a list such as "reset,bake" names, in its order. Throws UsageError for those
/// that the effect does not have or does not listen to.
std::vector<PF_ParamIndex> ParseButtons(const host::Effect& effect, std::string_view names);

/// The control of this name, or null.
const ControlOption* FindControl(const std::vector<ControlOption>& options, std::string_view name);

/// What a control is set to, before the frame's size is known.
struct ControlSetting {
  PF_ParamIndex index = 0;
  PF_ParamType type = PF_Param_NO_DATA;
  /// Of a slider 16.16 or whole as it was declared, 16.16 degrees of an angle, 0 or 1, or the
  /// number of a choice.
  A_long value = 0;
  double number = 0;    ///< of a float slider
  PointText point;      ///< of a point
  Point3dText point3d;  ///< of a 3D point
  PF_Pixel8 color{255, 0, 0, 0};
  std::shared_ptr<const host::FlatValue> flat;  ///< of arbitrary data
  std::string path;                             ///< of a layer

  host::ControlValue OnFrame(int width, int height) const;
};

/// Reads a value for a control and checks it against what the effect declared. Throws UsageError
/// with what was expected, without the control's name. Arbitrary data needs its effect, as below.
ControlSetting ParseControl(const host::ControlDeclaration& control, std::string_view text);

/// The same for one of this effect's controls; the effect itself reads the text of its arbitrary
/// data.
ControlSetting ParseControl(const host::Effect& effect, const host::ControlDeclaration& control,
                            std::string_view text);

/// What the value of a control looks like, for help: "X,Y", "stretch|tile|solo", "NUMBER".
std::string ValuePlaceholder(const host::ControlDeclaration& control);

/// "-10000 to 10000", "on or off" and so on; "an image" for a layer.
std::string RangeText(const host::ControlDeclaration& control);

/// The declared default as it would be written, "none" for a layer.
std::string DefaultText(const host::Effect& effect, const host::ControlDeclaration& control);

/// A value as it would be written; points in pixels.
std::string ValueText(const host::Effect& effect, const host::ControlDeclaration& control,
                      const host::ControlValue& value);

/// "layer", "point", "slider", "checkbox", "popup" and so on.
const char* TypeName(PF_ParamType type);

/// The control's choice as a value on the command line: lower case, blanks as dashes.
std::string Slug(std::string_view visible);

}  // namespace veltra::cli
