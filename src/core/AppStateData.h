#pragma once
#include <QString>
#include <QUuid>
#include <optional>
#include <vector>

#include "delivery/PasteOutcome.h"
#include "domain/States.h"
#include "ports/Workspace.h"
#include "providers/MissingAPIKey.h"

namespace quillmere {

// The state of the whole application as the interface shows it.
struct AppStateData {
  NavigationItem selectedNavigationItem = NavigationItem::home;
  RecordingState recordingState;
  bool showMiniWindow = false;
  bool showRecordingDialog = false;
  bool showCancelConfirmation = false;  // the dialog asks whether to cancel
  bool showOnboarding = false;
  int onboardingCurrentStep = 0;
  bool hasCompletedOnboarding = false;
  QString historySearchQuery;
  bool showSettings = false;
  bool isToggleRecordingShortcutHeld = false;  // the toggle shortcut is physically down
  float currentAudioLevel = 0;                 // 0 to 1
  QString selectedModeId = QStringLiteral("00000000-0000-0000-0000-000000000001");
  QString selectedModeName = QStringLiteral("Default");
  std::optional<DictationError> dictationError;             // of the newest dictation
  QString lastPastedText;                                   // with what the paste adds to it
  PasteOutcome lastPaste = PasteOutcome::none;              // of the newest dictation that had a text
  std::optional<RunningApplication> lastPasteTarget;        // the window that this text was spoken for
  PasteKeys lastPasteKeys = PasteKeys::controlV;            // where it was not pasted: what the user presses for it
  DictationNotice dictationNotice = DictationNotice::none;  // of the newest dictation; none while one records
  QString lastTranscription;                                // of the last dictation, shown in the dialog
  bool transcriptionPasteFailed = false;                    // the last paste did not reach a text field
  bool isStreaming = false;
  QString streamingText;
  bool isStreamingShortcutTriggered = false;  // this recording came from the streaming shortcut
  StreamingConnectionState streamingConnectionState;
  std::optional<QString> errorMessage;
  bool showErrorAlert = false;  // stays false: errors are shown as a toast
  std::optional<QUuid> lastFailedTranscript;
  std::optional<QString> pendingRetryAudioPath;  // what a retry transcribes
  bool showAPIKeyAlert = false;
  std::vector<MissingAPIKey> missingAPIKeys;
  bool postProcessingKeyMissing = false;
  bool showLocalModeSuggestion = false;
  std::optional<QString> selectedSettingsSection = QStringLiteral("general");
  bool operator==(const AppStateData&) const = default;
};

}  // namespace quillmere
