#include <windows.h>

#include <atomic>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "loopback/captured_output.h"
#include "loopback/common.h"
#include "loopback/shell.h"
#include "loopback/shell_start.h"
#include "loopback/win32.h"
#include "loopback/win_handle.h"

namespace quelt::ombrix::emu::loopback {

namespace {

using win32::UniqueHandle;

// How long a wait may go without looking at the cancel flag.
constexpr DWORD kPollMs = 20;
constexpr DWORD kReadChunk = 64 * 1024;
// Reads per stream per wake-up, so one busy stream cannot starve the other or
// the cancel check.
constexpr int kReadsPerWake = 16;
// After the shell exits, background processes may still hold the pipes and
// write without end: read what comes within a poll interval, and stop.
constexpr int kFinalReads = 64;
// What every process of a cancelled command exits with: the code a POSIX
// shell reports when SIGTERM ends it.
constexpr UINT kCancelledExitCode = 128 + 15;

// The read end of a pipe to the child, read with overlapped I/O so that one
// thread can wait on both streams, the child and the clock at once.
class PipeReader {
 public:
  PipeReader() = default;
  PipeReader(const PipeReader&) = delete;
  PipeReader& operator=(const PipeReader&) = delete;
  ~PipeReader() { Close(); }

  // Makes the pipe; `childEnd` receives its inheritable write end.
  bool Open(UniqueHandle& childEnd) {
    static std::atomic<uint32_t> counter{0};
    const std::wstring name = L"\\\\.\\pipe\\ombrix-shell-" +
                              std::to_wstring(GetCurrentProcessId()) + L"-" +
                              std::to_wstring(++counter);
    pipe_.Reset(CreateNamedPipeW(
        name.c_str(), PIPE_ACCESS_INBOUND | FILE_FLAG_OVERLAPPED | FILE_FLAG_FIRST_PIPE_INSTANCE,
        PIPE_TYPE_BYTE | PIPE_READMODE_BYTE | PIPE_WAIT | PIPE_REJECT_REMOTE_CLIENTS, 1, 0,
        kReadChunk, 0, nullptr));
    event_.Reset(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    if (!pipe_ || !event_) return false;
    SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    childEnd.Reset(
        CreateFileW(name.c_str(), GENERIC_WRITE, 0, &inheritable, OPEN_EXISTING, 0, nullptr));
    overlapped_.hEvent = event_.get();
    buffer_.reset(new char[kReadChunk]);
    return static_cast<bool>(childEnd);
  }

  bool IsOpen() const noexcept { return static_cast<bool>(pipe_); }
  // Signalled when a pending read completes.
  HANDLE PendingEvent() const noexcept { return pending_ ? event_.get() : nullptr; }

  // Takes completed reads and starts new ones, up to `maxReads` reads,
  // without waiting. The pipe is closed at end of stream.
  void Pump(int maxReads) {
    for (int reads = 0; pipe_ && reads < maxReads;) {
      DWORD count = 0;
      if (pending_) {
        if (!GetOverlappedResult(pipe_.get(), &overlapped_, &count, FALSE)) {
          if (GetLastError() == ERROR_IO_INCOMPLETE) return;
          pending_ = false;
          Close();  // broken pipe: every writer is gone
          return;
        }
        pending_ = false;
        output.Append(buffer_.get(), count);
        ++reads;
      } else if (ReadFile(pipe_.get(), buffer_.get(), kReadChunk, nullptr, &overlapped_) ||
                 GetLastError() == ERROR_IO_PENDING) {
        pending_ = true;  // even when done at once: the count comes as for any other
      } else {
        Close();
      }
    }
  }

  // Reads what arrives while it keeps arriving within `waitMs`.
  void Drain(DWORD waitMs, int maxReads) {
    for (int i = 0; i < maxReads && pipe_; ++i) {
      if (pending_ && WaitForSingleObject(event_.get(), waitMs) != WAIT_OBJECT_0) return;
      Pump(1);
    }
  }

  void Close() noexcept {
    if (pending_) {
      // The buffer and OVERLAPPED must outlive the read.
      DWORD ignored = 0;
      CancelIoEx(pipe_.get(), &overlapped_);
      GetOverlappedResult(pipe_.get(), &overlapped_, &ignored, TRUE);
      pending_ = false;
    }
    pipe_.Reset();
  }

  CapturedOutput output;

 private:
  UniqueHandle pipe_;
  UniqueHandle event_;
  OVERLAPPED overlapped_{};
  std::unique_ptr<char[]> buffer_;
  bool pending_ = false;
};

// Lets the child inherit exactly `handles` and nothing else this process
// has made inheritable, such as the pipes of commands started on other
// threads, which would otherwise stay open until this command ends.
class InheritedHandles {
 public:
  explicit InheritedHandles(std::vector<HANDLE> handles) : handles_(std::move(handles)) {
    SIZE_T size = 0;
    InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
    storage_.reset(new char[size]);
    auto* list = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(storage_.get());
    if (!InitializeProcThreadAttributeList(list, 1, 0, &size)) return;
    if (!UpdateProcThreadAttribute(list, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handles_.data(),
                                   handles_.size() * sizeof(HANDLE), nullptr, nullptr)) {
      DeleteProcThreadAttributeList(list);
      return;
    }
    list_ = list;
  }
  InheritedHandles(const InheritedHandles&) = delete;
  InheritedHandles& operator=(const InheritedHandles&) = delete;
  ~InheritedHandles() {
    if (list_ != nullptr) DeleteProcThreadAttributeList(list_);
  }

