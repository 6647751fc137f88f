#include "platform/pulse/PreparedStream.h"

#include <pulse/def.h>

namespace quillmere {

PreparedStream::PreparedStream(PulseConnection& connection, PulseAudioDevices& devices)
    : connection_(connection), devices_(devices) {
  deviceSubscription_ = devices_.observeCaptureInput([this] { follow(); });
  stateSubscription_ = connection_.observeState([this](PulseConnection::State state) {
    if (state != PulseConnection::State::ready) drop();
  });
}

PreparedStream::~PreparedStream() {
  drop();
}

void PreparedStream::prepare() {
  isWanted_ = true;
  follow();
}

std::shared_ptr<PulseStream> PreparedStream::take() {
  follow();
  isRecording_ = true;
  auto stream = std::exchange(stream_, nullptr);
  drop();
  return stream;
}

void PreparedStream::resume() {
  isRecording_ = false;
  follow();
}

void PreparedStream::follow() {
  const std::optional<QString> source = devices_.captureInputUid();
  if ((stream_ || opening_) && source != source_) drop();
  if (isWanted_ && !isRecording_ && source && !stream_ && !opening_) open(*source);
}

void PreparedStream::open(const QString& source) {
  source_ = source;
  const quint64 number = ++number_;
  auto stream = std::make_shared<PulseStream>(connection_.api());
  opening_ = stream;
  Executor* const executor = &connection_.executor();
  const auto toOwner = [this, executor, number, alive = std::weak_ptr<int>(alive_)](auto function) {
    executor->post([this, number, alive, function] {
      if (!alive.expired() && number == number_) function();
    });
  };
  connection_.run([this, stream, source, toOwner](pa_context* context) {
    stream->setEnded([this, toOwner](PulseStream::End) { toOwner([this] { stream_ = nullptr; }); });
    stream->open(context, source, [this, toOwner](int error) { toOwner([this, error] { opened(error); }); });
  });
}

void PreparedStream::opened(int error) {
  if (error == PA_OK || error == PA_ERR_ACCESS) connection_.noteAccess(error == PA_OK);
  if (error == PA_OK) stream_ = opening_;
  opening_ = nullptr;
}

void PreparedStream::drop() {
  ++number_;
  for (const auto& stream : {std::exchange(stream_, nullptr), std::exchange(opening_, nullptr)})
    if (stream) connection_.run([stream](pa_context*) { stream->close(); });
}

}  // namespace quillmere
