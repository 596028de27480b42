// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The exported registration entry: tells a scanning host who the effect is.

#include "effect/entry/identity.h"
#include "host_api/entry_points.h"
#include "numerics/compiler.h"

namespace veltra {
namespace {

constexpr A_long kReservedInfo = 8;

/// The host takes its texts as unsigned bytes.
const A_u_char* HostText(const char* text) {
  return reinterpret_cast<const A_u_char*>(text);
}

}  // namespace
}  // namespace veltra

extern "C" VELTRA_EXPORT veltra::PF_Err PluginDataEntryFunction2(
    void* hostPointer, veltra::PF_PluginDataCB callback, veltra::SPBasicSuite* /*basicSuite*/,
    const char* /*hostName*/, const char* /*hostVersion*/) {
  using veltra::HostText;
  if (callback == nullptr) {
    return veltra::PF_Err_BAD_CALLBACK_PARAM;
  }
  try {
    return callback(hostPointer, HostText(VELTRA_DISPLAY_NAME), HostText(VELTRA_MATCH_NAME),
                    HostText(VELTRA_CATEGORY), HostText(VELTRA_ENTRY_POINT),
                    veltra::kEffectPluginKind, VELTRA_API_MAJOR, VELTRA_API_MINOR,
                    veltra::kReservedInfo, HostText(VELTRA_SUPPORT_URL));
  } catch (...) {
    // A callback that throws is the host's own fault; it still must not unwind through C.
    return veltra::PF_Err_BAD_CALLBACK_PARAM;
  }
}
