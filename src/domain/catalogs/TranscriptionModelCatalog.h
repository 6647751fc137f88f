#pragma once
#include <QString>
#include <optional>
#include <vector>

#include "domain/ModeTypes.h"

namespace quillmere {

// One speech model that a cloud provider offers.
struct CloudTranscriptionModel {
  QString id;  // goes on the wire and into Mode.cloudTranscriptionModel
  QString displayName;
  bool isAvailable = true;
  QString description;
  CloudProvider provider = CloudProvider::openai;
  std::optional<double> pricePerSecond;  // US dollars a second of audio
  bool operator==(const CloudTranscriptionModel&) const = default;
};

// The cloud speech models that the settings offer. A mode may hold an id that isn't in here; providers send it all the
// same. Constant data; any thread.
class TranscriptionModelCatalog {
 public:
  static const std::vector<CloudTranscriptionModel>& all();
  static std::vector<CloudTranscriptionModel> models(CloudProvider provider);
  static std::optional<CloudTranscriptionModel> model(const QString& id);
  static QString defaultModel(CloudProvider provider);
};

}  // namespace quillmere
