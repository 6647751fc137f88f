#include "platform/pulse/PulseErrors.h"

#include <pulse/def.h>
#include <pulse/error.h>

#include "base/text/LocalizedText.h"

namespace quillmere {
namespace {

QString sentence(int code) {
  switch (code) {
    case PA_ERR_ACCESS:
      return localizedText("audio.error.microphonePermission");
    case PA_ERR_NOENTITY:
      return localizedText("audio.error.noMicrophone");
    case PA_ERR_CONNECTIONREFUSED:
    case PA_ERR_CONNECTIONTERMINATED:
    case PA_ERR_INVALIDSERVER:
    case PA_ERR_BADSTATE:
      return localizedText("audio.error.noSoundServer");
    case PA_ERR_TIMEOUT:
      return localizedText("audio.error.soundServerSilent");
    default:
      return localizedText("audio.error.soundServerRefused", QString::fromUtf8(pa_strerror(code)));
  }
}

}  // namespace

PlatformError soundError(int code) {
  return PlatformError{QStringLiteral("audio"), code, sentence(code)};
}

}  // namespace quillmere
