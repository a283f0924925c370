#include "platform/posix/named_mutex.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/posix/shm_name.h"

// macOS has neither robust nor timed pthread mutexes: there an owner that dies
// leaves the mutex held, and timed waits poll.
#if defined(__APPLE__)
#define OMBRIX_ROBUST_MUTEX 0
#else
#define OMBRIX_ROBUST_MUTEX 1
#endif

namespace ombrix_addon {

struct SharedMutexBlock {
  std::atomic<uint32_t> state;  // kReady once `mutex` is initialised
  pthread_mutex_t mutex;
};
static_assert(std::atomic<uint32_t>::is_always_lock_free,
              "the state word is shared with other processes");

// The kernel's robust list records the address at which a thread holds the
// mutex, so all handles of one process share one mapping, and that mapping
// stays while any lock level is held, even after its last handle is gone.
struct MutexMapping {
  dev_t device;
  ino_t inode;
  SharedMutexBlock* block;
  int handles;                    // guarded by the registry's lock
  std::atomic<int64_t> holds{0};  // lock levels taken and not yet released
};

namespace {

constexpr uint32_t kReady = 0x4D555458;  // "MUTX"
// How long an opener waits for the process that created the object to
// initialise it.
constexpr auto kInitialiseWait = std::chrono::seconds(1);
constexpr auto kPollInterval = std::chrono::milliseconds(1);

struct Registry {
  std::mutex lock;
  std::vector<MutexMapping*> mappings;
};

Registry& TheRegistry() {
  static Registry* registry = new Registry;  // mappings outlive static destruction
  return *registry;
}

// Exactly one process creates the object (O_EXCL); the others open it.
int OpenOrCreate(const std::string& name, bool& created) {
  for (int attempt = 0; attempt < 3; ++attempt) {
    int fd = shm_open(name.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600);
    if (fd >= 0) {
      created = true;
      return fd;
    }
    if (errno != EEXIST) return -1;
    fd = shm_open(name.c_str(), O_RDWR, 0);
    if (fd >= 0) {
      created = false;
      return fd;
    }
    if (errno != ENOENT) return -1;  // removed in between: create it again
  }
  return -1;
}

SharedMutexBlock* MapBlock(int fd) {
  void* memory = mmap(nullptr, sizeof(SharedMutexBlock), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  return memory == MAP_FAILED ? nullptr : static_cast<SharedMutexBlock*>(memory);
}

bool InitialiseMutex(pthread_mutex_t* mutex) {
  pthread_mutexattr_t attributes;
  if (pthread_mutexattr_init(&attributes) != 0) return false;
  bool ok = pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED) == 0 &&
            pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE) == 0;
#if OMBRIX_ROBUST_MUTEX
  ok = ok && pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST) == 0;
#endif
  ok = ok && pthread_mutex_init(mutex, &attributes) == 0;
  pthread_mutexattr_destroy(&attributes);
  return ok;
}

SharedMutexBlock* CreateBlock(int fd, const std::string& name) {
  SharedMutexBlock* block = nullptr;
  if (ftruncate(fd, sizeof(SharedMutexBlock)) == 0) block = MapBlock(fd);
  if (block && InitialiseMutex(&block->mutex)) {
    block->state.store(kReady, std::memory_order_release);
    return block;
  }
  if (block) munmap(block, sizeof(SharedMutexBlock));
  shm_unlink(name.c_str());  // let the next opener start afresh
  return nullptr;
}

// The creator may still be sizing or initialising the object.
SharedMutexBlock* AttachBlock(int fd) {
  const auto deadline = std::chrono::steady_clock::now() + kInitialiseWait;
  auto waitMore = [&] {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(kPollInterval);
    return true;
  };
  struct stat status;
  do {
    if (fstat(fd, &status) != 0) return nullptr;
  } while (status.st_size < static_cast<off_t>(sizeof(SharedMutexBlock)) && waitMore());
  if (status.st_size < static_cast<off_t>(sizeof(SharedMutexBlock))) return nullptr;

  SharedMutexBlock* block = MapBlock(fd);
  if (!block) return nullptr;
  while (block->state.load(std::memory_order_acquire) != kReady) {
    if (!waitMore()) {
      munmap(block, sizeof(SharedMutexBlock));
      return nullptr;
    }
  }
  return block;
}

