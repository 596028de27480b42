// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Parameter definitions: how an effect declares its controls and how their values come back.
#pragma once

#include "host_api/world.h"

namespace veltra {

struct PF_FixedSliderDef {
  PF_Fixed value;
  A_char value_str[kHostNameCapacity];
  A_char value_desc[kHostNameCapacity];
  PF_Fixed valid_min;
  PF_Fixed valid_max;
  PF_Fixed slider_min;
  PF_Fixed slider_max;
  PF_Fixed dephault;
  A_short precision;
  A_short display_flags;
};

struct PF_SliderDef {
  A_long value;
  A_char value_str[kHostNameCapacity];
  A_char value_desc[kHostNameCapacity];
  A_long valid_min;
  A_long valid_max;
  A_long slider_min;
  A_long slider_max;
  A_long dephault;
};

/// 16.16 degrees, not folded to a turn; the limits are not honoured.
struct PF_AngleDef {
  PF_Fixed value;
  PF_Fixed dephault;
  PF_Fixed valid_min;
  PF_Fixed valid_max;
};

struct PF_ColorDef {
  PF_Pixel8 value;
  PF_Pixel8 dephault;
};

struct PF_FloatSliderDef {
  A_FpLong value;
  A_FpLong phase;
  A_char value_desc[kHostNameCapacity];
  A_FpShort valid_min;
  A_FpShort valid_max;
  A_FpShort slider_min;
  A_FpShort slider_max;
  A_FpShort dephault;
  A_short precision;
  A_short display_flags;
  A_u_long fs_flags;
  A_FpShort curve_tolerance;
  PF_Boolean useExponent;
  A_FpShort exponent;
};

/// The default belongs to the host once it was added; values are the host's, and read-only.
struct PF_ArbitraryDef {
  A_short id;
  A_short pad;
  PF_Handle dephault;
  PF_Handle value;
  void* refconPV;
};

struct PF_PathDef {
  A_u_long path_id;
  A_long reserved0;
  A_long dephault;
};

struct PF_ButtonDef {
  A_long value;
  union {
    const A_char* namesptr;
  } u;
};

/// Values in pixels, defaults in percent: x of the width, y and z of the height.
struct PF_Point3DDef {
  A_FpLong x_value;
  A_FpLong y_value;
  A_FpLong z_value;
  A_FpLong x_dephault;
  A_FpLong y_dephault;
  A_FpLong z_dephault;
  A_u_char reserved[16];
};

struct PF_CheckBoxDef {
  A_long value;
  PF_Boolean dephault;
  A_u_char reserved;
  A_short reserved1;
  union {
    const A_char* nameptr;
  } u;
};

/// Values in pixels (16.16), defaults in percent of the layer's size (16.16).
struct PF_PointDef {
  PF_Fixed x_value;
  PF_Fixed y_value;
  A_u_char reserved[3];
  PF_Boolean restrict_bounds;
  PF_Fixed x_dephault;
  PF_Fixed y_dephault;
};

/// Choices are separated by '|' and numbered from 1.
struct PF_PopupDef {
  A_long value;
  A_short num_choices;
  A_short dephault;
  union {
    const A_char* namesptr;
  } u;
};

union PF_ParamDefUnion {
  PF_LayerDef ld;
  PF_FixedSliderDef fd;
  PF_CheckBoxDef bd;
  PF_PointDef td;
  PF_PopupDef pd;
  PF_SliderDef sd;
  PF_AngleDef ad;
  PF_ColorDef cd;
  PF_FloatSliderDef fs_d;
  PF_ArbitraryDef arb_d;
  PF_PathDef path_d;
  PF_ButtonDef button_d;
  PF_Point3DDef point3d_d;
};

struct PF_ParamDef {
  union {
    A_long id;
    A_long change_flags;
  } uu;
  A_long ui_flags;
  A_short ui_width;
  A_short ui_height;
  PF_ParamType param_type;
  A_char name[kHostNameCapacity];
  A_long flags;
  A_long unused;
  PF_ParamDefUnion u;
};

using PF_ParamList = PF_ParamDef**;

}  // namespace veltra
