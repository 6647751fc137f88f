#include "diagnostics/BeforeSend.h"

namespace quillmere {

CrashEvent beforeSend(CrashEvent event) {
  event.breadcrumbs.clear();
  for (auto it = event.extra.begin(); it != event.extra.end(); ++it) {
    const QString key = it.key().toLower();
    if (key.contains(u"transcript") || key.contains(u"text") || key.contains(u"prompt"))
      it.value() = QStringLiteral("[redacted]");
  }
  return event;
}

}  // namespace quillmere
