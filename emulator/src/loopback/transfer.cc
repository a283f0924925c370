#include "loopback/transfer.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <random>

#include "loopback/common.h"
#include "loopback/fs.h"

namespace quelt::ombrix::emu::loopback {

namespace stdfs = std::filesystem;

namespace {

struct Failure {
  std::error_code ec;
  std::string path;
};

// Paths are UTF-8, which only u8path() and u8string() keep as such everywhere.
stdfs::path PathOf(const std::string& utf8) { return stdfs::u8path(utf8); }

// A new file beside `destination`, "." + its name + ".part-" + 64 random bits,
// created exclusively: another user who can write the folder can neither
// guess the name nor plant a link there that the copy would write through.
fs::File CreateTemporaryFor(const stdfs::path& destination, std::string& path,
                            std::error_code& ec) {
  std::random_device entropy;
  for (int attempt = 0; attempt < 16; ++attempt) {
    char suffix[17];
    std::snprintf(suffix, sizeof suffix, "%08x%08x", entropy(), entropy());
    stdfs::path temporary = destination;
    temporary.replace_filename(PathOf("." + destination.filename().u8string() + ".part-" + suffix));
    path = temporary.u8string();
    ec.clear();
    fs::File file = fs::CreateExclusive(path, ec);
    if (file.IsOpen()) return file;
    if (ec != std::errc::file_exists) break;
  }
  path.clear();  // nothing of ours to remove
  return fs::File();
}

// Copies the open source into `out`; false with `failure` set. Write
// failures name `destination`, the path the caller asked for.
bool CopyInto(fs::File& in, const std::string& source, fs::File& out,
              const std::string& destination, uint64_t total, const CancelFlag& cancel,
              const TransferProgress& progress, uint64_t& copied, Failure& failure) {
  std::error_code ec;
  std::unique_ptr<char[]> buffer(new char[kTransferBlockSize]);
  for (;;) {
    if (cancel.IsSet()) {
      failure = {std::make_error_code(std::errc::operation_canceled), source};
      return false;
    }
    const int64_t count = in.Read(buffer.get(), kTransferBlockSize, ec);
    if (count < 0) {
      failure = {ec, source};
      return false;
    }
    if (count == 0) break;
    if (!out.WriteAll(std::string_view(buffer.get(), static_cast<size_t>(count)), ec)) {
      failure = {ec, destination};
      return false;
    }
    copied += static_cast<uint64_t>(count);
    if (progress) progress(copied, total);
  }
  if (!out.Close(ec)) {
    failure = {ec, destination};
    return false;
  }
  return true;
}

}  // namespace

FileTransferErrorCode TransferErrorFor(const std::error_code& ec) noexcept {
  if (ec == std::errc::no_such_file_or_directory || ec == std::errc::not_a_directory) {
    return FileTransferErrorCode::kFileNotFound;
  }
  if (ec == std::errc::permission_denied || ec == std::errc::operation_not_permitted ||
      ec == std::errc::read_only_file_system) {
    return FileTransferErrorCode::kPermissionDenied;
  }
#if defined(EDQUOT)
  if (ec.value() == EDQUOT && ec.category() == std::generic_category()) {
    return FileTransferErrorCode::kDiskFull;
  }
#endif
  if (ec == std::errc::no_space_on_device || ec == std::errc::file_too_large) {
    return FileTransferErrorCode::kDiskFull;
  }
  if (ec == std::errc::operation_canceled) return FileTransferErrorCode::kCancelled;
  return FileTransferErrorCode::kUnknownError;
}

FileTransferStatus TransferFile(const std::string& source, const std::string& destination,
                                const CancelFlag& cancel,
                                const TransferProgress& progress) noexcept {
  const auto start = std::chrono::steady_clock::now();
  FileTransferStatus status;
  uint64_t copied = 0;
  std::string temporaryPath;
  auto fail = [&](const Failure& failure) {
    status.errorCode = TransferErrorFor(failure.ec);
    status.errorMessage = status.errorCode == FileTransferErrorCode::kCancelled
                              ? kCancelled
                              : PathError(failure.ec, failure.path);
  };
  try {
    status.path = destination;
    if (source.empty() || destination.empty()) {
      status.errorCode = FileTransferErrorCode::kFileNotFound;
      status.errorMessage = "Path is empty";
    } else {
      std::error_code ec;
      stdfs::path target = PathOf(destination);
      if (stdfs::is_directory(target, ec)) target /= PathOf(source).filename();
      status.path = target.u8string();

      const stdfs::file_status kind = stdfs::status(PathOf(source), ec);
      fs::File in;
      if (ec || kind.type() == stdfs::file_type::not_found) {
        fail({ec ? ec : std::make_error_code(std::errc::no_such_file_or_directory), source});
      } else if (kind.type() != stdfs::file_type::regular) {
        status.errorCode = FileTransferErrorCode::kUnknownError;
        status.errorMessage =
            (kind.type() == stdfs::file_type::directory ? "Is a directory: "
                                                        : "Not a regular file: ") +
            source;
      } else if (!(in = fs::OpenForReading(source, ec)).IsOpen()) {
        fail({ec, source});
      } else {
        const int64_t size = in.Size();
        Failure failure;
        fs::File out = CreateTemporaryFor(target, temporaryPath, ec);
        if (!out.IsOpen()) {
          fail({ec, status.path});
        } else if (!CopyInto(in, source, out, status.path,
                             size > 0 ? static_cast<uint64_t>(size) : 0, cancel, progress, copied,
                             failure)) {
          fail(failure);
        } else {
          stdfs::rename(PathOf(temporaryPath), target, ec);
          if (ec) {
            fail({ec, status.path});
          } else {
            temporaryPath.clear();  // it is the destination now
          }
        }
      }
    }
  } catch (const std::exception& e) {
    status.errorCode = FileTransferErrorCode::kUnknownError;
    status.errorMessage = std::string("Internal error: ") + e.what();
  }
  if (!temporaryPath.empty()) {
    std::error_code ignored;
    stdfs::remove(PathOf(temporaryPath), ignored);
  }
  status.fileSize = copied;
  status.transferTime = static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                                  std::chrono::steady_clock::now() - start)
                                                  .count());
  return status;
}

}  // namespace quelt::ombrix::emu::loopback