  // Null when the list could not be made: the child then inherits every
  // inheritable handle, which only delays end of stream for other commands.
  LPPROC_THREAD_ATTRIBUTE_LIST get() const noexcept { return list_; }

 private:
  std::vector<HANDLE> handles_;
  std::unique_ptr<char[]> storage_;
  LPPROC_THREAD_ATTRIBUTE_LIST list_ = nullptr;
};

std::wstring CommandInterpreter() {
  wchar_t directory[MAX_PATH];
  const UINT length = GetSystemDirectoryW(directory, MAX_PATH);
  if (length == 0 || length >= MAX_PATH) return L"C:\\Windows\\System32\\cmd.exe";
  return std::wstring(directory, length) + L"\\cmd.exe";
}

// A job holding the command's whole tree, so that cancelling ends what the
// shell started too. A crash in the tree ends the process instead of waiting
// on an error dialog no one will see.
UniqueHandle MakeJob() {
  UniqueHandle job(CreateJobObjectW(nullptr, nullptr));
  JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
  limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_DIE_ON_UNHANDLED_EXCEPTION;
  if (job)
    SetInformationJobObject(job.get(), JobObjectExtendedLimitInformation, &limits, sizeof(limits));
  return job;
}

// Starts `cmd.exe /d /s /c "<command>"` suspended. Returns 0 or a Win32 error.
DWORD Spawn(const std::string& command, const std::string& workingDir, HANDLE stdoutHandle,
            HANDLE stderrHandle, PROCESS_INFORMATION& process) {
  SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
  UniqueHandle nul(CreateFileW(L"NUL", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                               &inheritable, OPEN_EXISTING, 0, nullptr));
  if (!nul) return GetLastError();
  InheritedHandles inherited({nul.get(), stdoutHandle, stderrHandle});
  STARTUPINFOEXW startup{};
  startup.StartupInfo.cb = sizeof(startup);
  startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
  startup.StartupInfo.hStdInput = nul.get();
  startup.StartupInfo.hStdOutput = stdoutHandle;
  startup.StartupInfo.hStdError = stderrHandle;
  startup.lpAttributeList = inherited.get();
  // /d: no AutoRun commands from the registry; /s: the outer quotes go and
  // the command stays exactly as given.
  std::wstring commandLine = L"cmd.exe /d /s /c \"" + win32::Widen(command) + L"\"";
  const std::wstring directory = win32::Widen(workingDir);
  const DWORD flags = CREATE_SUSPENDED | CREATE_NO_WINDOW |
                      (inherited.get() != nullptr ? EXTENDED_STARTUPINFO_PRESENT : 0);
  if (!CreateProcessW(CommandInterpreter().c_str(), commandLine.data(), nullptr, nullptr, TRUE,
                      flags, nullptr, directory.empty() ? nullptr : directory.c_str(),
                      &startup.StartupInfo, &process)) {
    return GetLastError();
  }
  return 0;
}

ShellExecResult Run(const std::string& command, const std::string& workingDir,
                    const CancelFlag& cancel, const ShellLimits& limits) {
  ShellExecResult result;
  if (!MayStart(workingDir, cancel, result)) return result;
  PipeReader streams[2];
  UniqueHandle stdoutWrite;
  UniqueHandle stderrWrite;
  if (!streams[0].Open(stdoutWrite) || !streams[1].Open(stderrWrite)) {
    result.errorMessage = "Cannot create pipes: " + win32::LastError().message();
    return result;
  }
  PROCESS_INFORMATION started{};
  if (const DWORD error =
          Spawn(command, workingDir, stdoutWrite.get(), stderrWrite.get(), started)) {
    result.errorMessage =
        StartFailure(workingDir, "Cannot start cmd.exe: " + win32::ErrorFrom(error).message());
    return result;
  }
  UniqueHandle process(started.hProcess);
  UniqueHandle thread(started.hThread);
  UniqueHandle job = MakeJob();
  // Only a process in the job from its first instruction has all its
  // children there too. Without a job (nested jobs refused), cancelling ends
  // the shell alone.
  const bool inJob = job && AssignProcessToJobObject(job.get(), process.get());
  ResumeThread(thread.get());
  thread.Reset();
  stdoutWrite.Reset();
  stderrWrite.Reset();
  for (PipeReader& stream : streams) stream.output.SetLimit(limits.maxOutputBytes);

  bool cancelled = false;
  for (;;) {
    if (!cancelled && cancel.IsSet()) {
      cancelled = true;
      if (!inJob || !TerminateJobObject(job.get(), kCancelledExitCode)) {
        TerminateProcess(process.get(), kCancelledExitCode);
      }
    }
    for (PipeReader& stream : streams) stream.Pump(kReadsPerWake);
    HANDLE waits[3] = {process.get()};
    DWORD count = 1;
    for (PipeReader& stream : streams) {
      if (HANDLE event = stream.PendingEvent()) waits[count++] = event;
    }
    if (WaitForMultipleObjects(count, waits, FALSE, kPollMs) == WAIT_OBJECT_0) break;
  }
  for (PipeReader& stream : streams) stream.Drain(kPollMs, kFinalReads);

  DWORD status = 0;
  std::string outcome;
  const bool exited = GetExitCodeProcess(process.get(), &status) != 0;
  if (exited) {
    // Crash codes (NTSTATUS values) come out negative.
    result.exitCode = static_cast<int32_t>(status);
    outcome = "Command exited with code " + std::to_string(result.exitCode);
  } else {
    outcome = "Command exit status unavailable";
  }
  CapturedOutput::Finish(exited, cancelled, outcome, streams[0].output, streams[1].output, result);
  return result;
}

}  // namespace

bool IsUsableDirectory(const std::string& path) {
  const DWORD attributes = GetFileAttributesW(win32::Widen(path).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

ShellExecResult RunShell(const std::string& command, const std::string& workingDir,
                         const CancelFlag& cancel, const ShellLimits& limits) noexcept {
  return Timed<ShellExecResult>([&] { return Run(command, workingDir, cancel, limits); });
}

}  // namespace quelt::ombrix::emu::loopback
