// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// An effect that has been set up, with the controls that it declared.
#pragma once

#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "base/expected.h"
#include "host/base/depth.h"
#include "host/effect_library.h"
#include "host/session/session.h"

namespace veltra::host {

/// A set-up effect. Set-up and set-down run alone; rendering may use it from many threads.
class Effect {
 public:
  /// Sends GLOBAL_SETUP and PARAMS_SETUP as the host that opened the library. The error names what
  /// the effect answered.
  static Expected<std::unique_ptr<const Effect>> Load(std::shared_ptr<const EffectLibrary> library);

  /// EffectLibrary::Open and Load in one; the error is that of the one that failed.
  static Expected<std::unique_ptr<const Effect>> Open(const std::filesystem::path& path,
                                                      const HostProfile& host = DefaultHost());

  /// Sends GLOBAL_SETDOWN.
  ~Effect();
  Effect(const Effect&) = delete;
  Effect& operator=(const Effect&) = delete;

  const EffectLibrary& Library() const { return *library_; }
  A_u_long Version() const { return version_; }
  A_long OutFlags() const { return outFlags_; }
  A_long OutFlags2() const { return outFlags2_; }
  /// What the set-up left in the message field; mostly empty.
  const std::string& SetupMessage() const { return setupMessage_; }
  const std::vector<ControlDeclaration>& Controls() const { return controls_; }
  /// The effect's own input included, as PARAMS_SETUP reported it.
  A_long ParamCount() const { return static_cast<A_long>(controls_.size()) + 1; }

  bool SupportsSmartRender() const { return (outFlags2_ & PF_OutFlag2_SUPPORTS_SMART_RENDER) != 0; }
  bool SupportsThreadedRendering() const {
    return (outFlags2_ & PF_OutFlag2_SUPPORTS_THREADED_RENDERING) != 0;
  }
  /// It gives flat copies of its sequence data and keeps the data as it is.
  bool AnswersFlatCopies() const {
    return (outFlags2_ & PF_OutFlag2_SUPPORTS_GET_FLATTENED_SEQUENCE_DATA) != 0;
  }
  /// A held sequence is copied for every frame, since frames come at once.
  bool CopiesSequences() const { return SupportsThreadedRendering() && AnswersFlatCopies(); }
  bool SupportsDepth(Depth depth) const;
  /// The effect filters sound and has no picture.
  bool IsAudioOnly() const { return (outFlags_ & PF_OutFlag_AUDIO_EFFECT_ONLY) != 0; }

  /// ControlDefault, for those who have the effect at hand.
  ControlValue DefaultValue(  // NOLINT(readability-convert-member-functions-to-static)
      const ControlDeclaration& control, A_long frameWidth, A_long frameHeight) const {
    return ControlDefault(control, frameWidth, frameHeight);
  }

  /// The text the effect shows about itself.
  Expected<std::string> About() const;

  /// Sends any command without parameters, output or extra, and returns the answer; `message`,
  /// where given, receives what the effect wants shown.
  PF_Err Send(PF_Cmd command, std::string* message = nullptr) const;

  /// Handles and worlds of this host that the effect has now, over all of its frames.
  const std::shared_ptr<EffectHoldings>& Holdings() const { return holdings_; }

  /// The effect's own block, handed to every command.
  PF_Handle GlobalData() const { return globalData_; }

  /// What a session of this effect is about.
  SessionContext Context() const;

  // ---- Arbitrary data: values that only the effect understands, in their flat form ----

  /// The default of a control of arbitrary data; fails for other controls.
  Expected<FlatValue> DefaultData(PF_ParamIndex index) const;
  /// The value in words; many effects have none.
  Expected<std::string> DataText(PF_ParamIndex index, const FlatValue& value) const;
  Expected<FlatValue> DataFromText(PF_ParamIndex index, const std::string& text) const;
  /// Between two values, t from 0 to 1.
  Expected<FlatValue> DataBetween(PF_ParamIndex index, const FlatValue& left,
                                  const FlatValue& right, double t) const;
  /// What the effect's own copy of the value is.
  Expected<FlatValue> DataCopied(PF_ParamIndex index, const FlatValue& value) const;
  Expected<bool> SameData(PF_ParamIndex index, const FlatValue& a, const FlatValue& b) const;

  /// Held around Send, and around whole frames of an effect that does not declare threaded
  /// rendering.
  std::mutex& CommandMutex() const { return commandMutex_; }

 private:
  explicit Effect(std::shared_ptr<const EffectLibrary> library);
  Expected<bool> SetUp();
  void DisposeDefaults();
  bool HidesSequenceData() const;
  template <class Result, class Body>
  Expected<Result> AboutData(PF_ParamIndex index, Body body) const;

  std::shared_ptr<const EffectLibrary> library_;
  A_u_long version_ = 0;
  A_long outFlags_ = 0;
  A_long outFlags2_ = 0;
  std::string setupMessage_;
  std::vector<ControlDeclaration> controls_;
  PF_Handle globalData_ = nullptr;
  std::shared_ptr<EffectHoldings> holdings_ = std::make_shared<EffectHoldings>();
  bool isSetUp_ = false;
  mutable std::mutex commandMutex_;
};

}  // namespace veltra::host
