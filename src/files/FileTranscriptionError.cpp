#include "files/FileTranscriptionError.h"

#include <QtGlobal>

#include "domain/Errors.h"

namespace quillmere {
namespace {
template <class... F>
struct Cases : F... {
  using F::operator()...;
};
template <class... F>
Cases(F...) -> Cases<F...>;
using Error = FileTranscriptionError;
}  // namespace

QString FileTranscriptionError::description() const {
  return std::visit(
      Cases{[](const FileTooLarge& e) { return QStringLiteral("File exceeds %1 size limit").arg(e.providerName); },
            [](const UnsupportedFormat& e) {
              return QStringLiteral("%1 does not support .%2 files").arg(e.providerName, e.format);
            },
            [](const CannotReadFile&) { return QStringLiteral("Cannot read file"); },
            [](const CopyFailed&) { return QStringLiteral("Failed to copy file"); },
            [](const VideoHasNoAudio&) { return QStringLiteral("Video has no audio track"); }},
      kind);
}

AlertText alertText(const FileTranscriptionError& error) {
  return std::visit(
      Cases{[](const Error::FileTooLarge& e) {
              return AlertText{qtTrId("transcribe.file.error.size.title"),
                               qtTrId("transcribe.file.error.size.message")
                                   .arg(sizeText(e.fileSizeBytes), e.providerName, sizeText(e.limitBytes))};
            },
            [](const Error::UnsupportedFormat& e) {
              QStringList formats;
              for (const QString& format : e.supportedFormats) formats << format.toUpper();
              return AlertText{qtTrId("transcribe.file.error.format.title"),
                               qtTrId("transcribe.file.error.format.message")
                                   .arg(e.format.toUpper(), e.providerName, formats.join(QStringLiteral(", ")))};
            },
            [&](const Error::CannotReadFile&) {
              return AlertText{qtTrId("transcribe.file.error.title"), error.description()};
            },
            [](const Error::CopyFailed&) {
              return AlertText{qtTrId("transcribe.file.error.title"), qtTrId("transcribe.file.error.copy")};
            },
            [](const Error::VideoHasNoAudio&) {
              return AlertText{qtTrId("transcribe.file.error.video.title"),
                               qtTrId("transcribe.file.error.video.noAudio")};
            }},
      error.kind);
}

}  // namespace quillmere
