// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// One call or one frame of an effect, seen from the host: what stands behind an effect_ref.
#pragma once

#include <array>
#include <atomic>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "host/base/guarded.h"
#include "host/pixels/image_facts.h"
#include "host/pixels/row_work.h"
#include "host/renderer.h"
#include "host_api/entry_points.h"

namespace veltra::host {

/// A layer that pre-render asked for under an id, and what became of it.
struct LayerCheckout {
  A_long id = 0;
  PF_ParamIndex index = 0;
  PF_LRect rect{0, 0, 0, 0};  ///< granted, in the layer's coordinates; empty gives no pixels
  bool fetched = false;
  bool returned = false;
  PF_EffectWorld view{};
  World transparent;  ///< the pixels of a frame that has none
};

/// Everything the callbacks need for one session. The address is the effect_ref. Callbacks may
/// come on several threads at once.
class Session {
 public:
  /// `settings` is null for commands outside a render. What is passed must outlive the session.
  Session(const std::vector<ControlDeclaration>& controls, PF_Handle globalData,
          const RenderSettings* settings);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// The session behind a reference; null for null and for what is not one of ours.
  static Session* From(PF_ProgPtr ref) {  // here, since every sample asks
    auto* session = static_cast<Session*>(static_cast<void*>(ref));
    return session != nullptr && session->magic_ == kMagic ? session : nullptr;
  }
  /// The session whose command or pixel function runs on this thread; null outside of one.
  static Session* Current();

  /// Sends a command, with this session current on the thread. An escaping exception reads as
  /// PF_Err_INTERNAL_STRUCT_DAMAGED. Keeps the handles and the message of the answer.
  PF_Err Send(PF_MainEntryFn entry, PF_Cmd command, PF_ParamDef** params = nullptr,
              PF_LayerDef* output = nullptr, void* extra = nullptr);

  PF_InData& InData() { return inData_; }
  const PF_OutData& OutData() const { return outData_; }
  const std::string& Message() const { return message_; }
  bool ThrewException() const { return threwException_; }

  const RenderSettings* Settings() const { return settings_; }
  bool Draft() const { return settings_ != nullptr && settings_->draft; }

  // ---- Hooks, abort and progress ----

  /// What the hooks say to a call; PF_Err_NONE without hooks.
  PF_Err Ask(HostCall call, A_long number = 0, const char* suite = nullptr) {
    return settings_ == nullptr || settings_->hooks == nullptr
               ? PF_Err_NONE
               : settings_->hooks->BeforeCall({call, number, suite});
  }
  /// Whether the user has given up; remembered, since an effect may swallow the answer.
  bool Aborted();
  bool AbortedAtRow(A_long row);
  bool WasCancelled() const { return cancelled_.load(std::memory_order_relaxed); }
  void MarkCancelled() { cancelled_.store(true, std::memory_order_relaxed); }
  /// Works through whole images, as work(RowWork) does on this session's threads, until it is done
  /// or the user gives up.
  template <class Work>
  PF_Err WorkThrough(Work work) {
    if (Aborted()) {
      return PF_Interrupt_CANCEL;
    }
    const PF_Err error =
        work(settings_ == nullptr ? RowWork{} : RowWork{settings_->pool, settings_->abort});
    if (error == PF_Interrupt_CANCEL) {
      MarkCancelled();
    }
    return error;
  }
  bool WantsProgress() const { return settings_ != nullptr && settings_->progress; }
  void ReportProgress(A_long current, A_long total);

  // ---- Parameters ----

  A_long ParamCount() const { return static_cast<A_long>(controls_.size()) + 1; }
  /// The definition of a parameter with its value at a time. Layers have no pixels in smart
  /// render, where they come another way. False where there is no such parameter.
  bool FillParam(PF_ParamIndex index, A_long time, A_u_long scale, PF_ParamDef& param);
  bool IsLayer(PF_ParamIndex index) const;

  /// Collects what add_param brings during PARAMS_SETUP; null otherwise.
  std::vector<ControlDeclaration>* addedControls = nullptr;

  // ---- Layers ----

  PF_LRect FrameRect() const;
  const World* input = nullptr;  ///< the frame under the effect; null is a transparent one
  /// The borrowed image of a layer parameter; null for none.
  const World* LayerWorld(PF_ParamIndex index) const;
  /// A part of a layer for the effect, with the visible extent; its sums can be made from now on.
  PF_EffectWorld LayerView(const World& world, const PF_LRect& rect);
  /// The sums of an image that the host itself lent out, null for any other, which may change
  /// between two samples.
  AreaSumsBase* FindAreaSums(const PF_EffectWorld& view) const;

  std::list<LayerCheckout> checkouts;  ///< guarded by `mutex`
  bool inputFetched = false;           ///< guarded by `mutex`
  PF_EffectWorld outputView{};         ///< no data outside of smart render
  bool preRendering = false;
  bool rendering = false;

  // ---- Accounts ----

  /// Notes a broken rule, each text once.
  void Violation(const std::string& text);
  void CountSuite(const char* name, A_long version, int step);
  /// Compares what was taken and returned; call when the last command has ended.
  void CloseAccounts();

  std::mutex mutex;
  RenderDiagnostics diagnostics;  ///< guarded by `mutex`
  std::list<World> ownWorlds;     ///< made for the effect; guarded by `mutex`

 private:
  friend class SessionScope;

  void SetUpInData();
  const ImageFacts* FindFacts(const PF_EffectWorld& view) const;
  A_long ReducedPoint(A_long coordinate) const;

  static constexpr std::uint64_t kMagic = 0x56454C5452415345U;

  std::uint64_t magic_ = kMagic;
  const std::vector<ControlDeclaration>& controls_;
  const RenderSettings* settings_;
  PF_InData inData_{};
  PF_OutData outData_{};
  std::string message_;
  bool threwException_ = false;
  std::atomic<bool> cancelled_{false};
  std::mutex progressMutex_;

  // Readers on many threads walk the array without a lock; an entry is complete before the count
  // covers it. What does not fit is sampled without sums.
  static constexpr std::size_t kMostLent = 16;
  std::array<std::shared_ptr<const ImageFacts>, kMostLent> lent_;
  std::atomic<std::size_t> lentCount_{0};

  std::map<std::pair<std::string, A_long>, int> suiteBalance_;
};

/// Makes a session the current one of this thread for as long as it lives.
class SessionScope {
 public:
  explicit SessionScope(Session* session);
  ~SessionScope();
  SessionScope(const SessionScope&) = delete;
  SessionScope& operator=(const SessionScope&) = delete;

 private:
  Session* before_;
};

// The tables that a session's in-data points at.
const PF_InteractCallbacks& InteractCallbacks();
PF_UtilCallbacks& UtilityCallbacks();
SPBasicSuite& BasicSuite();
PF_PreRenderCallbacks& PreRenderCallbacks();
PF_SmartRenderCallbacks& SmartRenderCallbacks();

}  // namespace veltra::host
