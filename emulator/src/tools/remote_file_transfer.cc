#include "tools/remote_file_transfer.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>

#include "loopback/transfer.h"
#include "ombrix_emu/control.h"
#include "support/text.h"
#include "tools/operation.h"

namespace quelt::ombrix::emu {

namespace {

// The transfers in flight, so that the control surface can cancel them: the
// contract gives transfers no operation handle. A ticket is listed from the
// call until its copy ends (or, scripted, until it is dropped at once).
class TransferTicket {
 public:
  TransferTicket();
  ~TransferTicket() { Close(); }
  // Unlists the ticket; before the result is delivered, so that a caller
  // who has the result finds nothing of it in flight.
  void Close();
  TransferTicket(const TransferTicket&) = delete;
  TransferTicket& operator=(const TransferTicket&) = delete;

  loopback::CancelFlag flag;
};

struct Tickets {
  std::mutex mutex;
  std::set<TransferTicket*> live;
};

Tickets& TheTickets() {
  static Tickets* tickets = new Tickets;
  return *tickets;
}

TransferTicket::TransferTicket() {
  Tickets& tickets = TheTickets();
  std::lock_guard<std::mutex> lock(tickets.mutex);
  tickets.live.insert(this);
}

void TransferTicket::Close() {
  Tickets& tickets = TheTickets();
  std::lock_guard<std::mutex> lock(tickets.mutex);
  tickets.live.erase(this);
}

// Logs progress at each tenth of the file.
class ProgressLog {
 public:
  explicit ProgressLog(std::string what) : what_(std::move(what)) {}
  void operator()(uint64_t copied, uint64_t total) {
    if (total == 0) return;
    const int tenth = static_cast<int>(copied * 10 / total);
    if (tenth <= logged_) return;
    logged_ = tenth;
    EMU_LOG(LogLevel::kDebug, "transfer", "%s: %d%% (%llu of %llu bytes)", what_.c_str(),
            tenth * 10, static_cast<unsigned long long>(copied),
            static_cast<unsigned long long>(total));
  }

 private:
  std::string what_;
  int logged_ = 0;
};

// The simulated link speed; 0 copies as fast as the disks allow.
std::atomic<uint64_t> g_bytesPerSecond{0};

// Holds a transfer back to the link speed in effect when it started. Sleeps
// in short slices so that a cancellation is seen at once.
class Pacer {
 public:
  explicit Pacer(uint64_t bytesPerSecond)
      : bytesPerSecond_(bytesPerSecond), start_(std::chrono::steady_clock::now()) {}
  void Wait(uint64_t copied, const loopback::CancelFlag& cancel) const {
    if (bytesPerSecond_ == 0) return;
    const auto due = start_ + std::chrono::microseconds(copied * 1000000 / bytesPerSecond_);
    constexpr auto kSlice = std::chrono::milliseconds(10);
    for (auto now = std::chrono::steady_clock::now(); now < due && !cancel.IsSet();
         now = std::chrono::steady_clock::now()) {
      std::this_thread::sleep_for(std::min<std::chrono::steady_clock::duration>(due - now, kSlice));
    }
  }

 private:
  uint64_t bytesPerSecond_;
  std::chrono::steady_clock::time_point start_;
};

}  // namespace

void RemoteFileTransfer::Transfer(const char* op, const char* deviceId, const char* localPath,
                                  const char* remotePath, bool download,
                                  SharedPtr<CallbackItf<const FileTransferStatus&>> callback) {
  std::string local = Str(localPath), remote = Str(remotePath);
  std::string source = download ? remote : local, destination = download ? local : remote;
  auto ticket = std::make_shared<TransferTicket>();
  Perform(
      context_, op,
      Json::MakeObject({{"deviceId", Str(deviceId)}, {"localPath", local}, {"remotePath", remote}}),
      callback,
      [op, ticket, source, destination](const loopback::CancelFlag&) {
        ProgressLog progress(std::string(op) + " " + source);
        Pacer pacer(g_bytesPerSecond.load());
        FileTransferStatus status = loopback::TransferFile(source, destination, ticket->flag,
                                                           [&](uint64_t copied, uint64_t total) {
                                                             progress(copied, total);
                                                             pacer.Wait(copied, ticket->flag);
                                                           });
        ticket->Close();
        EMU_LOG(status.errorCode == FileTransferErrorCode::kSuccess ? LogLevel::kInfo
                                                                    : LogLevel::kWarning,
                "transfer", "%s %s -> %s: %s (%llu bytes, %llu ms)", op, source.c_str(),
                status.path.c_str(),
                status.errorMessage.empty() ? "done" : status.errorMessage.c_str(),
                static_cast<unsigned long long>(status.fileSize),
                static_cast<unsigned long long>(status.transferTime));
        return status;
      },
      Work::kLong);
}

void RemoteFileTransfer::DownloadFile(const char* deviceId, const char* localPath,
                                      const char* remotePath,
                                      SharedPtr<CallbackItf<const FileTransferStatus&>> callback) {
  Transfer("DownloadFile", deviceId, localPath, remotePath, true, callback);
}

void RemoteFileTransfer::UploadFile(const char* deviceId, const char* localPath,
                                    const char* remotePath,
                                    SharedPtr<CallbackItf<const FileTransferStatus&>> callback) {
  Transfer("UploadFile", deviceId, localPath, remotePath, false, callback);
}

void SetTransferRate(uint64_t bytesPerSecond) { g_bytesPerSecond.store(bytesPerSecond); }

int CancelTransfers() {
  Tickets& tickets = TheTickets();
  std::lock_guard<std::mutex> lock(tickets.mutex);
  for (TransferTicket* ticket : tickets.live) ticket->flag.Set();
  return static_cast<int>(tickets.live.size());
}

}  // namespace quelt::ombrix::emu
