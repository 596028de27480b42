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

/// A function of any type, to be cast back before it is called.
using PF_AnyFn = void (*)();

struct PF_Point {
  A_long h;  ///< x
  A_long v;  ///< y
};

struct A_Time {
  A_long value;
  A_u_long scale;
};

// ---- Errors ----

inline constexpr PF_Err PF_Err_NONE = 0;
inline constexpr PF_Err PF_Err_OUT_OF_MEMORY = 4;
inline constexpr PF_Err PF_Err_INTERNAL_STRUCT_DAMAGED = 512;
inline constexpr PF_Err PF_Err_INVALID_INDEX = 513;
inline constexpr PF_Err PF_Err_UNRECOGNIZED_PARAM_TYPE = 514;
inline constexpr PF_Err PF_Err_INVALID_CALLBACK = 515;
inline constexpr PF_Err PF_Err_BAD_CALLBACK_PARAM = 516;
inline constexpr PF_Err PF_Interrupt_CANCEL = 517;
inline constexpr PF_Err PF_Err_CANNOT_PARSE_KEYFRAME_TEXT = 518;

/// What the functions of project suites answer; effects return some of these too.
using A_Err = std::int32_t;
inline constexpr A_Err A_Err_NONE = 0;
inline constexpr A_Err A_Err_GENERIC = 1;
inline constexpr A_Err A_Err_STRUCT = 2;
inline constexpr A_Err A_Err_PARAMETER = 3;
inline constexpr A_Err A_Err_ALLOC = 4;
inline constexpr A_Err A_Err_MISSING_SUITE = 13;
inline constexpr A_Err A_Err_NOT_IN_CACHE_OR_COMPUTE_PENDING = 22;

/// What the basic suite answers.
inline constexpr SPErr kSPSuiteNotFoundError = 0x53214664;
inline constexpr SPErr kSPBadParameterError = 0x5061726D;
inline constexpr SPErr kSPUnimplementedError = 0x21494D50;
inline constexpr SPErr kSPOutOfMemoryError = -148;

/// The host that effects compare `appl_id` with; the first character is the highest byte.
inline constexpr A_long kHostApplicationId = 0x46585443;

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

// ---- Flags ----

inline constexpr A_long PF_OutFlag_WIDE_TIME_INPUT = 1 << 1;
inline constexpr A_long PF_OutFlag_NON_PARAM_VARY = 1 << 2;
inline constexpr A_long PF_OutFlag_SEQUENCE_DATA_NEEDS_FLATTENING = 1 << 4;
inline constexpr A_long PF_OutFlag_I_DO_DIALOG = 1 << 5;
inline constexpr A_long PF_OutFlag_USE_OUTPUT_EXTENT = 1 << 6;
inline constexpr A_long PF_OutFlag_SEND_DO_DIALOG = 1 << 7;
inline constexpr A_long PF_OutFlag_DISPLAY_ERROR_MESSAGE = 1 << 8;
inline constexpr A_long PF_OutFlag_I_EXPAND_BUFFER = 1 << 9;
inline constexpr A_long PF_OutFlag_PIX_INDEPENDENT = 1 << 10;
inline constexpr A_long PF_OutFlag_I_WRITE_INPUT_BUFFER = 1 << 11;
inline constexpr A_long PF_OutFlag_I_SHRINK_BUFFER = 1 << 12;
inline constexpr A_long PF_OutFlag_CUSTOM_UI = 1 << 15;
inline constexpr A_long PF_OutFlag_REFRESH_UI = 1 << 17;
inline constexpr A_long PF_OutFlag_NOP_RENDER = 1 << 18;
inline constexpr A_long PF_OutFlag_I_USE_SHUTTER_ANGLE = 1 << 19;
inline constexpr A_long PF_OutFlag_I_USE_AUDIO = 1 << 20;
inline constexpr A_long PF_OutFlag_I_AM_OBSOLETE = 1 << 21;
inline constexpr A_long PF_OutFlag_FORCE_RERENDER = 1 << 22;
inline constexpr A_long PF_OutFlag_PiPL_OVERRIDES_OUTDATA_OUTFLAGS = 1 << 23;
inline constexpr A_long PF_OutFlag_I_HAVE_EXTERNAL_DEPENDENCIES = 1 << 24;
inline constexpr A_long PF_OutFlag_DEEP_COLOR_AWARE = 1 << 25;
inline constexpr A_long PF_OutFlag_SEND_UPDATE_PARAMS_UI = 1 << 26;
inline constexpr A_long PF_OutFlag_AUDIO_EFFECT_TOO = 1 << 30;
/// No picture at all; the sign bit.
inline constexpr A_long PF_OutFlag_AUDIO_EFFECT_ONLY = -2147483647 - 1;

