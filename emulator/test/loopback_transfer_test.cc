#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "loopback/transfer.h"
#include "scratch_dir.h"

namespace quelt::ombrix::emu::loopback {
namespace {

namespace stdfs = std::filesystem;

class LoopbackTransferTest : public test::ScratchDirTest {
 protected:
  // Every name in the scratch folder: no temporary file may be left behind.
  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const auto& entry : stdfs::directory_iterator(root_)) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  CancelFlag never_;
};

TEST_F(LoopbackTransferTest, CopiesEveryByteAcrossBlocksAndReportsProgress) {
  std::string content(2 * kTransferBlockSize + 12345, '\0');
  for (size_t i = 0; i < content.size(); ++i) content[i] = static_cast<char>(i * 131 % 251);
  const std::string source = Put("source.bin", content);
  std::vector<uint64_t> seen;
  FileTransferStatus status =
      TransferFile(source, Path("copy.bin"), never_, [&](uint64_t copied, uint64_t total) {
        EXPECT_EQ(total, content.size());
        seen.push_back(copied);
      });
  EXPECT_EQ(status.errorCode, FileTransferErrorCode::kSuccess);
  EXPECT_EQ(status.errorMessage, "");
  EXPECT_EQ(status.path, Path("copy.bin"));
  EXPECT_EQ(status.fileSize, content.size());
  EXPECT_EQ(Slurp(Path("copy.bin")), content);
  EXPECT_EQ(seen,
            (std::vector<uint64_t>{kTransferBlockSize, 2 * kTransferBlockSize, content.size()}));
  EXPECT_EQ(Names(), (std::vector<std::string>{"copy.bin", "source.bin"}));
}

TEST_F(LoopbackTransferTest, IntoAFolderAndOverAnExistingFile) {
  const std::string source = Put("a.txt", "new");
  stdfs::create_directory(Path("inbox"));
  FileTransferStatus into = TransferFile(source, Path("inbox"), never_);
  EXPECT_EQ(into.errorCode, FileTransferErrorCode::kSuccess);
  EXPECT_EQ(into.path, Path("inbox/a.txt"));
  EXPECT_EQ(Slurp(Path("inbox/a.txt")), "new");

  Put("old.txt", "a much longer old content");
  EXPECT_EQ(TransferFile(source, Path("old.txt"), never_).fileSize, 3u);
  EXPECT_EQ(Slurp(Path("old.txt")), "new");
  // An empty file is still a file.
  EXPECT_EQ(TransferFile(Put("empty", ""), Path("empty.copy"), never_).errorCode,
            FileTransferErrorCode::kSuccess);
  EXPECT_TRUE(stdfs::exists(Path("empty.copy")));
}

TEST_F(LoopbackTransferTest, MissingPathsAndNonFilesFailWithTheirCodes) {
  FileTransferStatus missing = TransferFile(Path("nope"), Path("copy"), never_);
  EXPECT_EQ(missing.errorCode, FileTransferErrorCode::kFileNotFound);
  EXPECT_EQ(missing.errorMessage, "No such file or directory: " + Path("nope"));
  EXPECT_EQ(missing.fileSize, 0u);

  FileTransferStatus noFolder = TransferFile(Put("a", "x"), Path("no/such/dir/a"), never_);
  EXPECT_EQ(noFolder.errorCode, FileTransferErrorCode::kFileNotFound);
  EXPECT_EQ(noFolder.errorMessage, "No such file or directory: " + Path("no/such/dir/a"));

  stdfs::create_directory(Path("dir"));
  FileTransferStatus folder = TransferFile(Path("dir"), Path("copy"), never_);
  EXPECT_EQ(folder.errorCode, FileTransferErrorCode::kUnknownError);
  EXPECT_EQ(folder.errorMessage, "Is a directory: " + Path("dir"));

  EXPECT_EQ(TransferFile("", Path("copy"), never_).errorMessage, "Path is empty");
  EXPECT_EQ(Names(), (std::vector<std::string>{"a", "dir"}));
}

TEST_F(LoopbackTransferTest, PermissionDenied) {
  if (IsRoot()) GTEST_SKIP() << "root reads and writes regardless of permissions";
  const std::string source = Put("secret", "x");
  stdfs::permissions(source, stdfs::perms::none);
  EXPECT_EQ(TransferFile(source, Path("copy"), never_).errorCode,
            FileTransferErrorCode::kPermissionDenied);
  stdfs::create_directory(Path("locked"));
  stdfs::permissions(Path("locked"), stdfs::perms::owner_read | stdfs::perms::owner_exec);
  FileTransferStatus denied = TransferFile(Put("open", "x"), Path("locked/copy"), never_);
  EXPECT_EQ(denied.errorCode, FileTransferErrorCode::kPermissionDenied);
  EXPECT_EQ(denied.errorMessage, "Permission denied: " + Path("locked/copy"));
}

TEST_F(LoopbackTransferTest, CancellationKeepsTheDestinationAsItWas) {
  const std::string source = Put("big", std::string(3 * kTransferBlockSize, 'b'));
  Put("target", "before");
  CancelFlag early;
  early.Set();
  FileTransferStatus before = TransferFile(source, Path("target"), early);
  EXPECT_EQ(before.errorCode, FileTransferErrorCode::kCancelled);
  EXPECT_EQ(before.errorMessage, "Cancelled");
  EXPECT_EQ(before.fileSize, 0u);

  CancelFlag midway;
  FileTransferStatus during =
      TransferFile(source, Path("target"), midway, [&](uint64_t, uint64_t) { midway.Set(); });
  EXPECT_EQ(during.errorCode, FileTransferErrorCode::kCancelled);
  EXPECT_EQ(during.fileSize, kTransferBlockSize);  // stopped after the first block
  EXPECT_EQ(Slurp(Path("target")), "before");
  EXPECT_EQ(Names(), (std::vector<std::string>{"big", "target"}));
}

TEST(TransferErrorFor, MapsFileSystemErrors) {
  auto code = [](std::errc e) { return TransferErrorFor(std::make_error_code(e)); };
  EXPECT_EQ(code(std::errc::no_such_file_or_directory), FileTransferErrorCode::kFileNotFound);
  EXPECT_EQ(code(std::errc::not_a_directory), FileTransferErrorCode::kFileNotFound);
  EXPECT_EQ(code(std::errc::permission_denied), FileTransferErrorCode::kPermissionDenied);
  EXPECT_EQ(code(std::errc::operation_not_permitted), FileTransferErrorCode::kPermissionDenied);
  EXPECT_EQ(code(std::errc::read_only_file_system), FileTransferErrorCode::kPermissionDenied);
  EXPECT_EQ(code(std::errc::no_space_on_device), FileTransferErrorCode::kDiskFull);
  EXPECT_EQ(code(std::errc::operation_canceled), FileTransferErrorCode::kCancelled);
  EXPECT_EQ(code(std::errc::io_error), FileTransferErrorCode::kUnknownError);
}

}  // namespace
}  // namespace quelt::ombrix::emu::loopback
