// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The callbacks that lie in the in-data itself: parameters, abort and progress.

#include "host/session/control_declaration.h"
#include "host/suites/callback.h"
#include "host/suites/tables.h"

namespace veltra::host {
namespace {

PF_Err CheckoutParam(PF_ProgPtr ref, PF_ParamIndex index, A_long time, A_long /*step*/,
                     A_u_long scale, PF_ParamDef* param) noexcept {
  Session* session = Session::From(ref);
  if (session == nullptr || param == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  return Guarded([&]() -> PF_Err {
    if (const PF_Err refused = session->Ask(HostCall::kCheckoutParam, index)) {
      return refused;
    }
    if (!session->FillParam(index, time, scale, *param)) {
      session->accounts.Broke(Rule::kUnknownParameter);
      return PF_Err_INVALID_INDEX;
    }
    session->accounts.Count(&RenderDiagnostics::paramCheckouts);
    return PF_Err_NONE;
  });
}

PF_Err CheckinParam(PF_ProgPtr ref, PF_ParamDef* param) noexcept {
  Session* session = Session::From(ref);
  if (session == nullptr || param == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  return Guarded([&]() -> PF_Err {
    // Whatever is answered, the parameter has come back.
    session->accounts.Count(&RenderDiagnostics::paramCheckins);
    return session->Ask(HostCall::kCheckinParam);
  });
}

PF_Err AddParam(PF_ProgPtr ref, PF_ParamIndex index, PF_ParamDef* param) noexcept {
  Session* session = Session::From(ref);
  if (session == nullptr || param == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  return Guarded([&]() -> PF_Err {
    if (session->addedControls == nullptr) {
      session->accounts.Broke(Rule::kParameterAddedLate);
      return PF_Err_INVALID_CALLBACK;
    }
    auto& controls = *session->addedControls;
    const auto count = static_cast<PF_ParamIndex>(controls.size());
    if (index < -1 || index > count) {
      return PF_Err_INVALID_INDEX;
    }
    controls.insert(controls.begin() + (index == -1 ? count : index), DescribeControl(*param));
    return PF_Err_NONE;
  });
}

PF_Err Abort(PF_ProgPtr ref) noexcept {
  Session* session = Session::From(ref);
  if (session == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  return Guarded([&]() -> PF_Err {
    if (session->Ask(HostCall::kAbort) != PF_Err_NONE) {
      session->MarkCancelled();
    }
    return session->Aborted() ? PF_Interrupt_CANCEL : PF_Err_NONE;
  });
}

PF_Err Progress(PF_ProgPtr ref, A_long current, A_long total) noexcept {
  Session* session = Session::From(ref);
  if (session == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  return Guarded([&]() -> PF_Err {
    if (session->Ask(HostCall::kProgress) != PF_Err_NONE) {
      session->MarkCancelled();
    }
    session->ReportProgress(current, total);
    return session->Aborted() ? PF_Interrupt_CANCEL : PF_Err_NONE;
  });
}

// ---- Own user interfaces and sound, of which there is none ----

/// Effects return this from PARAMS_SETUP, so a host without a screen agrees. The record is not
/// looked at: samples leave fields uninitialised.
PF_Err RegisterUi(PF_ProgPtr ref, void* info) noexcept {
  return Serve(ref, HostCall::kRegisterUi, info != nullptr,
               [](Session&) -> PF_Err { return PF_Err_NONE; });
}

char silence;

PF_Err CheckoutLayerAudio(PF_ProgPtr ref, PF_ParamIndex, A_long, A_long, A_u_long, A_u_long, A_long,
                          A_long, A_long, void** audio) noexcept {
  if (Session::From(ref) == nullptr || audio == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  *audio = nullptr;
  if (const PF_Err refused = AskOf(ref, HostCall::kCheckoutLayerAudio)) {
    return refused;
  }
  *audio = &silence;
  return PF_Err_NONE;
}

PF_Err CheckinLayerAudio(PF_ProgPtr, void*) noexcept {
  return PF_Err_NONE;
}

template <class Value>
void SetIfWanted(Value* out, Value value) {
  if (out != nullptr) {
    *out = value;
  }
}

/// No samples at all, at the rate of compact discs.
PF_Err GetAudioData(PF_ProgPtr, void*, void** data, A_long* samples, A_u_long* rate,
                    A_long* bytesPerSample, A_long* channels, A_long* isSigned) noexcept {
  SetIfWanted<void*>(data, nullptr);
  SetIfWanted(samples, 0);
  SetIfWanted(rate, A_u_long{44100} << 16);
  SetIfWanted(bytesPerSample, 2);
  SetIfWanted(channels, 2);
  SetIfWanted(isSigned, 1);
  return PF_Err_NONE;
}

PF_InteractCallbacks MakeTable() {
  PF_InteractCallbacks table{};
  table.checkout_param = &CheckoutParam;
  table.checkin_param = &CheckinParam;
  table.add_param = &AddParam;
  table.abort = &Abort;
  table.progress = &Progress;
  table.register_ui = &RegisterUi;
  table.checkout_layer_audio = &CheckoutLayerAudio;
  table.checkin_layer_audio = &CheckinLayerAudio;
  table.get_audio_data = &GetAudioData;
  return table;
}

}  // namespace

const PF_InteractCallbacks& InteractCallbacks() {
  static const PF_InteractCallbacks table = MakeTable();
  return table;
}

}  // namespace veltra::host
