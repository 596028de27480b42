// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Starts programs and talks to them through pipes.
#include "system/process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): kill() is not in <csignal>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <thread>
#include <utility>

#include "base/error.h"
#include "base/text.h"
#include "system/interrupt.h"
#include "system/process_lines.h"

extern char** environ;  // NOLINT(readability-redundant-declaration): not every libc has it

namespace veltra {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kReportFd = 3;  // the number under which a child finds the pipe to its parent
constexpr int kPipeBytes = 1 << 20;
constexpr int kPollMilliseconds = 50;  // how soon an end, a deadline or Ctrl-C is noticed
constexpr std::size_t kErrorsKept = std::size_t{1} << 16;

// ---- Descriptors ----

/// A descriptor that is closed with its owner.
class File {
 public:
  File() = default;
  explicit File(int number) : number_(number) {}
  ~File() { Close(); }
  File(File&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  File& operator=(File&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }

  int Number() const { return number_; }
  bool Valid() const { return number_ >= 0; }
  void Close() {
    if (number_ >= 0) {
      close(std::exchange(number_, -1));
    }
  }

 private:
  int number_ = -1;
};

/// Low numbers are those that the child's own descriptors will have.
File Lifted(File file) {
  if (!file.Valid() || file.Number() > kReportFd) {
    return file;
  }
  return File(fcntl(file.Number(), F_DUPFD_CLOEXEC, kReportFd + 1));
}

struct PipeEnds {
  File read;
  File write;

  PipeEnds() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) == 0) {
      read = Lifted(File(ends[0]));
      write = Lifted(File(ends[1]));
    }
  }
  bool Valid() const { return read.Valid() && write.Valid(); }
};

/// What came in on one descriptor since the last time; false at its end.
bool ReadSome(const File& file, std::string& into) {
  std::array<char, 4096> block{};
  const ssize_t count = read(file.Number(), block.data(), block.size());
  if (count > 0) {
    into.append(block.data(), static_cast<std::size_t>(count));
    return true;
  }
  return count < 0 && errno == EINTR;
}

// ---- Starting and ending ----

/// The attributes and file actions of a start, given back at its end.
class SpawnPlan {
 public:
  SpawnPlan() {
    posix_spawn_file_actions_init(&files_);
    posix_spawnattr_init(&attributes_);
    // A pipe that nobody reads should end the child, whatever it means to us.
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes_, &defaults);
    posix_spawnattr_setpgroup(&attributes_, 0);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
  }
  SpawnPlan(const SpawnPlan&) = delete;
  SpawnPlan& operator=(const SpawnPlan&) = delete;
  ~SpawnPlan() {
    posix_spawn_file_actions_destroy(&files_);
    posix_spawnattr_destroy(&attributes_);
  }

  void Nothing(int as) { posix_spawn_file_actions_addopen(&files_, as, "/dev/null", O_RDWR, 0); }
  void Hand(const File& file, int as) {
    posix_spawn_file_actions_adddup2(&files_, file.Number(), as);
  }
  /// Starts `arguments[0]`, sought on the path where it has no slash. Returns 0 and the id, or an
  /// error number.
  int Start(const std::vector<std::string>& arguments, pid_t& child) const {
    std::vector<char*> words;
    words.reserve(arguments.size() + 1);
    for (const std::string& argument : arguments) {
      words.push_back(const_cast<char*>(argument.c_str()));  // posix_spawn does not write to them
    }
    words.push_back(nullptr);
    return posix_spawnp(&child, words[0], &files_, &attributes_, words.data(), environ);
  }

 private:
  posix_spawn_file_actions_t files_{};
  posix_spawnattr_t attributes_{};
};

std::string SignalText(int number) {
  std::string text = strsignal(number);
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  const char* name = sigabbrev_np(number);
  return name != nullptr ? Text(text, " (SIG", name, ")") : text;
}

