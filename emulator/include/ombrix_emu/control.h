// The substitute SDK's control surface: what tests, examples and benchmarks use
// to observe and steer the SDK. Never part of the shipped module.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "ombrix/export.h"

namespace quelt::ombrix::emu {

struct SentryCounts {
  int64_t initialized = 0;
  int64_t shutdown = 0;
};
OMBRIX_API SentryCounts GetSentryCounts();

struct LiveCount {
  const char* label;
  int64_t live;
};
// Objects currently owned through SharedPtr, per contract type.
OMBRIX_API std::vector<LiveCount> GetLiveObjects();

// The next ThreadItf::Create returns empty (calls accumulate).
OMBRIX_API void InjectThreadCreateFailure();

// The SDK name of the calling thread ("" when the SDK did not start it).
OMBRIX_API const char* CurrentSdkThreadName();

// A log line as the SDK would write it. Null strings stay null; the level may
// be any number, valid or not.
struct LogSpec {
  int32_t level = 2;
  bool hasModule = true, hasFile = true, hasFunction = true;
  std::string module, file, function, message;
  int32_t line = 0;
};
// Writes `linesPerThread` lines from each of `threads` new SDK threads and
// returns when all are written. With more than one line in all, each message
// gets the suffix " [thread:index]" so a reader can tell every line apart.
OMBRIX_API void EmitLogs(const LogSpec& spec, int threads, int linesPerThread);

// SDK threads that log INFO lines without pause until StopLogStorm, which
// returns how many lines were written.
OMBRIX_API void StartLogStorm(int threads);
OMBRIX_API int64_t StopLogStorm();

// "loopback" (real work on this machine) or "scripted" (calls wait for the
// test); applies to clients created afterwards and to their tools. False for
// an unknown name.
OMBRIX_API bool SetMode(const std::string& mode);
OMBRIX_API std::string GetMode();

// Scripted calls not yet completed, as a JSON array of
// { id, op, args, thread, cancelled } ("" thread: not an SDK thread).
OMBRIX_API std::string PendingCalls();
// Completes a pending call from an SDK thread with a record given as JSON
// (lenient: missing keys keep their defaults). False when not pending or the
// JSON is malformed.
OMBRIX_API bool CompleteCall(uint64_t id, const std::string& recordJson);
// The SDK drops the call's callback without invoking it.
OMBRIX_API bool DropCall(uint64_t id);
// Every later scripted call of `op` completes at once with the record; an
// empty string clears the rule.
OMBRIX_API bool SetAutoComplete(const std::string& op, const std::string& recordJson);

// The next call at `site` (an SDK operation such as "CreateOmbrixClient" or
// "CreateRemoteFileTool") returns empty ("empty") or throws ("throw").
// Returns "" when armed, else an error that lists the valid sites or kinds.
OMBRIX_API std::string InjectFault(const std::string& site, const std::string& kind);
// The next WeakPtr::lock of the given contract type (a live-object label such
// as "RemoteFileTool") comes back empty, as if the object had just died.
// Returns "" when armed, else an error that lists the valid types.
OMBRIX_API std::string InjectWeakLockFailure(const std::string& typeLabel);
// Disarms every injected fault, weak-lock failure and thread-create failure;
// returns how many were armed.
OMBRIX_API int ClearFaults();

// Hostile mode (see docs/substitute-sdk.md): on or off, its seed, and its
// habits ("quiet", "all" or names separated by commas), each striking
// `percent` times in a hundred. False for an unknown habit or percentage.
OMBRIX_API bool SetHostile(bool enabled, uint64_t seed, const std::string& habits, int percent);
// { enabled, seed, percent, habits: { name: times struck }, held } as JSON.
OMBRIX_API std::string HostileStatus();
// Releases the callbacks hostile mode has been holding; returns how many.
OMBRIX_API int ReleaseHeldCallbacks();

// What logger::IsEnabled answers for `level` now.
OMBRIX_API bool LoggerEnabled(int32_t level);
// The name of the signaling thread the newest live client was given ("" when
// there is none).
OMBRIX_API std::string SignalingThreadName();

OMBRIX_API int LiveClients();
// [{ id, serverName, mode, signalingThread, thisThread }] of the live
// clients, oldest first, as JSON; `thisThread`: created on the calling thread.
OMBRIX_API std::string Clients();

// Account, transfer and remote-control tools, in either mode.
// Cancels every loopback transfer in flight; returns how many there were.
OMBRIX_API int CancelTransfers();
// The link speed loopback transfers started afterwards are held to, in bytes
// per second; 0 (the default) does not hold them back.
OMBRIX_API void SetTransferRate(uint64_t bytesPerSecond);
// The lock screen that loopback remote-control tools report.
OMBRIX_API void SetScreenLocked(bool locked);

// --- Driving the JavaScript-backed services as the SDK would ---------------
//
// A drive is one SDK call into a service of a live client (the one its
// "client" argument names: an id or a server name; without it the newest
// created on the calling thread, else the newest of all), made from an SDK
// thread. Drive() returns JSON: { drive, … } for an asynchronous
// operation, whose report is delivered later, the report itself for a
// synchronous one, or { error }. A report is what the SDK callback received,
// decoded, plus "thread", "onJsThread" and "calls".
//
// Each environment of the control surface registers a listener (told the id
// of each finished drive it started) and its JavaScript thread.
OMBRIX_API int AddDriveListener(std::function<void(uint64_t drive)> listener);
OMBRIX_API void RemoveDriveListener(int token);
OMBRIX_API void AddJsThread();
OMBRIX_API void RemoveJsThread();

// service: "chat", "notification", "audit", "workspace" or "events" (client
// observer events and account token renewals). See docs/substitute-sdk.md
// for the operations. A drive that changes SDK state on another thread
// (setObserver, events) reports once the change is made.
OMBRIX_API std::string Drive(const std::string& service, const std::string& op,
                             const std::string& argsJson, int listener);
OMBRIX_API std::string DriveReport(uint64_t drive);
// How many times a drive's callback ran again after its first run, in all.
OMBRIX_API uint64_t DriveDuplicates();

// What the SDK side received: kind "stream", "confirm", "observer" (chat),
// "notificationObserver" or "auditObserver".
OMBRIX_API std::string Inspect(const std::string& kind, uint64_t id);
OMBRIX_API bool CancelToolCall(uint64_t stream, uint32_t index);
OMBRIX_API bool AnswerConfirm(uint64_t confirm, uint32_t request, const std::string& responseJson);
// Many SDK threads calling one JavaScript chat manager at once. The manager
// is picked now, on the calling thread (argsJson: { client }); the returned
// work blocks, and is to be run on another thread.
OMBRIX_API std::function<std::string()> ChatStorm(int threads, int calls,
                                                  const std::string& argsJson);

// --- The inspector page's feed ----------------------------------------------
//
// While watched, the SDK queues an event for each thing the page shows (calls
// starting and ending in both directions, log lines, chat streams and
// confirmations, observer events, faults, hostile habits striking), at most
// a few thousand; what does not fit is dropped and counted. `wake` is called
// from any thread, and must not block, when the queue stops being empty.
OMBRIX_API void WatchInspector(std::function<void()> wake);
OMBRIX_API void UnwatchInspector();
// {"dropped":N,"count":M,"events":[…]} (M events queued, N dropped since
// the last drain), emptying the queue.
OMBRIX_API std::string DrainInspector();
// What the page shows on opening, besides what the other calls report:
// { sites: [fault site], faults: [{ site, fault }], drives: [{ id, op, ageMs }] (in flight),
//   chat: { sessions, streams: [{ id, events }], confirms: [{ id, requests }] } }.
OMBRIX_API std::string InspectorState();

}  // namespace quelt::ombrix::emu
