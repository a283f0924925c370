// What the inspector page is told, live. Off unless a page watches: every
// publisher checks Watched() (one relaxed load) before it builds an event,
// so an unwatched SDK pays nothing more. Events wait in a bounded queue for
// the control surface to drain them; what does not fit is dropped and
// counted, so a page that reads slowly never holds up an SDK thread.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "support/json.h"

namespace quelt::ombrix::emu::inspect {

extern std::atomic<bool> gWatched;
inline bool Watched() { return gWatched.load(std::memory_order_relaxed); }

// Queues `event` stamped with its kind, the time (ms since the epoch) and the
// SDK thread it happened on. Any thread; never blocks on the reader.
void Publish(const char* kind, Json event);

// Starts publishing. `wake` is called (under the queue's lock, so it must
// not block) when the queue stops being empty; it is not called again until
// Drain() has run.
void Watch(std::function<void()> wake);
// Stops publishing; once it returns `wake` is never called again.
void Unwatch();
// {"dropped":N,"count":M,"events":[…]}: the M events queued, and how many
// were dropped since the last drain.
std::string Drain();

// How many events the queue holds before it drops.
constexpr size_t kCapacity = 4096;

// A call the page follows from start to end: `dir` is "tool" (the
// application calling the SDK) or "js" (the SDK calling the application's
// JavaScript); `details` adds members (arguments, a result). Nothing is built
// unless a page watches.
void ShowCallStart(const char* dir, const Json& id, const std::string& op, Json details);
void ShowCallEnd(const char* dir, const Json& id, const std::string& op, double startedMs,
                 Json details);

// Ids for the calls the page follows from start to end.
uint64_t NextCallId();
// A steady clock in milliseconds, for durations.
double SteadyMs();

}  // namespace quelt::ombrix::emu::inspect
