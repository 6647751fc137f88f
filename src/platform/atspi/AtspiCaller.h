#pragma once
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QVariantList>
#include <atomic>
#include <chrono>
#include <map>
#include <optional>
#include <set>
#include <vector>

#include "platform/atspi/AtspiReference.h"

namespace quillmere {

// Calls to accessible objects, each with a time limit. Accessibility thread only.
class AtspiCaller {
 public:
  using Clock = std::chrono::steady_clock;
  // Programs that lately didn't answer, and when.
  using SilentPrograms = std::map<QString, Clock::time_point>;

  // `isEnding` lets every further call fail at once.
  AtspiCaller(QDBusConnection connection, Clock::time_point deadline, SilentPrograms& silentPrograms,
              const std::atomic<bool>& isEnding);

  bool isOutOfTime() const;

  // Nothing when the call fails or can't be answered in time.
  std::optional<QVariantList> call(const AtspiReference& target, const char* interface, const char* method,
                                   const QVariantList& arguments = {});
  std::optional<QVariant> property(const AtspiReference& target, const char* interface, const char* name);

  // The same in two steps, so that many calls are under way at once. Nothing: it isn't even tried.
  std::optional<QDBusPendingCall> send(const AtspiReference& target, const char* interface, const char* method,
                                       const QVariantList& arguments = {});
  std::optional<QVariantList> answer(const AtspiReference& target, std::optional<QDBusPendingCall>& call);

  // Frequent calls.
  std::vector<AtspiReference> children(const AtspiReference& target);
  std::optional<quint64> states(const AtspiReference& target);
  static std::vector<AtspiReference> references(const QVariant& list);
  static std::optional<AtspiReference> reference(const QVariant& value);
  static std::optional<quint64> stateBits(const QVariantList& arguments);

 private:
  int limitFor(const QString& program) const;

  QDBusConnection connection_;
  Clock::time_point begin_;
  Clock::time_point deadline_;
  SilentPrograms& silentPrograms_;
  const std::atomic<bool>& isEnding_;
  std::set<QString> leftOut_;  // did not answer in this visit
};

}  // namespace quillmere
