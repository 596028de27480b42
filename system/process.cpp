// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Starts programs and talks to them through pipes.
#include "system/process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>

#include "base/error.h"
#include "base/text.h"
#include "system/interrupt.h"

extern char** environ;  // NOLINT(readability-redundant-declaration): not every libc has it

namespace veltra {
namespace {

constexpr int kPipeBytes = 1 << 20;
constexpr int kPollMilliseconds = 100;  // how soon Ctrl-C is noticed
constexpr int kSignalExitBase = 128;

/// The attributes and file actions of a start, given back at its end.
struct SpawnPlan {
  posix_spawn_file_actions_t files{};
  posix_spawnattr_t attributes{};

  SpawnPlan() {
    posix_spawn_file_actions_init(&files);
    posix_spawnattr_init(&attributes);
    // Ctrl-C is ours to handle, and a pipe that nobody reads should end the child.
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setpgroup(&attributes, 0);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
  }
  SpawnPlan(const SpawnPlan&) = delete;
  SpawnPlan& operator=(const SpawnPlan&) = delete;
  ~SpawnPlan() {
    posix_spawn_file_actions_destroy(&files);
    posix_spawnattr_destroy(&attributes);
  }
};

}  // namespace

Process::Process(const std::vector<std::string>& arguments, Pipe pipe) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw RenderError(Text(arguments[0], ": ", ReasonText(errno)));
  }
  static_cast<void>(fcntl(ends[0], F_SETPIPE_SZ, kPipeBytes));  // larger is only quicker
  const bool reading = pipe == Pipe::kFromChild;
  file_ = reading ? ends[0] : ends[1];
  const int theirs = reading ? ends[1] : ends[0];
  errors_ = memfd_create("complaints", MFD_CLOEXEC);
  SpawnPlan plan;
  posix_spawn_file_actions_addopen(&plan.files, reading ? STDIN_FILENO : STDOUT_FILENO, "/dev/null",
                                   O_RDWR, 0);
  posix_spawn_file_actions_adddup2(&plan.files, theirs, reading ? STDOUT_FILENO : STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&plan.files, errors_, STDERR_FILENO);
  std::vector<char*> values;
  values.reserve(arguments.size() + 1);
  for (const std::string& argument : arguments) {
    values.push_back(const_cast<char*>(argument.c_str()));  // posix_spawn does not write to them
  }
  values.push_back(nullptr);
  const int failure =
      posix_spawnp(&pid_, values[0], &plan.files, &plan.attributes, values.data(), environ);
  close(theirs);
  if (failure != 0) {
    pid_ = -1;
    close(file_);
    close(errors_);
    throw RenderError(failure == ENOENT
                          ? Text(arguments[0], ": not found (videos need the ffmpeg package)")
                          : Text(arguments[0], ": ", ReasonText(failure)));
  }
}

Process::~Process() {
  if (file_ >= 0) {
    close(file_);
  }
  if (pid_ > 0) {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  close(errors_);
}

/// Waits until the pipe is ready, and looks for Ctrl-C meanwhile.
void Process::WaitFor(short events) const {
  for (;;) {
    ThrowIfInterrupted();
    pollfd waiting{file_, events, 0};
    if (poll(&waiting, 1, kPollMilliseconds) > 0) {
      return;
    }
  }
}

std::size_t Process::Read(void* out, std::size_t size) {
  std::size_t done = 0;
  while (done < size) {
    WaitFor(POLLIN);
    const ssize_t got = read(file_, static_cast<std::byte*>(out) + done, size - done);
    if (got > 0) {
      done += static_cast<std::size_t>(got);
    } else if (got == 0 || errno != EINTR) {
      break;
    }
  }
  return done;
}

bool Process::Write(const void* bytes, std::size_t size) {
  const auto* next = static_cast<const std::byte*>(bytes);
  while (size != 0) {
    WaitFor(POLLOUT);
    // No more than the pipe surely has room for, so that a stuck child does not hold us.
    const ssize_t put = write(file_, next, std::min<std::size_t>(size, PIPE_BUF));
    if (put >= 0) {
      next += put;
      size -= static_cast<std::size_t>(put);
    } else if (errno != EINTR) {
      return false;
    }
  }
  return true;
}

int Process::Finish() {
  if (file_ >= 0) {
    close(file_);
    file_ = -1;
  }
  if (pid_ <= 0) {
    return 0;
  }
  int status = 0;
  constexpr useconds_t kPause = 20000;
  int waited = 0;
  while ((waited = waitpid(pid_, &status, WNOHANG)) == 0) {
    ThrowIfInterrupted();
    usleep(kPause);
  }
  pid_ = -1;
  if (waited < 0) {
    return kExitFailed;
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : kSignalExitBase + WTERMSIG(status);
}

std::string Process::Complaint() const {
  constexpr std::size_t kMostComplaint = 1024;
  std::string text(kMostComplaint, '\0');
  const ssize_t got = pread(errors_, text.data(), text.size(), 0);
  text.resize(static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
  text.resize(std::min(text.find('\n'), text.size()));
  // ffmpeg puts "[part @ 0x5581] " before what it says.
  const std::size_t part = text.find("] ");
  if (text.starts_with('[') && part != std::string::npos) {
    text.erase(0, part + 2);
  }
  while (!text.empty() && (text.back() == ' ' || text.back() == '.')) {
    text.pop_back();
  }
  return text;
}

std::string OutputOf(const std::vector<std::string>& arguments, const std::string& what) {
  Process process(arguments, Process::Pipe::kFromChild);
  std::string text;
  std::array<char, 4096> block{};
  std::size_t got = 0;
  while ((got = process.Read(block.data(), block.size())) > 0) {
    text.append(block.data(), got);
  }
  if (process.Finish() != 0) {
    const std::string complaint = process.Complaint();
    throw RenderError(
        Text(what, ": not a readable video", complaint.empty() ? "" : Text(" (", complaint, ")")));
  }
  return text;
}

}  // namespace veltra
