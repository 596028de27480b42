// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A host made for tests: the callbacks and suites that the effect uses, with a check at each that
// the rules of the interface are kept. Which calls fail, and what becomes of a broken rule, is
// decided by the classes that derive from it.
#pragma once

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "base/text.h"
#include "host_api/entry_points.h"
#include "tests/stand_in/depth.h"

namespace veltra::stand_in {

/// How a suite answers when it is acquired.
enum class SuiteAnswer {
  kGranted,
  kError,       ///< an error code and a null pointer
  kNull,        ///< success and a null pointer
  kErrorGiven,  ///< an error code although the pointer is set
};

/// "(left,top,right,bottom)".
std::string RectText(const PF_LRect& rect);
/// All of the world's pixels.
PF_LRect Whole(const PF_EffectWorld& world);

/// A per-pixel function of any depth, as the iteration was given it.
struct PixelCall {
  Depth depth = Depth::k8;
  void* refcon = nullptr;
  void (*function)() = nullptr;

  template <class Pixel>
  PF_IteratePixelFn<Pixel> As() const {
    return reinterpret_cast<PF_IteratePixelFn<Pixel>>(function);
  }
};

/// One instance of an effect and the frame it is asked for. Commands go to one instance at a time
/// on each thread.
class Host {
 public:
  Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;
  virtual ~Host() = default;

  // ---- The frame ----

  PF_InData inData{};
  PF_OutData outData{};
  PF_UtilCallbacks utils{};
  SPBasicSuite basic{};
  PF_RenderRequest request{};             ///< what pre-render and render are asked for
  PF_RationalScale checkoutAspect{1, 1};  ///< the layer's aspect as pre-render learns it
  PF_PixelFormat format = 0;              ///< what the output says it is; 0: what it is
  int threads = 1;                        ///< of the iteration
  bool reverseRows = false;
  A_long abortAtRow = -1;  ///< the iteration is interrupted before this row of its area

 protected:
  // ---- Policy: faults ----

  /// The effect calls; the code that this call must fail with, or none. May throw instead.
  virtual PF_Err Enter(std::string_view callback) = 0;
  /// As Enter, for a sample; called on the iteration's threads.
  virtual PF_Err EnterSample(PF_Fixed x, PF_Fixed y, const PF_SampPB& params) = 0;
  /// `suite` is the name and the version with a space between.
  virtual SuiteAnswer AnswerTo(const std::string& suite) = 0;

  // ---- Policy: findings ----

  /// A rule of the interface is broken; called on any thread.
  virtual void Broken(const std::string& rule) = 0;
  /// Whether Write wants the lines of the calls.
  virtual bool KeepsLog() const { return false; }
  virtual void Write(const std::string& /*line*/) {}

  // ---- Policy: the frame's contents ----

  enum class Role { kInput, kLayer, kOutput };
  /// Null where there is none.
  virtual PF_EffectWorld* WorldOf(Role role) = 0;
  /// What a checkout of pixels shows; null to show nothing.
  virtual PF_EffectWorld* ShownWorldOf(Role role) = 0;
  virtual Depth FrameDepth() const = 0;
  /// Fills the value of a control (1 to 9) into a zeroed definition.
  virtual void FillValue(PF_ParamIndex index, PF_ParamDef* def) = 0;
  /// Whether render may fetch the pixels of this checkout.
  virtual bool MayFetch(A_long id) { return preRenderIds_.count(id) != 0; }
  virtual void OnAddParam(const PF_ParamDef& /*def*/) {}
  /// Called last in pre-render's checkout of a layer.
  virtual void OnLayerCheckout(PF_ParamIndex /*index*/) {}
  /// Called while the iteration runs, before its pixels.
  virtual void OnIterate(const PixelCall& /*call*/) {}
  /// Calls the function for one pixel of the output.
  virtual PF_Err Place(const PixelCall& call, A_long x, A_long y, void* pixel);
  virtual PF_Err Sample(bool area, PF_Fixed x, PF_Fixed y, const PF_SampPB* params,
                        PF_Pixel8* out) = 0;
  virtual PF_Err Sample(bool area, PF_Fixed x, PF_Fixed y, const PF_SampPB* params,
                        PF_Pixel16* out) = 0;
  virtual PF_Err Sample(bool area, PF_Fixed x, PF_Fixed y, const PF_SampPB* params,
                        PF_PixelFloat* out) = 0;

  // ---- For the commands ----

  /// Sends the command, and looks at the accounts after it.
  PF_Err Send(PF_MainEntryFn effect, PF_Cmd cmd, PF_InData* in, PF_OutData* out,
              PF_ParamDef** params, PF_LayerDef* world, void* extra);
  /// A new pre-render, and with the next one a new render, begin without checkouts.
  PF_PreRenderCallbacks BeginPreRender();
  PF_SmartRenderCallbacks BeginSmartRender();

 private:
  friend struct Callbacks;

  template <class... Parts>
  void Log(const Parts&... parts) {
    if (KeepsLog()) {
      Write(Text(parts...));
    }
  }
  std::string NameOfWorld(const PF_EffectWorld* world);
  bool IsOutput(const PF_EffectWorld* world);
  bool IsOtherTime(A_long whatTime, A_long timeStep, A_u_long timeScale) const;
  void CheckAccounts(PF_Cmd cmd);

  std::map<std::string, int, std::less<>> held_;  ///< suites, by name and version
  std::vector<const PF_ParamDef*> out_;           ///< definitions checked out
  std::vector<const PF_ParamDef*> failed_;        ///< definitions whose checkout failed
  std::map<A_long, PF_ParamIndex> preRenderIds_;
  std::set<A_long> fetched_;
  std::set<A_long> returned_;
  bool outputFetched_ = false;
};

}  // namespace veltra::stand_in
