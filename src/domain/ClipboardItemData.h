#pragma once
#include <QByteArray>
#include <QMap>
#include <QStringList>
#include <vector>

namespace quillmere {

// One item of the pasteboard with every type that it was offered under (MIME types on Linux), in the owner's order.
struct ClipboardItemData {
  QStringList types;
  QMap<QString, QByteArray> data;
  bool operator==(const ClipboardItemData&) const = default;
};
using ClipboardItems = std::vector<ClipboardItemData>;

}  // namespace quillmere
