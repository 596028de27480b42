// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// One call or one frame of an effect, seen from the host: what stands behind an effect_ref.
#pragma once

#include <array>
#include <atomic>
#include <filesystem>
#include <functional>
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
#include "host/session/accounts.h"
#include "host/session/effect_memory.h"
#include "host/session/host_profile.h"
#include "host/session/layer_checkouts.h"
#include "host/session/render_settings.h"
#include "host_api/entry_points.h"

namespace veltra::host {

/// The functions of the host that in-data points at. Sessions do not know what stands in them.
struct HostTables {
  const PF_InteractCallbacks* inter = nullptr;
  PF_UtilCallbacks* utils = nullptr;
  SPBasicSuite* basic = nullptr;
};

/// What a session is about. What it refers to must outlive the session.
struct SessionContext {
  HostTables tables;
  const std::vector<ControlDeclaration>& controls;
  PF_Handle globalData = nullptr;
  /// Counts handles and worlds of the effect; null counts nothing.
  std::shared_ptr<EffectHoldings> holdings = nullptr;
  /// The command entry, for calls about arbitrary data; null for sessions that send none.
  PF_MainEntryFn entry = nullptr;
  A_long outFlags = 0;  ///< what GLOBAL_SETUP answered
  A_long outFlags2 = 0;
  std::filesystem::path libraryPath = {};  ///< where the effect can find files beside itself
  void* libraryModule = nullptr;           ///< the system's handle of the loaded library
  const HostProfile* host = &DefaultHost();
  /// Commands of frames have no sequence data in the in-data.
  bool hidesSequenceData = false;
};

/// What tells two values of a parameter apart.
using ControlFingerprint = std::array<std::uint64_t, 6>;

/// Which of the smart commands runs, since some callbacks belong to one of them.
enum class SmartPhase { kNone, kPreRender, kRender };

/// Everything the callbacks need for one session. The address is the effect_ref. Callbacks may
/// come on several threads at once; what commands are sent from is one thread at a time.
class Session {
 public:
  /// `settings` is null for commands outside a render, and must outlive the session.
  Session(const SessionContext& context, const RenderSettings* settings);
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
  /// What the effect wants shown: the last message of all commands.
  const std::string& Message() const { return message_; }
  /// What became of the last command, by its name and its error: the error in words, what the
  /// effect says and what it may have lacked, in one line.
  std::string FailureText(const char* command, PF_Err error) const;
  void SetSequenceData(PF_Handle data) { inData_.sequence_data = data; }
  /// The sequence data, also where the in-data does not show it.
  PF_Handle ConstSequenceData() const {
    return hiddenSequenceData_ != nullptr ? hiddenSequenceData_ : inData_.sequence_data;
  }
  bool ThrewException() const { return threwException_; }
  /// Memory ran out while the host answered. An effect may go on without what it asked for, to a
  /// picture that is not the right one, so Send fails however the effect takes it.
  void NoteOutOfMemory() { outOfMemory_ = true; }

  const RenderSettings* Settings() const { return settings_; }
  bool Draft() const { return settings_ != nullptr && settings_->draft; }

  // ---- Hooks, abort and progress: safe on many threads ----

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

  A_long ParamCount() const { return static_cast<A_long>(context_.controls.size()) + 1; }
  /// The definition of a parameter with its value at a time. False where there is no such
  /// parameter. Safe on many threads.
  bool FillParam(PF_ParamIndex index, A_long time, A_u_long scale, PF_ParamDef& param);
  bool IsLayer(PF_ParamIndex index) const;
  /// What a parameter's value at a time is recognised by; of layers the image. Safe on many
  /// threads.
  ControlFingerprint FingerprintOf(PF_ParamIndex index, A_long time, A_u_long scale);
  /// The same without reading an image: layers that change with time differ from time to time.
  ControlFingerprint IdentityOf(PF_ParamIndex index, A_long time, A_u_long scale);
  /// Fills a parameter for a command in which the effect may change it: its own copy of arbitrary
  /// data, layers without pixels.
  bool FillChangeable(PF_ParamIndex index, PF_ParamDef& param);
  /// What the effect made of such a parameter, which then takes the place of the settings' value.
  void TakeChangedValue(PF_ParamIndex index, const PF_ParamDef& param);
  /// Gives back what FillChangeable copied.
  void DisposeChangeable();
  /// Values that the effect has changed; written between commands.
  std::map<PF_ParamIndex, ControlValue> changedValues;
  /// Has the effect dispose of the values that were made for this session; the last command but the
  /// sequence's set-down.
  void DisposeValues();

  /// Notes why the host itself could not give what was asked for; the first reason stays.
  void FailWith(const std::string& reason);
  /// Empty while all went well.
  std::string HostFailure() const;

