// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The commands of a frame's sequence.

#include "host/frame_sequence.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

namespace veltra::host {

std::mutex FrameSequence::mutex_;

// ---- Beginning and ending ----

bool FrameSequence::SetUp() {
  const std::lock_guard lock(mutex_);
  HeldSequence* held = settings_.sequence;
  if (held != nullptr && effect_.CopiesSequences()) {
    return CopyOf(*held);
  }
  if (held != nullptr) {
    return GoOn(*held);
  }
  if (!Begin()) {
    return false;
  }
  return Reopen() || End();
}

void FrameSequence::SetDown() {
  session_.DisposeValues();
  if (isHeld_) {
    settings_.sequence->data_ = session_.InData().sequence_data;
    return;
  }
  const std::lock_guard lock(mutex_);
  commands_.Send(PF_Cmd_SEQUENCE_SETDOWN, "SEQUENCE_SETDOWN", nullptr, nullptr);
}

/// A new sequence that knows what the user did.
bool FrameSequence::Begin() {
  if (!commands_.Send(PF_Cmd_SEQUENCE_SETUP, "SEQUENCE_SETUP", nullptr, nullptr)) {
    return false;
  }
  return TellChanges() || End();
}

/// After a failure the set-down still follows. False, for the failure.
bool FrameSequence::End() {
  session_.DisposeValues();
  commands_.Send(PF_Cmd_SEQUENCE_SETDOWN, "SEQUENCE_SETDOWN", nullptr, nullptr);
  return false;
}

/// The held sequence itself, set up by the first frame that works on it.
bool FrameSequence::GoOn(HeldSequence& held) {
  if (!held.isSetUp_) {
    if (!Begin()) {
      return false;
    }
    held.changedValues_ = session_.changedValues;
    held.isSetUp_ = true;
  } else {
    session_.SetSequenceData(held.data_);
    session_.changedValues = held.changedValues_;
  }
  isHeld_ = true;
  if (Reopen()) {
    return true;
  }
  SetDown();
  return false;
}

// ---- Copies ----

/// A sequence of this frame's own, made of a flat copy of the held one, as hosts do that render on
/// several threads. The held one is set up by the first frame and goes on living.
bool FrameSequence::CopyOf(HeldSequence& held) {
  if (!held.isSetUp_) {
    if (!Begin()) {
      return false;
    }
    std::unique_ptr<FlatValue> copy;
    bool isOwn = false;
    if (!TakeFlatCopy(copy, isOwn)) {
      return End();
    }
    held.flat_ = std::move(copy);
    held.data_ = session_.InData().sequence_data;
    held.changedValues_ = session_.changedValues;
    held.isSetUp_ = true;
  }
  session_.changedValues = held.changedValues_;
  return OpenStored(held.flat_.get()) || End();
}

/// Asks for a flat copy; the live data stays as it is. Null is the copy of no data. `isOwn` says
/// that the effect made one: one that hands out its live data gets that copied as it is.
bool FrameSequence::TakeFlatCopy(std::unique_ptr<FlatValue>& copy, bool& isOwn) {
  const PF_Handle live = session_.InData().sequence_data;
  if (!commands_.Send(PF_Cmd_GET_FLATTENED_SEQUENCE_DATA, "GET_FLATTENED_SEQUENCE_DATA", nullptr,
                      nullptr)) {
    return false;
  }
  const PF_Handle answered = session_.OutData().sequence_data;
  isOwn = answered != live || live == nullptr;
  if (!isOwn) {
    session_.accounts.Broke(Rule::kLiveSequenceAnswered);
  }
  if (answered != nullptr && !IsHandle(answered)) {
    commands_.Fail(PF_Err_BAD_CALLBACK_PARAM,
                   "the effect answers GET_FLATTENED_SEQUENCE_DATA with what is no handle");
    return false;
  }
  copy = BytesOfHandle(answered);
  if (isOwn && answered != nullptr) {
    DisposeHandle(answered);
  }
  return true;
}

// ---- Sequences that are saved and opened ----

/// What the settings ask for, as by saving and opening a project.
bool FrameSequence::Reopen() {
  const Reopening wanted = settings_.reopening;
  if (wanted == Reopening::kNever) {
    return true;
  }
  std::unique_ptr<FlatValue> stored;
  bool isOwn = false;
  const bool copies = effect_.AnswersFlatCopies() && wanted != Reopening::kByFlattening;
  if (copies && !TakeFlatCopy(stored, isOwn)) {
    return false;
  }
  if (wanted == Reopening::kCopiedOnly) {
    return true;
  }
  if (!copies || !isOwn) {
    return StoreByFlattening(stored) && OpenStored(stored.get());
  }
  commands_.Send(PF_Cmd_SEQUENCE_SETDOWN, "SEQUENCE_SETDOWN", nullptr, nullptr);
  return OpenStored(stored.get());
}

/// Stores the live data and ends its life. What is flat is the host's.
bool FrameSequence::StoreByFlattening(std::unique_ptr<FlatValue>& stored) {
  const bool flattens = (effect_.OutFlags() & PF_OutFlag_SEQUENCE_DATA_NEEDS_FLATTENING) != 0;
  if (flattens && !commands_.Send(PF_Cmd_SEQUENCE_FLATTEN, "SEQUENCE_FLATTEN", nullptr, nullptr)) {
    return false;
  }
  const PF_Handle data = session_.InData().sequence_data;
  stored = BytesOfHandle(data);
  if (flattens) {
    DisposeHandle(data);
  } else {
    // Without pointers inside the bytes are all there is; the first instance goes its own way.
    commands_.Send(PF_Cmd_SEQUENCE_SETDOWN, "SEQUENCE_SETDOWN", nullptr, nullptr);
  }
  return true;
}

/// Makes a sequence of what was stored; null is a sequence without data.
bool FrameSequence::OpenStored(const FlatValue* stored) {
  PF_Handle handle = nullptr;
  if (stored != nullptr) {
    handle = NewHandle(stored->size(), effect_.Holdings());
    if (handle == nullptr) {
      session_.SetSequenceData(nullptr);
      commands_.Fail(PF_Err_OUT_OF_MEMORY, "no memory for sequence data");
      return false;
    }
    std::copy(stored->begin(), stored->end(), static_cast<std::byte*>(HandleData(handle)));
  }
  session_.SetSequenceData(handle);
  session_.InData().in_flags = PF_InFlag_PROJECT_IS_RENDER_ONLY;
  const bool done = commands_.Send(PF_Cmd_SEQUENCE_RESETUP, "SEQUENCE_RESETUP", nullptr, nullptr);
  session_.InData().in_flags = 0;
  return done;
}

// ---- Changes by the user ----

bool FrameSequence::IsSupervised(PF_ParamIndex index) const {
  return index >= 1 && index < effect_.ParamCount() &&
         (effect_.Controls()[static_cast<std::size_t>(index - 1)].flags & PF_ParamFlag_SUPERVISE) !=
             0;
}

/// Tells the effect of the supervised controls that somebody set, one after the other, and then of
/// the buttons that were pressed.
bool FrameSequence::TellChanges() {
  const auto heard = [this](PF_ParamIndex index) { return IsSupervised(index); };
  const bool any =
      std::any_of(settings_.changedByUser.begin(), settings_.changedByUser.end(), heard) ||
      std::any_of(settings_.pressed.begin(), settings_.pressed.end(), heard);
  if (!any && !settings_.controlsShown) {
    return true;
  }
  if (any && !commands_.ReadInput()) {
    return false;
  }
  session_.InData().current_time = settings_.changeTime.value_or(settings_.currentTime);
  const bool done = TellEach(settings_.changedByUser, Take::kUnset) &&
                    TellEach(settings_.pressed, Take::kAll) && TellToUpdate();
  session_.InData().current_time = settings_.currentTime;
  return done;
}

template <class Indices>
bool FrameSequence::TellEach(const Indices& indices, Take take) {
  return std::all_of(indices.begin(), indices.end(), [&](PF_ParamIndex index) {
    PF_UserChangedParamExtra extra{index};
    return !IsSupervised(index) || SendChangeable(PF_Cmd_USER_CHANGED_PARAM, &extra, take);
  });
}

bool FrameSequence::TellToUpdate() {
  return (effect_.OutFlags() & PF_OutFlag_SEND_UPDATE_PARAMS_UI) == 0 ||
         SendChangeable(PF_Cmd_UPDATE_PARAMS_UI, nullptr, Take::kNone);
}

/// Sends a command with parameters that the effect may change.
bool FrameSequence::SendChangeable(PF_Cmd command, void* extra, Take take) {
  std::vector<PF_ParamDef> params(static_cast<std::size_t>(session_.ParamCount()));
  std::vector<PF_ParamDef*> pointers;
  bool done = true;
  {
    const SessionScope scope(&session_);
    for (PF_ParamIndex index = 0; done && index < session_.ParamCount(); ++index) {
      PF_ParamDef& param = params[static_cast<std::size_t>(index)];
      done = session_.FillChangeable(index, param);
      pointers.push_back(&param);
    }
  }
  pointers.push_back(nullptr);
  done = done && (command == PF_Cmd_UPDATE_PARAMS_UI
                      ? commands_.SendUpdate(pointers.data())
                      : commands_.Send(command, "USER_CHANGED_PARAM", pointers.data(), extra));
  const SessionScope scope(&session_);
  for (PF_ParamIndex index = 1; done && index < session_.ParamCount(); ++index) {
    const PF_ParamDef& param = params[static_cast<std::size_t>(index)];
    if ((param.uu.change_flags & PF_ChangeFlag_CHANGED_VALUE) != 0) {
      TakeChange(index, param, take);
    }
  }
  session_.DisposeChangeable();
  if (const std::string failure = session_.HostFailure(); !failure.empty()) {
    commands_.Fail(PF_Err_BAD_CALLBACK_PARAM, failure);
    return false;
  }
  return done;
}

/// Takes over a value that the effect has changed, where it may.
void FrameSequence::TakeChange(PF_ParamIndex index, const PF_ParamDef& param, Take take) {
  if (take == Take::kNone || (take == Take::kUnset && settings_.controls.contains(index))) {
    return;
  }
  if (settings_.keyframesOf && settings_.keyframesOf(index).size() > 1) {
    session_.FailWith("the press of a button changes '" +
                      effect_.Controls()[static_cast<std::size_t>(index - 1)].name +
                      "', which has keyframes (give it one value, or do not press)");
    return;
  }
  session_.TakeChangedValue(index, param);
}

// ---- Sequences over several frames ----

HeldSequence::~HeldSequence() {
  if (!isSetUp_) {
    return;
  }
  try {
    const std::lock_guard lock(effect_.CommandMutex());
    Session session(effect_.Context(), nullptr);
    session.SetSequenceData(data_);
    session.Send(effect_.Library().MainEntry(), PF_Cmd_SEQUENCE_SETDOWN);
  } catch (const std::bad_alloc&) {
    // Without memory for the command the effect goes without it.
  }
}

}  // namespace veltra::host
