#pragma once
#include <algorithm>
#include <vector>

#include "ports/Workspace.h"
#include "support/FakeObservers.h"

namespace quillmere {

// A desktop whose windows the test moves about.
class FakeWorkspace final : public Workspace {
 public:
  std::optional<RunningApplication> frontmost;
  std::vector<RunningApplication> applications;  // besides the frontmost one, the last active one last
  bool becomesFrontmostWhenActivated = true;

  // What was asked for.
  std::vector<qint64> activations;
  int hides = 0;

  std::optional<RunningApplication> frontmostApplication() const override { return frontmost; }
  std::optional<RunningApplication> find(const RunningApplication& application) const override {
    if (frontmost && isSameWindow(*frontmost, application)) return frontmost;
    const auto found = std::find_if(applications.rbegin(), applications.rend(),
                                    [&](const RunningApplication& one) { return isSameWindow(one, application); });
    if (found == applications.rend()) return std::nullopt;
    return *found;
  }
  bool activate(const RunningApplication& application) override {
    activations.push_back(application.processId);
    const auto target = find(application);
    if (!target) return false;
    if (becomesFrontmostWhenActivated) setFrontmost(target);
    return true;
  }
  void hideThisApplication() override {
    ++hides;
    if (frontmost && frontmost->isThisApplication) setFrontmost(std::nullopt);
  }
  Subscription observeFrontmost(std::function<void()> observer) override {
    return frontmostObservers_.add(std::move(observer));
  }
  Subscription observeTyping(std::function<void(const RunningApplication&)> observer) override {
    return typingObservers_.add(std::move(observer));
  }
  Subscription observeLaunches(std::function<void(const RunningApplication&)> observer) override {
    return launchObservers_.add(std::move(observer));
  }
  bool forceTerminate(qint64 processId) override {
    if (!running(processId)) return false;
    while (const auto window = running(processId)) close(*window);
    return true;
  }

  // --- the test's side
  // One that runs, by its process.
  std::optional<RunningApplication> running(qint64 processId) const {
    RunningApplication application;
    application.processId = processId;
    return find(application);
  }
  // The user closes the window; the one below gets the keyboard.
  void close(const RunningApplication& application) {
    std::erase_if(applications, [&](const RunningApplication& one) { return isSameWindow(one, application); });
    if (!frontmost || !isSameWindow(*frontmost, application)) return;
    frontmost.reset();
    setFrontmost(applications.empty() ? std::nullopt : std::optional(applications.back()));
  }
  // A key in the window in front.
  void type() {
    if (const auto front = frontmost) typingObservers_.tell(*front);
  }
  size_t typingObserverCount() const { return typingObservers_.count(); }
  // Brings an application to the front; the one that was there stays among the running ones.
  void setFrontmost(std::optional<RunningApplication> application) {
    if (application)
      std::erase_if(applications, [&](const RunningApplication& one) { return isSameWindow(one, *application); });
    if (frontmost && (!application || !isSameWindow(*frontmost, *application))) applications.push_back(*frontmost);
    frontmost = std::move(application);
    frontmostObservers_.tell();
  }
  void launch(const RunningApplication& application) {
    applications.push_back(application);
    launchObservers_.tell(application);
  }

 private:
  FakeObservers<> frontmostObservers_;
  FakeObservers<const RunningApplication&> launchObservers_, typingObservers_;
};

}  // namespace quillmere
