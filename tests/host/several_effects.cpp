// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A library of two effects and something else; or of one, without registration or with the older
// one.

#include <cstring>

#include "host_api/entry_points.h"
#include "numerics/compiler.h"

namespace {

using namespace veltra;  // NOLINT(google-build-using-namespace): the interface's names

PF_Err Answer(PF_Cmd cmd, PF_OutData* out, const char* about) {
  if (cmd == PF_Cmd_ABOUT) {
    std::strcpy(out->return_msg, about);
  } else if (cmd == PF_Cmd_GLOBAL_SETUP) {
    out->my_version = PF_VERSION(1, 0, 0, PF_Stage_RELEASE, 0);
  } else if (cmd == PF_Cmd_PARAMS_SETUP) {
    out->num_params = 1;
  }
  return PF_Err_NONE;
}

}  // namespace

#ifdef VELTRA_UNREGISTERED

extern "C" VELTRA_EXPORT PF_Err EffectMain(PF_Cmd cmd, PF_InData*, PF_OutData* out, PF_ParamDef**,
                                           PF_LayerDef*, void*) {
  return Answer(cmd, out, "unregistered");
}

#elif defined(VELTRA_OLDER)

extern "C" VELTRA_EXPORT PF_Err MainEntry(PF_Cmd cmd, PF_InData*, PF_OutData* out, PF_ParamDef**,
                                          PF_LayerDef*, void*) {
  return Answer(cmd, out, "older");
}

extern "C" VELTRA_EXPORT PF_Err PluginDataEntryFunction(void* host, PF_OlderPluginDataCB callback,
                                                        SPBasicSuite*, const char*, const char*) {
  const auto text = [](const char* bytes) { return reinterpret_cast<const A_u_char*>(bytes); };
  return callback(host, text("Test Older"), text("Test Older"), text("Tests"), text(kMainEntryName),
                  kEffectPluginKind, 12, 12, 8);
}

#else

extern "C" VELTRA_EXPORT PF_Err First(PF_Cmd cmd, PF_InData*, PF_OutData* out, PF_ParamDef**,
                                      PF_LayerDef*, void*) {
  return Answer(cmd, out, "the first");
}

extern "C" VELTRA_EXPORT PF_Err Second(PF_Cmd cmd, PF_InData*, PF_OutData* out, PF_ParamDef**,
                                       PF_LayerDef*, void*) {
  return Answer(cmd, out, "the second");
}

extern "C" VELTRA_EXPORT PF_Err PluginDataEntryFunction2(void* host, PF_PluginDataCB callback,
                                                         SPBasicSuite*, const char*, const char*) {
  const auto text = [](const char* bytes) { return reinterpret_cast<const A_u_char*>(bytes); };
  const auto add = [&](const char* name, const char* entry, A_long kind) {
    return callback(host, text(name), text(name), text("Tests"), text(entry), kind, 13, 28, 8,
                    text(""));
  };
  constexpr A_long kProjectPlugIn = 0x41456778;  // 'AEgx'
  PF_Err error = add("Test One", "First", kEffectPluginKind);
  error = error != PF_Err_NONE ? error : add("Test Project", "Project", kProjectPlugIn);
  return error != PF_Err_NONE ? error : add("Test Two", "Second", kEffectPluginKind);
}

#endif
