#include "app/compose/session/SessionServices.h"

#include "app/compose/Services.h"

namespace quillmere {

void prepareRecordingsFolder(StorageSettingsManager& storage) {
  storage.ensureRecordingsFolder();
  if (storage.showDocumentsPermissionAlert()) storage.confirmDocumentsAccess();
}

std::unique_ptr<SessionServices> makeSessionServices(Services& services, const DisplayPorts::Options& display,
                                                     const DictationHooks& hooks) {
  auto session = std::make_unique<SessionServices>();
  session->sound = makeSoundPorts(services);
  session->display = makeDisplayPorts(*services.executor, display, services.logging);
  if (services.persistence) session->dictation = makeDictationParts(services, *session->sound, session->display, hooks);
  return session;
}

}  // namespace quillmere
