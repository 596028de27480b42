// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Preloaded into the program: lets the n-th call of one kind fail, VELTRA_FAIL=write:17, and writes
// how many there were to the file VELTRA_CALLS. Calls count from the moment the program catches
// signals, that is, from the beginning of a render.
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/types.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

std::atomic<bool> counting{false};
std::atomic<long> calls{0};
long failAt = 0;
char kind[16] = "";

/// The next definition of a function after ours.
template <class Function>
Function* Next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

/// Counts a call of a kind; true when it is the one to fail.
bool Fails(const char* of) {
  if (!counting.load(std::memory_order_relaxed) || std::strcmp(of, kind) != 0) {
    return false;
  }
  return calls.fetch_add(1) + 1 == failAt;
}

void TellCalls() {
  const char* path = std::getenv("VELTRA_CALLS");
  counting = false;
  std::FILE* file = path != nullptr ? std::fopen(path, "w") : nullptr;
  if (file != nullptr) {
    std::fprintf(file, "%ld\n", calls.load());
    std::fclose(file);
  }
}

__attribute__((constructor)) void ReadSettings() {
  const char* text = std::getenv("VELTRA_FAIL");
  const char* colon = text != nullptr ? std::strchr(text, ':') : nullptr;
  // Programs that the program starts are not to fail.
  if (colon != nullptr && std::strcmp(program_invocation_short_name, "veltra") == 0) {
    std::snprintf(kind, sizeof kind, "%.*s", static_cast<int>(colon - text), text);
    failAt = std::strtol(colon + 1, nullptr, 10);
    std::atexit(TellCalls);
  }
}

}  // namespace

extern "C" {

int sigaction(int number, const struct sigaction* action, struct sigaction* old) {
  static auto* const next = Next<int(int, const struct sigaction*, struct sigaction*)>("sigaction");
  counting = counting || number == SIGINT;
  return next(number, action, old);
}

void* malloc(std::size_t size) {
  static auto* const next = Next<void*(std::size_t)>("malloc");
  if (Fails("malloc")) {
    errno = ENOMEM;
    return nullptr;
  }
  return next(size);
}

int open(const char* path, int flags, ...) {
  static auto* const next = Next<int(const char*, int, ...)>("open");
  va_list list;
  va_start(list, flags);
  const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(list, mode_t) : 0;
  va_end(list);
  if (Fails("open")) {
    errno = EMFILE;
    return -1;
  }
  return next(path, flags, mode);
}

ssize_t read(int file, void* to, std::size_t size) {
  static auto* const next = Next<ssize_t(int, void*, std::size_t)>("read");
  if (Fails("read")) {
    errno = EIO;
    return -1;
  }
  return next(file, to, size);
}

ssize_t pread(int file, void* to, std::size_t size, off_t at) {
  static auto* const next = Next<ssize_t(int, void*, std::size_t, off_t)>("pread");
  if (Fails("pread")) {
    errno = EIO;
    return -1;
  }
  return next(file, to, size, at);
}

ssize_t write(int file, const void* from, std::size_t size) {
  static auto* const next = Next<ssize_t(int, const void*, std::size_t)>("write");
  if (Fails("write")) {
    errno = ENOSPC;
    return -1;
  }
  return next(file, from, size);
}

int fsync(int file) {
  static auto* const next = Next<int(int)>("fsync");
  if (Fails("fsync")) {
    errno = EIO;
    return -1;
  }
  return next(file);
}

int rename(const char* from, const char* to) {
  static auto* const next = Next<int(const char*, const char*)>("rename");
  if (Fails("rename")) {
    errno = EACCES;
    return -1;
  }
  return next(from, to);
}

int pipe2(int* ends, int flags) {
  static auto* const next = Next<int(int*, int)>("pipe2");
  if (Fails("pipe2")) {
    errno = EMFILE;
    return -1;
  }
  return next(ends, flags);
}

int posix_spawnp(pid_t* process, const char* program, const posix_spawn_file_actions_t* files,
                 const posix_spawnattr_t* attributes, char* const arguments[],
                 char* const environment[]) {
  static auto* const next =
      Next<int(pid_t*, const char*, const posix_spawn_file_actions_t*, const posix_spawnattr_t*,
               char* const*, char* const*)>("posix_spawnp");
  return Fails("spawn") ? EAGAIN
                        : next(process, program, files, attributes, arguments, environment);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*),
                   void* argument) {
  static auto* const next =
      Next<int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)>("pthread_create");
  return Fails("thread") ? EAGAIN : next(thread, attributes, start, argument);
}

}  // extern "C"
