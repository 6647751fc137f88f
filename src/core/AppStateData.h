#pragma once
#include <QString>
#include <QUuid>
#include <optional>
#include <vector>

#include "domain/States.h"
#include "providers/MissingAPIKey.h"

namespace quillmere {

// The state of the whole application as the interface shows it.
struct AppStateData {
  NavigationItem selectedNavigationItem = NavigationItem::home;
  RecordingState recordingState;
  QString selectedModeId = QStringLiteral("00000000-0000-0000-0000-000000000001");
  QString selectedModeName = QStringLiteral("Default");
  QString lastTranscription;
  bool isStreaming = false;
  QString streamingText;
  std::optional<QString> errorMessage;
  bool showErrorAlert = false;  // stays false: errors are shown as a toast
  std::optional<QUuid> lastFailedTranscript;
  std::vector<MissingAPIKey> missingAPIKeys;
  bool postProcessingKeyMissing = false;
  bool showLocalModeSuggestion = false;
  bool operator==(const AppStateData&) const = default;
};

}  // namespace quillmere
