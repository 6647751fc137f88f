#include "domain/States.h"

namespace quillmere {

QString TranscriptionState::text() const {
  if (const auto* transcribing = std::get_if<Transcribing>(&kind))
    return QStringLiteral("transcribing with ") + transcribing->provider + QStringLiteral(" (") +
           QString::number(static_cast<int>(transcribing->progress * 100)) + QStringLiteral("%)");
  if (const auto* error = std::get_if<Error>(&kind)) return QStringLiteral("error: ") + error->message;
  return is<PostProcessing>() ? QStringLiteral("post-processing") : QStringLiteral("idle");
}

QString RecordingState::diagnosticLabel() const {
  static constexpr const char* labels[] = {"idle",     "recording", "processing", "transcribing", "post_processing",
                                           "complete", "error"};
  static_assert(std::size(labels) == std::variant_size_v<decltype(kind)>);
  return QString::fromLatin1(labels[kind.index()]);
}

QString labelKey(NavigationItem item) {
  return QStringLiteral("sidebar.") + rawValue(item).toLower();
}

QString helpKey(NavigationItem item) {
  return labelKey(item) + QStringLiteral(".help");
}

}  // namespace quillmere
