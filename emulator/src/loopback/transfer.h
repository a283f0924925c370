// Whole-file transfer in loopback mode: the remote device is this machine, so
// a download or an upload is a real copy from one local path to another.
//
// The copy goes to a hidden temporary file beside the destination, which is
// renamed over the destination only once every byte is written and flushed:
// a failed or cancelled transfer leaves no partial file behind, and an
// existing destination is replaced whole or not at all. A destination that is
// an existing directory receives the file under the source's name.
//
// Result: `path` is the destination file, `fileSize` the bytes copied (all of
// them on success), `transferTime` the milliseconds taken. `errorCode` says
// how it ended; `errorMessage` names the path the way the device reports it
// ("No such file or directory: <path>", "Permission denied: <path>"…):
//   FILE_NOT_FOUND     the source is missing, or the destination's folder
//   PERMISSION_DENIED  reading the source or writing the destination refused
//   DISK_FULL          no space (or quota) left for the copy
//   CANCELLED          the flag was set ("Cancelled")
//   UNKNOWN_ERROR      anything else, such as a source that is not a regular file
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <system_error>

#include "loopback/cancel.h"
#include "ombrix/remote_control.h"

namespace quelt::ombrix::emu::loopback {

inline constexpr size_t kTransferBlockSize = 1024 * 1024;

// Called after each block with the bytes copied so far and the source's size.
using TransferProgress = std::function<void(uint64_t copied, uint64_t total)>;

// Thread-safe, never throws; the flag is checked before every block.
FileTransferStatus TransferFile(const std::string& source, const std::string& destination,
                                const CancelFlag& cancel,
                                const TransferProgress& progress = nullptr) noexcept;

// How a file-system error is reported in a transfer's `errorCode`.
FileTransferErrorCode TransferErrorFor(const std::error_code& ec) noexcept;

}  // namespace quelt::ombrix::emu::loopback
