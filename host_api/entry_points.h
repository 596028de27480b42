// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Signatures and names of the two functions that an effect library exports.
#pragma once

#include "host_api/arbitrary.h"
#include "host_api/in_data.h"
#include "host_api/smart_render.h"

namespace veltra {

inline constexpr char kMainEntryName[] = "MainEntry";
inline constexpr char kRegistrationEntryName[] = "PluginDataEntryFunction2";
inline constexpr char kOlderRegistrationEntryName[] = "PluginDataEntryFunction";

/// Plug-in kind of an effect. Unlike the pixel formats its first character is the highest byte.
inline constexpr A_long kEffectPluginKind = 0x65464B54;

/// Command entry; `extra` is a PF_PreRenderExtra or PF_SmartRenderExtra in the smart commands.
using PF_MainEntryFn = PF_Err (*)(PF_Cmd cmd, PF_InData* inData, PF_OutData* outData,
                                  PF_ParamDef* params[], PF_LayerDef* output, void* extra);

/// Host's registration callback; all texts are zero-terminated.
using PF_PluginDataCB = PF_Err (*)(void* hostPointer, const A_u_char* name,
                                   const A_u_char* matchName, const A_u_char* category,
                                   const A_u_char* entryPoint, A_long kind, A_long apiMajor,
                                   A_long apiMinor, A_long reservedInfo,
                                   const A_u_char* supportUrl);

/// Registration entry: calls the callback once and returns its result.
using PF_PluginDataEntryFn = PF_Err (*)(void* hostPointer, PF_PluginDataCB callback,
                                        SPBasicSuite* basicSuite, const char* hostName,
                                        const char* hostVersion);

/// The older pair, which knows no support address.
using PF_OlderPluginDataCB = PF_Err (*)(void* hostPointer, const A_u_char* name,
                                        const A_u_char* matchName, const A_u_char* category,
                                        const A_u_char* entryPoint, A_long kind, A_long apiMajor,
                                        A_long apiMinor, A_long reservedInfo);
using PF_OlderPluginDataEntryFn = PF_Err (*)(void* hostPointer, PF_OlderPluginDataCB callback,
                                             SPBasicSuite* basicSuite, const char* hostName,
                                             const char* hostVersion);

}  // namespace veltra
