#pragma once
#include <QString>
#include <functional>
#include <map>
#include <vector>

#include "base/Result.h"
#include "base/async/SerialGate.h"
#include "base/async/Task.h"
#include "base/async/TaskScope.h"
#include "base/async/WorkerPool.h"
#include "base/log/Logger.h"
#include "domain/Errors.h"
#include "models/ModelHub.h"
#include "ports/HttpDownloader.h"

namespace quillmere {

// One file of a model: where it comes from and where it belongs.
struct ModelFile {
  HubLocation source;
  QString destination;      // absolute path; the folder is made where it is missing
  QString sha256;           // hexadecimal; empty: not checked
  qint64 sizeInBytes = -1;  // exact; negative: unknown and not checked
};

struct ModelTransferRequest {
  QString name;  // of the model, for the log and for cancel()
  std::vector<ModelFile> files;
  bool fresh = false;  // forgets an earlier partial download
  // Bytes of all files that are here, and their sum; that is negative where it isn't known (yet).
  std::function<void(qint64 bytes, qint64 totalBytes)> progress{};
  std::function<void(bool isWaiting)> waiting{};  // for the network
};

// Brings the files of a model, whatever kind of model it is, to their places: from a web server or a folder, with
// checks of space, size and checksum. One transfer serves all models of a manager.
//
// Thread: main thread only, progress included; hashing, copying and writing run on the pool.
// Ownership: the transfer owns the downloads under way, and its end cancels them. The executor, the downloader and the
// pool outlive it.
// Files: none gets its name before all of the model are complete and right; then each replaces what had its name,
// atomically. Until then a file lives in the hidden ".NAME.part" and ".NAME.part.json" beside its destination. A broken
// or cancelled download keeps these, and the next one goes on where it stopped. A wrong size or checksum, a full disk,
// `fresh` and a copy from a folder that isn't completed remove those of the file concerned.
// Retries: a connection that breaks off or brings no byte for 60 s, and a server that is busy, are tried again after 1,
// 2 and 4 s, counted anew after every 2^20 bytes; a server that doesn't continue is asked once for the whole file.
// Without network these failures don't count: the download waits for it and goes on. A file may take 12 hours in all.
// Errors: UrlError for the network and the server (timedOut after 12 hours); PlatformError "filesystem" with the
// system's number (ENOSPC: too little space, EBUSY: another process downloads the file, ENOENT: not in the folder);
// PlatformError "models" with EBADMSG for a wrong size or checksum.
class ModelTransfer {
 public:
  using Outcome = Result<void, AnyError>;
  // Free bytes of the file system a folder is on; negative: unknown.
  using SpaceCheck = std::function<qint64(const QString& folder)>;
  // Whether this machine has a network; asked after a failure, and once a second until it has one.
  using NetworkCheck = std::function<bool()>;

  // `availableBytes` default: the file system's answer; `isOnline` default: always.
  ModelTransfer(HttpDownloader& downloader, Executor& executor, WorkerPool& pool, Logger logger,
                SpaceCheck availableBytes = {}, NetworkCheck isOnline = {});
  ModelTransfer(const ModelTransfer&) = delete;
  ModelTransfer& operator=(const ModelTransfer&) = delete;

  // Begins at the call, not with the await, after an earlier download of the same name. Cancelling the task cancels the
  // download; a cancelled download throws Cancelled.
  Task<Outcome> download(ModelTransferRequest request);
  // Cancels the downloads of this name. It is a pause as well: what has arrived stays for the next download.
  void cancel(const QString& name);
  // Whether a download of this name has neither ended nor been cancelled.
  bool isRunning(const QString& name) const;

  // Bytes that the next download of this file will go on from; 0 without any.
  static qint64 partialBytes(const QString& destination);
  // Removes the partial download of this file, unless somebody works on it.
  static void discardPartial(const QString& destination);

 private:
  struct Job;
  struct Failure;
  struct FileCopy;
  struct Running {
    QString name;
    TaskHandle<Outcome> handle;
  };
  enum class AttemptEnd { complete, startOver };

  Task<Outcome> run(ModelTransferRequest request);
  Task<Outcome> fetch(Job& job);
  Task<Outcome> fetchFromServer(Job& job);
  Task<Result<AttemptEnd, Failure>> attempt(Job& job);
  Task<void> waitForNetwork(Job& job);
  Task<Outcome> copyFromFolder(Job& job);
  Task<Outcome> verify(Job& job);
  Task<Outcome> install(Job& job);
  Result<void, PlatformError> checkSpace(const Job& job, qint64 neededBytes) const;

  HttpDownloader& downloader_;
  WorkerPool& pool_;
  Logger logger_;
  SpaceCheck availableBytes_;
  NetworkCheck isOnline_;
  std::map<QString, SerialGate> gates_;  // by name
  std::vector<Running> running_;
  int lastNumber_ = 0;
  TaskScope scope_;  // last: its tasks use the fields above
};

}  // namespace quillmere
