#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "ombrix/types.h"
#include "ombrix_emu/control.h"
#include "test_util.h"

namespace quelt::ombrix {
namespace {

TEST(WorkerThreadTest, RunsTasksInOrderOnTheNamedThread) {
  std::vector<int> order;
  std::vector<std::string> names;
  std::thread::id taskThread;
  {
    SharedPtr<ThreadItf> thread = ThreadItf::Create("OmbrixAddonSignaling");
    ASSERT_TRUE(thread);
    EXPECT_STREQ(thread->GetName(), "OmbrixAddonSignaling");
    for (int i = 0; i < 1000; ++i) {
      ASSERT_TRUE(thread->PostTask([&, i] {
        order.push_back(i);
        if (i == 0) {
          names.push_back(emu::CurrentSdkThreadName());
          taskThread = std::this_thread::get_id();
        }
      }));
    }
  }  // the last reference waits for the queue to drain
  ASSERT_EQ(order.size(), 1000u);
  for (int i = 0; i < 1000; ++i) EXPECT_EQ(order[i], i);
  EXPECT_EQ(names, std::vector<std::string>{"OmbrixAddonSignaling"});
  EXPECT_NE(taskThread, std::this_thread::get_id());
  EXPECT_STREQ(emu::CurrentSdkThreadName(), "");
}

TEST(WorkerThreadTest, TasksFromManyThreadsAllRunAndAThrowingTaskIsContained) {
  SharedPtr<ThreadItf> thread = ThreadItf::Create("worker");
  std::atomic<int> ran{0};
  std::vector<std::thread> producers;
  for (int p = 0; p < 4; ++p) {
    producers.emplace_back([&] {
      for (int i = 0; i < 500; ++i) thread->PostTask([&] { ran.fetch_add(1); });
    });
  }
  thread->PostTask([] { throw std::runtime_error("task failure"); });
  for (auto& producer : producers) producer.join();
  thread.reset();
  EXPECT_EQ(ran.load(), 2000);
}

TEST(WorkerThreadTest, LastReferenceDroppedByItsOwnTask) {
  std::mutex mutex;
  std::condition_variable done;
  bool finished = false;
  auto* holder = new SharedPtr<ThreadItf>(ThreadItf::Create("self-release"));
  (*holder)->PostTask([&, holder] {
    delete holder;  // destroys the thread object on its own thread
    std::lock_guard<std::mutex> lock(mutex);
    finished = true;
    done.notify_one();
  });
  std::unique_lock<std::mutex> lock(mutex);
  ASSERT_TRUE(done.wait_for(lock, std::chrono::seconds(10), [&] { return finished; }));
}

TEST(WorkerThreadTest, InjectedFailureAffectsOnlyTheNextCreate) {
  const int64_t before = test::LiveCount("Thread");
  emu::InjectThreadCreateFailure();
  EXPECT_FALSE(ThreadItf::Create("refused"));
  SharedPtr<ThreadItf> next = ThreadItf::Create("accepted");
  EXPECT_TRUE(next);
  EXPECT_EQ(test::LiveCount("Thread"), before + 1);
  next.reset();
  EXPECT_EQ(test::LiveCount("Thread"), before);
}

}  // namespace
}  // namespace quelt::ombrix