  /// Collects what add_param brings during PARAMS_SETUP; null otherwise.
  std::vector<ControlDeclaration>* addedControls = nullptr;

  // ---- Layers: safe on many threads ----

  PF_LRect FrameRect() const;
  /// The frame under the effect, null for a transparent one; written between commands and by
  /// `readInput`.
  const World* input = nullptr;
  /// Where given, has the frame under the effect read before it is used; false where it could not
  /// be. Called on many threads.
  std::function<bool()> readInput;
  /// The borrowed image of a layer parameter at the current time; null for none.
  const World* LayerWorld(PF_ParamIndex index) const;
  /// The same at any time; lives as long as the session. False, and the reason noted, where it
  /// could not be had.
  bool LayerWorldAt(PF_ParamIndex index, A_long time, A_u_long scale, const World*& world);
  /// Whether a layer parameter is the effect's own, as long as nobody chose another.
  bool IsFrame(PF_ParamIndex index) const;
  /// Whether a layer at a time is the frame that readInput reads.
  bool IsOfFrame(PF_ParamIndex index, A_long time, A_u_long scale) const;
  /// A part of a layer for the effect, with the visible extent; its sums can be made from now on.
  PF_EffectWorld LayerView(const World& world, const PF_LRect& rect);
  /// The sums of an image that the host itself lent out, null for any other, which may change
  /// between two samples.
  AreaSumsBase* FindAreaSums(const PF_EffectWorld& view) const;

  LayerCheckouts checkouts;
  /// Written between commands, by the thread that sends them.
  std::atomic<SmartPhase> phase{SmartPhase::kNone};
  PF_EffectWorld outputView{};  ///< no data outside of smart render; written between commands

  // ---- Accounts and memory: safe on many threads ----

  Accounts accounts;
  const std::shared_ptr<EffectHoldings>& Holdings() const { return context_.holdings; }
  const SessionContext& Context() const { return context_; }

 private:
  friend class SessionScope;

  void SetUpInData();
  void PrefillOutData(PF_Cmd command);
  ControlValue ValueAt(const ControlDeclaration& control, A_long time, A_u_long scale) const;
  void SetValue(const ControlDeclaration& control, const ControlValue& value, PF_ParamDef& param);
  PF_Handle ArbitraryValue(const ControlDeclaration& control, const ControlValue& value);
  Expected<PF_Handle> MakeArbitraryValue(const ControlDeclaration& control,
                                         const ControlValue& value) const;
  const World* TransparentFor(PF_ParamIndex index);
  bool IsCurrentTime(A_long time, A_u_long scale) const;
  const ImageFacts* FindFacts(const PF_EffectWorld& view) const;
  A_long ReducedPoint(A_long coordinate) const;

  static constexpr std::uint64_t kMagic = 0x56454C5452415345U;

  std::uint64_t magic_ = kMagic;
  const SessionContext context_;
  const RenderSettings* settings_;
  PF_InData inData_{};
  PF_OutData outData_{};
  PF_Handle hiddenSequenceData_ = nullptr;  ///< while a command runs that does not see it
  std::string message_;
  bool threwException_ = false;
  std::atomic<bool> outOfMemory_{false};
  std::atomic<bool> cancelled_{false};
  std::mutex progressMutex_;

  std::vector<std::pair<const ControlDeclaration*, PF_Handle>> changeableCopies_;

  /// A value that the effect made of its flat form.
  struct MadeValue {
    const ControlDeclaration* control;
    std::shared_ptr<const FlatValue> flat;
    std::shared_ptr<const FlatValue> flatAfter;
    double share;
    PF_Handle handle;
  };
  // Recursive, since an effect may ask for a value while it makes another.
  std::recursive_mutex valuesMutex_;
  std::vector<MadeValue> madeValues_;  // guarded by valuesMutex_

  mutable std::mutex failureMutex_;
  std::mutex otherLayersMutex_;
  std::map<std::pair<PF_ParamIndex, std::int64_t>, std::shared_ptr<const World>>
      otherLayers_;  // at other times, by 1/705600000 of a second; guarded by otherLayersMutex_
  std::map<PF_ParamIndex, World> transparent_;  // guarded by otherLayersMutex_
  std::string hostFailure_;                     // guarded by failureMutex_

  // Readers on many threads walk the array without a lock; an entry is complete before the count
  // covers it, and lendMutex_ is held while one is added. What does not fit is sampled without
  // sums.
  static constexpr std::size_t kMostLent = 16;
  std::mutex lendMutex_;
  std::array<std::shared_ptr<const ImageFacts>, kMostLent> lent_;
  std::atomic<std::size_t> lentCount_{0};
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

}  // namespace veltra::host
