#pragma once
#include <QString>
#include <functional>

#include "domain/Entities.h"

namespace quillmere {

struct AppStateData;
class Dictation;

// Whom a dictation tells how far it is. Main thread.
class DictationHost {
 public:
  virtual ~DictationHost() = default;
  // Whether the application's state and the pill are about this one.
  virtual bool isNewest(const Dictation& dictation) const = 0;
  virtual void recorderRuns(const Dictation& dictation) = 0;
  // Nobody asked for its end: the microphone or the folder went away.
  virtual void recorderEnded(const Dictation& dictation) = 0;
  virtual void transcribes(const Dictation& dictation) = 0;
  virtual void rewrites(const Dictation& dictation) = 0;
  // Nothing is left to be cancelled: what follows is the delivery.
  virtual void hasText(const Dictation& dictation) = 0;
  // Changes the application's state if the dictation is the newest.
  virtual void show(const Dictation& dictation, const std::function<void(AppStateData&)>& change) = 0;
  // Makes the kept recording smaller, whatever becomes of the dictation.
  virtual void compressLater(const QString& path, const TranscriptPtr& row) = 0;
};

}  // namespace quillmere