inline constexpr A_long PF_OutFlag2_SUPPORTS_QUERY_DYNAMIC_FLAGS = 1 << 0;
inline constexpr A_long PF_OutFlag2_I_USE_3D_CAMERA = 1 << 1;
inline constexpr A_long PF_OutFlag2_I_USE_3D_LIGHTS = 1 << 2;
inline constexpr A_long PF_OutFlag2_PARAM_GROUP_START_COLLAPSED_FLAG = 1 << 3;
inline constexpr A_long PF_OutFlag2_DOESNT_NEED_EMPTY_PIXELS = 1 << 6;
inline constexpr A_long PF_OutFlag2_REVEALS_ZERO_ALPHA = 1 << 7;
inline constexpr A_long PF_OutFlag2_SUPPORTS_SMART_RENDER = 1 << 10;
inline constexpr A_long PF_OutFlag2_FLOAT_COLOR_AWARE = 1 << 12;
inline constexpr A_long PF_OutFlag2_AUTOMATIC_WIDE_TIME_INPUT = 1 << 17;
inline constexpr A_long PF_OutFlag2_I_USE_TIMECODE = 1 << 18;
inline constexpr A_long PF_OutFlag2_I_MIX_GUID_DEPENDENCIES = 1 << 21;
inline constexpr A_long PF_OutFlag2_SUPPORTS_GET_FLATTENED_SEQUENCE_DATA = 1 << 23;
inline constexpr A_long PF_OutFlag2_SUPPORTS_GPU_RENDER_F32 = 1 << 25;
inline constexpr A_long PF_OutFlag2_SUPPORTS_THREADED_RENDERING = 1 << 27;
inline constexpr A_long PF_OutFlag2_MUTABLE_RENDER_SEQUENCE_DATA_SLOWER = 1 << 28;

inline constexpr A_long PF_ParamFlag_CANNOT_TIME_VARY = 1 << 1;
inline constexpr A_long PF_ParamFlag_CANNOT_INTERP = 1 << 2;
inline constexpr A_long PF_ParamFlag_START_COLLAPSED = 1 << 5;
inline constexpr A_long PF_ParamFlag_SUPERVISE = 1 << 6;
inline constexpr A_long PF_ParamFlag_USE_VALUE_FOR_OLD_PROJECTS = 1 << 7;
inline constexpr A_long PF_ParamFlag_EXCLUDE_FROM_HAVE_INPUTS_CHANGED = 1 << 8;

inline constexpr A_long PF_PUI_TOPIC = 1 << 0;
inline constexpr A_long PF_PUI_CONTROL = 1 << 1;
inline constexpr A_long PF_PUI_STD_CONTROL_ONLY = 1 << 2;
inline constexpr A_long PF_PUI_NO_ECW_UI = 1 << 3;
inline constexpr A_long PF_PUI_DISABLED = 1 << 5;
inline constexpr A_long PF_PUI_INVISIBLE = 1 << 9;

inline constexpr A_long PF_ChangeFlag_CHANGED_VALUE = 1 << 0;

/// In SEQUENCE_RESETUP: the project is opened to be rendered, without a screen.
inline constexpr A_long PF_InFlag_PROJECT_IS_RENDER_ONLY = 1 << 0;

inline constexpr A_short PF_ValueDisplayFlag_PERCENT = 1;
inline constexpr A_short PF_ValueDisplayFlag_PIXEL = 2;
inline constexpr A_short PF_ValueDisplayFlag_REVERSE = 8;

// ---- Compositing ----

