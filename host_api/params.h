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
