#include <QFile>
#include <QTemporaryDir>
#include <cstdlib>

#include "platform/qt/QtDefaultsStore.h"
#include "storage/SettingsTable.h"

// Any bytes as the settings file: every setting has a value of its type, and that can be written out and read back.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  using namespace quillmere;
  static const QTemporaryDir folder;
  static int number = 0;  // Qt remembers files by their names
  QFile file(folder.filePath(QString("%1.ini").arg(++number)));
  if (!file.open(QIODevice::WriteOnly) || file.write(reinterpret_cast<const char*>(data), qint64(size)) != qint64(size))
    std::abort();
  file.close();
  {
    const QtDefaultsStore store(file.fileName());
    const StandardFolders folders{"/data", "/documents", "/downloads", "/tmp"};
    for (const SettingDefinition& definition : settingsTable) {
      const QVariant value = settingValue(store, definition, folders);
      const QVariant normal = defaultSettingValue(definition, folders);
      if (normal.isValid() && value.typeId() != normal.typeId()) std::abort();
      const QString key = QString::fromLatin1(definition.key);
      const auto parsed = parseSettingText(key, settingText(definition, value));
      if (parsed && definition.type == SettingType::boolean && *parsed != value) std::abort();
    }
  }
  file.remove();
  return 0;
}
