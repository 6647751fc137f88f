#include "app/compose/session/DisplayPorts.h"

#include <QCoreApplication>

#include "app/compose/session/AbsentGlobalShortcuts.h"
#include "app/compose/session/AbsentKeyEventMonitor.h"
#include "app/compose/session/AbsentKeyInterceptor.h"
#include "app/compose/session/AbsentKeySynthesizer.h"
#include "app/compose/session/AbsentPasteboard.h"
#include "app/compose/session/AbsentWorkspace.h"
#include "platform/atspi/AtspiAccessibility.h"
#include "platform/linux/ApplicationIdentity.h"
#include "platform/x11/X11GlobalShortcuts.h"
#include "platform/x11/X11KeyEventMonitor.h"
#include "platform/x11/X11KeyInterceptor.h"
#include "platform/x11/X11KeySynthesizer.h"
#include "platform/x11/X11Pasteboard.h"
#include "platform/x11/X11Workspace.h"

namespace quillmere {
namespace {

void fillWithAbsent(DisplayPorts& ports) {
  ports.workspace = std::make_unique<AbsentWorkspace>();
  ports.pasteboard = std::make_unique<AbsentPasteboard>();
  ports.keySynthesizer = std::make_unique<AbsentKeySynthesizer>();
  ports.keyEvents = std::make_unique<AbsentKeyEventMonitor>();
  ports.shortcuts = std::make_unique<AbsentGlobalShortcuts>();
  ports.keyInterceptor = std::make_unique<AbsentKeyInterceptor>();
}

// Workspace and clipboard are there together or not at all.
void openX11(DisplayPorts& ports, Executor& executor, const DisplayPorts::Options& options, const Logging& logging) {
  auto workspace = X11Workspace::open(
      [](const QString& windowClass, const QString& instance) {
        return applicationIdentity::bundleIdOfWindow(windowClass, instance);
      },
      QCoreApplication::applicationPid(), options.hideWindows);
  auto pasteboard = X11Pasteboard::open(executor);
  if (!workspace || !pasteboard) return;
  ports.isPresent = true;
  ports.workspace = std::move(*workspace);
  ports.pasteboard = std::move(*pasteboard);
  if (auto keys = X11KeySynthesizer::open()) ports.keySynthesizer = std::move(*keys);
  if (!options.hasTriggers || isWaylandSession()) return;
  ports.keyEvents = std::make_unique<X11KeyEventMonitor>();
  ports.shortcuts = std::make_unique<X11GlobalShortcuts>(logging);
  ports.keyInterceptor = std::make_unique<X11KeyInterceptor>();
}

std::unique_ptr<Accessibility> openAccessibility(Workspace& workspace, Executor& executor, const Logging& logging) {
  AtspiAccessibility::Options options;
  options.frontmostProcessId = [&workspace]() -> std::optional<qint64> {
    if (const auto application = workspace.frontmostApplication()) return application->processId;
    return std::nullopt;
  };
  auto atspi = std::make_unique<AtspiAccessibility>(executor, std::move(options), logging);
  atspi->start();
  return atspi;
}

}  // namespace

bool isWaylandSession() {
  const QString type = qEnvironmentVariable("XDG_SESSION_TYPE");
  if (type == QLatin1String("wayland")) return true;
  return type != QLatin1String("x11") && !qEnvironmentVariable("WAYLAND_DISPLAY").isEmpty();
}

DisplayPorts makeDisplayPorts(Executor& executor, const DisplayPorts::Options& options, const Logging& logging) {
  DisplayPorts ports;
  fillWithAbsent(ports);
  openX11(ports, executor, options, logging);
  ports.accessibility = openAccessibility(*ports.workspace, executor, logging);
  return ports;
}

}  // namespace quillmere
