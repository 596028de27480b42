// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What ARBITRARY_CALLBACK asks an effect about values that only the effect understands.
#pragma once

#include "host_api/types.h"

namespace veltra {

using PF_ArbitraryFunction = std::int32_t;
inline constexpr PF_ArbitraryFunction PF_Arbitrary_NEW_FUNC = 0;
inline constexpr PF_ArbitraryFunction PF_Arbitrary_DISPOSE_FUNC = 1;
inline constexpr PF_ArbitraryFunction PF_Arbitrary_COPY_FUNC = 2;
inline constexpr PF_ArbitraryFunction PF_Arbitrary_FLAT_SIZE_FUNC = 3;
inline constexpr PF_ArbitraryFunction PF_Arbitrary_FLATTEN_FUNC = 4;
inline constexpr PF_ArbitraryFunction PF_Arbitrary_UNFLATTEN_FUNC = 5;
inline constexpr PF_ArbitraryFunction PF_Arbitrary_INTERP_FUNC = 6;
inline constexpr PF_ArbitraryFunction PF_Arbitrary_COMPARE_FUNC = 7;
inline constexpr PF_ArbitraryFunction PF_Arbitrary_PRINT_SIZE_FUNC = 8;
inline constexpr PF_ArbitraryFunction PF_Arbitrary_PRINT_FUNC = 9;
inline constexpr PF_ArbitraryFunction PF_Arbitrary_SCAN_FUNC = 10;

inline constexpr A_long PF_ArbCompare_EQUAL = 0;
inline constexpr A_long PF_ArbCompare_LESS = 1;
inline constexpr A_long PF_ArbCompare_MORE = 2;
inline constexpr A_long PF_ArbCompare_NOT_EQUAL = 3;

/// The extra of ARBITRARY_CALLBACK; `which` says what member counts. Every member starts with the
/// definition's refcon.
struct PF_ArbParamsExtra {
  PF_ArbitraryFunction which_function;
  A_short id;
  A_short pad;
  union {
    struct {
      void* refconPV;
      PF_Handle* arbPH;
    } new_func_params;
    struct {
      void* refconPV;
      PF_Handle arbH;
    } dispose_func_params;
    struct {
      void* refconPV;
      PF_Handle src_arbH;
      PF_Handle* dst_arbPH;
    } copy_func_params;
    struct {
      void* refconPV;
      PF_Handle arbH;
      A_u_long* flat_data_sizePLu;
    } flat_size_func_params;
    struct {
      void* refconPV;
      PF_Handle arbH;
      A_u_long buf_sizeLu;
      void* flat_dataPV;
    } flatten_func_params;
    struct {
      void* refconPV;
      A_u_long buf_sizeLu;
      const void* flat_dataPV;
      PF_Handle* arbPH;
    } unflatten_func_params;
    struct {
      void* refconPV;
      PF_Handle left_arbH;
      PF_Handle right_arbH;
      A_FpLong tF;
      PF_Handle* interpPH;
    } interp_func_params;
    struct {
      void* refconPV;
      PF_Handle a_arbH;
      PF_Handle b_arbH;
      A_long* compareP;
    } compare_func_params;
    struct {
      void* refconPV;
      PF_Handle arbH;
      A_u_long* print_sizePLu;
    } print_size_func_params;
    struct {
      void* refconPV;
      A_long print_flags;
      PF_Handle arbH;
      A_u_long print_sizeLu;
      A_char* print_bufferPC;
    } print_func_params;
    struct {
      void* refconPV;
      const A_char* bufPC;
      A_u_long bytes_to_scanLu;
      PF_Handle* arbPH;
    } scan_func_params;
  } u;
};

/// The extra of USER_CHANGED_PARAM.
struct PF_UserChangedParamExtra {
  PF_ParamIndex param_index;
};

/// The extra of GET_EXTERNAL_DEPENDENCIES; the host frees the text.
struct PF_ExtDependenciesExtra {
  A_long check_type;
  PF_Handle dependencies_strH;
};

}  // namespace veltra
