// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Exceptions that nobody handled, and abort().
#include "system/crash_report.h"

#include <csignal>

#include "base/error.h"
#include "base/text.h"
#include "system/temporary_files.h"
#include "system/windows_api.h"

namespace veltra {
namespace {

/// What the line starts with; put together before it is needed.
std::string& LineStart() {
  static std::string start;
  return start;
}

void WriteError(std::string_view text) {
  DWORD written = 0;
  WriteFile(GetStdHandle(STD_ERROR_HANDLE), text.data(), static_cast<DWORD>(text.size()), &written,
            nullptr);
}

[[noreturn]] void EndCrashed(std::string_view words) {
  // The line first: what follows may fail in a process that is broken.
  WriteError(LineStart());
  WriteError(words);
  WriteError("\n");
  RemoveTemporaryFiles();
  TerminateProcess(GetCurrentProcess(), kExitFailed);
  for (;;) {
    Sleep(INFINITE);
  }
}

LONG WINAPI OnException(EXCEPTION_POINTERS* exception) {
  const std::string_view name = ExceptionName(exception->ExceptionRecord->ExceptionCode);
  EndCrashed(name.empty() ? "exception" : name);
}

void OnAbort(int /*signal*/) {
  EndCrashed("aborted");
}

}  // namespace

void ReportCrashes(const std::string& name) {
  RemoveTemporaryFiles();  // made before a handler can need it; there are none yet
  LineStart() = Text("veltra: ", name, ": crashed: ");
  // A stack that has run over keeps this much for the handler.
  ULONG kept = ULONG{1} << 16U;
  SetThreadStackGuarantee(&kept);
  // Nobody answers a message box about a fault.
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
  SetUnhandledExceptionFilter(OnException);
  std::signal(SIGABRT, OnAbort);
}

}  // namespace veltra