void TakeStatus(int status, ProcessEnd& end) {
  if (WIFSIGNALED(status)) {
    end.how = ProcessEnd::How::kSignalled;
    end.signal = SignalText(WTERMSIG(status));
  } else {
    end.how = ProcessEnd::How::kExited;
    end.status = WEXITSTATUS(status);
  }
}

/// A child that is killed and waited for with its owner.
class Child {
 public:
  Child() = default;
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  ~Child() { Kill(); }

  int Start(const SpawnPlan& plan, const std::vector<std::string>& arguments) {
    return plan.Start(arguments, id_);
  }
  bool HasEnded() const {
    siginfo_t info{};
    return waitid(P_PID, static_cast<id_t>(id_), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           info.si_pid == id_;
  }
  bool Runs() const { return id_ > 0; }
  /// Waits for its end and ends what it has started; false when the time is over.
  bool WaitUntil(Clock::time_point deadline, ProcessEnd& end) {
    while (!HasEnded()) {
      ThrowIfInterrupted();
      if (Clock::now() >= deadline) {
        return false;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    TakeStatus(Kill(), end);
    return true;
  }
  /// Returns the status as waitpid has it; zero where there is no child.
  int Kill() {
    int status = 0;
    if (id_ > 0) {
      kill(-id_, SIGKILL);
      waitpid(std::exchange(id_, -1), &status, 0);
    }
    return status;
  }

 private:
  pid_t id_ = -1;
};

// ---- Lines of a child ----

/// Time for one wait: to the deadline, but soon enough to see that the child has ended.
int WaitMilliseconds(Clock::time_point deadline) {
  const auto left =
      std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count() + 1;
  return static_cast<int>(std::clamp<std::int64_t>(left, 0, kPollMilliseconds));
}

/// Passes on what the child says until it closes both pipes or ends (what it has started may keep
/// the pipes open for longer); false when the time is over.
bool Listen(const Child& child, File& report, File& output, Clock::time_point deadline,
            ProcessEnd& end, const std::function<void(std::string_view)>& onLine) {
  std::string lines;
  bool ended = false;
  while (report.Valid() || output.Valid()) {
    std::array<pollfd, 2> waits{pollfd{report.Number(), POLLIN, 0},
                                pollfd{output.Number(), POLLIN, 0}};
    const int ready = poll(waits.data(), waits.size(), WaitMilliseconds(deadline));
    ThrowIfInterrupted();
    if (Clock::now() >= deadline) {
      return false;
    }
    if (ready <= 0) {
      // What it said last may have come in after this wait: only the next one tells.
      if (std::exchange(ended, child.HasEnded())) {
        return true;
      }
      continue;
    }
    if (waits[0].revents != 0 && !ReadSome(report, lines)) {
      report.Close();
    }
    if (waits[1].revents != 0 && !ReadSome(output, end.output)) {
      output.Close();
    }
    TakeLines(lines, onLine);
    KeepTail(end.output);
  }
  return true;
}

}  // namespace

// ---- A program with a pipe ----

struct Process::State {
  Child child;
  File pipe;
  File errors;  ///< a file in memory, so that a program that complains never waits for us
  ProcessEnd end;

  /// Waits until the pipe is ready, and looks for Ctrl-C meanwhile.
  void WaitFor(short events) const {
    for (;;) {
      ThrowIfInterrupted();
      pollfd waiting{pipe.Number(), events, 0};
      if (poll(&waiting, 1, kPollMilliseconds) > 0) {
        return;
      }
    }
  }
};

Process::Process(const std::vector<std::string>& arguments, Pipe pipe)
    : state_(std::make_unique<State>()) {
  PipeEnds ends;
  state_->errors = Lifted(File(memfd_create("errors", MFD_CLOEXEC)));
  if (!ends.Valid() || !state_->errors.Valid()) {
    throw RenderError(Text(arguments[0], ": ", ReasonText(errno)));
  }
  static_cast<void>(fcntl(ends.read.Number(), F_SETPIPE_SZ, kPipeBytes));  // only quicker
  const bool reading = pipe == Pipe::kFromChild;
  state_->pipe = std::move(reading ? ends.read : ends.write);
  const File theirs = std::move(reading ? ends.write : ends.read);
  // A stuck child must not hold us within a call.
  static_cast<void>(fcntl(state_->pipe.Number(), F_SETFL, O_NONBLOCK));
  SpawnPlan plan;
  plan.Nothing(reading ? STDIN_FILENO : STDOUT_FILENO);
  plan.Hand(theirs, reading ? STDOUT_FILENO : STDIN_FILENO);
  plan.Hand(state_->errors, STDERR_FILENO);
  const int failure = state_->child.Start(plan, arguments);
  if (failure == ENOENT) {
    throw ProgramNotFound(Text(arguments[0], ": not found"));
  }
  if (failure != 0) {
    throw RenderError(Text(arguments[0], ": ", ReasonText(failure)));
  }
}

Process::~Process() = default;

std::size_t Process::Read(void* out, std::size_t size) {
  std::size_t done = 0;
  while (done < size) {
    state_->WaitFor(POLLIN);
    const ssize_t got =
        read(state_->pipe.Number(), static_cast<std::byte*>(out) + done, size - done);
    if (got > 0) {
      done += static_cast<std::size_t>(got);
    } else if (got == 0 || (errno != EINTR && errno != EAGAIN)) {
      break;
    }
  }
  return done;
}

bool Process::Write(const void* bytes, std::size_t size) {
  const auto* next = static_cast<const std::byte*>(bytes);
  while (size != 0) {
    state_->WaitFor(POLLOUT);
    const ssize_t put = write(state_->pipe.Number(), next, size);
    if (put >= 0) {
      next += put;
      size -= static_cast<std::size_t>(put);
    } else if (errno != EINTR && errno != EAGAIN) {
      return false;
    }
  }
  return true;
}

ProcessEnd Process::Finish() {
  state_->pipe.Close();
  if (state_->child.Runs()) {
    state_->child.WaitUntil(Clock::time_point::max(), state_->end);
    state_->end.output = Errors();
  }
  return state_->end;
}

std::string Process::Errors() const {
  std::string text(kErrorsKept, '\0');
  const ssize_t got = pread(state_->errors.Number(), text.data(), text.size(), 0);
  text.resize(static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
  return text;
}

// ---- Our own program once more ----

ProcessEnd RunChild(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                    std::chrono::milliseconds timeout,
                    const std::function<void(std::string_view line)>& onLine) {
  ProcessEnd end;
  PipeEnds report;
  PipeEnds output;
  std::vector<std::string> words{program.string()};
  words.insert(words.end(), arguments.begin(), arguments.end());
  Child child;
  int error = EMFILE;
  if (report.Valid() && output.Valid()) {
    SpawnPlan plan;
    plan.Nothing(STDIN_FILENO);
    plan.Hand(output.write, STDOUT_FILENO);
    plan.Hand(output.write, STDERR_FILENO);
    plan.Hand(report.write, kReportFd);
    error = child.Start(plan, words);
  }
  if (error != 0) {
    end.signal = ReasonText(error);
    return end;
  }
  report.write.Close();
  output.write.Close();
  const Clock::time_point deadline = Clock::now() + timeout;
  if (!Listen(child, report.read, output.read, deadline, end, onLine) ||
      !child.WaitUntil(deadline, end)) {
    end.how = ProcessEnd::How::kTimedOut;
  }
  return end;
}

void PrepareChild() {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  const rlimit none{0, 0};
  setrlimit(RLIMIT_CORE, &none);
}

void ReportLine(std::string_view line) {
  const std::string text = AsOneLine(line);
  for (std::size_t sent = 0; sent < text.size();) {
    const ssize_t count = write(kReportFd, text.data() + sent, text.size() - sent);
    if (count < 0 && errno != EINTR) {
      return;
    }
    sent += count > 0 ? static_cast<std::size_t>(count) : 0;
  }
}

}  // namespace veltra
