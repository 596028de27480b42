// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The nine controls as the host receives them.
#include <cstring>

#include "tests/conformance/stage.h"

namespace veltra::conformance {
namespace {

using ::testing::Each;
using ::testing::IsEmpty;
using ::testing::SizeIs;

PF_ParamDef Named(A_long id, PF_ParamType type, const char* name) {
  PF_ParamDef def;
  std::memset(&def, 0, sizeof(def));
  def.uu.id = id;
  def.param_type = type;
  std::strncpy(def.name, name, kHostNameCapacity - 1);
  return def;
}

PF_ParamDef Point(A_long id, const char* name, PF_Fixed x, PF_Fixed y) {
  PF_ParamDef def = Named(id, PF_Param_POINT, name);
  def.u.td.x_value = def.u.td.x_dephault = x;
  def.u.td.y_value = def.u.td.y_dephault = y;
  return def;
}

PF_ParamDef Slider(A_long id, const char* name, int validMin, int validMax, int sliderMin,
                   int sliderMax, int value) {
  PF_ParamDef def = Named(id, PF_Param_FIX_SLIDER, name);
  def.u.fd.valid_min = validMin * 65536;
  def.u.fd.valid_max = validMax * 65536;
  def.u.fd.slider_min = sliderMin * 65536;
  def.u.fd.slider_max = sliderMax * 65536;
  def.u.fd.value = def.u.fd.dephault = value * 65536;
  def.u.fd.precision = 1;
  return def;
}

PF_ParamDef Checkbox(A_long id, bool on) {
  PF_ParamDef def = Named(id, PF_Param_CHECKBOX, "");
  def.u.bd.value = on ? 1 : 0;
  def.u.bd.dephault = on ? 1 : 0;
  return def;
}

PF_ParamDef Popup(A_long id, const char* name) {
  PF_ParamDef def = Named(id, PF_Param_POPUP, name);
  def.u.pd.value = 1;
  def.u.pd.num_choices = 3;
  def.u.pd.dephault = 1;
  return def;
}

/// Byte for byte, but for a text pointer whose text is compared instead.
void ExpectSame(PF_ParamDef declared, const PF_ParamDef& expected, const char* text = nullptr) {
  if (text != nullptr) {
    const char*& pointer =
        declared.param_type == PF_Param_POPUP ? declared.u.pd.u.namesptr : declared.u.bd.u.nameptr;
    EXPECT_STREQ(pointer, text);
    pointer = nullptr;
  }
  EXPECT_EQ(std::memcmp(&declared, &expected, sizeof(expected)), 0) << "id " << expected.uu.id;
}

TEST(Parameters, AreDeclaredByteForByte) {
  TestHost host(Effect().mainEntry);
  ASSERT_EQ(host.Send(PF_Cmd_PARAMS_SETUP), PF_Err_NONE);
  EXPECT_THAT(host.log, Each("add_param -1"));
  EXPECT_THAT(host.violations, IsEmpty());
  ASSERT_THAT(host.declared, SizeIs(9));
  EXPECT_EQ(host.outData.num_params, 10);

  ExpectSame(host.declared[0], Named(1, PF_Param_LAYER, "Layer"));
  ExpectSame(host.declared[1], Point(2, "Start Point", 0x360000, 0x110000));
  ExpectSame(host.declared[2], Point(3, "End Point", 0x5B0000, 0x430000));
  ExpectSame(host.declared[3], Popup(4, "Layer Placement"), "Stretch|Tile|Solo");
  ExpectSame(host.declared[4], Slider(5, "Travel", -10000, 10000, 0, 100, 0));
  ExpectSame(host.declared[5], Slider(6, "Size (Degrees)", 0, 120, 3, 90, 30));
  ExpectSame(host.declared[6], Checkbox(7, false), "Spherical Filtering");
  ExpectSame(host.declared[7], Slider(8, "Opacity", 0, 100, 0, 100, 100));
  ExpectSame(host.declared[8], Checkbox(9, true), "Composite with Original");
}

TEST(Parameters, AFailedDeclarationEndsTheSetUpWithItsCode) {
  for (int nth = 1; nth <= 9; ++nth) {
    TestHost host(Effect().mainEntry);
    host.outData.num_params = 77;
    host.FailAt("add_param", nth, PF_Err_UNRECOGNIZED_PARAM_TYPE);
    EXPECT_EQ(host.Send(PF_Cmd_PARAMS_SETUP), PF_Err_UNRECOGNIZED_PARAM_TYPE);
    EXPECT_EQ(host.Calls("add_param"), nth) << "no further parameter is added";
    EXPECT_EQ(host.outData.num_params, 77) << "the count is not set";
  }
}

TEST(Parameters, SettingUpAcquiresNoSuite) {
  TestHost host(Effect().mainEntry);
  EXPECT_EQ(host.Send(PF_Cmd_PARAMS_SETUP), PF_Err_NONE);
  EXPECT_EQ(host.Calls("acquire"), 0);
  EXPECT_EQ(host.Calls("release"), 0);
}

TEST(Parameters, ADefaultInstanceWithoutLayerShowsTheInput) {
  for (const bool smart : {false, true}) {
    Stage stage(Depth::k8);
    ASSERT_EQ(stage.host.Send(PF_Cmd_PARAMS_SETUP), PF_Err_NONE);
    const std::vector<PF_ParamDef>& declared = stage.host.declared;
    reference::Controls& controls = stage.host.controls;
    controls.placement = declared[3].u.pd.value;
    controls.travel = declared[4].u.fd.value;
    controls.size = declared[5].u.fd.value;
    controls.filtering = declared[6].u.bd.value != 0;
    controls.opacity = declared[7].u.fd.value;
    controls.composite = declared[8].u.bd.value != 0;
    stage.host.layer = nullptr;
    EXPECT_EQ(stage.host.Render(smart), PF_Err_NONE);
    EXPECT_TRUE(SamePixels(stage.output, stage.input));
    ExpectClean(stage);
  }
}

}  // namespace
}  // namespace veltra::conformance
