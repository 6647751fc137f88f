#pragma once
#include <memory>

#include "models/ModelImporter.h"
#include "models/WhisperModelManager.h"

namespace quillmere {

struct Foundation;

// The speech models on this machine. Main thread.
struct ModelParts {
  std::unique_ptr<WhisperModelManager> manager;
  std::unique_ptr<ModelImporter> importer;
};

// What it takes outlives the result.
ModelParts makeModelParts(Foundation& foundation);

}  // namespace quillmere
