#include "base/Clock.h"

namespace quillmere {

QDateTime SystemClock::now() const {
  return QDateTime::currentDateTime();
}

}  // namespace quillmere
