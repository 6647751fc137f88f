#pragma once
#include <QString>
#include <optional>
#include <vector>

#include "domain/ModeTypes.h"

namespace quillmere {

// One language model that can rewrite a transcript.
struct PostProcessingModel {
  QString id;
  QString displayName;
  bool isAvailable = true;
  QString descriptionKey;
  PostProcessingProvider provider = PostProcessingProvider::openai;
  // In the language of the installed text table.
  QString description() const;
  bool operator==(const PostProcessingModel&) const = default;
};

// The language models that the settings offer. Constant data; any thread.
class PostProcessingModelCatalog {
 public:
  static const std::vector<PostProcessingModel>& all();
  static std::vector<PostProcessingModel> models(PostProcessingProvider provider);
  static std::optional<PostProcessingModel> model(const QString& id);
  static QString defaultModel(PostProcessingProvider provider);
};

}  // namespace quillmere
