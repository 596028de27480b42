// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Values of controls against their declarations.
#include "cli/settings/controls.h"

#include <gtest/gtest.h>

#include "base/error.h"

namespace veltra::cli {
namespace {

host::ControlDeclaration Slider(PF_Fixed least, PF_Fixed most) {
  host::ControlDeclaration control;
  control.type = PF_Param_FIX_SLIDER;
  control.validMin = least;
  control.validMax = most;
  return control;
}

TEST(Controls, SlidersTakeTheirWholeRangeAndNoMore) {
  const host::ControlDeclaration control = Slider(-2 * 65536, 65536 / 2);
  EXPECT_EQ(ParseControl(control, "-2").value, -2 * 65536);
  EXPECT_EQ(ParseControl(control, "0.5").value, 32768);
  EXPECT_THROW(ParseControl(control, "0.51"), UsageError);
  EXPECT_EQ(RangeText(control), "-2 to 0.5");
}

TEST(Controls, ChoicesAreNamedOrNumbered) {
  host::ControlDeclaration control;
  control.type = PF_Param_POPUP;
  control.choices = {"Fit Width", "Tile"};
  EXPECT_EQ(ParseControl(control, "fit-width").value, 1);
  EXPECT_EQ(ParseControl(control, "Fit Width").value, 1);
  EXPECT_EQ(ParseControl(control, "2").value, 2);
  EXPECT_THROW(ParseControl(control, "3"), UsageError);
  EXPECT_THROW(ParseControl(control, ""), UsageError);
}

TEST(Controls, PointsThatMustStayInsideDo) {
  host::ControlDeclaration control;
  control.type = PF_Param_POINT;
  EXPECT_NO_THROW(ParseControl(control, "-5,200%"));
  control.restrictBounds = true;
  EXPECT_THROW(ParseControl(control, "-5,0"), UsageError);
  EXPECT_THROW(ParseControl(control, "5,101%"), UsageError);
}

TEST(Controls, NamesBecomeOptions) {
  EXPECT_EQ(Slug("Size (Degrees)"), "size-degrees");
  EXPECT_EQ(Slug("  A/B  c "), "a-b-c");
  EXPECT_EQ(Slug("***"), "");
}

}  // namespace
}  // namespace veltra::cli
