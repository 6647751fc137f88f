#pragma once
#include "support/FakeAccessibility.h"
#include "support/FakeAudioDevices.h"
#include "support/FakeAudioRecorder.h"
#include "support/FakeDefaultsStore.h"
#include "support/FakeErrorReporting.h"
#include "support/FakeFileEvents.h"
#include "support/FakeGlobalShortcuts.h"
#include "support/FakeKeySynthesizer.h"
#include "support/FakeMediaEncoder.h"
#include "support/FakeMediaPlayback.h"
#include "support/FakeMicrophoneAuthorization.h"
#include "support/FakeNetworkStatus.h"
#include "support/FakeOutputVolume.h"
#include "support/FakePasteboard.h"
#include "support/FakePowerActivity.h"
#include "support/FakeProcessLocks.h"
#include "support/FakeUserNotices.h"
#include "support/FakeVADProcessing.h"
#include "support/FakeWorkspace.h"
#include "support/TestTexts.h"

namespace quillmere {

// The platform behind a dictation, made up.
struct FakeDesktop {
  TestTexts texts;
  FixedClock clock{QDateTime::fromSecsSinceEpoch(1'700'000'000)};
  FakeDefaultsStore defaults;
  FakeErrorReporting reporting;
  FakeUserNotices notices;
  FakeNetworkStatus network;
  FakeAudioRecorderFactory recorders;
  FakeAudioDevices devices;
  FakeOutputVolume outputVolume;
  FakeMediaPlayback playback;
  FakeMicrophoneAuthorization authorization;
  FakePowerActivity powerActivity;
  FakeProcessLocks processLocks;
  FakeFileEvents fileEvents;
  FakeWorkspace workspace;
  FakePasteboard pasteboard;
  FakeKeySynthesizer keySynthesizer;
  FakeAccessibility accessibility;
  FakeGlobalShortcuts shortcuts;
  FakeMediaEncoder encoder;
  FakeVADProcessing vad;
};

}  // namespace quillmere
