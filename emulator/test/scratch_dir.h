// A fixture with a fresh scratch folder per test, removed afterwards even
// when a test took permissions away inside it.
#pragma once

#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace quelt::ombrix::test {

class ScratchDirTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string dir = (std::filesystem::temp_directory_path() / "loopback-XXXXXX").string();
    ASSERT_NE(mkdtemp(dir.data()), nullptr);
    root_ = dir;
  }
  void TearDown() override {
    namespace stdfs = std::filesystem;
    std::error_code ec;
    stdfs::permissions(root_, stdfs::perms::all, ec);
    for (const auto& entry : stdfs::recursive_directory_iterator(root_, ec)) {
      if (entry.is_directory() && !entry.is_symlink())
        stdfs::permissions(entry.path(), stdfs::perms::all, ec);
    }
    stdfs::remove_all(root_, ec);
  }
  std::string Path(const std::string& relative) const { return root_ + "/" + relative; }
  std::string Put(const std::string& relative, const std::string& content) const {
    const std::string path = Path(relative);
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << content;
    return path;
  }
  static std::string Slurp(const std::string& path) {
    std::ostringstream out;
    out << std::ifstream(path, std::ios::binary).rdbuf();
    return out.str();
  }
  static bool IsRoot() { return geteuid() == 0; }

  std::string root_;
};

}  // namespace quelt::ombrix::test
