// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Runs a program in this console and presses keys there once a file is there.
//
// usage: press_key KEYS FILE PROGRAM ARGUMENT...    KEYS are letters, pressed at once: c is
// Ctrl-C, b Ctrl-Break, x closes the console; the exit code is the program's
#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <cwchar>
#include <string>

namespace {

int Fail(const char* what) {
  std::fprintf(stderr, "%s: error %lu\n", what, GetLastError());
  return 99;
}

/// The rest of our own command line, as it stands.
wchar_t* AfterWords(int words) {
  wchar_t* rest = GetCommandLineW();
  for (int i = 0; i < words; ++i) {
    const wchar_t end = *rest == L'"' ? L'"' : L' ';
    rest += end == L'"' ? 1 : 0;
    while (*rest != 0 && *rest != end) {
      ++rest;
    }
    rest += *rest != 0 && end == L'"' ? 1 : 0;
    while (*rest == L' ') {
      ++rest;
    }
  }
  return rest;
}

bool Press(wchar_t key, HANDLE program) {
  if (key == L'c') {
    return GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0) != 0;
  }
  // Wine's console knows Ctrl-C alone. The other events come as a real console sends them: on a
  // thread in the program that begins in this function.
  const DWORD event = key == L'b' ? CTRL_BREAK_EVENT : CTRL_CLOSE_EVENT;
  using AnyFunction = void (*)();
  const auto routine = reinterpret_cast<LPTHREAD_START_ROUTINE>(reinterpret_cast<AnyFunction>(
      GetProcAddress(GetModuleHandleW(L"kernelbase.dll"), "CtrlRoutine")));
  HANDLE thread = nullptr;
  if (routine != nullptr) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): a thread's argument is a pointer.
    thread =
        CreateRemoteThread(program, nullptr, 0, routine,
                           reinterpret_cast<void*>(static_cast<std::uintptr_t>(event)), 0, nullptr);
  }
  return thread != nullptr && CloseHandle(thread) != 0;
}

}  // namespace

int wmain(int count, wchar_t** values) {
  if (count < 4) {
    return Fail("usage");
  }
  PROCESS_INFORMATION child{};
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  if (CreateProcessW(nullptr, AfterWords(3), nullptr, nullptr, TRUE, CREATE_SUSPENDED, nullptr,
                     nullptr, &startup, &child) == 0) {
    return Fail("CreateProcess");
  }
  // It does not outlive us, however we end.
  JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
  limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
  HANDLE job = CreateJobObjectW(nullptr, nullptr);
  SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof(limits));
  AssignProcessToJobObject(job, child.hProcess);
  ResumeThread(child.hThread);
  SetConsoleCtrlHandler([](DWORD) -> BOOL { return TRUE; }, TRUE);  // we ourselves stay
  constexpr DWORD kPatience = 20;                                   // milliseconds between looks
  bool pressed = false;
  while (WaitForSingleObject(child.hProcess, kPatience) != WAIT_OBJECT_0) {
    if (!pressed && GetFileAttributesW(values[2]) != INVALID_FILE_ATTRIBUTES) {
      pressed = true;
      for (const wchar_t* key = values[1]; *key != 0; ++key) {
        if (!Press(*key, child.hProcess)) {
          return Fail("pressing");
        }
      }
    }
  }
  DWORD code = 0;
  GetExitCodeProcess(child.hProcess, &code);
  return static_cast<int>(code);
}
