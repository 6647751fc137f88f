#pragma once
#include <QString>
#include <QStringList>
#include <functional>
#include <optional>

#include "base/async/Executor.h"
#include "domain/Entities.h"
#include "domain/ModeTypes.h"

namespace quillmere {

// What a speech engine is asked. A value: all that a call needs, and nothing of it is kept when the call is over.
struct SpeechRequest {
  QString audioPath;
  QString model;                                  // a local model by its name; a service's own choice where it is empty
  std::optional<QString> language;                // lower-cased; none: the engine finds it
  Mode mode;                                      // a copy of its values
  QStringList vocabulary;                         // the user's words as they are to be written, in the store's order
  CloudProvider service = CloudProvider::openai;  // which one, where an engine serves several
  QString apiKey;
  std::function<void(float)> onProgress;  // 0 to 1, rising; main thread; not every engine tells
};

struct SpeechAnswer {
  QString text;
  std::optional<QString> rewrittenText;  // where the service rewrites by itself
  std::optional<QString> language;       // as the engine found it
  std::optional<double> cost;            // in credits of the service
  std::optional<TimePoint> begin;        // when the engine turned to this request, where it let others go first
};

}  // namespace quillmere
