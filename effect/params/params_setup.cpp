// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Parameter declarations.

#include "effect/params/params_setup.h"

#include <cstring>

#include "effect/context/require.h"

namespace veltra {
namespace {

constexpr PF_Fixed Fixed(std::int32_t whole) {
  return whole * 65536;
}

PF_ParamDef NamedParam(ParamIndex index, PF_ParamType type, const char* name) {
  PF_ParamDef def{};
  def.uu.id = index;
  def.param_type = type;
  std::strncpy(def.name, name, sizeof(def.name) - 1);
  return def;
}

PF_ParamDef LayerParam(ParamIndex index, const char* name) {
  PF_ParamDef def = NamedParam(index, PF_Param_LAYER, name);
  def.u.ld.dephault = PF_LayerDefault_NONE;
  return def;
}

/// Defaults are in percent of the layer's size; the host makes pixels of them.
PF_ParamDef PointParam(ParamIndex index, const char* name, int xPercent, int yPercent) {
  PF_ParamDef def = NamedParam(index, PF_Param_POINT, name);
  def.u.td.x_value = def.u.td.x_dephault = Fixed(xPercent);
  def.u.td.y_value = def.u.td.y_dephault = Fixed(yPercent);
  def.u.td.restrict_bounds = 0;
  return def;
}

PF_ParamDef PopupParam(ParamIndex index, const char* name, const char* choices, A_short count,
                       A_short choice) {
  PF_ParamDef def = NamedParam(index, PF_Param_POPUP, name);
  def.u.pd.value = choice;
  def.u.pd.num_choices = count;
  def.u.pd.dephault = choice;
  def.u.pd.u.namesptr = choices;
  return def;
}

struct Range {
  int low;
  int high;
};

PF_ParamDef SliderParam(ParamIndex index, const char* name, Range valid, Range slider,
                        int initial) {
  PF_ParamDef def = NamedParam(index, PF_Param_FIX_SLIDER, name);
  def.u.fd.value = def.u.fd.dephault = Fixed(initial);
  def.u.fd.valid_min = Fixed(valid.low);
  def.u.fd.valid_max = Fixed(valid.high);
  def.u.fd.slider_min = Fixed(slider.low);
  def.u.fd.slider_max = Fixed(slider.high);
  def.u.fd.precision = 1;
  def.u.fd.display_flags = 0;
  return def;
}

/// The visible text is the label beside the box; the parameter itself has no name.
PF_ParamDef CheckboxParam(ParamIndex index, const char* label, bool on) {
  PF_ParamDef def = NamedParam(index, PF_Param_CHECKBOX, "");
  def.u.bd.value = on ? 1 : 0;
  def.u.bd.dephault = on ? 1 : 0;
  def.u.bd.u.nameptr = label;
  return def;
}

}  // namespace

PF_Err ParamsSetup(RenderContext* context) {
  PF_ParamDef controls[] = {
      LayerParam(kParamLayer, "Layer"),
      PointParam(kParamStartPoint, "Start Point", 54, 17),
      PointParam(kParamEndPoint, "End Point", 91, 67),
      PopupParam(kParamLayerPlacement, "Layer Placement", "Stretch|Tile|Solo", 3, kStretch),
      SliderParam(kParamTravel, "Travel", {-10000, 10000}, {0, 100}, 0),
      SliderParam(kParamSizeDegrees, "Size (Degrees)", {0, 120}, {3, 90}, 30),
      CheckboxParam(kParamSphericalFiltering, "Spherical Filtering", false),
      SliderParam(kParamOpacity, "Opacity", {0, 100}, {0, 100}, 100),
      CheckboxParam(kParamComposite, "Composite with Original", true),
  };
  const PF_InData& inData = *context->inData;
  for (PF_ParamDef& control : controls) {
    const PF_Err err = inData.inter.add_param(inData.effect_ref, -1, &control);
    if (err != PF_Err_NONE) {
      return err;
    }
  }
  Require(context->outData).num_params = kParamCount;
  return PF_Err_NONE;
}

}  // namespace veltra
