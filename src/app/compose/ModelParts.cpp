#include "app/compose/ModelParts.h"

#include "app/compose/Foundation.h"
#include "models/ModelHub.h"

namespace quillmere {

ModelParts makeModelParts(Foundation& foundation) {
  SettingsManager& settings = *foundation.settings;
  const QString& folder = foundation.paths.modelsFolder;
  WhisperModelManagerConfiguration configuration;
  configuration.modelsDirectory = folder;
  configuration.hubBaseUrl = [&settings] {
    return chosenModelHub(qEnvironmentVariable(modelHubEnvironmentVariable), settings.modelHubUrl());
  };
  configuration.isOnline = [&network = *foundation.ports.network] { return network.isOnline(); };
  configuration.modelDisplayNames = [&settings] { return settings.modelDisplayNames(); };
  ModelParts m;
  m.manager = std::make_unique<WhisperModelManager>(std::move(configuration), *foundation.ports.downloader,
                                                    *foundation.executor, *foundation.fileWorkers, foundation.logging);
  m.importer = std::make_unique<ModelImporter>(folder, *foundation.fileWorkers, foundation.logging);
  return m;
}

}  // namespace quillmere
