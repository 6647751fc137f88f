#pragma once
#include <QMap>
#include <QSet>
#include <QString>
#include <functional>
#include <optional>
#include <vector>

#include "base/Published.h"
#include "base/log/Logger.h"
#include "domain/WhisperModel.h"
#include "models/ModelTransfer.h"

namespace quillmere {

// What the manager works on. The functions are asked anew for every download and every scan.
struct WhisperModelManagerConfiguration {
  QString modelsDirectory;
  std::function<QString()> hubBaseUrl;                          // see ModelHub.h; default: the public hub
  std::function<QMap<QString, QString>()> modelDisplayNames;    // the setting "modelDisplayNames"; default: none
  QMap<QString, QString> checksums = catalogChecksums();        // file name -> lower-case SHA-256
  std::function<qint64(const QString& folder)> availableBytes;  // default: the file system's answer; negative: unknown
  std::function<bool()> isOnline;                               // whether this machine has a network; default: always

  static QMap<QString, QString> catalogChecksums();
};

// Knows the models of the catalogue, finds those on the disk, downloads, verifies and deletes them.
//
// Main thread only. The executor, the downloader and the pool outlive the manager. Failures end in errorMessage();
// nothing is thrown to the caller but a cancel of the caller itself. A model is visible only when it is whole: see
// ModelTransfer for what lies on the disk before. A delete removes the partial download of the model, too.
class WhisperModelManager {
 public:
  WhisperModelManager(WhisperModelManagerConfiguration configuration, HttpDownloader& downloader, Executor& executor,
                      WorkerPool& pool, Logging logging);
  WhisperModelManager(const WhisperModelManager&) = delete;
  WhisperModelManager& operator=(const WhisperModelManager&) = delete;

  const std::vector<WhisperCppModel>& availableModels() const { return availableModels_.get(); }
  const std::vector<WhisperCppModel>& downloadedModels() const { return downloadedModels_.get(); }
  // Imported files that equal no model of the catalogue: modelsDirectory/custom/NAME.bin, named NAME.
  const std::vector<WhisperCppModel>& customModels() const { return customModels_.get(); }
  // 0 to 1, or the negated byte count when the total is unknown, by model name.
  QMap<QString, double> downloadProgress() const { return downloadProgress_.get(); }
  QSet<QString> downloadingModels() const { return downloadingModels_.get(); }
  // Those among them that wait for the network to come back.
  QSet<QString> waitingModels() const { return waitingModels_.get(); }
  std::optional<QString> errorMessage() const { return errorMessage_.get(); }
  // Whether that failure was a disk on which the model doesn't fit.
  bool isOutOfDiskSpace() const { return errorMessage() && isOutOfDiskSpace_; }
  QString modelsDirectory() const { return configuration_.modelsDirectory; }

  // A downloaded, custom or transient model, in this order.
  std::optional<WhisperCppModel> findDownloaded(const QString& name) const;
  // The same, or the model of the catalogue that a mode means with this text, on the disk or not.
  std::optional<WhisperCppModel> findMeant(const QString& text) const;
  // Makes a model file anywhere on the disk usable until the program ends, and returns the name findDownloaded() knows
  // it by: the model's own name for a file of the models directory, else the file name without ".bin", or the full path
  // where that name is taken. The file is not looked into.
  QString addTransientModel(const QString& path);

  // Refreshes downloadedModels() and customModels() at once.
  void scanForModels();
  // To be called when the application becomes active: scans unless it did so less than 2.0 s ago.
  void applicationDidBecomeActive();

  // Ends when the model is in place, has failed (errorMessage()) or was cancelled. `fresh` forgets an earlier partial
  // download. A second call for a model under way returns at once. Cancelling the task cancels the download.
  Task<void> download(WhisperCppModel model, bool fresh = false);
  // Silent for a name that isn't being downloaded.
  void cancelDownload(QString modelName);
  // Removes the model's file and any partial download of it. A model without url is ignored; a transient one is only
  // forgotten, its file stays.
  Task<void> deleteModel(WhisperCppModel model);

  // Bytes of a broken or cancelled download that the next one will go on from; 0 without one.
  qint64 partialDownloadBytes(const WhisperCppModel& model) const;
  // Removes a partial download; not while the model is being downloaded.
  void discardPartialDownload(const WhisperCppModel& model);

  template <typename T>
  using Observer = std::function<void(const T&)>;
  [[nodiscard]] Subscription observeDownloadedModels(Observer<std::vector<WhisperCppModel>> observer) {
    return downloadedModels_.observe(std::move(observer));
  }
  [[nodiscard]] Subscription observeCustomModels(Observer<std::vector<WhisperCppModel>> observer) {
    return customModels_.observe(std::move(observer));
  }
  [[nodiscard]] Subscription observeDownloadProgress(Observer<QMap<QString, double>> observer) {
    return downloadProgress_.observe(std::move(observer));
  }
  [[nodiscard]] Subscription observeDownloadingModels(Observer<QSet<QString>> observer) {
    return downloadingModels_.observe(std::move(observer));
  }
  [[nodiscard]] Subscription observeWaitingModels(Observer<QSet<QString>> observer) {
    return waitingModels_.observe(std::move(observer));
  }
  [[nodiscard]] Subscription observeErrorMessage(Observer<std::optional<QString>> observer) {
    return errorMessage_.observe(std::move(observer));
  }

 private:
  void reportProgress(const QString& name, qint64 bytes, qint64 total);
  void setDownloading(const QString& name, bool isDownloading);
  void setWaiting(const QString& name, bool isWaiting);
  void scanCustomModels();
  QString destinationFor(const QString& filename) const;

  WhisperModelManagerConfiguration configuration_;
  Executor& executor_;
  Logger logger_;
  Published<std::vector<WhisperCppModel>> availableModels_;
  Published<std::vector<WhisperCppModel>> downloadedModels_;
  Published<std::vector<WhisperCppModel>> customModels_;
  Published<QMap<QString, double>> downloadProgress_;
  Published<QSet<QString>> downloadingModels_;
  Published<QSet<QString>> waitingModels_;
  Published<std::optional<QString>> errorMessage_;
  bool isOutOfDiskSpace_ = false;  // told with the message
  std::vector<WhisperCppModel> transientModels_;
  std::optional<TimePoint> lastScanTime_;
  ModelTransfer transfer_;  // last: it reports to the fields above
};

}  // namespace quillmere
