// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Calls about arbitrary data. Results are zeroed before each, since effects that know only some of
// them succeed without setting any.

#include "host/session/arbitrary_values.h"

#include <algorithm>

#include "host/base/error_names.h"

namespace veltra::host {
namespace {

/// More than any value takes; a size beyond it is a result that was never set.
constexpr A_u_long kMostBytes = 1U << 30;

Failure Refused(const char* what, PF_Err error) {
  return {std::string("the effect failed to ") + what + " its arbitrary data: " +
          (error != PF_Err_NONE ? ErrorName(error) : "it left the result unset")};
}

PF_ArbParamsExtra Extra(PF_ArbitraryFunction which) {
  PF_ArbParamsExtra extra{};
  extra.which_function = which;
  return extra;
}

}  // namespace

PF_Err ArbitraryCalls::Call(PF_ArbParamsExtra& extra) const {
  const PF_ArbitraryDef& declared = control_.raw.u.arb_d;
  extra.id = declared.id;
  extra.u.new_func_params.refconPV = declared.refconPV;  // the first field of every member
  PF_InData inData = inData_;
  PF_OutData outData{};
  outData.global_data = inData.global_data;
  outData.sequence_data = inData.sequence_data;
  try {
    return entry_(PF_Cmd_ARBITRARY_CALLBACK, &inData, &outData, nullptr, nullptr, &extra);
  } catch (...) {
    return PF_Err_INTERNAL_STRUCT_DAMAGED;
  }
}

Expected<PF_Handle> ArbitraryCalls::CallForValue(PF_ArbParamsExtra& extra, const PF_Handle& result,
                                                 const char* what) const {
  const PF_Err error = Call(extra);
  if (error != PF_Err_NONE || result == nullptr) {
    return Refused(what, error);
  }
  return result;
}

Expected<FlatValue> ArbitraryCalls::Flatten(PF_Handle value) const {
  A_u_long size = 0;
  PF_ArbParamsExtra sizing = Extra(PF_Arbitrary_FLAT_SIZE_FUNC);
  sizing.u.flat_size_func_params.arbH = value;
  sizing.u.flat_size_func_params.flat_data_sizePLu = &size;
  if (const PF_Err error = Call(sizing); error != PF_Err_NONE || size == 0 || size > kMostBytes) {
    return Refused("size", error);
  }
  FlatValue flat(size);
  PF_ArbParamsExtra flattening = Extra(PF_Arbitrary_FLATTEN_FUNC);
  flattening.u.flatten_func_params.arbH = value;
  flattening.u.flatten_func_params.buf_sizeLu = size;
  flattening.u.flatten_func_params.flat_dataPV = flat.data();
  if (const PF_Err error = Call(flattening)) {
    return Refused("flatten", error);
  }
  return flat;
}

Expected<PF_Handle> ArbitraryCalls::Unflatten(const FlatValue& flat) const {
  PF_Handle value = nullptr;
  PF_ArbParamsExtra extra = Extra(PF_Arbitrary_UNFLATTEN_FUNC);
  extra.u.unflatten_func_params.buf_sizeLu = static_cast<A_u_long>(flat.size());
  extra.u.unflatten_func_params.flat_dataPV = flat.data();
  extra.u.unflatten_func_params.arbPH = &value;
  return CallForValue(extra, value, "unflatten");
}

Expected<PF_Handle> ArbitraryCalls::Copy(PF_Handle source) const {
  PF_Handle value = nullptr;
  PF_ArbParamsExtra extra = Extra(PF_Arbitrary_COPY_FUNC);
  extra.u.copy_func_params.src_arbH = source;
  extra.u.copy_func_params.dst_arbPH = &value;
  return CallForValue(extra, value, "copy");
}

Expected<PF_Handle> ArbitraryCalls::Interpolate(PF_Handle left, PF_Handle right, double t) const {
  PF_Handle value = nullptr;
  PF_ArbParamsExtra extra = Extra(PF_Arbitrary_INTERP_FUNC);
  extra.u.interp_func_params.left_arbH = left;
  extra.u.interp_func_params.right_arbH = right;
  extra.u.interp_func_params.tF = t;
  extra.u.interp_func_params.interpPH = &value;
  return CallForValue(extra, value, "interpolate");
}

Expected<A_long> ArbitraryCalls::Compare(PF_Handle a, PF_Handle b) const {
  A_long result = -1;
  PF_ArbParamsExtra extra = Extra(PF_Arbitrary_COMPARE_FUNC);
  extra.u.compare_func_params.a_arbH = a;
  extra.u.compare_func_params.b_arbH = b;
  extra.u.compare_func_params.compareP = &result;
  if (const PF_Err error = Call(extra); error != PF_Err_NONE || result < 0) {
    return Refused("compare", error);
  }
  return result;
}

Expected<std::string> ArbitraryCalls::Print(PF_Handle value) const {
  A_u_long size = 0;
  PF_ArbParamsExtra sizing = Extra(PF_Arbitrary_PRINT_SIZE_FUNC);
  sizing.u.print_size_func_params.arbH = value;
  sizing.u.print_size_func_params.print_sizePLu = &size;
  if (const PF_Err error = Call(sizing); error != PF_Err_NONE || size == 0 || size > kMostBytes) {
    return Refused("print", error);
  }
  std::string text(std::size_t{size} + 1, '\0');
  PF_ArbParamsExtra printing = Extra(PF_Arbitrary_PRINT_FUNC);
  printing.u.print_func_params.arbH = value;
  printing.u.print_func_params.print_sizeLu = size;
  printing.u.print_func_params.print_bufferPC = text.data();
  if (const PF_Err error = Call(printing)) {
    return Refused("print", error);
  }
  text.resize(std::min<std::size_t>(text.find('\0'), size));
  return text;
}

Expected<PF_Handle> ArbitraryCalls::Scan(const std::string& text) const {
  PF_Handle value = nullptr;
  PF_ArbParamsExtra extra = Extra(PF_Arbitrary_SCAN_FUNC);
  extra.u.scan_func_params.bufPC = text.c_str();
  extra.u.scan_func_params.bytes_to_scanLu = static_cast<A_u_long>(text.size());
  extra.u.scan_func_params.arbPH = &value;
  return CallForValue(extra, value, "read the text of");
}

void ArbitraryCalls::Dispose(PF_Handle value) const {
  PF_ArbParamsExtra extra = Extra(PF_Arbitrary_DISPOSE_FUNC);
  extra.u.dispose_func_params.arbH = value;
  if (value != nullptr) {
    Call(extra);
  }
}

}  // namespace veltra::host
