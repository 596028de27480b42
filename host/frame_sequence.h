// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A frame's sequence: its set-up and set-down, what the user changed in it, and how it is stored,
// opened and copied.
#pragma once

#include <mutex>
#include <string>

#include "base/expected.h"
#include "host/effect.h"
#include "host/renderer.h"

namespace veltra::host {

/// What a frame's parts ask of the frame.
class FrameCommands {
 public:
  virtual ~FrameCommands() = default;
  /// Sends a command; a failure becomes the frame's.
  virtual bool Send(PF_Cmd command, const char* name, PF_ParamDef** params, void* extra) = 0;
  /// The same for UPDATE_PARAMS_UI: a failure is told and ends no frame, since pictures do not
  /// depend on what the controls look like.
  virtual bool SendUpdate(PF_ParamDef** params) = 0;
  /// Makes this the frame's failure, unless it has one already.
  virtual void Fail(PF_Err error, const std::string& text) = 0;
  /// Has the frame read; what prevents it becomes the frame's failure.
  virtual bool ReadInput() = 0;
};

/// The sequence of one frame, within the frame's session. All failures go to `commands`.
class FrameSequence {
 public:
  FrameSequence(const Effect& effect, const RenderSettings& settings, Session& session,
                FrameCommands& commands)
      : effect_(effect), settings_(settings), session_(session), commands_(commands) {}

  /// Gives the session its sequence data: a new sequence's, the held one's, or a copy of that.
  /// After a failure there is nothing to set down.
  bool SetUp();
  /// Sets the sequence down, unless it is held.
  void SetDown();

 private:
  /// Which of the changes that an effect makes are taken.
  enum class Take { kNone, kUnset, kAll };

  bool Begin();
  bool GoOn(HeldSequence& held);
  bool CopyOf(HeldSequence& held);
  bool Reopen();
  bool OpenStored(const FlatValue* stored);
  bool StoreByFlattening(std::unique_ptr<FlatValue>& stored);
  bool TakeFlatCopy(std::unique_ptr<FlatValue>& copy, bool& isOwn);
  bool End();

  bool IsSupervised(PF_ParamIndex index) const;
  bool TellChanges();
  template <class Indices>
  bool TellEach(const Indices& indices, Take take);
  bool TellToUpdate();
  bool SendChangeable(PF_Cmd command, void* extra, Take take);
  void TakeChange(PF_ParamIndex index, const PF_ParamDef& param, Take take);

  // Sequences are set up one at a time, whichever effects they are of.
  static std::mutex mutex_;

  const Effect& effect_;
  const RenderSettings& settings_;
  Session& session_;
  FrameCommands& commands_;
  bool isHeld_ = false;  ///< the session works on the held sequence itself
};

}  // namespace veltra::host
