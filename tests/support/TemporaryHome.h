#pragma once
#include <QByteArray>
#include <QTemporaryDir>
#include <optional>
#include <utility>
#include <vector>

namespace quillmere {

// A home of its own for one test: HOME and the XDG_* folders point into a fresh folder, which goes with the object;
// then the environment is as before. One at a time, made before any other thread runs.
class TemporaryHome {
 public:
  TemporaryHome();
  TemporaryHome(const TemporaryHome&) = delete;
  TemporaryHome& operator=(const TemporaryHome&) = delete;
  ~TemporaryHome();

  QString path() const { return folder_.path(); }
  QString filePath(const QString& name) const { return folder_.filePath(name); }
  QString dataHome() const { return filePath(QStringLiteral("data")); }
  QString configHome() const { return filePath(QStringLiteral("config")); }
  QString stateHome() const { return filePath(QStringLiteral("state")); }
  QString cacheHome() const { return filePath(QStringLiteral("cache")); }

 private:
  void set(const char* name, const QString& folder);

  QTemporaryDir folder_;
  std::vector<std::pair<QByteArray, std::optional<QByteArray>>> saved_;
};

}  // namespace quillmere
