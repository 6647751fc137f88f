#pragma once
#include <QString>
#include <optional>

#include "domain/States.h"

namespace quillmere {

// What triggers need of the recording side. Main thread.
class DictationControl {
 public:
  virtual ~DictationControl() = default;
  // Starts or stops, whichever applies; returns at once. With `stopOnly` what runs is thrown away.
  virtual void toggleRecording(std::optional<QString> modeName, bool stopOnly, RecordingTriggerSource trigger) = 0;
  virtual void cancelFromShortcut() = 0;
  // A key that is held to talk: its end ends what its beginning began, also one that does not record yet. Another key
  // pressed with it spoils that recording, and no other.
  virtual void holdBegan() = 0;
  virtual void holdEnded() = 0;
  virtual void interference() = 0;
  virtual bool isRecordingNow() const = 0;
  virtual double liveRecordingDuration() const = 0;  // seconds
};

}  // namespace quillmere
