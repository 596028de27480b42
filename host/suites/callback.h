// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The frame around a callback's body: session, hooks, exceptions.
#pragma once

#include "host/base/guarded.h"
#include "host/pixels/world_view.h"
#include "host/session/session.h"

namespace veltra::host {

/// Runs body(session) for a reference of this host, unless the hooks refuse the call.
/// PF_Err_BAD_CALLBACK_PARAM without a session or where the arguments are not `usable`.
template <class Body>
PF_Err Serve(PF_ProgPtr ref, HostCall call, bool usable, Body body) noexcept {
  Session* session = Session::From(ref);
  if (session == nullptr || !usable) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  return Guarded([&]() -> PF_Err {
    if (const PF_Err refused = session->Ask(call)) {
      return refused;
    }
    return body(*session);
  });
}

/// What the hooks of this thread's session say to a call that passes no reference; PF_Err_NONE
/// where no session is at work.
inline PF_Err AskCurrent(HostCall call) {
  Session* session = Session::Current();
  return session != nullptr ? session->Ask(call) : PF_Err_NONE;
}

/// What the hooks say to a call that needs no session; PF_Err_NONE without one.
inline PF_Err AskOf(PF_ProgPtr ref, HostCall call) noexcept {
  Session* session = Session::From(ref);
  return session == nullptr ? PF_Err_NONE : Guarded([&]() -> PF_Err { return session->Ask(call); });
}

}  // namespace veltra::host
