#pragma once
#include "base/async/Task.h"
#include "context/ElectronAppDetector.h"
#include "domain/ApplicationContext.h"
#include "ports/Accessibility.h"
#include "ports/Workspace.h"

namespace quillmere {

// Reads what the user is working in: the frontmost application, its kind, a browser's tab and the focused control.
// Main thread; the reads are one visit on the accessibility thread of at most 400 ms. Never fails: what can't be read
// in time stays absent. The gatherer outlives its tasks; a cancel ends the wait at once.
class ApplicationContextGatherer {
 public:
  ApplicationContextGatherer(Workspace& workspace, Accessibility& accessibility, ElectronAppDetector& electronApps);

  Task<ApplicationContext> gather();

  // The tags that tell a language model about the context. Pure.
  static QString promptBlock(const ApplicationContext& context);

 private:
  Workspace& workspace_;
  Accessibility& accessibility_;
  ElectronAppDetector& electronApps_;
};

}  // namespace quillmere