using PF_TransferMode = std::int32_t;
inline constexpr PF_TransferMode PF_Xfer_NONE = -1;
inline constexpr PF_TransferMode PF_Xfer_COPY = 0;
inline constexpr PF_TransferMode PF_Xfer_BEHIND = 1;
inline constexpr PF_TransferMode PF_Xfer_IN_FRONT = 2;
inline constexpr PF_TransferMode PF_Xfer_DISSOLVE = 3;
inline constexpr PF_TransferMode PF_Xfer_ADD = 4;
inline constexpr PF_TransferMode PF_Xfer_MULTIPLY = 5;
inline constexpr PF_TransferMode PF_Xfer_SCREEN = 6;
inline constexpr PF_TransferMode PF_Xfer_OVERLAY = 7;
inline constexpr PF_TransferMode PF_Xfer_SOFT_LIGHT = 8;
inline constexpr PF_TransferMode PF_Xfer_HARD_LIGHT = 9;
inline constexpr PF_TransferMode PF_Xfer_DARKEN = 10;
inline constexpr PF_TransferMode PF_Xfer_LIGHTEN = 11;
inline constexpr PF_TransferMode PF_Xfer_DIFFERENCE = 12;
inline constexpr PF_TransferMode PF_Xfer_HUE = 13;
inline constexpr PF_TransferMode PF_Xfer_SATURATION = 14;
inline constexpr PF_TransferMode PF_Xfer_COLOR = 15;
inline constexpr PF_TransferMode PF_Xfer_LUMINOSITY = 16;
inline constexpr PF_TransferMode PF_Xfer_MULTIPLY_ALPHA = 17;
inline constexpr PF_TransferMode PF_Xfer_MULTIPLY_ALPHA_LUMA = 18;
inline constexpr PF_TransferMode PF_Xfer_MULTIPLY_NOT_ALPHA = 19;
inline constexpr PF_TransferMode PF_Xfer_MULTIPLY_NOT_ALPHA_LUMA = 20;
inline constexpr PF_TransferMode PF_Xfer_ADDITIVE_PREMUL = 21;
inline constexpr PF_TransferMode PF_Xfer_ALPHA_ADD = 22;
inline constexpr PF_TransferMode PF_Xfer_COLOR_DODGE = 23;
inline constexpr PF_TransferMode PF_Xfer_COLOR_BURN = 24;
inline constexpr PF_TransferMode PF_Xfer_EXCLUSION = 25;
inline constexpr PF_TransferMode PF_Xfer_DIFFERENCE2 = 26;
inline constexpr PF_TransferMode PF_Xfer_COLOR_DODGE2 = 27;
inline constexpr PF_TransferMode PF_Xfer_COLOR_BURN2 = 28;
inline constexpr PF_TransferMode PF_Xfer_LINEAR_DODGE = 29;
inline constexpr PF_TransferMode PF_Xfer_LINEAR_BURN = 30;
inline constexpr PF_TransferMode PF_Xfer_LINEAR_LIGHT = 31;
inline constexpr PF_TransferMode PF_Xfer_VIVID_LIGHT = 32;
inline constexpr PF_TransferMode PF_Xfer_PIN_LIGHT = 33;
inline constexpr PF_TransferMode PF_Xfer_HARD_MIX = 34;
inline constexpr PF_TransferMode PF_Xfer_LIGHTER_COLOR = 35;
inline constexpr PF_TransferMode PF_Xfer_DARKER_COLOR = 36;
inline constexpr PF_TransferMode PF_Xfer_SUBTRACT = 37;
inline constexpr PF_TransferMode PF_Xfer_DIVIDE = 38;

inline constexpr A_long PF_MF_Alpha_STRAIGHT = 1;
inline constexpr A_u_long PF_KernelFlag_1D = 1;
inline constexpr A_u_long PF_KernelFlag_NORMALIZED = 2;
inline constexpr A_u_long PF_KernelFlag_NO_CLAMP = 4;
inline constexpr A_u_long PF_KernelFlag_VERTICAL = 32;
inline constexpr A_long PF_MaskFlag_INVERTED = 1;
inline constexpr A_long PF_MaskFlag_LUMINANCE = 2;

/// Flags of worlds made through the first world suite and the utility table.
inline constexpr A_long PF_NewWorldFlag_CLEAR_PIXELS = 1;
inline constexpr A_long PF_NewWorldFlag_DEEP_PIXELS = 2;

inline constexpr A_long PF_Iterations_ONCE_PER_PROCESSOR = -1;
/// Hue of a grey, which has none.
inline constexpr PF_Fixed PF_HUE_UNDEFINED = -2147483647 - 1;

inline constexpr A_short PF_RenderOutputFlag_RETURNS_EXTRA_PIXELS = 1;
inline constexpr A_short PF_RenderOutputFlag_GPU_RENDER_POSSIBLE = 2;

inline constexpr A_u_long PF_SampleEdgeBehav_ZERO = 0;

// ---- Versions ----

inline constexpr A_u_long PF_Stage_DEVELOP = 0;
inline constexpr A_u_long PF_Stage_ALPHA = 1;
inline constexpr A_u_long PF_Stage_BETA = 2;
inline constexpr A_u_long PF_Stage_RELEASE = 3;

/// Packs an effect version into the host's word: vers bits 19 to 21 and, what is above 7, 26 to 29;
/// subvers 15 to 18, bugfix 11 to 14, stage 9 to 10, build 0 to 8.
constexpr A_u_long PF_VERSION(A_u_long vers, A_u_long subvers, A_u_long bugfix, A_u_long stage,
                              A_u_long build) {
  return (((vers >> 3) & 15U) << 26) | ((vers & 7U) << 19) | ((subvers & 15U) << 15) |
         ((bugfix & 15U) << 11) | ((stage & 3U) << 9) | (build & 511U);
}

// ---- Limits ----

/// The version part of the word, 0 to 127.
constexpr A_u_long VersionPart(A_u_long word) {
  return ((word >> 19) & 7U) | (((word >> 26) & 15U) << 3);
}

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

/// Whether a rectangle holds no pixel.
constexpr bool IsEmpty(const PF_LRect& rect) {
  return rect.left >= rect.right || rect.top >= rect.bottom;
}

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
