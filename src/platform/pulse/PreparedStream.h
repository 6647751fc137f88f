#pragma once
#include "platform/pulse/PulseAudioDevices.h"
#include "platform/pulse/PulseStream.h"

namespace quillmere {

// A paused capture stream of the source that recordings take, kept ready after prepare(). A paused stream neither runs
// the microphone nor keeps it from being suspended. Main thread.
class PreparedStream {
 public:
  PreparedStream(PulseConnection& connection, PulseAudioDevices& devices);
  PreparedStream(const PreparedStream&) = delete;
  PreparedStream& operator=(const PreparedStream&) = delete;
  ~PreparedStream();

  void prepare();
  bool isReady() const { return stream_ != nullptr; }
  // The stream, if there is one for the present source. Afterwards none is kept until resume().
  std::shared_ptr<PulseStream> take();
  void resume();

 private:
  void open(const QString& source);
  void opened(int error);
  void drop();
  void follow();

  PulseConnection& connection_;
  PulseAudioDevices& devices_;
  bool isWanted_ = false;
  bool isRecording_ = false;
  quint64 number_ = 0;
  QString source_;
  std::shared_ptr<PulseStream> opening_;
  std::shared_ptr<PulseStream> stream_;
  std::shared_ptr<int> alive_ = std::make_shared<int>();
  Subscription deviceSubscription_;
  Subscription stateSubscription_;
};

}  // namespace quillmere
