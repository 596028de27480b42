// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Child processes on Linux.

#include "system/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): kill() is not in <csignal>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <thread>

#include "base/text.h"

// Declared here because not every system header does.
extern char** environ;  // NOLINT(readability-redundant-declaration)

namespace veltra {
namespace {

using Clock = std::chrono::steady_clock;

// The number under which a child finds the pipe to its parent.
constexpr int kReportFd = 3;
constexpr std::size_t kOutputKept = 4096;

struct Pipe {
  int readEnd = -1;
  int writeEnd = -1;

  Pipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
      return;
    }
    // Low numbers are those that the child's own descriptors will have.
    readEnd = Lifted(ends[0]);
    writeEnd = Lifted(ends[1]);
  }
  ~Pipe() {
    Close(readEnd);
    Close(writeEnd);
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  bool Valid() const { return readEnd >= 0 && writeEnd >= 0; }

  static void Close(int& fd) {
    if (fd >= 0) {
      close(fd);
      fd = -1;
    }
  }

 private:
  static int Lifted(int fd) {
    if (fd > kReportFd) {
      return fd;
    }
    const int lifted = fcntl(fd, F_DUPFD_CLOEXEC, kReportFd + 1);
    close(fd);
    return lifted;
  }
};

/// What came in on one descriptor since the last time; false at its end.
bool ReadSome(int fd, std::string& into) {
  std::array<char, 4096> block{};
  const ssize_t count = read(fd, block.data(), block.size());
  if (count > 0) {
    into.append(block.data(), static_cast<std::size_t>(count));
    return true;
  }
  return count < 0 && errno == EINTR;
}

void TakeLines(std::string& text, const std::function<void(std::string_view)>& onLine) {
  std::size_t start = 0;
  for (std::size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n', start)) {
    onLine(std::string_view(text).substr(start, end - start));
    start = end + 1;
  }
  text.erase(0, start);
}

void KeepTail(std::string& text) {
  if (text.size() > kOutputKept) {
    text.erase(0, text.size() - kOutputKept);
  }
}

std::string SignalText(int number) {
  std::string text = strsignal(number);
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  const char* name = sigabbrev_np(number);
  return name != nullptr ? Text(text, " (SIG", name, ")") : text;
}

/// Starts the program in a process group of its own. Returns 0 and the id, or an error number.
int Spawn(const std::filesystem::path& program, const std::vector<std::string>& arguments,
          const Pipe& report, const Pipe& output, pid_t& child) {
  std::vector<std::string> words{program.string()};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  argv.reserve(words.size() + 1);
  for (std::string& word : words) {
    argv.push_back(word.data());
  }
  argv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, output.writeEnd, STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, output.writeEnd, STDERR_FILENO);
  posix_spawn_file_actions_adddup2(&actions, report.writeEnd, kReportFd);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
  posix_spawnattr_setpgroup(&attributes, 0);
  const int error =
      posix_spawn(&child, program.c_str(), &actions, &attributes, argv.data(), environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  return error;
}

/// Time for one wait: to the deadline, but soon enough to see that the child has ended.
int WaitMilliseconds(Clock::time_point deadline) {
  const auto left =
      std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count() + 1;
  return static_cast<int>(std::clamp<std::int64_t>(left, 0, 50));
}

bool HasEnded(pid_t child) {
  siginfo_t info{};
  return waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
         info.si_pid == child;
}

/// Passes on what the child says until it closes both pipes or ends (what it has started may keep
/// the pipes open for longer); false when the time is over.
bool Listen(pid_t child, Pipe& report, Pipe& output, Clock::time_point deadline, ChildEnd& end,
            const std::function<void(std::string_view)>& onLine) {
  std::string lines;
  while (report.readEnd >= 0 || output.readEnd >= 0) {
    std::array<pollfd, 2> waits{pollfd{report.readEnd, POLLIN, 0},
                                pollfd{output.readEnd, POLLIN, 0}};
    const int ready = poll(waits.data(), waits.size(), WaitMilliseconds(deadline));
    if (Clock::now() >= deadline) {
      return false;
    }
    if (ready <= 0) {
      if (HasEnded(child)) {
        return true;
      }
      continue;
    }
    if (waits[0].revents != 0 && !ReadSome(report.readEnd, lines)) {
      Pipe::Close(report.readEnd);
    }
    if (waits[1].revents != 0 && !ReadSome(output.readEnd, end.output)) {
      Pipe::Close(output.readEnd);
    }
    TakeLines(lines, onLine);
    KeepTail(end.output);
  }
  return true;
}

/// Waits for the child to end; false when the time is over. The pipes may close long before.
bool WaitUntil(pid_t child, Clock::time_point deadline, int& status) {
  while (true) {
    const pid_t ended = waitpid(child, &status, WNOHANG);
    if (ended == child) {
      return true;
    }
    if (Clock::now() >= deadline) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

}  // namespace

std::filesystem::path OwnProgram() {
  return std::filesystem::read_symlink("/proc/self/exe");
}

ChildEnd RunChild(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                  std::chrono::milliseconds timeout,
                  const std::function<void(std::string_view line)>& onLine) {
  ChildEnd end;
  Pipe report;
  Pipe output;
  pid_t child = -1;
  const int error =
      report.Valid() && output.Valid() ? Spawn(program, arguments, report, output, child) : EMFILE;
  if (error != 0) {
    end.signal = std::generic_category().message(error);
    return end;
  }
  Pipe::Close(report.writeEnd);
  Pipe::Close(output.writeEnd);
  const Clock::time_point deadline = Clock::now() + timeout;
  int status = 0;
  const bool inTime =
      Listen(child, report, output, deadline, end, onLine) && WaitUntil(child, deadline, status);
  kill(-child, SIGKILL);
  if (!inTime) {
    waitpid(child, &status, 0);
    end.how = ChildEnd::How::kTimedOut;
  } else if (WIFSIGNALED(status)) {
    end.how = ChildEnd::How::kSignalled;
    end.signal = SignalText(WTERMSIG(status));
  } else {
    end.how = ChildEnd::How::kExited;
    end.status = WEXITSTATUS(status);
  }
  return end;
}

void PrepareChild() {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  const rlimit none{0, 0};
  setrlimit(RLIMIT_CORE, &none);
}

void ReportLine(std::string_view line) {
  std::string text(line);
  std::replace_if(
      text.begin(), text.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
  text += '\n';
  for (std::size_t sent = 0; sent < text.size();) {
    const ssize_t count = write(kReportFd, text.data() + sent, text.size() - sent);
    if (count < 0 && errno != EINTR) {
      return;
    }
    sent += count > 0 ? static_cast<std::size_t>(count) : 0;
  }
}

}  // namespace veltra
