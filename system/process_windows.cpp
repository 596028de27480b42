// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Starts programs on Windows and talks to them through pipes. A program and whatever it starts are
// in a job of Windows, which ends with the handle to it, and so with us.
#include "system/process.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

#include "base/error.h"
#include "base/text.h"
#include "system/environment.h"
#include "system/interrupt.h"
#include "system/process_lines.h"
#include "system/program_file.h"
#include "system/windows_api.h"

namespace veltra {
namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kReportVariable = "VELTRA_REPORT_HANDLE";
constexpr DWORD kPipeBytes = 1U << 20U;
constexpr DWORD kPollMilliseconds = 50;  // how soon an end, a deadline or Ctrl-C is noticed
constexpr std::size_t kErrorsKept = std::size_t{1} << 16;

// ---- Pipes ----

/// A pipe with our end open for calls that can be waited for, and theirs for a child to inherit.
struct PipeEnds {
  Handle ours;
  Handle theirs;

  explicit PipeEnds(bool weRead) {
    static std::atomic<unsigned> counter{0};
    const std::wstring name = WideText(
        Text("\\\\.\\pipe\\veltra-", static_cast<unsigned>(GetCurrentProcessId()), "-", counter++));
    ours = Handle(CreateNamedPipeW(
        name.c_str(),
        (weRead ? PIPE_ACCESS_INBOUND : PIPE_ACCESS_OUTBOUND) | FILE_FLAG_OVERLAPPED |
            FILE_FLAG_FIRST_PIPE_INSTANCE,
        PIPE_TYPE_BYTE | PIPE_READMODE_BYTE | PIPE_WAIT | PIPE_REJECT_REMOTE_CLIENTS, 1, kPipeBytes,
        kPipeBytes, 0, nullptr));
    SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    theirs = Handle(CreateFileW(name.c_str(), weRead ? GENERIC_WRITE : GENERIC_READ, 0, &inherited,
                                OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  }
  bool Valid() const { return ours.Valid() && theirs.Valid(); }
};

/// A read or a write that is under way.
class Transfer {
 public:
  Transfer() : done_(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
  ~Transfer() { Cancel(); }
  Transfer(const Transfer&) = delete;
  Transfer& operator=(const Transfer&) = delete;

  HANDLE Event() const { return done_.Get(); }
  bool Runs() const { return pipe_ != nullptr; }

  /// False when the other end is closed.
  bool StartRead(HANDLE pipe, void* out, std::size_t size) {
    Prepare(pipe);
    return Started(ReadFile(pipe, out, Length(size), nullptr, &state_));
  }
  bool StartWrite(HANDLE pipe, const void* bytes, std::size_t size) {
    Prepare(pipe);
    return Started(WriteFile(pipe, bytes, Length(size), nullptr, &state_));
  }
  /// After the event: how many bytes; zero when the other end is closed.
  std::size_t Finish() {
    DWORD count = 0;
    const bool well = GetOverlappedResult(pipe_, &state_, &count, TRUE) != 0;
    pipe_ = nullptr;
    return well ? count : 0;
  }
  void Cancel() {
    if (pipe_ != nullptr) {
      CancelIoEx(pipe_, &state_);
      Finish();
    }
  }

 private:
  static DWORD Length(std::size_t size) {
    return static_cast<DWORD>(std::min<std::size_t>(size, kPipeBytes));
  }
  void Prepare(HANDLE pipe) {
    pipe_ = pipe;
    state_ = OVERLAPPED{};
    state_.hEvent = done_.Get();
    ResetEvent(done_.Get());
  }
  bool Started(BOOL result) {
    if (result == 0 && GetLastError() != ERROR_IO_PENDING) {
      pipe_ = nullptr;
      return false;
    }
    return true;
  }

  Handle done_;
  HANDLE pipe_ = nullptr;
  OVERLAPPED state_{};
};

// ---- Starting and ending ----

/// One word of a command line, as C programs take it apart again.
std::wstring Quoted(const std::wstring& word) {
  if (!word.empty() && word.find_first_of(L" \t\n\v\"") == std::wstring::npos) {
    return word;
  }
  std::wstring quoted = L"\"";
  std::size_t backslashes = 0;
  for (const wchar_t letter : word) {
    if (letter == L'\\') {
      ++backslashes;
      continue;
    }
    // Backslashes stand for themselves but before a quotation mark.
    quoted.append(letter == L'"' ? 2 * backslashes + 1 : backslashes, L'\\');
    backslashes = 0;
    quoted += letter;
  }
  quoted.append(2 * backslashes, L'\\');
  return quoted + L'"';
}

bool IsFile(const std::wstring& path) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

/// The file of a program: where it says, or sought beside our own program and then on the path,
/// but never in the current folder, which anybody may have put it into. Empty when there is none.
std::wstring ProgramPath(const std::string& name) {
  std::wstring wide = WideText(name);
  const bool isPath = wide.find_first_of(L"\\/:") != std::wstring::npos;
  const std::size_t dot = wide.find_last_of(L".\\/");
  const bool hasEnding = dot != std::wstring::npos && wide[dot] == L'.';
  if (!hasEnding) {
    wide += L".exe";
  }
  if (isPath) {
    return IsFile(wide) ? wide : std::wstring();
  }
  std::wstring folders =
      ProgramFile().parent_path().wstring() + L";" + WideText(EnvironmentValue("PATH"));
  for (std::size_t start = 0; start <= folders.size();) {
    const std::size_t end = std::min(folders.find(L';', start), folders.size());
    const std::wstring folder = folders.substr(start, end - start);
    start = end + 1;
    const std::wstring path = folder + L"\\" + wide;
    if (!folder.empty() && folder != L"." && IsFile(path)) {
      return path;
    }
  }
  return {};
}

std::string ExceptionText(DWORD code) {
  std::array<char, 16> number{};
  static_cast<void>(std::snprintf(number.data(), number.size(), "0x%08lX", code));
  const std::string_view name = ExceptionName(code);
  return name.empty() ? Text("exception ", number.data()) : Text(name, " (", number.data(), ")");
}

/// abort() and unhandled exceptions of the operating system end a program with such codes.
void TakeCode(DWORD code, ProcessEnd& end) {
  constexpr DWORD kFirstException = 0xC0000000U;
  constexpr DWORD kAborted = 3;
  if (code >= kFirstException || code == kAborted) {
    end.how = ProcessEnd::How::kSignalled;
    end.signal = code == kAborted ? "aborted" : ExceptionText(code);
  } else {
    end.how = ProcessEnd::How::kExited;
    end.status = static_cast<int>(code);
  }
}

struct StandardHandles {
  HANDLE input;
  HANDLE output;
  HANDLE errors;
};

/// Only these handles go to the child, whatever else happens to be open for children elsewhere.
class StartupList {
 public:
  StartupList(const StandardHandles& standard, HANDLE further) {
    info_.StartupInfo.cb = sizeof(info_);
    info_.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    info_.StartupInfo.hStdInput = standard.input;
    info_.StartupInfo.hStdOutput = standard.output;
    info_.StartupInfo.hStdError = standard.errors;
    for (HANDLE handle : {standard.input, standard.output, standard.errors, further}) {
      if (handle != nullptr &&
          std::find(handles_.begin(), handles_.end(), handle) == handles_.end()) {
        handles_.push_back(handle);
      }
    }
    SIZE_T bytes = 0;
    InitializeProcThreadAttributeList(nullptr, 1, 0, &bytes);
    memory_.resize(bytes);
    info_.lpAttributeList = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(memory_.data());
    InitializeProcThreadAttributeList(info_.lpAttributeList, 1, 0, &bytes);
    UpdateProcThreadAttribute(info_.lpAttributeList, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST,
                              handles_.data(), handles_.size() * sizeof(HANDLE), nullptr, nullptr);
  }
  ~StartupList() { DeleteProcThreadAttributeList(info_.lpAttributeList); }
  StartupList(const StartupList&) = delete;
  StartupList& operator=(const StartupList&) = delete;

  STARTUPINFOW* Info() { return &info_.StartupInfo; }

 private:
  STARTUPINFOEXW info_{};
  std::vector<HANDLE> handles_;
  std::vector<std::byte> memory_;
};

/// The jobs and processes of all children that have been started.
struct RunningChildren {
  std::mutex mutex;
  std::vector<std::pair<HANDLE, HANDLE>> list;

  static RunningChildren& Instance() {
    static RunningChildren children;
    return children;
  }
};

/// A child that is killed, with all it has started, and waited for with its owner.
class Child {
 public:
  Child() = default;
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  ~Child() { Kill(); }

  /// Zero or an error of Windows. The child finds `report`, where given, through ReportLine.
  DWORD Start(const std::vector<std::string>& arguments, const StandardHandles& standard,
              HANDLE report) {
    const std::wstring path = ProgramPath(arguments[0]);
    if (path.empty()) {
      return ERROR_FILE_NOT_FOUND;
    }
    std::wstring line;
    for (const std::string& argument : arguments) {
      line += (line.empty() ? L"" : L" ") + Quoted(WideText(argument));
    }
    job_ = Handle(CreateJobObjectW(nullptr, nullptr));
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    SetInformationJobObject(job_.Get(), JobObjectExtendedLimitInformation, &limits, sizeof(limits));
    StartupList startup(standard, report);
    PROCESS_INFORMATION information{};
    if (!Create(path, line, startup, report, information)) {
      return GetLastError();
    }
    process_ = Handle(information.hProcess);
    const Handle thread(information.hThread);
    AssignProcessToJobObject(job_.Get(), process_.Get());
    RunningChildren& running = RunningChildren::Instance();
    const std::scoped_lock lock(running.mutex);
    running.list.emplace_back(job_.Get(), process_.Get());
    ResumeThread(thread.Get());
    return 0;
  }
  HANDLE Get() const { return process_.Get(); }
  bool Runs() const { return process_.Valid(); }
  bool HasEnded() const { return WaitForSingleObject(process_.Get(), 0) == WAIT_OBJECT_0; }
  /// Waits for its end and ends what it has started; false when the time is over.
  bool WaitUntil(Clock::time_point deadline, ProcessEnd& end) {
    while (WaitForSingleObject(process_.Get(), kPollMilliseconds) != WAIT_OBJECT_0) {
      ThrowIfInterrupted();
      if (Clock::now() >= deadline) {
        return false;
      }
    }
    TakeCode(Kill(), end);
    return true;
  }
  /// Returns the exit code; zero where there is no child.
  DWORD Kill() {
    DWORD code = 0;
    if (process_.Valid()) {
      if (HasEnded()) {
        GetExitCodeProcess(process_.Get(), &code);
      }
      TerminateJobObject(job_.Get(), 1);
      WaitForSingleObject(process_.Get(), INFINITE);
      RunningChildren& running = RunningChildren::Instance();
      const std::scoped_lock lock(running.mutex);
      std::erase(running.list, std::pair(job_.Get(), process_.Get()));
      process_.Close();
      job_.Close();
    }
    return code;
  }

 private:
  static bool Create(const std::wstring& path, std::wstring& line, StartupList& startup,
                     HANDLE report, PROCESS_INFORMATION& information) {
    // The variable is the process's, and two threads may start a child each.
    static std::mutex mutex;
    const std::scoped_lock lock(mutex);
    const std::wstring number = std::to_wstring(reinterpret_cast<std::uintptr_t>(report));
    const std::wstring variable = WideText(kReportVariable);
    SetEnvironmentVariableW(variable.c_str(), report == nullptr ? nullptr : number.c_str());
    const BOOL done =
        CreateProcessW(path.c_str(), line.data(), nullptr, nullptr, TRUE,
                       CREATE_SUSPENDED | CREATE_NEW_PROCESS_GROUP | EXTENDED_STARTUPINFO_PRESENT,
                       nullptr, nullptr, startup.Info(), &information);
    const DWORD error = GetLastError();
    SetEnvironmentVariableW(variable.c_str(), nullptr);
    SetLastError(error);
    return done != 0;
  }

  Handle job_;
  Handle process_;
};

Handle NothingToInherit() {
  SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
  return Handle(CreateFileW(L"NUL", GENERIC_READ | GENERIC_WRITE,
                            FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited, OPEN_EXISTING,
                            FILE_ATTRIBUTE_NORMAL, nullptr));
}

/// A file that is in memory as long as there is some and goes away with its last handle.
Handle TemporaryToInherit() {
  std::array<wchar_t, MAX_PATH + 1> folder{};
  std::array<wchar_t, MAX_PATH + 1> name{};
  if (GetTempPathW(MAX_PATH, folder.data()) == 0 ||
      GetTempFileNameW(folder.data(), L"vel", 0, name.data()) == 0) {
    return {};
  }
  SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
  return Handle(CreateFileW(name.data(), GENERIC_READ | GENERIC_WRITE,
                            FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, &inherited,
                            CREATE_ALWAYS, FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE,
                            nullptr));
}

// ---- Lines of a child ----

/// A pipe from a child with a read always under way.
class Inlet {
 public:
  explicit Inlet(Handle pipe) : pipe_(std::move(pipe)) { Next(); }

  bool Open() const { return pipe_.Valid(); }
  HANDLE Event() const { return transfer_.Event(); }
  void TakeInto(std::string& text) {
    const std::size_t count = transfer_.Finish();
    text.append(block_.data(), count);
    if (count == 0) {
      pipe_.Close();
    } else {
      Next();
    }
  }

 private:
  void Next() {
    if (!transfer_.StartRead(pipe_.Get(), block_.data(), block_.size())) {
      pipe_.Close();
    }
  }

  Handle pipe_;
  std::array<char, 4096> block_{};
  Transfer transfer_;  // ends before what it reads from and into
};

/// Passes on what the child says until it closes both pipes or ends (what it has started may keep
/// the pipes open for longer); false when the time is over.
bool Listen(const Child& child, Inlet& report, Inlet& output, Clock::time_point deadline,
            ProcessEnd& end, const std::function<void(std::string_view)>& onLine) {
  std::string lines;
  bool ended = false;
  while (report.Open() || output.Open()) {
    std::vector<HANDLE> events;
    std::vector<std::pair<Inlet*, std::string*>> inlets;
    for (const auto& [inlet, text] :
         {std::pair{&report, &lines}, std::pair{&output, &end.output}}) {
      if (inlet->Open()) {
        events.push_back(inlet->Event());
        inlets.emplace_back(inlet, text);
      }
    }
    const DWORD ready = WaitForMultipleObjects(static_cast<DWORD>(events.size()), events.data(),
                                               FALSE, kPollMilliseconds);
    ThrowIfInterrupted();
    if (Clock::now() >= deadline) {
      return false;
    }
    if (ready >= WAIT_OBJECT_0 + events.size()) {
      // What it said last may have come in after this wait: only the next one tells.
      if (std::exchange(ended, child.HasEnded())) {
        return true;
      }
      continue;
    }
    const auto& [inlet, text] = inlets[ready - WAIT_OBJECT_0];
    inlet->TakeInto(*text);
    TakeLines(lines, onLine);
    KeepTail(end.output);
  }
  return true;
}

}  // namespace

void EndChildren() noexcept {
  constexpr DWORD kPatience = 1000;  // milliseconds
  RunningChildren& running = RunningChildren::Instance();
  const std::scoped_lock lock(running.mutex);
  for (const auto& [job, process] : running.list) {
    TerminateJobObject(job, 1);
    WaitForSingleObject(process, kPatience);
  }
}

// ---- A program with a pipe ----

struct Process::State {
  Child child;
  Handle pipe;
  Handle errors;  ///< a temporary file, so that a program that complains never waits for us
  ProcessEnd end;

  /// Waits until the transfer is over, and looks for Ctrl-C meanwhile.
  static std::size_t Complete(Transfer& transfer) {
    while (WaitForSingleObject(transfer.Event(), kPollMilliseconds) != WAIT_OBJECT_0) {
      ThrowIfInterrupted();
    }
    ThrowIfInterrupted();
    return transfer.Finish();
  }
};

Process::Process(const std::vector<std::string>& arguments, Pipe pipe)
    : state_(std::make_unique<State>()) {
  const bool reading = pipe == Pipe::kFromChild;
  PipeEnds ends(reading);
  const Handle nothing = NothingToInherit();
  state_->errors = TemporaryToInherit();
  if (!ends.Valid() || !nothing.Valid() || !state_->errors.Valid()) {
    throw RenderError(Text(arguments[0], ": ", ReasonText(ErrnoOf(GetLastError()))));
  }
  state_->pipe = std::move(ends.ours);
  const StandardHandles standard{reading ? nothing.Get() : ends.theirs.Get(),
                                 reading ? ends.theirs.Get() : nothing.Get(), state_->errors.Get()};
  const DWORD failure = state_->child.Start(arguments, standard, nullptr);
  if (ErrnoOf(failure) == ENOENT) {
    throw ProgramNotFound(Text(arguments[0], ": not found"));
  }
  if (failure != 0) {
    throw RenderError(Text(arguments[0], ": ", ReasonText(ErrnoOf(failure))));
  }
}

Process::~Process() = default;

std::size_t Process::Read(void* out, std::size_t size) {
  std::size_t done = 0;
  Transfer transfer;
  while (done < size) {
    ThrowIfInterrupted();
    if (!transfer.StartRead(state_->pipe.Get(), static_cast<std::byte*>(out) + done, size - done)) {
      break;
    }
    const std::size_t got = State::Complete(transfer);
    if (got == 0) {
      break;
    }
    done += got;
  }
  return done;
}

bool Process::Write(const void* bytes, std::size_t size) {
  const auto* next = static_cast<const std::byte*>(bytes);
  Transfer transfer;
  while (size != 0) {
    ThrowIfInterrupted();
    const std::size_t put =
        transfer.StartWrite(state_->pipe.Get(), next, size) ? State::Complete(transfer) : 0;
    if (put == 0) {
      return false;
    }
    next += put;
    size -= put;
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
  OVERLAPPED start{};
  DWORD got = 0;
  // The child's handle is the same file object, so the place of its next byte is kept.
  LARGE_INTEGER before{};
  SetFilePointerEx(state_->errors.Get(), LARGE_INTEGER{}, &before, FILE_CURRENT);
  ReadFile(state_->errors.Get(), text.data(), static_cast<DWORD>(text.size()), &got, &start);
  SetFilePointerEx(state_->errors.Get(), before, nullptr, FILE_BEGIN);
  text.resize(got);
  std::erase(text, '\r');
  return text;
}

// ---- Our own program once more ----

ProcessEnd RunChild(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                    std::chrono::milliseconds timeout,
                    const std::function<void(std::string_view line)>& onLine) {
  ProcessEnd end;
  PipeEnds report(true);
  PipeEnds output(true);
  const Handle nothing = NothingToInherit();
  std::vector<std::string> words{NarrowText(program.wstring())};
  words.insert(words.end(), arguments.begin(), arguments.end());
  Child child;
  DWORD error = ERROR_TOO_MANY_OPEN_FILES;
  if (report.Valid() && output.Valid() && nothing.Valid()) {
    error = child.Start(words, {nothing.Get(), output.theirs.Get(), output.theirs.Get()},
                        report.theirs.Get());
  }
  if (error != 0) {
    end.signal = ReasonText(ErrnoOf(error));
    return end;
  }
  report.theirs.Close();
  output.theirs.Close();
  const Clock::time_point deadline = Clock::now() + timeout;
  Inlet reportInlet(std::move(report.ours));
  Inlet outputInlet(std::move(output.ours));
  if (!Listen(child, reportInlet, outputInlet, deadline, end, onLine) ||
      !child.WaitUntil(deadline, end)) {
    end.how = ProcessEnd::How::kTimedOut;
  }
  std::erase(end.output, '\r');
  return end;
}

void PrepareChild() {
  // Nobody answers a message box about a fault; it dies with its parent by the job that it is in.
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
}

void ReportLine(std::string_view line) {
  static HANDLE const parent = [] {
    const std::string number = EnvironmentValue(kReportVariable);
    // NOLINTNEXTLINE(performance-no-int-to-ptr): a variable holds no pointers.
    return reinterpret_cast<HANDLE>(number.empty() ? 0 : std::stoull(number));
  }();
  const std::string text = AsOneLine(line);
  for (std::size_t sent = 0; parent != nullptr && sent < text.size();) {
    DWORD count = 0;
    if (WriteFile(parent, text.data() + sent, static_cast<DWORD>(text.size() - sent), &count,
                  nullptr) == 0) {
      return;
    }
    sent += count;
  }
}

}  // namespace veltra
