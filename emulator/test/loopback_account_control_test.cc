#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "loopback/control_sessions.h"
#include "loopback/identity.h"

namespace quelt::ombrix::emu::loopback {
namespace {

TEST(LoopbackIdentity, StableNonEmptyAndDerivedFromUserAndHost) {
  HostInfo host;
  host.userName = "ada";
  host.hostName = "lab";
  host.platform = "Linux";
  host.machine = "x86_64";
  LocalIdentity a = IdentityOf(host), b = IdentityOf(host);
  EXPECT_EQ(a.accountDescription, "ada@lab");
  EXPECT_EQ(a.accountId, b.accountId);
  EXPECT_EQ(a.deviceId, b.deviceId);
  EXPECT_EQ(a.accountId.rfind("acct-", 0), 0u);
  EXPECT_EQ(a.accountId.size(), 5u + 16u);
  EXPECT_EQ(a.deviceName, "lab");
  EXPECT_EQ(a.deviceType, RemoteDeviceType::kPcLinux);

  HostInfo other = host;
  other.userName = "bob";
  EXPECT_NE(IdentityOf(other).accountId, a.accountId);
  EXPECT_EQ(IdentityOf(other).deviceId, a.deviceId);  // same machine
  other.hostName = "lab2";
  EXPECT_NE(IdentityOf(other).deviceId, a.deviceId);

  HostInfo bare;
  bare.platform = "Darwin";
  LocalIdentity fallback = IdentityOf(bare);
  EXPECT_EQ(fallback.accountDescription, "user@localhost");
  EXPECT_EQ(fallback.deviceName, "localhost");
  EXPECT_EQ(fallback.deviceType, RemoteDeviceType::kPcMac);
  bare.platform = "Plan9";
  EXPECT_EQ(IdentityOf(bare).deviceType, RemoteDeviceType::kUnknown);
}

TEST(LoopbackIdentity, TokensAreFreshAcrossThreads) {
  std::vector<std::vector<std::string>> perThread(4);
  std::vector<std::thread> threads;
  for (auto& tokens : perThread) {
    threads.emplace_back([&tokens] {
      for (int i = 0; i < 250; ++i) tokens.push_back(GenerateToken("at"));
    });
  }
  for (auto& thread : threads) thread.join();
  std::set<std::string> all;
  for (const auto& tokens : perThread) {
    for (const auto& token : tokens) {
      ASSERT_EQ(token.size(), 3u + 32u) << token;
      ASSERT_EQ(token.rfind("at.", 0), 0u) << token;
      ASSERT_EQ(token.find_first_not_of("0123456789abcdef", 3), std::string::npos) << token;
      all.insert(token);
    }
  }
  EXPECT_EQ(all.size(), 1000u);
}

TEST(LoopbackControlSessions, OpenAndCloseByDeviceAndUiType) {
  ControlSessions sessions;
  const auto terminal = RemoteControlUIType::kTerminal;
  EXPECT_TRUE(sessions.Connect("d1", terminal).success);
  RemoteControlResult again = sessions.Connect("d1", terminal);
  EXPECT_FALSE(again.success);
  EXPECT_EQ(again.errorMessage, "Already connected to d1 with TERMINAL");
  EXPECT_TRUE(sessions.Connect("d2", terminal).success);  // another device
  EXPECT_TRUE(sessions.Disconnect("d1", terminal).success);
  EXPECT_EQ(sessions.Disconnect("d1", terminal).errorMessage, "Not connected to d1 with TERMINAL");

  EXPECT_EQ(sessions.Connect("", terminal).errorMessage, "Device id is empty");
  EXPECT_EQ(sessions.Connect("d1", static_cast<RemoteControlUIType>(42)).errorMessage,
            "Unknown UI type: 42");
  EXPECT_EQ(sessions.Open().size(), 1u);  // only d2's terminal
}

TEST(LoopbackControlSessions, AllCoversEveryKindOfOneDevice) {
  ControlSessions sessions;
  EXPECT_TRUE(sessions.Connect("d1", RemoteControlUIType::kCamera).success);
  EXPECT_TRUE(sessions.Connect("d1", RemoteControlUIType::kAll).success);
  EXPECT_TRUE(sessions.Connect("d2", RemoteControlUIType::kTerminal).success);
  EXPECT_EQ(sessions.Open().size(), 7u + 1u);
  EXPECT_TRUE(sessions.Disconnect("d1", RemoteControlUIType::kAll).success);
  auto open = sessions.Open();
  ASSERT_EQ(open.size(), 1u);
  EXPECT_EQ(open[0].first, "d2");
  EXPECT_EQ(sessions.Disconnect("d1", RemoteControlUIType::kAll).errorMessage,
            "Not connected to d1");
  EXPECT_STREQ(UiTypeName(RemoteControlUIType::kRemoteControlViewOnly), "REMOTE_CONTROL_VIEW_ONLY");
  EXPECT_EQ(UiTypeName(static_cast<RemoteControlUIType>(8)), nullptr);
}

}  // namespace
}  // namespace quelt::ombrix::emu::loopback
