// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The stand-in host for the conformance suite: it writes down every call of the effect and every
// rule that it breaks, and makes any callback fail on request.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "tests/reference/frame.h"
#include "tests/stand_in/host.h"
#include "tests/stand_in/world.h"

namespace veltra::conformance {

using namespace stand_in;
using TestWorld = stand_in::World;

/// What a pixel function was given: the refcon, and which function it is.
template <class Pixel>
struct IterateCall {
  void* refcon = nullptr;
  PF_IteratePixelFn<Pixel> function = nullptr;
};

/// A sample as the effect asked for it.
struct SampleCall {
  PF_Fixed x = 0;
  PF_Fixed y = 0;
  PF_SampPB block{};
};

/// One effect instance and the frame it is asked for. Set the public fields, then send commands.
class TestHost : public stand_in::Host {
 public:
  /// The effect is anything with the signature of the command entry.
  explicit TestHost(PF_MainEntryFn effect) : effect_(effect) {}
  ~TestHost() override;

  // ---- The frame ----

  reference::Controls controls;
  TestWorld* input = nullptr;
  TestWorld* layer = nullptr;  ///< null: no layer chosen
  TestWorld* output = nullptr;
  bool nullInputWorld = false;
  bool nullOutputWorld = false;
  bool nullLayerWorld = false;
  bool keepSamples = false;  ///< fill `samples`; with one thread only

  // ---- Faults ----

  /// The callback's nth call (from 1) returns `code`; a code of 0 with `action` only acts.
  void FailAt(const std::string& callback, int nth, PF_Err code);
  /// Runs in place of the callback's nth call, before anything else happens; may throw.
  void DoAt(const std::string& callback, int nth, std::function<void()> action);
  void AnswerSuite(const std::string& name, A_long version, SuiteAnswer answer);

  // ---- Commands ----

  /// Another entry from now on.
  void ReplaceEffect(PF_MainEntryFn effect) { effect_ = effect; }
  PF_Err Send(PF_Cmd cmd, PF_ParamDef** params = nullptr, PF_LayerDef* world = nullptr,
              void* extra = nullptr);
  PF_Err RenderClassic();
  /// Fills `preRender`; with success the record it left is kept for the render.
  PF_Err PreRender();
  PF_Err SmartRender();
  /// Pre-render, render, and the deletion of the pre-render data.
  PF_Err RenderSmart();
  PF_Err Render(bool smart) { return smart ? RenderSmart() : RenderClassic(); }
  void DeletePreRenderData();

  PF_PreRenderOutput preRender{};
  void* preRenderData = nullptr;  ///< handed to the render; set it to try foreign data

  // ---- What happened ----

  std::vector<std::string> log;         ///< every call in order, without samples
  std::vector<std::string> violations;  ///< rules of the host that the effect broke
  std::vector<PF_ParamDef> declared;    ///< by add_param
  std::vector<SampleCall> samples;
  IterateCall<PF_Pixel8> iterated8;
  IterateCall<PF_Pixel16> iterated16;
  IterateCall<PF_PixelFloat> iteratedFloat;
  /// Called while the iteration runs, before its pixels; sees the frame's record alive.
  std::function<void(void* refcon)> onIterate;
  /// Called last in pre-render's checkout of the chosen layer.
  std::function<void()> afterLayerCheckout;
  int Calls(const std::string& callback) const;
  /// The frame for the yardstick.
  reference::Frame ReferenceFrame(bool smart) const;

 private:
  struct Fault {
    int nth = 0;
    PF_Err code = 0;
    std::function<void()> action;
  };

  PF_Err Enter(std::string_view callback) override;
  PF_Err EnterSample(PF_Fixed x, PF_Fixed y, const PF_SampPB& params) override;
  SuiteAnswer AnswerTo(const std::string& suite) override;
  void Broken(const std::string& rule) override;
  bool KeepsLog() const override { return true; }
  void Write(const std::string& line) override { log.push_back(line); }
  PF_EffectWorld* WorldOf(Role role) override;
  PF_EffectWorld* ShownWorldOf(Role role) override;
  Depth FrameDepth() const override { return output->depth(); }
  void FillValue(PF_ParamIndex index, PF_ParamDef* def) override;
  void OnAddParam(const PF_ParamDef& def) override { declared.push_back(def); }
  void OnLayerCheckout(PF_ParamIndex index) override;
  void OnIterate(const PixelCall& call) override;
  PF_Err Sample(bool area, PF_Fixed x, PF_Fixed y, const PF_SampPB* params,
                PF_Pixel8* out) override;
  PF_Err Sample(bool area, PF_Fixed x, PF_Fixed y, const PF_SampPB* params,
                PF_Pixel16* out) override;
  PF_Err Sample(bool area, PF_Fixed x, PF_Fixed y, const PF_SampPB* params,
                PF_PixelFloat* out) override;

  PF_MainEntryFn effect_;
  std::map<std::string, std::vector<Fault>, std::less<>> faults_;
  std::map<std::string, int, std::less<>> calls_;
  std::map<std::string, SuiteAnswer> suiteAnswers_;
  std::atomic<int> sampleCalls_{0};
  std::vector<Fault> sampleFaults_;
  std::mutex mutex_;
};

/// "(left,top,right,bottom)", as in the log.
inline std::string Text(const PF_LRect& rect) {
  return RectText(rect);
}

}  // namespace veltra::conformance
