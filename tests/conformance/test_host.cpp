// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The conformance suite's host: faults on request, a log, and the commands.
#include "tests/conformance/test_host.h"

#include <cmath>

#include "numerics/trigonometry.h"
#include "tests/stand_in/samplers.h"

namespace veltra::conformance {
namespace {

reference::Maths HostMaths() {
  return {numerics::Sin, numerics::Cos, [](double x) { return std::sqrt(x); }, numerics::Acos};
}

template <class Pixel>
PF_Err SampleBox(bool area, PF_Fixed x, PF_Fixed y, const PF_SampPB* params, Pixel* out) {
  return area ? AreaSample<Pixel>(nullptr, x, y, params, out)
              : SubpixelSample<Pixel>(nullptr, x, y, params, out);
}

}  // namespace

TestHost::~TestHost() {
  DeletePreRenderData();
}

// ---- Faults ----

void TestHost::FailAt(const std::string& callback, int nth, PF_Err code) {
  if (callback == "sample") {
    sampleFaults_.push_back({nth, code, {}});
  } else {
    faults_[callback].push_back({nth, code, {}});
  }
}

void TestHost::DoAt(const std::string& callback, int nth, std::function<void()> action) {
  faults_[callback].push_back({nth, PF_Err_NONE, std::move(action)});
}

void TestHost::AnswerSuite(const std::string& name, A_long version, SuiteAnswer answer) {
  suiteAnswers_[veltra::Text(name, " ", version)] = answer;
}

PF_Err TestHost::Enter(std::string_view callback) {
  const std::string name(callback);
  const int call = ++calls_[name];
  for (const Fault& fault : faults_[name]) {
    if (fault.nth == call) {
      if (fault.action) {
        fault.action();
      }
      return fault.code;
    }
  }
  return PF_Err_NONE;
}

PF_Err TestHost::EnterSample(PF_Fixed x, PF_Fixed y, const PF_SampPB& params) {
  const int call = ++sampleCalls_;
  if (keepSamples) {
    samples.push_back({x, y, params});
  }
  for (const Fault& fault : sampleFaults_) {
    if (fault.nth == call) {
      return fault.code;
    }
  }
  return PF_Err_NONE;
}

SuiteAnswer TestHost::AnswerTo(const std::string& suite) {
  const auto answer = suiteAnswers_.find(suite);
  return answer == suiteAnswers_.end() ? SuiteAnswer::kGranted : answer->second;
}

// ---- Findings ----

void TestHost::Broken(const std::string& rule) {
  const std::lock_guard lock(mutex_);
  violations.push_back(rule);
}

int TestHost::Calls(const std::string& callback) const {
  if (callback == "sample") {
    return sampleCalls_;
  }
  const auto found = calls_.find(callback);
  return found == calls_.end() ? 0 : found->second;
}

// ---- The frame ----

PF_EffectWorld* TestHost::WorldOf(Role role) {
  TestWorld* const found = role == Role::kInput ? input : role == Role::kLayer ? layer : output;
  return found == nullptr ? nullptr : &found->world;
}

PF_EffectWorld* TestHost::ShownWorldOf(Role role) {
  const bool hidden = role == Role::kInput   ? nullInputWorld
                      : role == Role::kLayer ? nullLayerWorld
                                             : nullOutputWorld;
  return hidden ? nullptr : WorldOf(role);
}

void TestHost::FillValue(PF_ParamIndex index, PF_ParamDef* def) {
  switch (index) {
    case 1:
      def->param_type = PF_Param_LAYER;
      if (layer != nullptr && !nullLayerWorld) {
        def->u.ld = layer->world;
      }
      break;
    case 2:
    case 3:
      def->param_type = PF_Param_POINT;
      def->u.td.x_value = index == 2 ? controls.startX : controls.endX;
      def->u.td.y_value = index == 2 ? controls.startY : controls.endY;
      break;
    case 4:
      def->param_type = PF_Param_POPUP;
      def->u.pd.value = controls.placement;
      break;
    case 5:
    case 6:
    case 8:
      def->param_type = PF_Param_FIX_SLIDER;
      def->u.fd.value = index == 5   ? controls.travel
                        : index == 6 ? controls.size
                                     : controls.opacity;
      break;
    default:
      def->param_type = PF_Param_CHECKBOX;
      def->u.bd.value = (index == 7 ? controls.filtering : controls.composite) ? 1 : 0;
      break;
  }
}

void TestHost::OnLayerCheckout(PF_ParamIndex index) {
  if (index == 1 && afterLayerCheckout) {
    afterLayerCheckout();
  }
}

void TestHost::OnIterate(const PixelCall& call) {
  switch (call.depth) {
    case Depth::k8:
      iterated8 = {call.refcon, call.As<PF_Pixel8>()};
      break;
    case Depth::k16:
      iterated16 = {call.refcon, call.As<PF_Pixel16>()};
      break;
    case Depth::kFloat:
      iteratedFloat = {call.refcon, call.As<PF_PixelFloat>()};
      break;
  }
  if (onIterate) {
    onIterate(call.refcon);
  }
}

PF_Err TestHost::Sample(bool area, PF_Fixed x, PF_Fixed y, const PF_SampPB* params,
                        PF_Pixel8* out) {
  return SampleBox(area, x, y, params, out);
}
PF_Err TestHost::Sample(bool area, PF_Fixed x, PF_Fixed y, const PF_SampPB* params,
                        PF_Pixel16* out) {
  return SampleBox(area, x, y, params, out);
}
PF_Err TestHost::Sample(bool area, PF_Fixed x, PF_Fixed y, const PF_SampPB* params,
                        PF_PixelFloat* out) {
  return SampleBox(area, x, y, params, out);
}

// ---- Commands ----

PF_Err TestHost::Send(PF_Cmd cmd, PF_ParamDef** params, PF_LayerDef* world, void* extra) {
  return Host::Send(effect_, cmd, &inData, &outData, params, world, extra);
}

PF_Err TestHost::RenderClassic() {
  PF_ParamDef inputDef{};
  inputDef.param_type = PF_Param_LAYER;
  if (input != nullptr) {
    inputDef.u.ld = input->world;
  }
  PF_ParamDef others[9] = {};
  PF_ParamDef* params[10] = {&inputDef};
  for (int i = 0; i < 9; ++i) {
    params[i + 1] = &others[i];
  }
  return Send(PF_Cmd_RENDER, params, output == nullptr ? nullptr : &output->world);
}

PF_Err TestHost::PreRender() {
  PF_PreRenderInput in{};
  in.output_request = request;
  in.bitdepth = 8;
  preRender = {};
  PF_PreRenderCallbacks callbacks = BeginPreRender();
  PF_PreRenderExtra extra{&in, &preRender, &callbacks};
  const PF_Err err = Send(PF_Cmd_SMART_PRE_RENDER, nullptr, nullptr, &extra);
  preRenderData = preRender.pre_render_data;
  return err;
}

PF_Err TestHost::SmartRender() {
  PF_SmartRenderInput in{};
  in.output_request = request;
  in.bitdepth = 8;
  in.pre_render_data = preRenderData;
  PF_SmartRenderCallbacks callbacks = BeginSmartRender();
  PF_SmartRenderExtra extra{&in, &callbacks};
  return Send(PF_Cmd_SMART_RENDER, nullptr, nullptr, &extra);
}

PF_Err TestHost::RenderSmart() {
  PF_Err err = PreRender();
  if (err == PF_Err_NONE) {
    err = SmartRender();
  }
  DeletePreRenderData();
  return err;
}

void TestHost::DeletePreRenderData() {
  if (preRender.pre_render_data != nullptr && preRender.delete_pre_render_data_func != nullptr) {
    preRender.delete_pre_render_data_func(preRender.pre_render_data);
  }
  preRender.pre_render_data = nullptr;
  preRenderData = nullptr;
}

reference::Frame TestHost::ReferenceFrame(bool smart) const {
  reference::Frame frame;
  frame.controls = controls;
  frame.resolution = {inData.downsample_x, inData.downsample_y, inData.pixel_aspect_ratio};
  frame.width = inData.width;
  frame.height = inData.height;
  frame.smart = smart;
  // Without compositing the smart input is checked out under another id and has no pixels.
  frame.input = input == nullptr ? nullptr : &input->world;
  frame.layer = layer == nullptr ? nullptr : &layer->world;
  frame.preRenderAspect =
      static_cast<double>(checkoutAspect.den) / static_cast<double>(checkoutAspect.num);
  frame.geometryMaths = HostMaths();
  return frame;
}

}  // namespace veltra::conformance
