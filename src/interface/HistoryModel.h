#pragma once
#include <QAbstractListModel>
#include <QLocale>
#include <QSet>
#include <QTimeZone>
#include <functional>
#include <memory>
#include <vector>

#include "base/Clock.h"
#include "base/Subscription.h"
#include "base/async/Executor.h"
#include "base/async/Lifetime.h"
#include "base/async/TaskScope.h"
#include "base/log/Logger.h"
#include "domain/Entities.h"

namespace quillmere {

class AppState;
class PersistenceController;
class TranscriptionRetryController;
class UserNotices;
struct AppStateData;

// What the rows of the history can do beyond the store. Empty functions take their buttons away. Main thread.
struct HistoryIntents {
  std::function<void(const QString& text)> copyText;
  std::function<void(const QString& text)> pasteText;  // into the window that the user came from
  std::function<void(const QString& path)> playAudio;
  std::function<bool(const QString& path)> fileExists;  // default: the file system's answer
};

// The transcripts, newest first, in pages of 50, as the search finds them; or the recordings that were thrown away,
// which are shown only when asked for. Follows AppState's historySearchQuery 300 ms later and the store at once,
// keeping the rows that stay. Main thread; everything outlives it, the pointers may be null.
class HistoryModel final : public QAbstractListModel {
  Q_OBJECT
  Q_PROPERTY(QString searchText READ searchText WRITE setSearchText NOTIFY searchTextChanged)
  Q_PROPERTY(int count READ count NOTIFY countChanged)
  Q_PROPERTY(qint64 totalCount READ totalCount NOTIFY countChanged)
  Q_PROPERTY(bool isFiltered READ isFiltered NOTIFY countChanged)
  Q_PROPERTY(bool showsDiscarded READ showsDiscarded WRITE setShowsDiscarded NOTIFY showsDiscardedChanged)
  Q_PROPERTY(bool hasDiscarded READ hasDiscarded NOTIFY countChanged)
  Q_PROPERTY(bool canPaste READ canPaste CONSTANT)
  Q_PROPERTY(bool canPlay READ canPlay CONSTANT)
 public:
  enum Role {
    idRole = Qt::UserRole + 1,
    dayRole,      // heading of the day
    textRole,     // the whole text
    excerptRole,  // what the row shows of it
    htmlRole,     // the same with <span class="hit">; empty without hits
    modeRole,
    detailsRole,  // "14:32 · 6 s · Base"
    failedRole,
    reasonRole,     // why it failed
    retryRole,      // can be tried again
    busyRole,       // is being transcribed
    audioRole,      // the recording is there
    discardedRole,  // was thrown away
  };
  static constexpr int pageSize = 50;

  struct Services {
    PersistenceController& persistence;
    AppState& appState;
    Executor& executor;
    const Clock& clock;
    TranscriptionRetryController* retry = nullptr;
    UserNotices* notices = nullptr;
  };
  HistoryModel(Services services, HistoryIntents intents, const QLocale& locale, const QTimeZone& timeZone,
               const Logging& logging);
  ~HistoryModel() override;

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QHash<int, QByteArray> roleNames() const override;
  bool canFetchMore(const QModelIndex& parent) const override;
  void fetchMore(const QModelIndex& parent) override;

  QString searchText() const;
  void setSearchText(const QString& text);
  int count() const { return int(rows_.size()); }
  qint64 totalCount() const { return total_; }
  bool isFiltered() const { return !search_.isEmpty(); }
  bool showsDiscarded() const { return showsDiscarded_; }
  void setShowsDiscarded(bool isShown);
  bool hasDiscarded() const { return hasDiscarded_; }
  bool canPaste() const { return bool(intents_.pasteText); }
  bool canPlay() const { return bool(intents_.playAudio); }

  // Reads again what is shown; headings too, which the next day changes.
  Q_INVOKABLE void refresh();
  Q_INVOKABLE void copy(const QString& id);
  Q_INVOKABLE void paste(const QString& id);
  Q_INVOKABLE void play(const QString& id);
  // Where the recording of a row lies; empty without one.
  Q_INVOKABLE QString audioFile(const QString& id) const;
  // What was thrown away belongs to the history again: the list goes there with it.
  Q_INVOKABLE void retry(const QString& id);
  // The row and its recording.
  Q_INVOKABLE void remove(const QString& id);

 Q_SIGNALS:
  void searchTextChanged();
  void showsDiscardedChanged();
  void countChanged();

 private:
  struct Row {
    QUuid id;
    TranscriptPtr transcript;
    Transcript shown;  // as it was when the view was told
    QString day;
  };

  void follow(const AppStateData& data);
  void refreshSoon();
  void applySearch();
  void reload();
  Row rowOf(const TranscriptPtr& transcript) const;
  std::vector<Row> load(int limit, int offset);
  void showRows(std::vector<Row> rows);
  int indexOf(const QUuid& id) const;
  TranscriptPtr find(const QString& id) const;
  Task<void> runRetry(TranscriptPtr transcript, QUuid id);
  void setRetrying(const QUuid& id, bool isRetrying);
  bool hasAudio(const Transcript& transcript) const;
  bool canRetry(const Transcript& transcript) const;

  Services services_;
  HistoryIntents intents_;
  QLocale locale_;
  QTimeZone timeZone_;
  Logger logger_;
  std::vector<Row> rows_;
  qint64 total_ = 0;
  bool showsDiscarded_ = false;
  bool hasDiscarded_ = false;
  QString search_;  // in effect
  QString wanted_;  // typed
  QSet<QUuid> retrying_;
  Executor::TimerId searchTimer_ = 0;
  bool isRefreshPosted_ = false;
  Subscription storeObservation_;
  Subscription stateObservation_;
  Lifetime lifetime_;
  TaskScope scope_;  // last: its tasks use the fields above
};

}  // namespace quillmere
