// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What ordinary effects rely on around their commands: values, times, sizes, handles, sequences.

#include <cstring>
#include <mutex>

#include "host/pixels/transfer.h"
#include "host_api/suites.h"
#include "images.h"
#include "linked_effect.h"

namespace veltra::host {
namespace {

void AddControl(PF_InData* in, PF_ParamType type, const std::function<void(PF_ParamDef&)>& fill) {
  PF_ParamDef param;
  // Fields of other types hold whatever was there before.
  std::memset(static_cast<void*>(&param), 0x5A, sizeof param);
  param.param_type = type;
  param.flags = 0;
  param.name[0] = '\0';
  fill(param);
  EXPECT_EQ(in->inter.add_param(in->effect_ref, -1, &param), PF_Err_NONE);
}

void AddEveryType(PF_InData* in, PF_OutData* out) {
  AddControl(in, PF_Param_SLIDER, [](PF_ParamDef& p) { p.u.sd.dephault = 7; });
  AddControl(in, PF_Param_FIX_SLIDER, [](PF_ParamDef& p) { p.u.fd.dephault = 7 << 16; });
  AddControl(in, PF_Param_ANGLE, [](PF_ParamDef& p) { p.u.ad.dephault = 725 << 16; });
  AddControl(in, PF_Param_CHECKBOX, [](PF_ParamDef& p) {
    p.u.bd.dephault = 1;
    p.u.bd.u.nameptr = nullptr;
  });
  AddControl(in, PF_Param_COLOR, [](PF_ParamDef& p) { p.u.cd.dephault = {255, 1, 2, 3}; });
  AddControl(in, PF_Param_POPUP, [](PF_ParamDef& p) {
    p.u.pd.dephault = 2;
    p.u.pd.u.namesptr = "a|b";
  });
  AddControl(in, PF_Param_FLOAT_SLIDER, [](PF_ParamDef& p) { p.u.fs_d.dephault = 0.1F; });
  AddControl(in, PF_Param_POINT_3D, [](PF_ParamDef& p) {
    p.u.point3d_d.x_dephault = 50;
    p.u.point3d_d.y_dephault = 25;
    p.u.point3d_d.z_dephault = 10;
  });
  out->num_params = 9;
}

TEST(OrdinaryEffects, GetEveryValueFromItsDefaultWhenNobodySetsIt) {
  const auto effect = LoadScripted(
      [](PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef** params, PF_LayerDef*, void*) {
        if (cmd == PF_Cmd_PARAMS_SETUP) {
          AddEveryType(in, out);
        } else if (cmd == PF_Cmd_RENDER) {
          EXPECT_EQ(params[1]->u.sd.value, 7);
          EXPECT_EQ(params[2]->u.fd.value, 7 << 16);
          EXPECT_EQ(params[3]->u.ad.value, 725 << 16);
          EXPECT_EQ(params[4]->u.bd.value, 1);
          EXPECT_EQ(params[5]->u.cd.value.blue, 3);
          EXPECT_EQ(params[6]->u.pd.value, 2);
          EXPECT_EQ(params[7]->u.fs_d.value, static_cast<double>(0.1F));
          EXPECT_EQ(params[8]->u.point3d_d.x_value, 10);
          EXPECT_EQ(params[8]->u.point3d_d.z_value, 1);
          EXPECT_EQ(params[9], nullptr) << "the list ends with null";
          EXPECT_EQ(in->appl_id, 0x46585443);
        }
        return PF_Err_NONE;
      });
  ASSERT_NE(effect, nullptr);
  const RenderResult result = RenderFrame(*effect, FrameOf(20, 10, RenderMode::kClassic));
  EXPECT_TRUE(result.Ok()) << result.errorText;
}

TEST(OrdinaryEffects, GrowTheirOutputWithoutLosingItsBorderOrItsPlace) {
  const auto effect = LoadScripted(
      [](PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef**, PF_LayerDef* output, void*) {
        if (cmd == PF_Cmd_GLOBAL_SETUP) {
          out->out_flags = PF_OutFlag_I_EXPAND_BUFFER;
        } else if (cmd == PF_Cmd_FRAME_SETUP) {
          EXPECT_EQ(out->width, 6) << "left alone it means the input's size";
          out->width += 4;
          out->height += 4;
          out->origin = {2, 1};
        } else if (cmd == PF_Cmd_RENDER) {
          EXPECT_EQ(output->width, 10);
          EXPECT_EQ(output->height, 9);
          EXPECT_EQ(in->output_origin_x, 2);
          // The pixel where the input's first one lies.
          *(static_cast<PF_Pixel8*>(output->data) + 2 + output->rowbytes / 4) = {255, 9, 9, 9};
          *static_cast<PF_Pixel8*>(output->data) = {255, 1, 1, 1};
        }
        return PF_Err_NONE;
      });
  ASSERT_NE(effect, nullptr);
  RenderSettings settings = FrameOf(6, 5, RenderMode::kClassic);
  EXPECT_EQ(RenderFrame(*effect, settings).output.Row<PF_Pixel8>(0)[0].red, 9);
  settings.region = PF_LRect{-2, -1, 8, 8};
  const RenderResult grown = RenderFrame(*effect, settings);
  ASSERT_TRUE(grown.Ok()) << grown.errorText;
  EXPECT_EQ(grown.output.Row<PF_Pixel8>(0)[0].red, 1);
  EXPECT_EQ(grown.output.Row<PF_Pixel8>(1)[2].red, 9);
}

TEST(OrdinaryEffects, ReadParametersAndLayersAtTheTimeTheyAskFor) {
  PF_Fixed valueThen = 0;
  int redThen = 0;
  const auto effect = LoadScripted(
      [&](PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef**, PF_LayerDef*, void*) {
        if (cmd == PF_Cmd_PARAMS_SETUP) {
          AddControl(in, PF_Param_FIX_SLIDER, [](PF_ParamDef& p) { p.u.fd.dephault = 0; });
          AddControl(in, PF_Param_LAYER, [](PF_ParamDef& p) { p.u.ld.dephault = 0; });
          out->num_params = 3;
        } else if (cmd == PF_Cmd_RENDER) {
          PF_ParamDef then{};
          in->inter.checkout_param(in->effect_ref, 1, -3, 1, 10, &then);
          valueThen = then.u.fd.value;
          in->inter.checkout_param(in->effect_ref, 0, -3, 1, 10, &then);
          redThen = then.u.ld.data != nullptr ? static_cast<PF_Pixel8*>(then.u.ld.data)->red : -1;
        }
        return PF_Err_NONE;
      });
  ASSERT_NE(effect, nullptr);
  const World now = MakeWorld(4, 4, Depth::k8);
  RenderSettings settings = FrameOf(4, 4, RenderMode::kClassic);
  settings.input = &now;
  settings.currentTime = 5;
  settings.timeScale = 25;
  settings.controlAt = [](PF_ParamIndex, A_long time, A_u_long scale) {
    return ControlValue{static_cast<A_long>(time * 65536LL / scale), 0};
  };
  settings.layerAt = [](PF_ParamIndex, A_long time,
                        A_u_long) -> Expected<std::shared_ptr<const World>> {
    auto then = std::make_shared<World>(MakeWorld(4, 4, Depth::k8));
    then->Row<PF_Pixel8>(0)[0] = {255, static_cast<A_u_char>(100 + time), 0, 0};
    return std::shared_ptr<const World>(then);
  };
  ASSERT_TRUE(RenderFrame(*effect, settings).Ok());
  EXPECT_EQ(valueThen, -3 * 65536 / 10);
  EXPECT_EQ(redThen, 97);
  settings.layerAt = [](PF_ParamIndex, A_long, A_u_long) -> Expected<std::shared_ptr<const World>> {
    return Failure{"frame -1 cannot be read"};
  };
  EXPECT_EQ(RenderFrame(*effect, settings).errorText, "frame -1 cannot be read");
}

TEST(OrdinaryEffects, SeeTransparentPixelsOutsideOfTheFootageAndNoneWithoutALayer) {
  std::string seen;
  std::vector<A_long> wideness;
  const auto effect = LoadScripted(
      [&](PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef**, PF_LayerDef*, void*) {
        if (cmd == PF_Cmd_PARAMS_SETUP) {
          AddControl(in, PF_Param_LAYER, [](PF_ParamDef& p) { p.u.ld.dephault = 0; });
          AddControl(in, PF_Param_LAYER, [](PF_ParamDef& p) { p.u.ld.dephault = 0; });
          AddControl(in, PF_Param_LAYER, [](PF_ParamDef& p) { p.u.ld.dephault = 0; });
          out->num_params = 4;
        } else if (cmd == PF_Cmd_RENDER) {
          for (const PF_ParamIndex index : {0, 1, 2, 3}) {
            PF_ParamDef then{};
            in->inter.checkout_param(in->effect_ref, index, -100, 1, 24, &then);
            const PF_LayerDef& layer = then.u.ld;
            seen += layer.data == nullptr ? "none " : std::to_string(layer.width) + " ";
            wideness.push_back(layer.pix_aspect_ratio.num);
            if (layer.data != nullptr) {
              EXPECT_EQ(static_cast<PF_Pixel8*>(layer.data)->alpha, 0);
              EXPECT_TRUE(IsEmpty(layer.extent_hint));
            }
          }
        }
        return PF_Err_NONE;
      });
  ASSERT_NE(effect, nullptr);
  const World input = RandomWorld<PF_Pixel8>(6, 4, 1);
  const World layer = RandomWorld<PF_Pixel8>(3, 2, 2);
  World wide = RandomWorld<PF_Pixel8>(3, 2, 2);
  wide.SetPixelAspect({2, 1});
  RenderSettings settings = FrameOf(6, 4, RenderMode::kClassic);
  settings.input = &input;
  settings.layers[1] = &layer;
  settings.layers[3] = &wide;
  settings.layerAt = [](PF_ParamIndex, A_long, A_u_long) -> Expected<std::shared_ptr<const World>> {
    return std::shared_ptr<const World>();
  };
  ASSERT_TRUE(RenderFrame(*effect, settings).Ok());
  EXPECT_EQ(seen, "6 3 none 3 ");
  EXPECT_EQ(wideness[1], 1);
  EXPECT_EQ(wideness[3], 2) << "layers of one size are told apart";
}

TEST(OrdinaryEffects, GetPixelsOfTheirOwnWhereTheyWriteIntoTheirInput) {
  const auto effect = LoadScripted(
      [](PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef**, PF_LayerDef*, void* extra) {
        if (cmd == PF_Cmd_GLOBAL_SETUP) {
          out->out_flags = PF_OutFlag_I_WRITE_INPUT_BUFFER;
          out->out_flags2 = PF_OutFlag2_SUPPORTS_SMART_RENDER;
        } else if (cmd == PF_Cmd_SMART_PRE_RENDER) {
          auto* pre = static_cast<PF_PreRenderExtra*>(extra);
          PF_RenderRequest request = pre->input->output_request;
          PF_CheckoutResult found{};
          pre->cb->checkout_layer(in->effect_ref, 0, 0, &request, in->current_time, in->time_step,
                                  in->time_scale, &found);
          pre->output->result_rect = found.result_rect;
          pre->output->max_result_rect = found.max_result_rect;
        } else if (cmd == PF_Cmd_SMART_RENDER) {
          auto* render = static_cast<PF_SmartRenderExtra*>(extra);
          PF_EffectWorld* input = nullptr;
          PF_EffectWorld* output = nullptr;
          render->cb->checkout_layer_pixels(in->effect_ref, 0, &input);
          render->cb->checkout_output(in->effect_ref, &output);
          EXPECT_NE(input->world_flags & PF_WorldFlag_WRITEABLE, 0);
          EXPECT_EQ(input->origin_x, 1);
          static_cast<PF_Pixel8*>(input->data)->red += 1;
          return in->utils->copy(in->effect_ref, input, output, nullptr, nullptr);
        }
        return PF_Err_NONE;
      });
  ASSERT_NE(effect, nullptr);
  const World frame = RandomWorld<PF_Pixel8>(5, 4, 7);
  const World before = RandomWorld<PF_Pixel8>(5, 4, 7);
  RenderSettings settings = FrameOf(5, 4);
  settings.input = &frame;
  settings.region = PF_LRect{1, 2, 5, 4};
  const RenderResult result = RenderFrame(*effect, settings);
  ASSERT_TRUE(result.Ok()) << result.errorText;
  EXPECT_EQ(FirstDifference<PF_Pixel8>(frame, before), "");
  const PF_Pixel8& was = before.Row<PF_Pixel8>(2)[1];
  EXPECT_EQ(result.output.Row<PF_Pixel8>(0)[0].red, static_cast<A_u_char>(was.red + 1));
  EXPECT_EQ(result.output.Row<PF_Pixel8>(0)[0].blue, was.blue);
}

TEST(OrdinaryEffects, StartLayersThatDefaultToTheirOwnWithTheFrame) {
  int width = -1;
  const auto effect = LoadScripted(
      [&](PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef**, PF_LayerDef*, void*) {
        if (cmd == PF_Cmd_PARAMS_SETUP) {
          AddControl(in, PF_Param_LAYER, [](PF_ParamDef& p) { p.u.ld.dephault = -1; });
          out->num_params = 2;
        } else if (cmd == PF_Cmd_RENDER) {
          PF_ParamDef layer{};
          in->inter.checkout_param(in->effect_ref, 1, in->current_time, 1, in->time_scale, &layer);
          width = layer.u.ld.data != nullptr ? layer.u.ld.width : 0;
        }
        return PF_Err_NONE;
      });
  ASSERT_NE(effect, nullptr);
  const World input = MakeWorld(6, 4, Depth::k8);
  RenderSettings settings = FrameOf(6, 4, RenderMode::kClassic);
  settings.input = &input;
  ASSERT_TRUE(RenderFrame(*effect, settings).Ok());
  EXPECT_EQ(width, 6);
  settings.layers[1] = nullptr;  // "none" was chosen
  ASSERT_TRUE(RenderFrame(*effect, settings).Ok());
  EXPECT_EQ(width, 0);
}

TEST(OrdinaryEffects, MayLeaveAHandleAsPreRenderData) {
  const auto effect = LoadScripted(
      [](PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef**, PF_LayerDef*, void* extra) {
        if (cmd == PF_Cmd_GLOBAL_SETUP) {
          out->out_flags2 = PF_OutFlag2_SUPPORTS_SMART_RENDER;
        } else if (cmd == PF_Cmd_SMART_PRE_RENDER) {
          static_cast<PF_PreRenderExtra*>(extra)->output->pre_render_data =
              in->utils->host_new_handle(100);
        }
        return PF_Err_NONE;
      });
  ASSERT_NE(effect, nullptr);
  EXPECT_TRUE(RenderFrame(*effect, FrameOf(4, 4)).Ok());
  EXPECT_EQ(effect->Holdings()->handles, 0);
}

TEST(OrdinaryEffects, AreToldApartByWhatTheyMissed) {
  const auto effect = LoadScripted(
      [](PF_Cmd cmd, PF_InData* in, PF_OutData*, PF_ParamDef**, PF_LayerDef*, void*) -> PF_Err {
        const void* suite = &suite;
        if (cmd != PF_Cmd_RENDER) {
          return PF_Err_NONE;
        }
        EXPECT_NE(in->pica_basicP->AcquireSuite("PF Nowhere Suite", 9, &suite), 0);
        EXPECT_EQ(suite, nullptr);
        return A_Err_MISSING_SUITE;
      });
  ASSERT_NE(effect, nullptr);
  const RenderResult result = RenderFrame(*effect, FrameOf(4, 4, RenderMode::kClassic));
  EXPECT_NE(result.errorText.find("the suite \"PF Nowhere Suite\" version 9"), std::string::npos)
      << result.errorText;
  ASSERT_EQ(result.diagnostics.missing.size(), 1U);
}

TEST(OrdinaryEffects, ThatOnlyFilterSoundAreRefusedAPicture) {
  const auto effect =
      LoadScripted([](PF_Cmd cmd, PF_InData*, PF_OutData* out, PF_ParamDef**, PF_LayerDef*, void*) {
        out->out_flags = cmd == PF_Cmd_GLOBAL_SETUP ? PF_OutFlag_AUDIO_EFFECT_ONLY : 0;
        return PF_Err_NONE;
      });
  ASSERT_NE(effect, nullptr);
  const RenderResult result = RenderFrame(*effect, FrameOf(4, 4, RenderMode::kClassic));
  EXPECT_NE(result.errorText.find("sound only"), std::string::npos) << result.errorText;
}

// ---- Arbitrary data: one number behind a handle, flattened as text ----

PF_Handle HandleOf(PF_InData* in, int value) {
  const PF_Handle handle = in->utils->host_new_handle(sizeof value);
  std::memcpy(*handle, &value, sizeof value);
  return handle;
}

int NumberIn(PF_Handle handle) {
  int value = 0;
  std::memcpy(&value, *handle, sizeof value);
  return value;
}

PF_Err AnswerArbitrary(PF_InData* in, PF_ArbParamsExtra& extra) {
  auto& u = extra.u;
  switch (extra.which_function) {
    case PF_Arbitrary_DISPOSE_FUNC:
      in->utils->host_dispose_handle(u.dispose_func_params.arbH);
      break;
    case PF_Arbitrary_FLAT_SIZE_FUNC:
      *u.flat_size_func_params.flat_data_sizePLu = 4;
      break;
    case PF_Arbitrary_FLATTEN_FUNC:
      std::memcpy(u.flatten_func_params.flat_dataPV, *u.flatten_func_params.arbH, 4);
      break;
    case PF_Arbitrary_UNFLATTEN_FUNC: {
      int value = 0;
      std::memcpy(&value, u.unflatten_func_params.flat_dataPV, 4);
      *u.unflatten_func_params.arbPH = HandleOf(in, value);
      break;
    }
    case PF_Arbitrary_INTERP_FUNC: {
      const int left = NumberIn(u.interp_func_params.left_arbH);
      const int right = NumberIn(u.interp_func_params.right_arbH);
      const double between = left + (right - left) * u.interp_func_params.tF;
      *u.interp_func_params.interpPH = HandleOf(in, static_cast<int>(between));
      break;
    }
    case PF_Arbitrary_SCAN_FUNC:
      *u.scan_func_params.arbPH = HandleOf(in, std::atoi(u.scan_func_params.bufPC));
      break;
    default:
      break;  // succeeds without a result, as many effects do
  }
  return PF_Err_NONE;
}

TEST(OrdinaryEffects, KeepArbitraryDataThatOnlyTheyUnderstand) {
  int seen = 0;
  {
    const auto effect = LoadScripted([&](PF_Cmd cmd, PF_InData* in, PF_OutData* out,
                                         PF_ParamDef** params, PF_LayerDef*, void* extra) {
      if (cmd == PF_Cmd_PARAMS_SETUP) {
        AddControl(in, PF_Param_ARBITRARY_DATA, [in](PF_ParamDef& p) {
          p.u.arb_d.dephault = HandleOf(in, 30);
          p.u.arb_d.value = nullptr;
        });
        out->num_params = 2;
      } else if (cmd == PF_Cmd_ARBITRARY_CALLBACK) {
        return AnswerArbitrary(in, *static_cast<PF_ArbParamsExtra*>(extra));
      } else if (cmd == PF_Cmd_RENDER) {
        seen = NumberIn(params[1]->u.arb_d.value);
      }
      return PF_Err_NONE;
    });
    ASSERT_NE(effect, nullptr);
    RenderSettings settings = FrameOf(4, 4, RenderMode::kClassic);
    ASSERT_TRUE(RenderFrame(*effect, settings).Ok());
    EXPECT_EQ(seen, 30);
    const auto scanned = effect->DataFromText(1, "50");
    ASSERT_TRUE(scanned) << scanned.ErrorText();
    const auto between = effect->DataBetween(1, *effect->DefaultData(1), *scanned, 0.5);
    ASSERT_TRUE(between) << between.ErrorText();
    settings.controls[1].flat = std::make_shared<const FlatValue>(*between);
    ASSERT_TRUE(RenderFrame(*effect, settings).Ok());
    EXPECT_EQ(seen, 40);
    EXPECT_FALSE(effect->DataText(1, *scanned)) << "an unset result is no text";
    EXPECT_EQ(effect->Holdings()->handles, 1) << "only the default is left";
    script = [&](PF_Cmd cmd, PF_InData* in, PF_OutData*, PF_ParamDef**, PF_LayerDef*, void* extra) {
      return cmd == PF_Cmd_ARBITRARY_CALLBACK
                 ? AnswerArbitrary(in, *static_cast<PF_ArbParamsExtra*>(extra))
                 : PF_Err_NONE;
    };
    auto holdings = effect->Holdings();
    EXPECT_EQ(holdings->handles, 1);
  }
}

// ---- Sequence data ----

TEST(OrdinaryEffects, GetTheirSequenceDataBackFlatAndSetItUpAgain) {
  std::string course;
  int rendered = 0;
  const auto effect = LoadScripted(
      [&](PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef**, PF_LayerDef*, void*) {
        switch (cmd) {
          case PF_Cmd_GLOBAL_SETUP:
            out->out_flags = PF_OutFlag_SEQUENCE_DATA_NEEDS_FLATTENING;
            break;
          case PF_Cmd_SEQUENCE_SETUP:
            EXPECT_EQ(in->sequence_data, nullptr);
            out->sequence_data = HandleOf(in, 11);
            break;
          case PF_Cmd_SEQUENCE_FLATTEN: {
            course += "flatten ";
            const PF_Handle flat = HandleOf(in, NumberIn(in->sequence_data));
            in->utils->host_dispose_handle(in->sequence_data);
            out->sequence_data = flat;
            break;
          }
          case PF_Cmd_SEQUENCE_RESETUP:
            course += "resetup ";
            EXPECT_EQ(NumberIn(in->sequence_data), 11);
            break;
          case PF_Cmd_RENDER:
            rendered = NumberIn(in->sequence_data);
            break;
          case PF_Cmd_SEQUENCE_SETDOWN:
            in->utils->host_dispose_handle(in->sequence_data);
            out->sequence_data = nullptr;
            break;
          default:
            break;
        }
        return PF_Err_NONE;
      });
  ASSERT_NE(effect, nullptr);
  RenderSettings settings = FrameOf(4, 4, RenderMode::kClassic);
  settings.reopening = Reopening::kByFlattening;
  const RenderResult result = RenderFrame(*effect, settings);
  ASSERT_TRUE(result.Ok()) << result.errorText;
  EXPECT_EQ(course, "flatten resetup ");
  EXPECT_EQ(rendered, 11);
  EXPECT_EQ(effect->Holdings()->handles, 0);
}

void PutNumber(PF_Handle handle, int value) {
  std::memcpy(*handle, &value, sizeof value);
}

/// An effect whose sequence data is a number, with its commands written into `course`.
class FlatCopies : public testing::Test {
 protected:
  std::unique_ptr<const Effect> Load(A_long outFlags2) {
    return LoadScripted(
        [this, outFlags2](PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef** params,
                          PF_LayerDef*, void*) { return Answer(cmd, in, out, params, outFlags2); });
  }

