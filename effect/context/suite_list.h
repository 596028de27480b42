// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Every host suite that a SuiteCache has a slot for, one line for each name and version.
#pragma once

// X(type, name, version): the type is the suite's function table, type and version joined. Names
// are the host's to the letter, with its lower-case "iterate16" and "iterateFloat", the missing
// blank in "PF ColorParamSuite" and its "Asyc".
// clang-format off
#define VELTRA_SUITES(X) \
  X(AEGP_CanvasSuite, "AEGP Canvas Suite", 10) \
  X(AEGP_CanvasSuite, "AEGP Canvas Suite", 11) \
  X(AEGP_CanvasSuite, "AEGP Canvas Suite", 13) \
  X(AEGP_CanvasSuite, "AEGP Canvas Suite", 14) \
  X(AEGP_CompSuite, "AEGP Comp Suite", 4) \
  X(AEGP_CompSuite, "AEGP Comp Suite", 9) \
  X(AEGP_CompSuite, "AEGP Comp Suite", 11) \
  X(AEGP_CompSuite, "AEGP Comp Suite", 14) \
  X(AEGP_CompSuite, "AEGP Comp Suite", 15) \
  X(AEGP_CompSuite, "AEGP Comp Suite", 18) \
  X(AEGP_CompSuite, "AEGP Comp Suite", 19) \
  X(AEGP_CompSuite, "AEGP Comp Suite", 21) \
  X(AEGP_CompSuite, "AEGP Comp Suite", 25) \
  X(AEGP_DynamicStreamSuite, "AEGP Dynamic Stream Suite", 2) \
  X(AEGP_DynamicStreamSuite, "AEGP Dynamic Stream Suite", 3) \
  X(AEGP_DynamicStreamSuite, "AEGP Dynamic Stream Suite", 5) \
  X(AEGP_EffectSuite, "AEGP Effect Suite", 1) \
  X(AEGP_EffectSuite, "AEGP Effect Suite", 2) \
  X(AEGP_EffectSuite, "AEGP Effect Suite", 3) \
  X(AEGP_EffectSuite, "AEGP Effect Suite", 4) \
  X(AEGP_ItemSuite, "AEGP Item Suite", 3) \
  X(AEGP_ItemSuite, "AEGP Item Suite", 7) \
  X(AEGP_ItemSuite, "AEGP Item Suite", 10) \
  X(AEGP_ItemSuite, "AEGP Item Suite", 11) \
  X(AEGP_ItemSuite, "AEGP Item Suite", 13) \
  X(AEGP_KeyframeSuite, "AEGP Keyframe Suite", 1) \
  X(AEGP_KeyframeSuite, "AEGP Keyframe Suite", 3) \
  X(AEGP_KeyframeSuite, "AEGP Keyframe Suite", 4) \
  X(AEGP_KeyframeSuite, "AEGP Keyframe Suite", 5) \
  X(AEGP_LayerMaskSuite, "AEGP Layer Mask Suite", 2) \
  X(AEGP_LayerMaskSuite, "AEGP Layer Mask Suite", 5) \
  X(AEGP_LayerMaskSuite, "AEGP Layer Mask Suite", 6) \
  X(AEGP_LayerMaskSuite, "AEGP Layer Mask Suite", 7) \
  X(AEGP_LayerSuite, "AEGP Layer Suite", 5) \
  X(AEGP_LayerSuite, "AEGP Layer Suite", 8) \
  X(AEGP_LayerSuite, "AEGP Layer Suite", 10) \
  X(AEGP_LayerSuite, "AEGP Layer Suite", 11) \
  X(AEGP_LayerSuite, "AEGP Layer Suite", 12) \
  X(AEGP_LayerSuite, "AEGP Layer Suite", 13) \
  X(AEGP_LayerSuite, "AEGP Layer Suite", 14) \
  X(AEGP_MarkerSuite, "AEGP Marker Suite", 1) \
  X(AEGP_MarkerSuite, "AEGP Marker Suite", 2) \
  X(AEGP_MarkerSuite, "AEGP Marker Suite", 3) \
  X(AEGP_MaskOutlineSuite, "AEGP Mask Outline Suite", 2) \
  X(AEGP_MaskOutlineSuite, "AEGP Mask Outline Suite", 3) \
  X(AEGP_MaskOutlineSuite, "AEGP Mask Outline Suite", 5) \
  X(AEGP_RenderSuite, "AEGP Render Suite", 1) \
  X(AEGP_RenderSuite, "AEGP Render Suite", 2) \
  X(AEGP_RenderSuite, "AEGP Render Suite", 3) \
  X(AEGP_RenderSuite, "AEGP Render Suite", 5) \
  X(AEGP_RenderSuite, "AEGP Render Suite", 8) \
  X(AEGP_StreamSuite, "AEGP Stream Suite", 4) \
  X(AEGP_StreamSuite, "AEGP Stream Suite", 7) \
  X(AEGP_StreamSuite, "AEGP Stream Suite", 8) \
  X(AEGP_StreamSuite, "AEGP Stream Suite", 9) \
  X(AEGP_StreamSuite, "AEGP Stream Suite", 10) \
  X(AEGP_StreamSuite, "AEGP Stream Suite", 11) \
  X(AEGP_UtilitySuite, "AEGP Utility Suite", 3) \
  X(AEGP_UtilitySuite, "AEGP Utility Suite", 7) \
  X(AEGP_UtilitySuite, "AEGP Utility Suite", 10) \
  X(AEGP_UtilitySuite, "AEGP Utility Suite", 11) \
  X(AEGP_UtilitySuite, "AEGP Utility Suite", 13) \
  X(PF_AEAppSuite, "PF AE App Suite", 1) \
  X(PF_AEAppSuite, "PF AE App Suite", 6) \
  X(PF_AEAppSuite, "PF AE App Suite", 7) \
  X(PF_ColorSettingsSuite, "PF Color Settings Suite", 1) \
  X(PF_ColorSettingsSuite, "PF Color Settings Suite", 3) \
  X(PF_ColorSettingsSuite, "PF Color Settings Suite", 4) \
  X(PF_ColorSettingsSuite, "PF Color Settings Suite", 5) \
  X(PF_Iterate8Suite, "PF Iterate8 Suite", 1) \
  X(PF_Iterate8Suite, "PF Iterate8 Suite", 2) \
  X(PF_Iterate16Suite, "PF iterate16 Suite", 1) \
  X(PF_Iterate16Suite, "PF iterate16 Suite", 2) \
  X(PF_iterateFloatSuite, "PF iterateFloat Suite", 1) \
  X(PF_iterateFloatSuite, "PF iterateFloat Suite", 2) \
  X(PF_WorldSuite, "PF World Suite", 1) \
  X(PF_WorldSuite, "PF World Suite", 2) \
  X(AEGP_CollectionSuite, "AEGP Collection Suite", 1) \
  X(AEGP_CollectionSuite, "AEGP Collection Suite", 2) \
  X(AEGP_LayerRenderOptionsSuite, "AEGP Layer Render Options Suite", 1) \
  X(AEGP_LayerRenderOptionsSuite, "AEGP Layer Render Options Suite", 2) \
  X(AEGP_LightSuite, "AEGP Light Suite", 1) \
  X(AEGP_LightSuite, "AEGP Light Suite", 2) \
  X(AEGP_PersistentDataSuite, "AEGP Persistent Data Suite", 3) \
  X(AEGP_PersistentDataSuite, "AEGP Persistent Data Suite", 4) \
  X(AEGP_ProjSuite, "AEGP Proj Suite", 8) \
  X(AEGP_ProjSuite, "AEGP Proj Suite", 9) \
  X(AEGP_RenderOptionsSuite, "AEGP Render Options Suite", 1) \
  X(AEGP_RenderOptionsSuite, "AEGP Render Options Suite", 2) \
  X(AEGP_RenderQueueItemSuite, "AEGP Render Queue Item Suite", 3) \
  X(AEGP_RenderQueueItemSuite, "AEGP Render Queue Item Suite", 4) \
  X(AEGP_WorldSuite, "AEGP World Suite", 2) \
  X(AEGP_WorldSuite, "AEGP World Suite", 3) \
  X(PF_AEAdvAppSuite, "PF AE Adv App Suite", 1) \
  X(PF_AEAdvAppSuite, "PF AE Adv App Suite", 2) \
  X(PF_EffectCustomUISuite, "PF Effect Custom UI Suite", 1) \
  X(PF_EffectCustomUISuite, "PF Effect Custom UI Suite", 2) \
  X(AE_PluginHelperSuite2, "AE Plugin Helper Suite2", 2) \
  X(AEGP_ArtisanUtilSuite, "AEGP Artisan Util Suite", 1) \
  X(AEGP_CameraSuite, "AEGP Camera Suite", 2) \
  X(AEGP_CommandSuite, "AEGP Command Suite", 1) \
  X(AEGP_CompositeSuite, "AEGP Composite Suite", 4) \
  X(AEGP_FileImportManagerSuite, "AEGP File Import Manager Suite", 3) \
  X(AEGP_FootageSuite, "AEGP Footage Suite", 11) \
  X(AEGP_IOInSuite, "AEGP IO In Suite", 5) \
  X(AEGP_IOOutSuite, "AEGP IO Out Suite", 7) \
  X(AEGP_ItemViewSuite, "AEGP Item View Suite", 1) \
  X(AEGP_MathSuite, "AEGP Math Suite", 1) \
  X(AEGP_MemorySuite, "AEGP Memory Suite", 1) \
  X(AEGP_OutputModuleSuite, "AEGP Output Module Suite", 4) \
  X(AEGP_PFInterfaceSuite, "AEGP PF Interface Suite", 1) \
  X(AEGP_QueryXformSuite, "AEGP QueryXform Suite", 4) \
  X(AEGP_RegisterSuite, "AEGP Register Suite", 6) \
  X(AEGP_RenderAsycManagerSuite, "AEGP Render Asyc Manager Suite", 1) \
  X(AEGP_RenderQueueSuite, "AEGP Render Queue Suite", 1) \
  X(AEGP_SoundDataSuite, "AEGP Sound Data Suite", 1) \
  X(AEGP_TextDocumentSuite, "AEGP Text Document Suite", 1) \
  X(AEGP_TextLayerSuite, "AEGP Text Layer Suite", 1) \
  X(AEGP_TrackerSuite, "AEGP Tracker Suite", 1) \
  X(AEGP_TrackerUtilitySuite, "AEGP Tracker Utility Suite", 1) \
  X(DRAWBOT_DrawSuite, "DRAWBOT Draw Suite", 1) \
  X(DRAWBOT_PathSuite, "DRAWBOT Path Suite", 1) \
  X(DRAWBOT_SupplierSuite, "DRAWBOT Supplier Suite", 1) \
  X(DRAWBOT_SurfaceSuite, "DRAWBOT Surface Suite", 2) \
  X(PF_AEAdvItemSuite, "PF AE Adv Item Suite", 1) \
  X(PF_AEAdvTimeSuite, "PF AE Adv Time Suite", 4) \
  X(PF_ANSISuite, "PF ANSI Suite", 1) \
  X(PF_ColorParamSuite, "PF ColorParamSuite", 1) \
  X(PF_EffectCustomUIOverlayThemeSuite, "PF Effect Custom UI Overlay Theme Suite", 1) \
  X(PF_EffectUISuite, "PF Effect UI Suite", 1) \
  X(PF_FillMatteSuite, "PF Fill Matte Suite", 2) \
  X(PF_HandleSuite, "PF Handle Suite", 2) \
  X(PF_ParamUtilsSuite, "PF Param Utils Suite", 3) \
  X(PF_PathDataSuite, "PF Path Data Suite", 1) \
  X(PF_PathQuerySuite, "PF Path Query Suite", 1) \
  X(PF_Sampling16Suite, "PF Sampling16 Suite", 1) \
  X(PF_Sampling8Suite, "PF Sampling8 Suite", 1) \
  X(PF_SamplingFloatSuite, "PF SamplingFloat Suite", 1) \
  X(PF_WorldTransformSuite, "PF World Transform Suite", 1) \
  X(SP_SuitesSuite, "SP Suites Suite", 2)
// clang-format on
