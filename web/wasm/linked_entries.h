// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The effect's two exports, where effect and host are linked into one module.
#pragma once

#include "host_api/entry_points.h"

extern "C" {

veltra::PF_Err MainEntry(veltra::PF_Cmd cmd, veltra::PF_InData* inData, veltra::PF_OutData* outData,
                         veltra::PF_ParamDef* params[], veltra::PF_LayerDef* output, void* extra);

veltra::PF_Err PluginDataEntryFunction2(void* hostPointer, veltra::PF_PluginDataCB callback,
                                        veltra::SPBasicSuite* basicSuite, const char* hostName,
                                        const char* hostVersion);

}  // extern "C"
