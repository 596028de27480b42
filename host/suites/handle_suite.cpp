// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Handles as effects call for them.

#include "host/suites/handle_suite.h"

#include "host/suites/callback.h"

namespace veltra::host {
namespace {

PF_Handle New(std::uint64_t size) noexcept {
  PF_Handle handle = nullptr;
  Guarded([&]() -> PF_Err {
    if (const PF_Err refused = AskCurrent(HostCall::kNewHandle)) {
      return refused;
    }
    Session* session = Session::Current();
    handle = NewHandle(size, session != nullptr ? session->Holdings() : nullptr);
    if (session != nullptr && handle != nullptr) {
      session->accounts.Count(&RenderDiagnostics::handlesMade);
    }
    return PF_Err_NONE;
  });
  return handle;
}

void* Lock(PF_Handle handle) noexcept {
  return HandleData(handle);
}

void Unlock(PF_Handle) noexcept {}

void Dispose(PF_Handle handle) noexcept {
  if (handle == nullptr) {
    return;
  }
  Guarded([&]() -> PF_Err {
    const bool ours = DisposeHandle(handle);
    if (Session* session = Session::Current()) {
      if (ours) {
        session->accounts.Count(&RenderDiagnostics::handlesDisposed);
      } else {
        session->accounts.Broke(Rule::kForeignHandle);
      }
    }
    return PF_Err_NONE;
  });
}

std::uint64_t Size(PF_Handle handle) noexcept {
  return HandleSize(handle);
}

PF_Err Resize(std::uint64_t size, PF_Handle* handle) noexcept {
  if (handle == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  return Guarded([&]() -> PF_Err {
    if (const PF_Err refused = AskCurrent(HostCall::kResizeHandle)) {
      return refused;
    }
    return ResizeHandle(*handle, size);
  });
}

constexpr PF_HandleSuite1 kTable{&New, &Lock, &Unlock, &Dispose, &Size, &Resize};

}  // namespace

const PF_HandleSuite1& HandleFunctions() {
  return kTable;
}

}  // namespace veltra::host