  std::mutex mutex_;
  std::string course_;
  bool givesLive_ = false;

 private:
  PF_Err Answer(PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef** params,
                A_long outFlags2) {
    const std::lock_guard lock(mutex_);
    switch (cmd) {
      case PF_Cmd_GLOBAL_SETUP:
        out->out_flags = PF_OutFlag_SEQUENCE_DATA_NEEDS_FLATTENING;
        out->out_flags2 = outFlags2;
        break;
      case PF_Cmd_PARAMS_SETUP:
        AddControl(in, PF_Param_BUTTON, [](PF_ParamDef& p) {
          p.flags = PF_ParamFlag_SUPERVISE;
          p.u.button_d.u.namesptr = "Bake";
        });
        AddControl(in, PF_Param_SLIDER, [](PF_ParamDef& p) { p.u.sd.dephault = 7; });
        out->num_params = 3;
        break;
      case PF_Cmd_SEQUENCE_SETUP:
        course_ += "setup ";
        out->sequence_data = HandleOf(in, 11);
        break;
      case PF_Cmd_USER_CHANGED_PARAM:
        course_ += "press" + std::to_string(in->current_time) + " ";
        PutNumber(in->sequence_data, 12);
        params[2]->u.sd.value = 70;
        params[2]->uu.change_flags = PF_ChangeFlag_CHANGED_VALUE;
        break;
      case PF_Cmd_GET_FLATTENED_SEQUENCE_DATA:
        course_ += "copy ";
        if (!givesLive_) {
          out->sequence_data = HandleOf(in, NumberIn(in->sequence_data) + 100);
        }
        break;
      case PF_Cmd_SEQUENCE_FLATTEN:
        course_ += "flatten ";
        PutNumber(in->sequence_data, NumberIn(in->sequence_data) + 100);
        break;
      case PF_Cmd_SEQUENCE_RESETUP:
        course_ += "resetup" + std::to_string(NumberIn(in->sequence_data)) + " ";
        PutNumber(in->sequence_data, NumberIn(in->sequence_data) - 100);
        break;
      case PF_Cmd_RENDER:
        course_ += "render" + std::to_string(NumberIn(in->sequence_data)) + "," +
                   std::to_string(params[2]->u.sd.value) + " ";
        break;
      case PF_Cmd_SEQUENCE_SETDOWN:
        course_ += "setdown" + std::to_string(NumberIn(in->sequence_data)) + " ";
        in->utils->host_dispose_handle(in->sequence_data);
        out->sequence_data = nullptr;
        break;
      default:
        break;
    }
    return PF_Err_NONE;
  }
};

TEST_F(FlatCopies, AreAskedForWhereTheEffectGivesThem) {
  const auto effect = Load(PF_OutFlag2_SUPPORTS_GET_FLATTENED_SEQUENCE_DATA);
  ASSERT_NE(effect, nullptr);
  RenderSettings settings = FrameOf(4, 4, RenderMode::kClassic);
  settings.reopening = Reopening::kAsDeclared;
  EXPECT_TRUE(RenderFrame(*effect, settings).Ok());
  EXPECT_EQ(course_, "setup copy setdown11 resetup111 render11,7 setdown11 ");
  course_.clear();
  settings.reopening = Reopening::kCopiedOnly;
  EXPECT_TRUE(RenderFrame(*effect, settings).Ok());
  EXPECT_EQ(course_, "setup copy render11,7 setdown11 ");
  course_.clear();
  settings.reopening = Reopening::kByFlattening;
  EXPECT_TRUE(RenderFrame(*effect, settings).Ok());
  EXPECT_EQ(course_, "setup flatten resetup111 render11,7 setdown11 ");
  EXPECT_EQ(effect->Holdings()->handles, 0);
}

TEST_F(FlatCopies, GiveWayToFlatteningWhereThereAreNone) {
  const auto plain = Load(0);
  ASSERT_NE(plain, nullptr);
  RenderSettings settings = FrameOf(4, 4, RenderMode::kClassic);
  settings.reopening = Reopening::kAsDeclared;
  EXPECT_TRUE(RenderFrame(*plain, settings).Ok());
  EXPECT_EQ(course_, "setup flatten resetup111 render11,7 setdown11 ");
  const auto live = Load(PF_OutFlag2_SUPPORTS_GET_FLATTENED_SEQUENCE_DATA);
  course_.clear();
  givesLive_ = true;
  const RenderResult result = RenderFrame(*live, settings);
  EXPECT_TRUE(result.Ok());
  EXPECT_EQ(course_, "setup copy flatten resetup111 render11,7 setdown11 ");
  ASSERT_EQ(result.diagnostics.violations.size(), 1U);
  EXPECT_EQ(result.diagnostics.violations[0].rule, Rule::kLiveSequenceAnswered);
  EXPECT_EQ(live->Holdings()->handles, 0);
}

TEST_F(FlatCopies, GiveEachFrameOfAThreadedEffectItsOwnSequenceOfOneThatKnowsThePress) {
  const auto effect = Load(PF_OutFlag2_SUPPORTS_GET_FLATTENED_SEQUENCE_DATA |
                           PF_OutFlag2_SUPPORTS_THREADED_RENDERING);
  ASSERT_NE(effect, nullptr);
  {
    HeldSequence sequence(*effect);
    RenderSettings settings = FrameOf(4, 4, RenderMode::kClassic);
    settings.sequence = &sequence;
    settings.pressed = {1};
    settings.changeTime = 3;
    settings.currentTime = 5;
    settings.controls[2].x = 9;
    for (int frame = 0; frame < 2; ++frame) {
      const RenderResult result = RenderFrame(*effect, settings);
      EXPECT_TRUE(result.Ok()) << result.errorText;
    }
  }
  EXPECT_EQ(course_,
            "setup press3 copy resetup112 render12,70 setdown12 resetup112 render12,70 setdown12 "
            "setdown12 ");
  EXPECT_EQ(effect->Holdings()->handles, 0);
}

TEST_F(FlatCopies, OfNoEffectAreNeededToPressAButtonThatChangesNoKeyframes) {
  const auto effect = Load(0);
  ASSERT_NE(effect, nullptr);
  RenderSettings settings = FrameOf(4, 4, RenderMode::kClassic);
  settings.pressed = {1};
  EXPECT_TRUE(RenderFrame(*effect, settings).Ok());
  EXPECT_EQ(course_, "setup press0 render12,70 setdown12 ");
  settings.keyframesOf = [](PF_ParamIndex index) {
    return std::vector<A_Time>(index == 2 ? 2U : 0U, A_Time{0, 1});
  };
  const RenderResult refused = RenderFrame(*effect, settings);
  EXPECT_NE(refused.errorText.find("which has keyframes"), std::string::npos) << refused.errorText;
  EXPECT_EQ(effect->Holdings()->handles, 0);
}

// ---- Output beyond the frame ----

/// A smart effect that fills its request with its origin's distance from the frame's corner.
PF_Err AnswerGrowing(PF_Cmd cmd, PF_InData* in, PF_OutData* out, void* extra, A_long border) {
  if (cmd == PF_Cmd_GLOBAL_SETUP) {
    out->out_flags2 = PF_OutFlag2_SUPPORTS_SMART_RENDER;
  } else if (cmd == PF_Cmd_SMART_PRE_RENDER) {
    auto* pre = static_cast<PF_PreRenderExtra*>(extra);
    PF_CheckoutResult input{};
    const PF_Err error =
        pre->cb->checkout_layer(in->effect_ref, 0, 0, &pre->input->output_request, in->current_time,
                                in->time_step, in->time_scale, &input);
    const PF_LRect& frame = input.max_result_rect;
    pre->output->max_result_rect = {frame.left - border, frame.top - border, frame.right + border,
                                    frame.bottom + border};
    pre->output->result_rect =
        Intersection(pre->input->output_request.rect, pre->output->max_result_rect);
    return error;
  } else if (cmd == PF_Cmd_SMART_RENDER) {
    auto* render = static_cast<PF_SmartRenderExtra*>(extra);
    PF_EffectWorld* input = nullptr;
    PF_EffectWorld* output = nullptr;
    PF_Err error = render->cb->checkout_layer_pixels(in->effect_ref, 0, &input);
    error = error != PF_Err_NONE ? error : render->cb->checkout_output(in->effect_ref, &output);
    const PF_Pixel8 color{255, 1, static_cast<A_u_char>(-output->origin_x), 3};
    return error != PF_Err_NONE ? error : in->utils->fill(in->effect_ref, &color, nullptr, output);
  }
  return PF_Err_NONE;
}

TEST(OrdinaryEffects, KeepTheBorderThatTheyDrawAroundTheFrameInSmartRender) {
  A_long border = 2;
  const auto effect = LoadScripted(
      [&border](PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef**, PF_LayerDef*,
                void* extra) { return AnswerGrowing(cmd, in, out, extra, border); });
  ASSERT_NE(effect, nullptr);
  const World input = MakeWorld(6, 4, Depth::k8);
  RenderSettings settings = FrameOf(6, 4, RenderMode::kSmart);
  settings.input = &input;
  EXPECT_EQ(RenderFrame(*effect, settings).output.Width(), 6) << "nobody asked for more";
  settings.wholeOutput = true;
  const RenderResult grown = RenderFrame(*effect, settings);
  ASSERT_TRUE(grown.Ok()) << grown.errorText;
  ASSERT_EQ(grown.output.Width(), 10);
  ASSERT_EQ(grown.output.Height(), 8);
  EXPECT_EQ(grown.output.OriginY(), -2);
  EXPECT_EQ(grown.output.Row<PF_Pixel8>(0)[0].green, 2);
  EXPECT_EQ(grown.output.Row<PF_Pixel8>(7)[9].alpha, 255);
  EXPECT_TRUE(grown.diagnostics.violations.empty());
  border = 20000;
  const RenderResult plane = RenderFrame(*effect, settings);
  EXPECT_EQ(plane.output.Width(), 6) << "out of all proportion";
  EXPECT_EQ(plane.maxResultRect.right, 20006) << "but told";
}

TEST(OrdinaryEffects, AlignInputAndOutputByTheOutputsOriginInSmartRenderToo) {
  const auto effect = LoadScripted([](PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef**,
                                      PF_LayerDef*, void* extra) -> PF_Err {
    if (cmd != PF_Cmd_SMART_RENDER) {
      return AnswerGrowing(cmd, in, out, extra, 2);
    }
    auto* render = static_cast<PF_SmartRenderExtra*>(extra);
    PF_EffectWorld* input = nullptr;
    PF_EffectWorld* output = nullptr;
    render->cb->checkout_layer_pixels(in->effect_ref, 0, &input);
    render->cb->checkout_output(in->effect_ref, &output);
    const PF_Point origin{in->output_origin_x, in->output_origin_y};
    return in->utils->iterate_origin(
        in, 0, 0, input, nullptr, &origin, nullptr,
        [](void*, A_long, A_long, PF_Pixel8* from, PF_Pixel8* to) -> PF_Err {
          *to = *from;
          return PF_Err_NONE;
        },
        output);
  });
  ASSERT_NE(effect, nullptr);
  const World input = RandomWorld<PF_Pixel8>(6, 4, 3);
  RenderSettings settings = FrameOf(6, 4);
  settings.input = &input;
  settings.wholeOutput = true;
  const RenderResult grown = RenderFrame(*effect, settings);
  ASSERT_EQ(grown.output.Width(), 10) << grown.errorText;
  const PF_EffectWorld inside = grown.output.View({0, 0, 6, 4});
  World cut = MakeWorld(6, 4, Depth::k8);
  PF_EffectWorld to = cut.View();
  ASSERT_EQ(CopyWorld(inside, nullptr, to, nullptr, true), PF_Err_NONE);
  EXPECT_EQ(FirstDifference<PF_Pixel8>(input, cut), "");
  settings.region = PF_LRect{2, 1, 5, 4};
  const RenderResult part = RenderFrame(*effect, settings);
  EXPECT_EQ(part.output.Row<PF_Pixel8>(0)[0].red, input.Row<PF_Pixel8>(1)[2].red);
}

TEST(OrdinaryEffects, TellByTheirPixelsWhichLayersAreChosenInSmartRenderToo) {
  std::string seen;
  const auto effect = LoadScripted(
      [&](PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef**, PF_LayerDef*, void*) {
        if (cmd == PF_Cmd_GLOBAL_SETUP) {
          out->out_flags2 = PF_OutFlag2_SUPPORTS_SMART_RENDER;
        } else if (cmd == PF_Cmd_PARAMS_SETUP) {
          AddControl(in, PF_Param_LAYER, [](PF_ParamDef& p) { p.u.ld.dephault = 0; });
          out->num_params = 2;
        } else if (cmd == PF_Cmd_SMART_PRE_RENDER) {
          for (const PF_ParamIndex index : {0, 1}) {
            PF_ParamDef layer{};
            in->inter.checkout_param(in->effect_ref, index, 0, 1, 1, &layer);
            seen += layer.u.ld.data != nullptr ? std::to_string(layer.u.ld.width) + " " : "none ";
          }
        }
        return PF_Err_NONE;
      });
  ASSERT_NE(effect, nullptr);
  const World input = MakeWorld(6, 4, Depth::k8);
  const World layer = MakeWorld(3, 2, Depth::k8);
  RenderSettings settings = FrameOf(6, 4);
  int reads = 0;
  settings.readInput = [&]() -> Expected<const World*> {
    ++reads;
    return &input;
  };
  ASSERT_TRUE(RenderFrame(*effect, settings).Ok());
  EXPECT_EQ(seen, "6 none ");
  EXPECT_EQ(reads, 1);
  settings.layers[1] = &layer;
  ASSERT_TRUE(RenderFrame(*effect, settings).Ok());
  EXPECT_EQ(seen, "6 none 6 3 ");
}

TEST(OrdinaryEffects, HaveNoPathWhatTheyDeclareAndTheirWordsInTheError) {
  A_u_long path = 9;
  const auto effect = LoadScripted([&](PF_Cmd cmd, PF_InData* in, PF_OutData* out,
                                       PF_ParamDef** params, PF_LayerDef*, void*) -> PF_Err {
    if (cmd == PF_Cmd_PARAMS_SETUP) {
      AddControl(in, PF_Param_PATH, [](PF_ParamDef& p) { p.u.path_d = {7, 0, 1}; });
      out->num_params = 2;
    } else if (cmd == PF_Cmd_RENDER) {
      path = params[1]->u.path_d.path_id;
      std::strcpy(out->return_msg, "No table.\rCannot go on.\n");
      return PF_Err_BAD_CALLBACK_PARAM;
    }
    return PF_Err_NONE;
  });
  ASSERT_NE(effect, nullptr);
  const RenderResult result = RenderFrame(*effect, FrameOf(4, 4, RenderMode::kClassic));
  EXPECT_EQ(path, 0U);
  EXPECT_NE(result.errorText.find("(No table. Cannot go on.)"), std::string::npos)
      << result.errorText;
}

TEST(OrdinaryEffects, GetAStateOfTheirLayersThatReadsNoneOfThem) {
  std::vector<PF_State> states;
  const auto effect = LoadScripted(
      [&](PF_Cmd cmd, PF_InData* in, PF_OutData*, PF_ParamDef**, PF_LayerDef*, void*) -> PF_Err {
        if (cmd == PF_Cmd_SEQUENCE_SETUP || cmd == PF_Cmd_RENDER) {
          const void* table = nullptr;
          in->pica_basicP->AcquireSuite("PF Param Utils Suite", 3, &table);
          const auto* suite = static_cast<const PF_ParamUtilsSuite3*>(table);
          return suite->PF_GetCurrentState(in->effect_ref, -2, nullptr, nullptr,
                                           &states.emplace_back());
        }
        return PF_Err_NONE;
      });
  ASSERT_NE(effect, nullptr);
  const World input = MakeWorld(6, 4, Depth::k8);
  RenderSettings settings = FrameOf(6, 4, RenderMode::kClassic);
  settings.totalTime = 100;
  settings.readInput = [&]() -> Expected<const World*> { return &input; };
  int reads = 0;
  settings.layerAt = [&](PF_ParamIndex, A_long,
                         A_u_long) -> Expected<std::shared_ptr<const World>> {
    ++reads;
    return Failure{"it cannot be read"};
  };
  const RenderResult result = RenderFrame(*effect, settings);
  EXPECT_TRUE(result.Ok()) << result.errorText;
  EXPECT_EQ(reads, 0);
  ASSERT_EQ(states.size(), 2U);
  EXPECT_EQ(std::memcmp(&states[0], &states[1], sizeof states[0]), 0) << "nothing has changed";
}

TEST(OrdinaryEffects, ThatFailToUpdateTheirControlsStillRender) {
  const auto effect = LoadScripted(
      [](PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef**, PF_LayerDef*, void*) -> PF_Err {
        if (cmd == PF_Cmd_GLOBAL_SETUP) {
          out->out_flags = PF_OutFlag_SEND_UPDATE_PARAMS_UI;
        } else if (cmd == PF_Cmd_UPDATE_PARAMS_UI) {
          const void* suite = nullptr;
          in->pica_basicP->AcquireSuite("PF Nowhere Suite", 9, &suite);
          return A_Err_MISSING_SUITE;
        }
        return PF_Err_NONE;
      });
  ASSERT_NE(effect, nullptr);
  RenderSettings settings = FrameOf(4, 4, RenderMode::kClassic);
  settings.controlsShown = true;
  const RenderResult result = RenderFrame(*effect, settings);
  EXPECT_TRUE(result.Ok()) << result.errorText;
  ASSERT_EQ(result.diagnostics.violations.size(), 1U);
  EXPECT_EQ(result.diagnostics.violations[0].rule, Rule::kUpdateFailed);
  EXPECT_NE(result.diagnostics.violations[0].text.find("\"PF Nowhere Suite\" version 9"),
            std::string::npos);
}

TEST(OrdinaryEffects, AreToldApartByFunctionsOfSuitesThatRefuse) {
  const auto effect = LoadScripted(
      [](PF_Cmd cmd, PF_InData* in, PF_OutData*, PF_ParamDef**, PF_LayerDef*, void*) -> PF_Err {
        if (cmd != PF_Cmd_RENDER) {
          return PF_Err_NONE;
        }
        const void* suite = nullptr;
        in->pica_basicP->AcquireSuite("AEGP World Suite", 3, &suite);
        const auto* slots = static_cast<const PF_AnyFn*>(suite);
        void* world = &suite;
        using NewFn = A_Err (*)(A_long, A_long, A_long, A_long, void**);
        const A_Err error = reinterpret_cast<NewFn>(slots[0])(1, 1, 4, 4, &world);
        EXPECT_EQ(world, nullptr);
        return error;
      });
  ASSERT_NE(effect, nullptr);
  const RenderResult result = RenderFrame(*effect, FrameOf(4, 4, RenderMode::kClassic));
  EXPECT_NE(result.errorText.find("slot 0 of the suite \"AEGP World Suite\" version 3"),
            std::string::npos)
      << result.errorText;
}

}  // namespace
}  // namespace veltra::host