int TimedLock(pthread_mutex_t* mutex, uint32_t timeoutMs) {
#if OMBRIX_ROBUST_MUTEX
  timespec deadline;
  clock_gettime(CLOCK_REALTIME, &deadline);
  deadline.tv_sec += timeoutMs / 1000;
  deadline.tv_nsec += static_cast<long>(timeoutMs % 1000) * 1000000L;
  if (deadline.tv_nsec >= 1000000000L) {
    deadline.tv_sec += 1;
    deadline.tv_nsec -= 1000000000L;
  }
  return pthread_mutex_timedlock(mutex, &deadline);
#else
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
  for (;;) {
    const int result = pthread_mutex_trylock(mutex);
    if (result != EBUSY || std::chrono::steady_clock::now() >= deadline) return result;
    std::this_thread::sleep_for(kPollInterval);
  }
#endif
}

}  // namespace

std::unique_ptr<NamedMutex> NamedMutex::Open(const std::string& name) {
  const std::string shmName = PosixShmName(name, ".mutex");
  if (shmName.empty()) return nullptr;

  Registry& registry = TheRegistry();
  std::lock_guard<std::mutex> guard(registry.lock);
  bool created = false;
  const int fd = OpenOrCreate(shmName, created);
  if (fd < 0) return nullptr;
  if (!OwnedByThisUser(fd,
                       name)) {  // an object planted under the name: neither waited for nor locked
    close(fd);
    return nullptr;
  }
  struct stat status;
  if (fstat(fd, &status) != 0) {
    close(fd);
    return nullptr;
  }
  for (MutexMapping* mapping : registry.mappings) {
    if (mapping->device == status.st_dev && mapping->inode == status.st_ino) {
      close(fd);
      ++mapping->handles;
      return std::unique_ptr<NamedMutex>(new NamedMutex(mapping));
    }
  }
  SharedMutexBlock* block = created ? CreateBlock(fd, shmName) : AttachBlock(fd);
  close(fd);  // the mapping keeps the object
  if (!block) return nullptr;
  auto* mapping = new MutexMapping{status.st_dev, status.st_ino, block, 1};
  registry.mappings.push_back(mapping);
  return std::unique_ptr<NamedMutex>(new NamedMutex(mapping));
}

NamedMutex::~NamedMutex() {
  Registry& registry = TheRegistry();
  std::lock_guard<std::mutex> guard(registry.lock);
  if (--mapping_->handles > 0 || mapping_->holds.load() > 0) return;
  munmap(mapping_->block, sizeof(SharedMutexBlock));
  for (auto it = registry.mappings.begin(); it != registry.mappings.end(); ++it) {
    if (*it == mapping_) {
      registry.mappings.erase(it);
      break;
    }
  }
  delete mapping_;
}

NamedMutex::LockResult NamedMutex::Lock(uint32_t timeoutMs) {
  pthread_mutex_t* mutex = &mapping_->block->mutex;
  const int result =
      timeoutMs == kInfinite ? pthread_mutex_lock(mutex) : TimedLock(mutex, timeoutMs);
#if OMBRIX_ROBUST_MUTEX
  if (result == EOWNERDEAD) {
    // Mark the mutex usable again; this thread owns it from here on.
    pthread_mutex_consistent(mutex);
    mapping_->holds.fetch_add(1);
    return LockResult::kAbandoned;
  }
#endif
  if (result != 0) return LockResult::kFailed;
  mapping_->holds.fetch_add(1);
  return LockResult::kAcquired;
}

void NamedMutex::Unlock() {
  // Fails harmlessly (EPERM) when this thread does not own the mutex.
  if (pthread_mutex_unlock(&mapping_->block->mutex) == 0) mapping_->holds.fetch_sub(1);
}

}  // namespace ombrix_addon
