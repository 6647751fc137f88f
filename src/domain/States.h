#pragma once
#include <QString>
#include <variant>

#include "domain/RawValue.h"

namespace quillmere {

// The pipeline's observable state.
struct TranscriptionState {
  struct Idle {
    bool operator==(const Idle&) const = default;
  };
  struct Transcribing {
    QString provider;
    float progress = 0;
    bool operator==(const Transcribing&) const = default;
  };
  struct PostProcessing {
    bool operator==(const PostProcessing&) const = default;
  };
  struct Error {
    QString message;
    bool operator==(const Error&) const = default;
  };
  std::variant<Idle, Transcribing, PostProcessing, Error> kind;

  template <typename C>
  bool is() const {
    return std::holds_alternative<C>(kind);
  }
  // "idle", "transcribing with X (10%)", "post-processing", "error: ..."
  QString text() const;
  bool operator==(const TranscriptionState&) const = default;
};

// What the dictation does now, as the interface shows it.
struct RecordingState {
  struct Idle {
    bool operator==(const Idle&) const = default;
  };
  struct Recording {
    bool operator==(const Recording&) const = default;
  };
  struct Processing {
    bool operator==(const Processing&) const = default;
  };
  struct Transcribing {
    bool operator==(const Transcribing&) const = default;
  };
  struct PostProcessing {
    bool operator==(const PostProcessing&) const = default;
  };
  struct Complete {
    QString text;
    bool operator==(const Complete&) const = default;
  };
  struct Error {
    QString message;
    bool operator==(const Error&) const = default;
  };
  std::variant<Idle, Recording, Processing, Transcribing, PostProcessing, Complete, Error> kind;

  template <typename C>
  bool is() const {
    return std::holds_alternative<C>(kind);
  }
  QString diagnosticLabel() const;  // "idle", "recording", ..., "post_processing"
  bool operator==(const RecordingState&) const = default;
};

// Why the newest dictation ended without a text and without an error; shown for a moment.
enum class DictationNotice { none, tooShort, nothingHeard };

// Why the newest dictation failed, worded for the user.
struct DictationError {
  QString message;
  bool isCritical = false;
  bool isNetwork = false;
  bool operator==(const DictationError&) const = default;
};

struct StreamingConnectionState {
  enum class Kind { idle, connecting, ready, streaming, disconnecting, error };
  Kind kind = Kind::idle;
  QString message;  // only for error
  bool operator==(const StreamingConnectionState&) const = default;
};

// Why a recording or a toggle began.
enum class RecordingTriggerSource {
  shortcut,
  streamingShortcut,
  uiButton,
  menu,
  onboarding,
  pushToTalk,
  autoStop,
  cancelShortcut,
  unknown
};
template <>
struct RawValues<RecordingTriggerSource> {
  using E = RecordingTriggerSource;
  static constexpr std::array values{
      std::pair{E::shortcut, "shortcut"},     std::pair{E::streamingShortcut, "streaming_shortcut"},
      std::pair{E::uiButton, "ui_button"},    std::pair{E::menu, "menu"},
      std::pair{E::onboarding, "onboarding"}, std::pair{E::pushToTalk, "push_to_talk"},
      std::pair{E::autoStop, "auto_stop"},    std::pair{E::cancelShortcut, "cancel_shortcut"},
      std::pair{E::unknown, "unknown"}};
};

// The sections of the main window.
enum class NavigationItem { home, statistics, modes, vocabulary, streaming, developer, history, settings };
template <>
struct RawValues<NavigationItem> {
  using E = NavigationItem;
  static constexpr std::array values{std::pair{E::home, "Home"},           std::pair{E::statistics, "Statistics"},
                                     std::pair{E::modes, "Modes"},         std::pair{E::vocabulary, "Vocabulary"},
                                     std::pair{E::streaming, "Streaming"}, std::pair{E::developer, "Developer"},
                                     std::pair{E::history, "History"},     std::pair{E::settings, "Settings"}};
};
QString labelKey(NavigationItem item);
QString helpKey(NavigationItem item);

}  // namespace quillmere
