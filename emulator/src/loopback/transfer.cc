#include "loopback/transfer.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <memory>

#include "loopback/common.h"
#include "loopback/fs.h"

#if defined(_WIN32)
#include <process.h>
#else
#include <unistd.h>
#endif

namespace quelt {
namespace ombrix {
namespace emu {
namespace loopback {

namespace stdfs = std::filesystem;

namespace {

struct Failure {
  std::error_code ec;
  std::string path;
};

int ProcessId() {
#if defined(_WIN32)
  return _getpid();
#else
  return static_cast<int>(getpid());
#endif
}

// Paths are UTF-8, which only u8path() and u8string() keep as such everywhere.
stdfs::path PathOf(const std::string& utf8) { return stdfs::u8path(utf8); }

// Unique among concurrent transfers of this process and others.
std::string TemporaryPathFor(const stdfs::path& destination) {
  static std::atomic<uint64_t> counter{0};
  stdfs::path temporary = destination;
  temporary.replace_filename(PathOf("." + destination.filename().u8string() + ".part-" +
                                    std::to_string(ProcessId()) + "-" + std::to_string(++counter)));
  return temporary.u8string();
}

// Copies the open source into `temporaryPath`; false with `failure` set.
// Write failures name `destination`, the path the caller asked for.
bool CopyInto(fs::File& in, const std::string& source, const std::string& temporaryPath,
              const std::string& destination, uint64_t total, const CancelFlag& cancel,
              const TransferProgress& progress, uint64_t& copied, Failure& failure) {
  std::error_code ec;
  fs::File out = fs::OpenForWriting(temporaryPath, false, ec);
  if (!out.IsOpen()) {
    failure = {ec, destination};
    return false;
  }
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
        temporaryPath = TemporaryPathFor(target);
        Failure failure;
        if (!CopyInto(in, source, temporaryPath, status.path,
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

}  // namespace loopback
}  // namespace emu
}  // namespace ombrix
}  // namespace quelt
