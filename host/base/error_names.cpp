// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The table of error names.

#include "host/base/error_names.h"

namespace veltra::host {

std::string ErrorName(PF_Err error) {
  switch (error) {
    case PF_Err_NONE:
      return "PF_Err_NONE";
    case PF_Err_OUT_OF_MEMORY:
      return "PF_Err_OUT_OF_MEMORY";
    case PF_Err_INTERNAL_STRUCT_DAMAGED:
      return "PF_Err_INTERNAL_STRUCT_DAMAGED";
    case PF_Err_INVALID_INDEX:
      return "PF_Err_INVALID_INDEX";
    case PF_Err_UNRECOGNIZED_PARAM_TYPE:
      return "PF_Err_UNRECOGNIZED_PARAM_TYPE";
    case PF_Err_INVALID_CALLBACK:
      return "PF_Err_INVALID_CALLBACK";
    case PF_Err_BAD_CALLBACK_PARAM:
      return "PF_Err_BAD_CALLBACK_PARAM";
    case PF_Interrupt_CANCEL:
      return "PF_Interrupt_CANCEL";
    case PF_Err_CANNOT_PARSE_KEYFRAME_TEXT:
      return "PF_Err_CANNOT_PARSE_KEYFRAME_TEXT";
    case A_Err_MISSING_SUITE:
      return "A_Err_MISSING_SUITE";
    default:
      return "unknown error " + std::to_string(error);
  }
}

}  // namespace veltra::host
