#include "core/DictationTimings.h"

#include <QStringList>
#include <cmath>

namespace quillmere {
namespace {

QString milliseconds(Duration duration) {
  return QStringLiteral("%1 ms").arg(std::llround(std::chrono::duration<double, std::milli>(duration).count()));
}

}  // namespace

QString DictationTimings::summary() const {
  QStringList steps;
  const auto add = [&steps](const char* name, const std::optional<Duration>& value) {
    if (value) steps.append(QString::fromLatin1(name) + u' ' + milliseconds(*value));
  };
  add("start", triggerToRecorderRunning);
  add("first sample", triggerToFirstSample);
  add("file", stopToFileReady);
  add("trimming", trimming);
  add("to decoding", stopToDecoding);
  add("decoding", decoding);
  add("post-processing", postProcessing);
  add("paste", decodedToPasted);
  return QStringLiteral("%1 (%2)").arg(stopToText ? milliseconds(*stopToText) : QStringLiteral("no text"),
                                       steps.join(QStringLiteral(", ")));
}

}  // namespace quillmere
