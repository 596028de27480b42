// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Scalars, constants, rectangles and pixels of the host's effect interface.
#pragma once

#include <cstdint>

namespace veltra {

// The host's names for its scalar types. A_long is 32 bits on every target, so that the same
// declarations have the same layout where long is 64 bits.
using A_long = std::int32_t;
using A_u_long = std::uint32_t;
using A_short = std::int16_t;
using A_u_short = std::uint16_t;
using A_u_char = std::uint8_t;
using A_char = char;
using A_FpLong = double;
using A_FpShort = float;

using PF_Err = std::int32_t;
using PF_Cmd = std::int32_t;
using PF_Quality = std::int32_t;
using PF_Field = std::int32_t;
using PF_ParamType = std::int32_t;
using PF_ParamIndex = std::int32_t;
using PF_PixelFormat = std::int32_t;
using PF_WorldFlags = std::int32_t;
using SPErr = std::int32_t;
using PF_Boolean = std::uint8_t;

/// Signed 16.16 fixed point.
using PF_Fixed = std::int32_t;
inline constexpr double kFixedOne = 65536.0;

/// Opaque reference of one effect instance, handed back to every callback.
struct PF_OpaqueProgress;
using PF_ProgPtr = PF_OpaqueProgress*;
using PF_Handle = void**;

/// A host function that is never called here: only its place in a table counts.
using PF_UnusedFn = void (*)();

// ---- Errors ----

inline constexpr PF_Err PF_Err_NONE = 0;
inline constexpr PF_Err PF_Err_OUT_OF_MEMORY = 4;
inline constexpr PF_Err PF_Err_INTERNAL_STRUCT_DAMAGED = 512;
inline constexpr PF_Err PF_Err_INVALID_INDEX = 513;
inline constexpr PF_Err PF_Err_UNRECOGNIZED_PARAM_TYPE = 514;
inline constexpr PF_Err PF_Err_INVALID_CALLBACK = 515;
inline constexpr PF_Err PF_Err_BAD_CALLBACK_PARAM = 516;
inline constexpr PF_Err PF_Interrupt_CANCEL = 517;

// ---- Commands ----

inline constexpr PF_Cmd PF_Cmd_ABOUT = 0;
inline constexpr PF_Cmd PF_Cmd_GLOBAL_SETUP = 1;
inline constexpr PF_Cmd PF_Cmd_GLOBAL_SETDOWN = 3;
inline constexpr PF_Cmd PF_Cmd_PARAMS_SETUP = 4;
inline constexpr PF_Cmd PF_Cmd_SEQUENCE_SETUP = 5;
inline constexpr PF_Cmd PF_Cmd_SEQUENCE_RESETUP = 6;
inline constexpr PF_Cmd PF_Cmd_SEQUENCE_FLATTEN = 7;
inline constexpr PF_Cmd PF_Cmd_SEQUENCE_SETDOWN = 8;
inline constexpr PF_Cmd PF_Cmd_DO_DIALOG = 9;
inline constexpr PF_Cmd PF_Cmd_FRAME_SETUP = 10;
inline constexpr PF_Cmd PF_Cmd_RENDER = 11;
inline constexpr PF_Cmd PF_Cmd_FRAME_SETDOWN = 12;
inline constexpr PF_Cmd PF_Cmd_USER_CHANGED_PARAM = 13;
inline constexpr PF_Cmd PF_Cmd_UPDATE_PARAMS_UI = 14;
inline constexpr PF_Cmd PF_Cmd_EVENT = 15;
inline constexpr PF_Cmd PF_Cmd_GET_EXTERNAL_DEPENDENCIES = 16;
inline constexpr PF_Cmd PF_Cmd_COMPLETELY_GENERAL = 17;
inline constexpr PF_Cmd PF_Cmd_QUERY_DYNAMIC_FLAGS = 18;
inline constexpr PF_Cmd PF_Cmd_AUDIO_RENDER = 19;
inline constexpr PF_Cmd PF_Cmd_AUDIO_SETUP = 20;
inline constexpr PF_Cmd PF_Cmd_AUDIO_SETDOWN = 21;
inline constexpr PF_Cmd PF_Cmd_ARBITRARY_CALLBACK = 22;
inline constexpr PF_Cmd PF_Cmd_SMART_PRE_RENDER = 23;
inline constexpr PF_Cmd PF_Cmd_SMART_RENDER = 24;
inline constexpr PF_Cmd PF_Cmd_GET_FLATTENED_SEQUENCE_DATA = 28;
inline constexpr PF_Cmd PF_Cmd_TRANSLATE_PARAMS_TO_PREFS = 29;
inline constexpr PF_Cmd PF_Cmd_SMART_RENDER_GPU = 31;
inline constexpr PF_Cmd PF_Cmd_GPU_DEVICE_SETUP = 32;
inline constexpr PF_Cmd PF_Cmd_GPU_DEVICE_SETDOWN = 33;

// ---- Parameter types and layer defaults ----

inline constexpr PF_ParamType PF_Param_LAYER = 0;
inline constexpr PF_ParamType PF_Param_SLIDER = 1;
inline constexpr PF_ParamType PF_Param_FIX_SLIDER = 2;
inline constexpr PF_ParamType PF_Param_ANGLE = 3;
inline constexpr PF_ParamType PF_Param_CHECKBOX = 4;
inline constexpr PF_ParamType PF_Param_COLOR = 5;
inline constexpr PF_ParamType PF_Param_POINT = 6;
inline constexpr PF_ParamType PF_Param_POPUP = 7;
inline constexpr PF_ParamType PF_Param_CUSTOM = 8;
inline constexpr PF_ParamType PF_Param_NO_DATA = 9;
inline constexpr PF_ParamType PF_Param_FLOAT_SLIDER = 10;
inline constexpr PF_ParamType PF_Param_ARBITRARY_DATA = 11;
inline constexpr PF_ParamType PF_Param_PATH = 12;
inline constexpr PF_ParamType PF_Param_GROUP_START = 13;
inline constexpr PF_ParamType PF_Param_GROUP_END = 14;
inline constexpr PF_ParamType PF_Param_BUTTON = 15;
inline constexpr PF_ParamType PF_Param_POINT_3D = 18;

inline constexpr A_long PF_LayerDefault_MYSELF = -1;
inline constexpr A_long PF_LayerDefault_NONE = 0;

// ---- Rendering constants ----

inline constexpr PF_Quality PF_Quality_DRAWING_AUDIO = -1;
inline constexpr PF_Quality PF_Quality_LO = 0;
inline constexpr PF_Quality PF_Quality_HI = 1;

inline constexpr PF_Field PF_Field_FRAME = 0;
inline constexpr PF_Field PF_Field_UPPER = 1;
inline constexpr PF_Field PF_Field_LOWER = 2;

inline constexpr A_long PF_ChannelMask_ALPHA = 1;
inline constexpr A_long PF_ChannelMask_RED = 2;
inline constexpr A_long PF_ChannelMask_GREEN = 4;
inline constexpr A_long PF_ChannelMask_BLUE = 8;
inline constexpr A_long PF_ChannelMask_ARGB = 15;

inline constexpr PF_WorldFlags PF_WorldFlag_DEEP = 1 << 0;
inline constexpr PF_WorldFlags PF_WorldFlag_WRITEABLE = 1 << 1;

inline constexpr A_long PF_OutFlag_USE_OUTPUT_EXTENT = 1 << 6;
inline constexpr A_long PF_OutFlag_DEEP_COLOR_AWARE = 1 << 25;
inline constexpr A_long PF_OutFlag2_SUPPORTS_SMART_RENDER = 1 << 10;
inline constexpr A_long PF_OutFlag2_FLOAT_COLOR_AWARE = 1 << 12;
inline constexpr A_long PF_OutFlag2_SUPPORTS_THREADED_RENDERING = 1 << 27;

inline constexpr A_short PF_RenderOutputFlag_RETURNS_EXTRA_PIXELS = 1;
inline constexpr A_short PF_RenderOutputFlag_GPU_RENDER_POSSIBLE = 2;

inline constexpr A_u_long PF_SampleEdgeBehav_ZERO = 0;

// ---- Versions ----

inline constexpr A_u_long PF_Stage_DEVELOP = 0;
inline constexpr A_u_long PF_Stage_ALPHA = 1;
inline constexpr A_u_long PF_Stage_BETA = 2;
inline constexpr A_u_long PF_Stage_RELEASE = 3;

/// Packs an effect version into the host's word: vers bits 19 to 21, subvers 15 to 18,
/// bugfix 11 to 14, stage 9 to 10, build 0 to 8.
constexpr A_u_long PF_VERSION(A_u_long vers, A_u_long subvers, A_u_long bugfix, A_u_long stage,
                              A_u_long build) {
  return ((vers & 7U) << 19) | ((subvers & 15U) << 15) | ((bugfix & 15U) << 11) |
         ((stage & 3U) << 9) | (build & 511U);
}

// ---- Limits ----

inline constexpr int kHostNameCapacity = 32;      ///< effect and parameter names, with the zero
inline constexpr int kHostMessageCapacity = 256;  ///< return_msg, with the zero
inline constexpr A_long kHostMaxWorldSide = 30000;
inline constexpr int PF_MAX_CHAN8 = 255;
inline constexpr int PF_MAX_CHAN16 = 32768;

// ---- Pixel formats ----

/// The host's pixel format code: the first character is the lowest byte, so that the bytes in
/// memory read in order. A multi-character literal has the opposite order.
constexpr PF_PixelFormat PixelFormatCode(const char (&text)[5]) {
  PF_PixelFormat code = 0;
  for (int i = 3; i >= 0; --i) {
    code = code * 256 + static_cast<unsigned char>(text[i]);
  }
  return code;
}

inline constexpr PF_PixelFormat PF_PixelFormat_ARGB32 = PixelFormatCode("argb");
inline constexpr PF_PixelFormat PF_PixelFormat_ARGB64 = PixelFormatCode("ae16");
inline constexpr PF_PixelFormat PF_PixelFormat_ARGB128 = PixelFormatCode("ae32");
inline constexpr PF_PixelFormat PF_PixelFormat_INVALID = PixelFormatCode("badf");

// ---- Small records ----

struct PF_SpecVersion {
  A_short major;
  A_short minor;
};

/// Half-open rectangle: right and bottom are outside.
struct PF_LRect {
  A_long left;
  A_long top;
  A_long right;
  A_long bottom;
};
using PF_Rect = PF_LRect;

struct PF_RationalScale {
  A_long num;
  A_u_long den;
};

/// Straight-alpha pixels, alpha first; full scale 255, 32768 and 1.0.
struct PF_Pixel8 {
  A_u_char alpha;
  A_u_char red;
  A_u_char green;
  A_u_char blue;
};

struct PF_Pixel16 {
  A_u_short alpha;
  A_u_short red;
  A_u_short green;
  A_u_short blue;
};

struct PF_PixelFloat {
  float alpha;
  float red;
  float green;
  float blue;
};

}  // namespace veltra
