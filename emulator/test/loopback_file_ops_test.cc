#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "loopback/file_ops.h"
#include "loopback/fs.h"
#include "scratch_dir.h"

namespace quelt::ombrix::emu::loopback {
namespace {

namespace stdfs = std::filesystem;

using LoopbackFileTest = test::ScratchDirTest;

std::string NumberedLines(int count, size_t width) {
  std::string text;
  for (int i = 1; i <= count; ++i) {
    std::string line = "line " + std::to_string(i);
    line.resize(width - 1, '.');
    text += line + '\n';
  }
  return text;
}

TEST_F(LoopbackFileTest, ReadSelectsAndClampsLineRangesAndNamesFailures) {
  const std::string path = Put("f.txt", "a\nb\nc\nd");  // final line without '\n'
  struct Case {
    int32_t start, end;
    const char* content;
    int32_t first, last;
  } cases[] = {{-1, -1, "a\nb\nc\nd", 1, 4}, {2, 3, "b\nc\n", 2, 3}, {3, 100, "c\nd", 3, 4},
               {0, 1, "a\n", 1, 1},          {5, -1, "", 0, 0},      {3, 2, "", 0, 0}};
  for (const Case& c : cases) {
    const FileReadResult r = ReadTextFile(path, c.start, c.end);
    SCOPED_TRACE(std::to_string(c.start) + ".." + std::to_string(c.end));
    EXPECT_TRUE(r.success);
    EXPECT_EQ(r.content, c.content);
    EXPECT_EQ(r.dataStartLine, c.first);
    EXPECT_EQ(r.dataEndLine, c.last);
    EXPECT_EQ(r.originalLineCount, 4);
    EXPECT_FALSE(r.isTruncated);
  }
  const FileReadResult crlf = ReadTextFile(Put("crlf.txt", "x\r\ny\r\n"), 2, -1);
  EXPECT_EQ(crlf.content, "y\r\n");
  EXPECT_EQ(crlf.originalLineCount, 2);
  const FileReadResult empty = ReadTextFile(Put("empty.txt", ""), -1, -1);
  EXPECT_TRUE(empty.success);
  EXPECT_EQ(empty.originalLineCount, 0);
  EXPECT_EQ(empty.dataEndLine, 0);
  EXPECT_EQ(ReadTextFile(Path("nope"), -1, -1).errorMessage,
            "No such file or directory: " + Path("nope"));
  EXPECT_EQ(ReadTextFile(root_, -1, -1).errorMessage, "Is a directory: " + root_);
}

TEST_F(LoopbackFileTest, ReadTruncatesAtLineAndByteBudgets) {
  const std::string text = NumberedLines(3000, 100);  // more than one read block
  const std::string path = Put("many.txt", text);
  FileReadResult r = ReadTextFile(path, -1, -1);
  EXPECT_TRUE(r.isTruncated);
  EXPECT_EQ(r.dataEndLine, 2000);
  EXPECT_EQ(r.originalLineCount, 3000);
  EXPECT_EQ(r.content, text.substr(0, 2000 * 100));
  r = ReadTextFile(path, 2001, -1);
  EXPECT_FALSE(r.isTruncated);
  EXPECT_EQ(r.content, text.substr(2000 * 100));
  EXPECT_FALSE(ReadTextFile(path, 1001, 3000).isTruncated);

  r = ReadTextFile(Put("wide.txt", NumberedLines(300, 1000)), 10, -1);
  EXPECT_TRUE(r.isTruncated);
  EXPECT_EQ(r.dataStartLine, 10);
  EXPECT_EQ(r.dataEndLine, 10 + static_cast<int32_t>(kMaxReadBytes / 1000) - 1);
  EXPECT_EQ(r.content.size() % 1000, 0u);

  r = ReadTextFile(Put("one.txt", std::string(300 * 1024, 'x') + "\nnext\n"), -1, -1);
  EXPECT_TRUE(r.isTruncated);
  EXPECT_EQ(r.dataEndLine, 1);
  EXPECT_EQ(r.content.size(), kMaxReadBytes);
  EXPECT_EQ(r.originalLineCount, 2);
}

TEST_F(LoopbackFileTest, WriteTruncatesAppendsAndCreatesParents) {
  const std::string path = Path("w.txt");
  FileWriteResult r = WriteTextFile(path, "hello", false, false);
  EXPECT_EQ(r.message, "Wrote 5 bytes to " + path);
  r = WriteTextFile(path, " world", true, false);
  EXPECT_EQ(r.message, "Appended 6 bytes to " + path);
  EXPECT_EQ(Slurp(path), "hello world");
  EXPECT_TRUE(WriteTextFile(path, "new", false, false).success);
  EXPECT_EQ(Slurp(path), "new");

  const std::string nested = Path("a/b/c.txt");
  r = WriteTextFile(nested, "x", false, false);
  EXPECT_FALSE(r.success);
  EXPECT_EQ(r.errorMessage, "No such file or directory: " + nested);
  EXPECT_TRUE(WriteTextFile(nested, "x", false, true).success);
  EXPECT_EQ(Slurp(nested), "x");
  r = WriteTextFile(Path("w.txt/under"), "x", false, true);
  EXPECT_FALSE(r.success);
  EXPECT_NE(r.errorMessage.find(path), std::string::npos) << r.errorMessage;
  EXPECT_EQ(WriteTextFile(root_, "x", false, false).errorMessage, "Is a directory: " + root_);
}

TEST_F(LoopbackFileTest, ReplaceRewritesEveryOccurrenceAtomically) {
  const std::string path = Put("r.txt", "foo a.* foo\nfoo");
  chmod(path.c_str(), 0640);
  struct stat before;
  ASSERT_EQ(stat(path.c_str(), &before), 0);
  FileReplaceResult r = ReplaceInTextFile(path, "foo", "bar");
  EXPECT_TRUE(r.success);
  EXPECT_EQ(r.message, "Replaced 3 occurrences of \"foo\" in " + path);
  EXPECT_EQ(Slurp(path), "bar a.* bar\nbar");
  struct stat after;
  ASSERT_EQ(stat(path.c_str(), &after), 0);
  EXPECT_NE(after.st_ino, before.st_ino);  // a new file renamed into place
  EXPECT_EQ(after.st_mode & 07777, 0640u);
  EXPECT_EQ(std::distance(stdfs::directory_iterator(root_), stdfs::directory_iterator()), 1);

  EXPECT_EQ(ReplaceInTextFile(path, "a.*", "").message,
            "Replaced 1 occurrence of \"a.*\" in " + path);
  r = ReplaceInTextFile(path, "foo", "x");
  EXPECT_FALSE(r.success);
  EXPECT_EQ(r.errorMessage, "Text not found in " + path + ": \"foo\"");
  EXPECT_FALSE(ReplaceInTextFile(path, "", "x").success);

  ASSERT_EQ(symlink(path.c_str(), Path("link").c_str()), 0);
  EXPECT_TRUE(ReplaceInTextFile(Path("link"), "bar", "baz").success);
  EXPECT_TRUE(stdfs::is_symlink(Path("link")));
  EXPECT_EQ(Slurp(path), "baz  baz\nbaz");
}

TEST_F(LoopbackFileTest, SearchMatchesLiteralLinesLikeGrep) {
  const std::string path = Put("s.txt", "Alpha\nbeta ALPHA alpha\r\ngamma\nxa.bx aXb\nalphabet");
  CancelFlag cancel;
  FileSearchResult r = SearchInTextFile(path, "alpha", false, true, cancel);
  EXPECT_EQ(r.matches, "1:Alpha\n2:beta ALPHA alpha\n5:alphabet\n");
  EXPECT_EQ(r.matchCount, 3);
  r = SearchInTextFile(path, "alpha", true, false, cancel);
  EXPECT_EQ(r.matches, "beta ALPHA alpha\nalphabet\n");
  EXPECT_EQ(SearchInTextFile(path, "a.b", true, true, cancel).matches, "4:xa.bx aXb\n");
  r = SearchInTextFile(path, "delta", false, true, cancel);
  EXPECT_TRUE(r.success);
  EXPECT_EQ(r.matchCount, 0);
  EXPECT_FALSE(SearchInTextFile(path, "", false, true, cancel).success);
  EXPECT_EQ(SearchInTextFile(root_, "a", false, true, cancel).errorMessage,
            "Is a directory: " + root_);
}

TEST_F(LoopbackFileTest, SearchKeepsTheFirstThousandMatchesAndCountsAll) {
  std::string text, expected;
  for (int i = 1; i <= 21000; ++i) {  // about 1 MB: matches straddle read blocks
    const bool hit = i % 7 == 0;
    const std::string line =
        "row " + std::to_string(i) + (hit ? " NeedLe" : " hay") + std::string(40, '-');
    text += line + '\n';
    if (hit && i / 7 <= 1000) expected += std::to_string(i) + ":" + line + '\n';
  }
  CancelFlag cancel;
  const FileSearchResult r = SearchInTextFile(Put("big.txt", text), "needle", false, true, cancel);
  EXPECT_EQ(r.matchCount, 3000);
  EXPECT_EQ(r.matches, expected);
  EXPECT_NE(r.message.find("first 1000"), std::string::npos) << r.message;
}

TEST(LoopbackGlobTest, MatchesLikeFindName) {
  EXPECT_TRUE(GlobMatch("*.txt", ".hidden.txt"));
  EXPECT_TRUE(GlobMatch("c[0-9].log", "c7.log"));
  EXPECT_FALSE(GlobMatch("c[!0-9].log", "c7.log"));
  EXPECT_TRUE(GlobMatch("c[^0-9].log", "cx.log"));
  EXPECT_TRUE(GlobMatch("[]a]", "]"));
  EXPECT_TRUE(GlobMatch("a\\*", "a*"));
  EXPECT_FALSE(GlobMatch("a\\*", "ab"));
  EXPECT_TRUE(GlobMatch("[ab", "[ab"));  // unterminated: literal
  EXPECT_TRUE(GlobMatch("caf?", "caf\xC3\xA9"));
  EXPECT_TRUE(GlobMatch("*a*b*c", "xxaxxbxxbc"));
  EXPECT_FALSE(GlobMatch("*a*b*c", "xxaxxbxxbcd"));
  EXPECT_FALSE(GlobMatch("?", ""));
}

TEST_F(LoopbackFileTest, FindWalksTheTreeByNameWithLimits) {
  for (const char* name :
       {"a.txt", "b.TXT", "c1.log", "cx.log", ".h.txt", "sub/d.txt", "sub/deep/e.txt"}) {
    Put(name, "");
  }
  ASSERT_EQ(symlink(root_.c_str(), Path("sub/loop.txt").c_str()), 0);  // a cycle, if followed
  CancelFlag cancel;
  FileFindResult r = FindByName(root_ + "/", "*.txt", -1, cancel);
  std::sort(r.filePaths.begin(), r.filePaths.end());
  EXPECT_EQ(r.filePaths, (std::vector<std::string>{Path(".h.txt"), Path("a.txt"), Path("sub/d.txt"),
                                                   Path("sub/deep/e.txt"), Path("sub/loop.txt")}));
  EXPECT_FALSE(r.truncated);
  EXPECT_EQ(FindByName(root_, "c[!0-9]*", -1, cancel).filePaths,
            std::vector<std::string>{Path("cx.log")});
  EXPECT_EQ(FindByName(root_, "deep", -1, cancel).filePaths,
            std::vector<std::string>{Path("sub/deep")});

  r = FindByName(root_, "*.txt", 2, cancel);
  EXPECT_EQ(r.filePaths.size(), 2u);
  EXPECT_EQ(r.totalFound, 5);
  EXPECT_TRUE(r.truncated);
  r = FindByName(root_, "*", 0, cancel);
  EXPECT_TRUE(r.filePaths.empty());
  EXPECT_EQ(r.totalFound, 10);
  EXPECT_TRUE(r.truncated);
  r = FindByName(root_, "*.none", 0, cancel);
  EXPECT_TRUE(r.success);
  EXPECT_FALSE(r.truncated);
  EXPECT_EQ(FindByName(Path("a.txt"), "*", -1, cancel).errorMessage,
            "Not a directory: " + Path("a.txt"));
  EXPECT_EQ(FindByName(Path("gone"), "*", -1, cancel).errorMessage,
            "No such file or directory: " + Path("gone"));
}

TEST_F(LoopbackFileTest, FindReachesBelowTheLevelsItHoldsOpen) {
  std::string deep = "top";
  for (int i = 0; i < 80; ++i) deep += "/d" + std::to_string(i % 3);
  Put(deep + "/bottom.txt", "");
  Put(deep.substr(0, 200) + "x/mid.txt", "");  // a sibling branch far down
  CancelFlag cancel;
  FileFindResult r = FindByName(root_, "*.txt", -1, cancel);
  std::sort(r.filePaths.begin(), r.filePaths.end());
  EXPECT_EQ(r.filePaths, (std::vector<std::string>{Path(deep + "/bottom.txt"),
                                                   Path(deep.substr(0, 200) + "x/mid.txt")}));
  EXPECT_EQ(FindByName(root_, "d2", -1, cancel).totalFound, 26);
}

// Checked before the file system is touched: the file named here exists.
TEST_F(LoopbackFileTest, EmptyRequiredArgumentsFailWithTheirOwnMessage) {
  const std::string path = Put("f.txt", "text\n");
  CancelFlag cancel;
  const FileReadResult read = ReadTextFile("", -1, -1);
  EXPECT_FALSE(read.success);
  EXPECT_EQ(read.errorMessage, "Path is empty");
  EXPECT_EQ(WriteTextFile("", "x", false, false).errorMessage, "Path is empty");
  EXPECT_EQ(ReplaceInTextFile("", "a", "b").errorMessage, "Path is empty");
  EXPECT_EQ(ReplaceInTextFile(path, "", "b").errorMessage, "Text to replace is empty");
  EXPECT_EQ(SearchInTextFile("", "x", true, false, cancel).errorMessage, "Path is empty");
  EXPECT_EQ(SearchInTextFile(path, "", true, false, cancel).errorMessage,
            "Search pattern is empty");
  EXPECT_EQ(FindByName("", "*", -1, cancel).errorMessage, "Path is empty");
  EXPECT_EQ(FindByName(root_, "", -1, cancel).errorMessage, "Name pattern is empty");
  EXPECT_EQ(ListDir("", false, cancel).errorMessage, "Path is empty");
  // The path is checked first.
  EXPECT_EQ(SearchInTextFile("", "", true, false, cancel).errorMessage, "Path is empty");
  EXPECT_EQ(Slurp(path), "text\n");
}

TEST_F(LoopbackFileTest, PermissionDeniedIsReportedByPath) {
  if (IsRoot()) GTEST_SKIP() << "root is not denied (run the suite as another user to cover this)";
  const std::string secret = Put("secret", "x");
  chmod(secret.c_str(), 0);
  EXPECT_EQ(ReadTextFile(secret, -1, -1).errorMessage, "Permission denied: " + secret);
  const std::string readOnly = Put("ro.txt", "old");
  chmod(readOnly.c_str(), 0444);
  EXPECT_EQ(ReplaceInTextFile(readOnly, "old", "new").errorMessage,
            "Permission denied: " + readOnly);
  Put("locked/deep/e.txt", "");
  Put("locked/f.txt", "");
  chmod(Path("locked/deep").c_str(), 0);
  CancelFlag cancel;
  const FileFindResult found = FindByName(root_, "*.txt", -1, cancel);
  EXPECT_TRUE(found.success);
  EXPECT_EQ(found.totalFound, 2);  // f.txt and ro.txt
  EXPECT_NE(found.message.find("skipped 1 unreadable directory"), std::string::npos)
      << found.message;
  chmod(Path("locked").c_str(), 0555);
  EXPECT_EQ(WriteTextFile(Path("locked/new"), "x", false, false).errorMessage,
            "Permission denied: " + Path("locked/new"));
}

TEST_F(LoopbackFileTest, ListSortsTypesAndCountsEntries) {
  Put("b.txt", "abc");
  Put("C", std::string(10, 'x'));
  Put(".dot", "1");
  stdfs::create_directory(Path("a"));
  ASSERT_EQ(symlink("b.txt", Path("link").c_str()), 0);
  ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
  const timespec times[2] = {{0, UTIME_OMIT}, {1700000000, 123456789}};
  ASSERT_EQ(utimensat(AT_FDCWD, Path("C").c_str(), times, 0), 0);

  CancelFlag cancel;
  DirListResult r = ListDir(root_, false, cancel);
  ASSERT_TRUE(r.success) << r.errorMessage;
  std::vector<std::string> names;
  for (const DirEntry& e : r.entries) names.push_back(e.name);
  EXPECT_EQ(names, (std::vector<std::string>{"C", "a", "b.txt", "link", "pipe"}));
  const FileEntryType types[] = {FileEntryType::kFile, FileEntryType::kDirectory,
                                 FileEntryType::kFile, FileEntryType::kSymlink,
                                 FileEntryType::kOther};
  for (size_t i = 0; i < 5; ++i) EXPECT_EQ(r.entries[i].type, types[i]) << names[i];
  EXPECT_EQ(r.entries[0].size, 10);
  EXPECT_EQ(r.entries[0].modifiedTime, 1700000000123);
  EXPECT_EQ(r.entries[1].size, 0);
  EXPECT_EQ(r.entries[3].size, 5);  // the link itself
  EXPECT_EQ(r.directoryCount, 1);
  EXPECT_EQ(r.fileCount, 2);
  EXPECT_EQ(r.totalSize, 13);
  EXPECT_EQ(r.message, "1 directory, 2 files");
  r = ListDir(root_, true, cancel);
  EXPECT_EQ(r.entries.front().name, ".dot");
  EXPECT_EQ(r.fileCount, 3);
  EXPECT_EQ(ListDir(Path("C"), false, cancel).errorMessage, "Not a directory: " + Path("C"));
}

// The flag is set by another thread while the operation is running; the
// visitor only makes sure that happens mid-way.
template <typename Run>
void CancelMidway(CancelFlag& cancel, Run run) {
  std::promise<void> reached;
  std::thread canceller([&, ready = reached.get_future()]() mutable {
    ready.wait();
    cancel.Set();
  });
  std::atomic<bool> signalled{false};
  run([&] {
    if (signalled.exchange(true)) return;
    reached.set_value();
    while (!cancel.IsSet()) std::this_thread::yield();
  });
  canceller.join();
}

TEST_F(LoopbackFileTest, WalkAndListingStopSoonAfterCancel) {
  for (int i = 0; i < 50; ++i) Put("d" + std::to_string(i) + "/f", "");
  CancelFlag walkCancel;
  int64_t seen = 0;
  int64_t unreadable = 0;
  std::error_code ec;
  CancelMidway(walkCancel, [&](auto midway) {
    EXPECT_FALSE(fs::WalkTree(
        root_, walkCancel,
        [&](const std::string&, std::string_view) {
          if (++seen == 10) midway();
        },
        unreadable, ec));
  });
  EXPECT_EQ(ec, std::errc::operation_canceled);
  EXPECT_EQ(seen, 10);

  CancelFlag listCancel;
  seen = 0;
  ec.clear();
  CancelMidway(listCancel, [&](auto midway) {
    EXPECT_FALSE(fs::ListEntries(
        root_, false, listCancel,
        [&](std::string_view, const fs::EntryInfo&) {
          if (++seen == 10) midway();
        },
        ec));
  });
  EXPECT_EQ(ec, std::errc::operation_canceled);
  EXPECT_EQ(seen, 10);
  EXPECT_EQ(FindByName(root_, "*", -1, walkCancel).errorMessage, "Cancelled");
  EXPECT_EQ(ListDir(root_, false, listCancel).errorMessage, "Cancelled");
}

TEST_F(LoopbackFileTest, SearchOfAnEndlessStreamStopsOnCancel) {
  const std::string fifo = Path("stream");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  // Holding both ends keeps the stream open however the search reads it.
  const int feed = open(fifo.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
  ASSERT_GE(feed, 0);
  std::atomic<bool> stop{false};
  std::atomic<int64_t> written{0};
  std::thread writer([&] {
    std::string chunk;
    while (chunk.size() < 60000) chunk += "some text with a needle in it\n";
    while (!stop) {
      const ssize_t n = write(feed, chunk.data(), chunk.size());
      if (n > 0)
        written += n;
      else
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  });
  CancelFlag cancel;
  std::thread canceller([&] {
    while (written < 4'000'000) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    cancel.Set();
  });
  auto search = std::async(std::launch::async,
                           [&] { return SearchInTextFile(fifo, "NEEDLE", false, true, cancel); });
  ASSERT_EQ(search.wait_for(std::chrono::seconds(30)), std::future_status::ready)
      << "search ignored cancel";
  const FileSearchResult r = search.get();
  stop = true;
  canceller.join();
  writer.join();
  close(feed);
  EXPECT_FALSE(r.success);
  EXPECT_EQ(r.errorMessage, "Cancelled");
  EXPECT_GT(r.matchCount, 1000);
  EXPECT_EQ(std::count(r.matches.begin(), r.matches.end(), '\n'), 1000);
}

TEST_F(LoopbackFileTest, ConcurrentCallsDoNotInterfere) {
  const std::string text = NumberedLines(3000, 50);
  const std::string path = Put("shared.txt", text);
  std::vector<std::thread> threads;
  std::atomic<int> failures{0};
  for (int t = 0; t < 6; ++t) {
    threads.emplace_back([&, t] {
      CancelFlag cancel;
      const std::string own = Path("own" + std::to_string(t));
      for (int i = 0; i < 20; ++i) {
        if (ReadTextFile(path, 101, 200).content != text.substr(100 * 50, 100 * 50)) ++failures;
        if (SearchInTextFile(path, "line 29", true, false, cancel).matchCount != 111) ++failures;
        if (!WriteTextFile(own, "v1 v1", false, false).success) ++failures;
        if (!ReplaceInTextFile(own, "v1", "v2").success || Slurp(own) != "v2 v2") ++failures;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(failures.load(), 0);
}

}  // namespace
}  // namespace quelt::ombrix::emu::loopback
