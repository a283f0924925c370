#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "ombrix/types.h"
#include "test_util.h"

namespace quelt::ombrix {
namespace {

// A contract type the runtime counts as "OperationHandle".
class Probe final : public OperationHandleItf {
 public:
  explicit Probe(std::atomic<int>* destroyed) : destroyed_(destroyed) {}
  ~Probe() override { destroyed_->fetch_add(1); }
  void Cancel() override { cancels.fetch_add(1); }
  std::atomic<int> cancels{0};

 private:
  std::atomic<int>* destroyed_;
};

using Handle = SharedPtr<OperationHandleItf>;
using Weak = WeakPtr<OperationHandleItf>;

TEST(SharedPtrTest, OwnsSharesAndReleasesOnce) {
  std::atomic<int> destroyed{0};
  const int64_t before = test::LiveCount("OperationHandle");
  {
    Handle empty(nullptr);
    EXPECT_FALSE(empty);
    EXPECT_EQ(empty.get(), nullptr);

    Handle a(new Probe(&destroyed));
    EXPECT_EQ(test::LiveCount("OperationHandle"), before + 1);
    Handle b = a;
    Handle c(std::move(b));
    EXPECT_FALSE(b);
    EXPECT_EQ(c.get(), a.get());
    c->Cancel();
    Handle& alias = a;  // through a reference, so compilers do not flag the self-assignment
    a = alias;          // self-assignment keeps the object
    a.reset();
    EXPECT_EQ(destroyed.load(), 0);
    c = nullptr;
    EXPECT_EQ(destroyed.load(), 1);
  }
  EXPECT_EQ(test::LiveCount("OperationHandle"), before);
}

TEST(SharedPtrTest, WeakLocksOnlyWhileAlive) {
  std::atomic<int> destroyed{0};
  Weak weak;
  EXPECT_FALSE(weak.lock());
  {
    Handle strong(new Probe(&destroyed));
    weak = strong;
    Weak copy(weak);
    Handle locked = copy.lock();
    ASSERT_TRUE(locked);
    EXPECT_EQ(locked.get(), strong.get());
  }
  EXPECT_EQ(destroyed.load(), 1);
  EXPECT_FALSE(weak.lock());

  // A weak made from a temporary does not keep the object.
  Weak fromTemporary(Handle(new Probe(&destroyed)));
  EXPECT_EQ(destroyed.load(), 2);
  EXPECT_FALSE(fromTemporary.lock());
}

TEST(SharedPtrTest, ConcurrentCopiesAndReleasesDestroyOnce) {
  std::atomic<int> destroyed{0};
  const int64_t before = test::LiveCount("OperationHandle");
  {
    Handle shared(new Probe(&destroyed));
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
      threads.emplace_back([shared] {
        for (int i = 0; i < 20000; ++i) {
          Handle copy = shared;
          Weak weak(copy);
          Handle again = weak.lock();
          ASSERT_TRUE(again);
          again->Cancel();
        }
      });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(static_cast<Probe*>(shared.get())->cancels.load(), 8 * 20000);
    EXPECT_EQ(destroyed.load(), 0);
  }
  EXPECT_EQ(destroyed.load(), 1);
  EXPECT_EQ(test::LiveCount("OperationHandle"), before);
}

// lock() racing the last release must either win a live object or get
// nothing; never a destroyed one, never a second destruction.
TEST(SharedPtrTest, LockRacingLastReleaseIsSafe) {
  constexpr int kRounds = 20000;
  std::atomic<int> destroyed{0};
  for (int round = 0; round < kRounds; ++round) {
    auto* strong = new Handle(new Probe(&destroyed));
    Weak weak(*strong);
    std::atomic<bool> go{false};
    std::thread releaser([&] {
      while (!go.load()) {
      }
      delete strong;
    });
    go = true;
    Handle locked = weak.lock();
    if (locked) {
      EXPECT_EQ(destroyed.load(), round);  // still alive while we hold it
      locked->Cancel();
    }
    releaser.join();
    locked.reset();
    EXPECT_EQ(destroyed.load(), round + 1);
  }
  EXPECT_EQ(destroyed.load(), kRounds);
}

}  // namespace
}  // namespace quelt::ombrix
