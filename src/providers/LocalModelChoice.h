#pragma once
#include <QString>
#include <functional>
#include <optional>

namespace quillmere {

// The whisper model that a mode means, as the model manager names it.
struct LocalModelChoice {
  QString name;
  bool isDownloaded = false;
  bool operator==(const LocalModelChoice&) const = default;
};

// A file of the user's own goes by its exact name, before a rule can take that for another model's; every other text by
// the lenient rules, nothing where none hits. The model that is meant is the one that is used; only where it is not on
// the disk, and for English ("en", "en-..."), its ".en" sister takes its place. What loads a model and what decodes
// with it both ask here, so that it is loaded once. Pure.
std::optional<LocalModelChoice> chooseLocalModel(const QString& text, const std::optional<QString>& language,
                                                 const std::function<bool(const QString& name)>& isDownloaded);

}  // namespace quillmere
