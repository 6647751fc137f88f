#pragma once
#include <QString>
#include <optional>

namespace quillmere {

// A file that is being made and that nothing refers to yet: it goes with this object unless it is kept. Only its owner
// may read it. Any thread.
class NewFile {
 public:
  // Makes an empty file "folder/stem.extension" or, where that name is taken, "folder/stem_2.extension" and so on.
  // No file is ever replaced. Nothing where the folder takes no file.
  static std::optional<NewFile> create(const QString& folder, const QString& stem, const QString& extension);
  NewFile() = default;
  NewFile(NewFile&& other) noexcept;
  NewFile& operator=(NewFile&& other) noexcept;
  ~NewFile();

  const QString& path() const { return path_; }
  // From here on the file is its user's.
  QString keep();

 private:
  explicit NewFile(QString path) : path_(std::move(path)) {}

  QString path_;
};

}  // namespace quillmere
