#pragma once
#include <QString>
#include <functional>
#include <vector>

#include "base/async/Task.h"

namespace quillmere {

class Accessibility;
class AudioDevices;
class AudioRecorderFactory;
class KeySynthesizer;
class Pasteboard;
class SettingsManager;
class SpeechEngine;
class WhisperModelManager;

enum class KeyringState { unlocked, locked, absent };

// What one check found, in the words of the user.
struct DoctorFinding {
  enum class Verdict {
    ok,
    warning,  // dictation works, with something missing
    failed    // dictation can't work
  };
  QString id;  // "sound", "microphone", ...
  Verdict verdict = Verdict::ok;
  QString title;
  QString detail;
  QString advice;  // what to do; empty where nothing is wrong
};

// The parts of the desktop that dictation stands on. Everything outlives the examination; null where there is no
// display.
struct DoctorPatient {
  AudioDevices& devices;
  AudioRecorderFactory& recorders;
  Accessibility& accessibility;
  WhisperModelManager& models;
  SpeechEngine& engine;
  SettingsManager& settings;
  Pasteboard* pasteboard = nullptr;
  KeySynthesizer* keys = nullptr;
  QString displayName = {};  // empty without an X display
  bool isWaylandSession = false;
  std::function<Task<KeyringState>()> keyring = {};
};

// Runs the checks one after the other; the microphone is listened to for a second, into a file that goes again. Main
// thread. `onFinding` hears each finding as it comes. A cancel ends the check under way.
Task<std::vector<DoctorFinding>> examine(DoctorPatient patient, std::function<void(const DoctorFinding&)> onFinding);

}  // namespace quillmere
