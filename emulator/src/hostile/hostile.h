// Hostile mode: the SDK with every habit its contract allows and a kind SDK
// never shows. Each habit strikes at random, from a seed, so a failing run can
// be repeated; everything here is a no-op while the mode is off.
//
// The mode is read from OMBRIX_HOSTILE when the library loads (unset, "" or
// "0": off; "random": on with a fresh seed; a number: on with that seed) and
// OMBRIX_HOSTILE_HABITS ("all", or names separated by commas; the default is
// every habit that leaves a correct module's results unchanged), and can be
// changed through the control surface.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "support/json.h"

namespace quelt::ombrix::emu::hostile {

enum class Habit : int {
  // Unchanged results: a correct module shows the same outcome.
  kInline,        // a callback runs on the calling thread, inside the call or inside Cancel()
  kElsewhere,     // a callback runs on one of many SDK threads, alongside others
  kLate,          // a callback comes after a pause: its tool, client or environment may be gone
  kTwice,         // a callback runs a second time
  kLoggerNoWait,  // SetLogger returns while threads are still inside the old logger
  kObserverRace,  // a detached observer is still called, from several threads at once
  kSdkThread,     // what the SDK usually calls on the JavaScript thread comes from its own
  // Changed results: what an application sees differs, within the contract.
  kThrow,       // an operation throws instead of starting
  kNever,       // a callback never comes (held until the mode is reset)
  kDrop,        // a callback is released without being invoked
  kNullArgs,    // null callbacks and null strings where the contract allows them
  kClientGone,  // tools whose client is gone stop calling back
  kCount
};

bool Enabled();
// Whether `habit` strikes now. Counted, so a run can tell what it exercised.
bool Roll(Habit habit);

// Delivers a callback the way the SDK chooses this time: right here
// (`mayRunHere` and the inline habit), on another SDK thread, possibly after
// a pause, or else through `usual`. False when `usual` is to be used: the
// caller then delivers as a kind SDK would.
bool Deliver(const std::function<void()>& deliver, bool mayRunHere);
// With the twice habit, runs `deliver` once more from another SDK thread.
void Again(const std::function<void()>& deliver);
// Runs `call` from three SDK threads at once, each after a short random pause:
// an observer called concurrently, while it may be detaching.
void FromSeveralThreads(const std::function<void()>& call);
// Runs `call` on a thread of the SDK's own and waits for it, with the SDK
// thread habit; here otherwise.
Json OnSdkThread(const std::function<Json()>& call);
// Throws std::runtime_error naming `op`, with the throw habit.
void MaybeThrow(const char* op);
// A random pause of up to `maxMs` milliseconds on the calling thread.
void Pause(int maxMs);

// A callback that never comes: kept until Reset() (or the mode changes).
void Hold(std::shared_ptr<void> callback);

// The control surface: `habits` is "all", "quiet" (the default set) or a
// list of names. False for an unknown name.
bool Configure(bool enabled, uint64_t seed, const std::string& habits, int percent);
// { enabled, seed, percent, habits: { name: times struck }, held }
Json Status();
// Releases every held callback; returns how many there were.
int ReleaseHeld();

}  // namespace quelt::ombrix::emu::hostile
