#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "loopback/shell.h"

namespace quelt::ombrix::emu::loopback {
namespace {

namespace stdfs = std::filesystem;

ShellExecResult Sh(const std::string& command, const std::string& dir = "", size_t cap = 1 << 20) {
  CancelFlag cancel;
  ShellLimits limits;
  limits.maxOutputBytes = cap;
  return RunShell(command, dir, cancel, limits);
}

// Runs `command`, cancelling it from another thread once `ready` holds; a
// hang fails the test instead of blocking the suite.
template <typename Ready>
ShellExecResult RunAndCancel(const std::string& command, Ready ready, size_t cap = 1 << 20) {
  CancelFlag cancel;
  ShellLimits limits;
  limits.maxOutputBytes = cap;
  auto run = std::async(std::launch::async, [&] { return RunShell(command, "", cancel, limits); });
  std::thread canceller([&] {
    while (!ready()) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    cancel.Set();
  });
  const bool finished = run.wait_for(std::chrono::seconds(20)) == std::future_status::ready;
  canceller.join();
  EXPECT_TRUE(finished) << "cancel did not stop: " << command;
  return run.get();
}

std::string TempDir() {
  std::string dir = (stdfs::temp_directory_path() / "loopback-sh-XXXXXX").string();
  EXPECT_NE(mkdtemp(dir.data()), nullptr);
  return dir;
}

std::string FileText(const std::string& path) {
  std::string text;
  std::getline(std::ifstream(path), text);
  return text;
}

// Running members of process group `pgid` (zombies kept by an init that does
// not reap do not count), once signalled members have had a moment to die.
int LiveMembers(int pgid) {
  int live = 0;
  for (int attempt = 0; attempt < 500; ++attempt) {
    live = 0;
    for (const auto& entry : stdfs::directory_iterator("/proc")) {
      std::string line;
      std::getline(std::ifstream(entry.path() / "stat"), line);
      const size_t close = line.rfind(')');
      char state = 0;
      int ppid = 0, pgrp = 0;
      if (close != std::string::npos &&
          sscanf(line.c_str() + close + 1, " %c %d %d", &state, &ppid, &pgrp) == 3 &&
          pgrp == pgid && state != 'Z') {
        ++live;
      }
    }
    if (live == 0) break;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return live;
}

size_t OpenFds() {
  return static_cast<size_t>(
      std::distance(stdfs::directory_iterator("/proc/self/fd"), stdfs::directory_iterator()));
}

TEST(LoopbackShellTest, CapturesStreamsAndExitStatus) {
  ShellExecResult r = Sh("echo out; echo err >&2; exit 3");
  EXPECT_FALSE(r.success);
  EXPECT_EQ(r.stdoutOutput, "out\n");
  EXPECT_EQ(r.stderrOutput, "err\n");
  EXPECT_EQ(r.exitCode, 3);
  EXPECT_EQ(r.errorMessage, "Command exited with code 3");
  r = Sh("printf ok");
  EXPECT_TRUE(r.success);
  EXPECT_EQ(r.exitCode, 0);
  EXPECT_EQ(r.stdoutOutput, "ok");
  r = Sh("kill -9 $$");
  EXPECT_EQ(r.exitCode, 128 + 9);
  EXPECT_EQ(r.errorMessage, "Command killed by signal 9");
  EXPECT_TRUE(Sh("cat").success) << "stdin must be /dev/null, not inherited";
}

TEST(LoopbackShellTest, RunsInTheWorkingDirectory) {
  const std::string dir = TempDir();
  ShellExecResult r = Sh("pwd -P", dir);
  EXPECT_EQ(r.stdoutOutput, stdfs::canonical(dir).string() + "\n");
  r = Sh("touch ran", dir + "/missing");
  EXPECT_FALSE(r.success);
  EXPECT_EQ(r.errorMessage, "No such directory: " + dir + "/missing");
  EXPECT_EQ(r.exitCode, -1);
  EXPECT_FALSE(stdfs::exists("ran"));
  stdfs::remove_all(dir);
}

TEST(LoopbackShellTest, CapsOutputButDrainsToTheEnd) {
  ShellExecResult r = Sh("yes | head -c 3000000; echo done >&2", "", 1000);
  EXPECT_TRUE(r.success) << r.errorMessage;
  EXPECT_EQ(r.stdoutOutput.size(), 1000u);
  EXPECT_EQ(r.stderrOutput, "done\n");
  EXPECT_NE(r.message.find("output truncated"), std::string::npos) << r.message;
  EXPECT_NE(r.message.find("3000000"), std::string::npos) << r.message;

  const auto start = std::chrono::steady_clock::now();
  r = RunAndCancel(
      "yes",
      [&] { return std::chrono::steady_clock::now() - start > std::chrono::milliseconds(200); },
      4096);
  EXPECT_EQ(r.errorMessage, "Cancelled");
  EXPECT_EQ(r.stdoutOutput.size(), 4096u);
  EXPECT_EQ(r.exitCode, 128 + SIGTERM);
}

TEST(LoopbackShellTest, IgnoredSigpipeIsNotPassedOn) {
  // Node ignores SIGPIPE; a command must still see the default.
  struct sigaction ignore {
  }, previous{};
  ignore.sa_handler = SIG_IGN;
  sigaction(SIGPIPE, &ignore, &previous);
  const ShellExecResult r = Sh("yes | head -n 1");
  sigaction(SIGPIPE, &previous, nullptr);
  EXPECT_EQ(r.stdoutOutput, "y\n");
  EXPECT_EQ(r.stderrOutput, "") << "yes saw EPIPE instead of dying of SIGPIPE";
}

TEST(LoopbackShellTest, CancelStopsTheWholeProcessGroup) {
  const std::string dir = TempDir();
  const std::string pidFile = dir + "/pid";
  ShellExecResult r = RunAndCancel("sleep 30 & echo $$ > " + pidFile + "; sleep 30",
                                   [&] { return !FileText(pidFile).empty(); });
  EXPECT_FALSE(r.success);
  EXPECT_EQ(r.errorMessage, "Cancelled");
  EXPECT_EQ(r.exitCode, 128 + SIGTERM);
  EXPECT_EQ(LiveMembers(std::stoi(FileText(pidFile))), 0);

  // Members that ignore SIGTERM are killed once the grace period is over.
  stdfs::remove(pidFile);
  r = RunAndCancel("trap '' TERM; sleep 30 & echo $$ > " + pidFile + "; wait",
                   [&] { return !FileText(pidFile).empty(); });
  EXPECT_EQ(r.errorMessage, "Cancelled");
  EXPECT_EQ(r.exitCode, 128 + SIGKILL);
  EXPECT_EQ(LiveMembers(std::stoi(FileText(pidFile))), 0);
  stdfs::remove_all(dir);
}

TEST(LoopbackShellTest, ReturnsWhenTheShellExitsDespiteBackgroundWriters) {
  auto run = std::async(std::launch::async, [] { return Sh("sleep 30 & echo $!"); });
  ASSERT_EQ(run.wait_for(std::chrono::seconds(20)), std::future_status::ready);
  const ShellExecResult r = run.get();
  EXPECT_TRUE(r.success);
  kill(std::stoi(r.stdoutOutput), SIGKILL);
}

TEST(LoopbackShellTest, LeavesNoDescriptorsOrZombiesBehind) {
  const size_t before = OpenFds();
  std::vector<std::thread> threads;
  std::atomic<int> wrong{0};
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 15; ++i) {
        const std::string word = std::to_string(t * 100 + i);
        if (Sh("echo " + word).stdoutOutput != word + "\n") ++wrong;
        if (Sh("true", "/nonexistent").success) ++wrong;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(wrong.load(), 0);
  EXPECT_EQ(OpenFds(), before);
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
}

}  // namespace
}  // namespace quelt::ombrix::emu::loopback
