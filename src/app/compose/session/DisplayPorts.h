#pragma once
#include <functional>
#include <memory>

#include "base/async/Executor.h"
#include "base/log/Logger.h"
#include "ports/Accessibility.h"
#include "ports/GlobalShortcuts.h"
#include "ports/KeyEventMonitor.h"
#include "ports/KeyInterceptor.h"
#include "ports/KeySynthesizer.h"
#include "ports/Pasteboard.h"
#include "ports/Workspace.h"

namespace quillmere {

// What speaks to the display. Which adapters these are is found out once, when they are made. Where the display offers
// nothing for a port, its object does nothing: recording and transcribing go on without.
struct DisplayPorts {
  struct Options {
    // Watches the keyboard and takes system-wide shortcuts. Off for a command that ends with its recording. Without
    // effect in a Wayland session: its X server tells of the keys only while one of its own programs has them.
    bool hasTriggers = false;
    // Takes this application's windows away before a paste.
    std::function<void()> hideWindows;
  };

  bool isPresent = false;  // texts can be pasted
  std::unique_ptr<Workspace> workspace;
  std::unique_ptr<Pasteboard> pasteboard;
  std::unique_ptr<KeySynthesizer> keySynthesizer;
  std::unique_ptr<KeyEventMonitor> keyEvents;
  std::unique_ptr<GlobalShortcuts> shortcuts;
  std::unique_ptr<KeyInterceptor> keyInterceptor;
  std::unique_ptr<Accessibility> accessibility;
};

// Whether programs of the session speak Wayland; an X server that it has is for the others.
bool isWaylandSession();

// Main thread. The executor outlives the result.
DisplayPorts makeDisplayPorts(Executor& executor, const DisplayPorts::Options& options, const Logging& logging);

}  // namespace quillmere
