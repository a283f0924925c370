#include <atomic>
#include <string>

#include <gtest/gtest.h>

#include "ombrix_emu/control.h"

namespace quelt::ombrix::emu {
namespace {

size_t Count(const std::string& text, const std::string& what) {
  size_t count = 0;
  for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++count;
  return count;
}

uint64_t Dropped(const std::string& drained) {
  return std::stoull(drained.substr(std::string("{\"dropped\":").size()));
}

void Emit(const std::string& message, int threads = 1, int lines = 1) {
  LogSpec spec;
  spec.level = 0;
  spec.module = "feed";
  spec.message = message;
  EmitLogs(spec, threads, lines);
}

// Watches for the length of a test; wakes are counted.
class FeedTest : public ::testing::Test {
 protected:
  void SetUp() override {
    WatchInspector([this] { wakes.fetch_add(1); });
  }
  void TearDown() override { UnwatchInspector(); }
  std::atomic<int> wakes{0};
};

TEST(InspectorFeed, PublishesNothingUnwatched) {
  Emit("unseen");
  EXPECT_EQ(DrainInspector(), "{\"dropped\":0,\"count\":0,\"events\":[]}");
}

TEST_F(FeedTest, WakesOnceUntilDrainedAndKeepsOrder) {
  Emit("first");
  Emit("second");
  EXPECT_EQ(wakes.load(), 1);
  const std::string drained = DrainInspector();
  EXPECT_EQ(Dropped(drained), 0u);
  EXPECT_LT(drained.find("\"message\":\"first\""), drained.find("\"message\":\"second\""));
  EXPECT_NE(drained.find("\"kind\":\"log\""), std::string::npos);
  Emit("third");
  EXPECT_EQ(wakes.load(), 2);
}

TEST_F(FeedTest, DropsAndCountsWhatTheQueueHasNoRoomFor) {
  // From several threads at once: every line is either queued or counted.
  Emit("line", 4, 2000);
  const std::string drained = DrainInspector();
  const size_t queued = Count(drained, "\"kind\":\"log\"");
  EXPECT_EQ(queued, 4096u);
  EXPECT_NE(drained.find("\"count\":4096,"), std::string::npos);
  EXPECT_EQ(queued + Dropped(drained), 8000u);
  EXPECT_EQ(Dropped(DrainInspector()), 0u);  // a drain resets the count
}

TEST_F(FeedTest, CutsLongTextsAtACharacterBoundary) {
  // 2047 bytes, then a three-byte character across the 2048-byte cut.
  Emit(std::string(2047, 'a') + "\xE2\x82\xAC" + std::string(5000, 'b'));
  const std::string drained = DrainInspector();
  EXPECT_NE(drained.find(std::string(2047, 'a') + "\xE2\x80\xA6 (5003 more bytes)"),
            std::string::npos)
      << drained.substr(0, 200);
  EXPECT_LT(drained.size(), 2600u);
}

TEST_F(FeedTest, UnwatchingEmptiesTheQueueAndStopsWaking) {
  Emit("pending");
  UnwatchInspector();
  const int before = wakes.load();
  Emit("after");
  EXPECT_EQ(wakes.load(), before);
  EXPECT_EQ(DrainInspector(), "{\"dropped\":0,\"count\":0,\"events\":[]}");
  WatchInspector([this] { wakes.fetch_add(1); });  // for TearDown
}

}  // namespace
}  // namespace quelt::ombrix::emu
