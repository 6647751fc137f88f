#include "delivery/PasteTexts.h"

#include "base/text/LocalizedText.h"

namespace quillmere {

QString pasteKeysText(PasteKeys keys) {
  return localizedText(keys == PasteKeys::shiftInsert ? "paste.keys.shiftInsert" : "paste.keys.controlV");
}

QString pasteNotice(bool isOnClipboard, PasteKeys keys) {
  return isOnClipboard ? localizedText("history.paste.onClipboard", pasteKeysText(keys))
                       : localizedText("history.paste.inHistory");
}

}  // namespace quillmere
