#include "hostile/hostile.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <exception>
#include <mutex>
#include <stdexcept>
#include <sstream>
#include <thread>
#include <vector>

#include "inspect/feed.h"
#include "runtime/log.h"
#include "runtime/task_pool.h"
#include "runtime/worker_thread.h"

namespace quelt::ombrix::emu::hostile {

namespace {

constexpr int kHabits = static_cast<int>(Habit::kCount);
constexpr const char* kNames[kHabits] = {"inline",       "elsewhere",    "late",      "twice",
                                         "loggerNoWait", "observerRace", "sdkThread", "throw",
                                         "never",        "drop",         "nullArgs",  "clientGone"};
// The habits that leave a correct module's results as they are.
constexpr uint32_t kQuiet = (1u << static_cast<int>(Habit::kThrow)) - 1;
constexpr uint32_t kAll = (1u << kHabits) - 1;

struct State {
  std::atomic<bool> enabled{false};
  std::atomic<uint64_t> seed{0};
  std::atomic<uint32_t> habits{kQuiet};
  std::atomic<int> percent{25};
  std::atomic<uint64_t> draws{0};
  std::array<std::atomic<uint64_t>, kHabits> struck{};
  std::mutex heldMutex;
  std::vector<std::shared_ptr<void>> held;
};

State& TheState() {
  static State* state = new State;  // SDK threads may roll while the process exits
  return *state;
}

// splitmix64 over (seed, draw number): the same seed gives the same sequence of
// decisions for the same sequence of calls.
uint64_t Draw() {
  State& state = TheState();
  uint64_t z = state.seed.load(std::memory_order_relaxed) +
               (state.draws.fetch_add(1, std::memory_order_relaxed) + 1) * 0x9E3779B97F4A7C15ull;
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
  return z ^ (z >> 31);
}

bool ParseHabits(const std::string& text, uint32_t* mask) {
  if (text.empty() || text == "quiet") {
    *mask = kQuiet;
    return true;
  }
  if (text == "all") {
    *mask = kAll;
    return true;
  }
  uint32_t parsed = 0;
  std::stringstream list(text);
  std::string name;
  while (std::getline(list, name, ',')) {
    int found = -1;
    for (int i = 0; i < kHabits; ++i) {
      if (name == kNames[i]) found = i;
    }
    if (found < 0) return false;
    parsed |= 1u << found;
  }
  *mask = parsed;
  return true;
}

uint64_t FreshSeed() {
  return static_cast<uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count()) ^
         (reinterpret_cast<uintptr_t>(&TheState()) << 16);
}

// Read once, when the library loads.
[[maybe_unused]] const bool g_fromEnvironment = [] {
  const char* mode = std::getenv("OMBRIX_HOSTILE");
  if (!mode || !*mode || std::string(mode) == "0") return false;
  const char* habits = std::getenv("OMBRIX_HOSTILE_HABITS");
  uint64_t seed = std::string(mode) == "random" ? FreshSeed() : std::strtoull(mode, nullptr, 0);
  return Configure(true, seed, habits ? habits : "", 25);
}();

}  // namespace

bool Enabled() { return TheState().enabled.load(std::memory_order_relaxed); }

bool Roll(Habit habit) {
  State& state = TheState();
  if (!state.enabled.load(std::memory_order_relaxed)) return false;
  const int index = static_cast<int>(habit);
  if (!(state.habits.load(std::memory_order_relaxed) & (1u << index))) return false;
  if (static_cast<int>(Draw() % 100) >= state.percent.load(std::memory_order_relaxed)) return false;
  state.struck[index].fetch_add(1, std::memory_order_relaxed);
  if (inspect::Watched()) inspect::Publish("hostile", Json::MakeObject({{"habit", kNames[index]}}));
  return true;
}

void MaybeThrow(const char* op) {
  if (Roll(Habit::kThrow)) throw std::runtime_error(std::string(op) + ": the SDK threw (hostile)");
}

void Pause(int maxMs) {
  const int ms = static_cast<int>(Draw() % static_cast<uint64_t>(maxMs + 1));
  if (ms == 0) {
    std::this_thread::yield();
  } else {
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
  }
}

bool Deliver(const std::function<void()>& deliver, bool mayRunHere) {
  if (!Enabled()) return false;
  if (mayRunHere && Roll(Habit::kInline)) {
    deliver();
    return true;
  }
  const bool late = Roll(Habit::kLate);
  if (!late && !Roll(Habit::kElsewhere)) return false;
  TaskPool::Hostile().Post([deliver, late] {
    if (late) Pause(30);
    deliver();
  });
  return true;
}

void Again(const std::function<void()>& deliver) {
  if (!Roll(Habit::kTwice)) return;
  TaskPool::Hostile().Post([deliver] {
    Pause(5);
    deliver();
  });
}

void FromSeveralThreads(const std::function<void()>& call) {
  for (int i = 0; i < 3; ++i) {
    TaskPool::Hostile().Post([call] {
      Pause(3);
      call();
    });
  }
}

Json OnSdkThread(const std::function<Json()>& call) {
  if (!Roll(Habit::kSdkThread)) return call();
  Json result;
  std::exception_ptr failure;
  std::thread caller([&] {
    NameCurrentThread("ombrix-hostile-call");
    try {
      result = call();
    } catch (...) {
      failure = std::current_exception();
    }
  });
  caller.join();
  if (failure) std::rethrow_exception(failure);
  return result;
}

void Hold(std::shared_ptr<void> callback) {
  State& state = TheState();
  std::lock_guard<std::mutex> lock(state.heldMutex);
  state.held.push_back(std::move(callback));
}

int ReleaseHeld() {
  std::vector<std::shared_ptr<void>> released;
  {
    State& state = TheState();
    std::lock_guard<std::mutex> lock(state.heldMutex);
    released.swap(state.held);
  }
  return static_cast<int>(released.size());  // let go of here, outside the lock
}

bool Configure(bool enabled, uint64_t seed, const std::string& habits, int percent) {
  uint32_t mask = 0;
  if (!ParseHabits(habits, &mask) || percent < 0 || percent > 100) return false;
  State& state = TheState();
  state.seed.store(seed);
  state.habits.store(mask);
  state.percent.store(percent);
  state.draws.store(0);
  for (auto& count : state.struck) count.store(0);
  state.enabled.store(enabled);
  if (!enabled) ReleaseHeld();
  EMU_LOG(LogLevel::kInfo, "hostile", "hostile mode %s (seed %llu, habits %s, %d%%)",
          enabled ? "on" : "off", static_cast<unsigned long long>(seed),
          habits.empty() ? "quiet" : habits.c_str(), percent);
  return true;
}

Json Status() {
  State& state = TheState();
  Json habits = Json::MakeObject({});
  const uint32_t mask = state.habits.load();
  for (int i = 0; i < kHabits; ++i) {
    if (mask & (1u << i)) habits.Set(kNames[i], static_cast<uint64_t>(state.struck[i].load()));
  }
  size_t held;
  {
    std::lock_guard<std::mutex> lock(state.heldMutex);
    held = state.held.size();
  }
  // The seed as text: a JavaScript number cannot hold every 64-bit value.
  return Json::MakeObject({{"enabled", state.enabled.load()},
                           {"seed", std::to_string(state.seed.load())},
                           {"percent", state.percent.load()},
                           {"habits", habits},
                           {"held", static_cast<uint64_t>(held)}});
}

}  // namespace quelt::ombrix::emu::hostile
