// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// An instrumented host: it writes down every call of the effect, checks that what is taken is given
// back exactly once, and makes any callback fail on request.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "host_api/entry_points.h"
#include "tests/conformance/test_world.h"
#include "tests/reference/frame.h"

namespace veltra::conformance {

/// How a suite answers when it is acquired.
enum class SuiteAnswer {
  kGranted,
  kError,       ///< an error code and a null pointer
  kNull,        ///< success and a null pointer
  kErrorGiven,  ///< an error code although the pointer is set
};

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
class TestHost {
 public:
  /// The effect is anything with the signature of the command entry.
  explicit TestHost(PF_MainEntryFn effect);
  TestHost(const TestHost&) = delete;
  TestHost& operator=(const TestHost&) = delete;
  ~TestHost();

  // ---- The frame ----

  reference::Controls controls;
  TestWorld* input = nullptr;
  TestWorld* layer = nullptr;  ///< null: no layer chosen
  TestWorld* output = nullptr;
  PF_RenderRequest request{};             ///< what pre-render and render are asked for
  PF_RationalScale checkoutAspect{1, 1};  ///< the layer's aspect as pre-render learns it
  PF_PixelFormat format = 0;              ///< 0: the output's own
  int threads = 1;
  bool reverseRows = false;
  A_long abortAtRow = -1;  ///< the iteration is interrupted before this row of its area
  bool nullInputWorld = false;
  bool nullOutputWorld = false;
  bool nullLayerWorld = false;
  bool keepSamples = false;  ///< fill `samples`; with one thread only

  PF_InData inData{};
  PF_OutData outData{};
  PF_UtilCallbacks utils{};
  SPBasicSuite basic{};

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
  friend struct Callbacks;

  struct Fault {
    int nth = 0;
    PF_Err code = 0;
    std::function<void()> action;
  };

  /// Counts the call; the code it must fail with, or none.
  PF_Err Enter(const std::string& callback);
  void Write(const std::string& line);
  void Violation(const std::string& what);
  std::string NameOfWorld(const PF_EffectWorld* world) const;
  void CheckBalance(PF_Cmd cmd);
  bool ParamValue(PF_ParamIndex index, PF_ParamDef* def) const;

  PF_MainEntryFn effect_;
  std::map<std::string, std::vector<Fault>> faults_;
  std::map<std::string, int> calls_;
  std::map<std::string, SuiteAnswer> suiteAnswers_;
  std::map<std::string, int> held_;               ///< suites, by name and version
  std::map<const PF_ParamDef*, int> checkedOut_;  ///< parameter definitions out, by address
  std::set<const PF_ParamDef*> failed_;           ///< ones whose checkout failed
  std::map<A_long, PF_ParamIndex> preRenderIds_;
  std::set<A_long> fetched_;
  std::set<A_long> returned_;
  bool outputFetched_ = false;
  std::atomic<int> sampleCalls_{0};
  std::vector<Fault> sampleFaults_;
  std::mutex mutex_;
};

std::string Text(const PF_LRect& rect);

}  // namespace veltra::conformance
