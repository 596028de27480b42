// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The smart callbacks on several threads of one effect, which ThreadSanitizer watches.

#include <atomic>
#include <thread>
#include <vector>

#include "images.h"
#include "linked_effect.h"

namespace veltra::host {
namespace {

constexpr int kThreads = 4;
constexpr int kLayers = 8;

std::atomic<int> fetched{0};
std::atomic<int> refused{0};
std::atomic<int> outputs{0};

PF_Err RequestLayers(PF_InData* in, const PF_PreRenderExtra& extra) {
  const PF_RenderRequest request = extra.input->output_request;
  extra.output->result_rect = request.rect;
  extra.output->max_result_rect = request.rect;
  for (A_long id = 0; id < kLayers; ++id) {
    PF_CheckoutResult result{};
    if (PF_Err error = extra.cb->checkout_layer(in->effect_ref, 0, id, &request, in->current_time,
                                                in->time_step, in->time_scale, &result)) {
      return error;
    }
  }
  return PF_Err_NONE;
}

/// Every thread wants every layer, and the output besides.
PF_Err FetchOnThreads(PF_InData* in, const PF_SmartRenderExtra& extra) {
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([in, &extra] {
      for (A_long id = 0; id < kLayers; ++id) {
        PF_EffectWorld* world = nullptr;
        const bool mine =
            extra.cb->checkout_layer_pixels(in->effect_ref, id, &world) == PF_Err_NONE;
        ++(mine ? fetched : refused);
        PF_EffectWorld* output = nullptr;
        outputs += extra.cb->checkout_output(in->effect_ref, &output) == PF_Err_NONE ? 1 : 0;
        if (mine) {
          extra.cb->checkin_layer_pixels(in->effect_ref, id);
        }
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  return PF_Err_NONE;
}

PF_Err ThreadedEffect(PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef**, PF_LayerDef*,
                      void* extra) {
  switch (cmd) {
    case PF_Cmd_GLOBAL_SETUP:
      out->out_flags2 = PF_OutFlag2_SUPPORTS_SMART_RENDER;
      return PF_Err_NONE;
    case PF_Cmd_PARAMS_SETUP:
      out->num_params = 1;
      return PF_Err_NONE;
    case PF_Cmd_SMART_PRE_RENDER:
      return RequestLayers(in, *static_cast<PF_PreRenderExtra*>(extra));
    case PF_Cmd_SMART_RENDER:
      return FetchOnThreads(in, *static_cast<PF_SmartRenderExtra*>(extra));
    default:
      return PF_Err_NONE;
  }
}

TEST(SmartCallbacks, GiveEachLayerOnceHoweverManyThreadsAsk) {
  const auto effect = LoadLinked(&ThreadedEffect);
  ASSERT_NE(effect, nullptr);
  const World input = RandomWorld<PF_Pixel8>(16, 8, 1);
  RenderSettings settings = FrameOf(16, 8);
  settings.input = &input;
  fetched = refused = outputs = 0;
  const RenderResult result = RenderFrame(*effect, settings);
  ASSERT_TRUE(result.Ok()) << result.errorText;
  EXPECT_EQ(fetched, kLayers);
  EXPECT_EQ(refused, kLayers * (kThreads - 1));
  EXPECT_GT(outputs, 0);
  EXPECT_EQ(result.diagnostics.layerCheckouts, kLayers);
  EXPECT_EQ(result.diagnostics.layerCheckins, kLayers);
}

}  // namespace
}  // namespace veltra::host
