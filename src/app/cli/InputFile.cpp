#include "app/cli/InputFile.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <QFile>
#include <cerrno>
#include <cstring>
#include <vector>

#include "app/cli/Commands.h"
#include "base/text/LocalizedText.h"

namespace quillmere {
namespace {

CommandFailure inputFailure(const char* key, const QString& name) {
  return {localizedText(key, name), exitInput};
}

CommandFailure systemFailure(const QString& name, int number) {
  return {localizedText("cli.input.system", name, QString::fromLocal8Bit(std::strerror(number))), exitInput};
}

}  // namespace

Result<InputFile, CommandFailure> openInputFile(const std::string& argument) {
  InputFile file;
  file.path = argument;
  file.shownName = argumentText(argument);
  std::error_code failure;
  const auto status = std::filesystem::status(file.path, failure);
  if (!std::filesystem::exists(status)) {
    if (failure && failure.value() != ENOENT && failure.value() != ENOTDIR)
      return Failed{systemFailure(file.shownName, failure.value())};
    return Failed{inputFailure("cli.input.missing", file.shownName)};
  }
  if (std::filesystem::is_directory(status)) return Failed{inputFailure("cli.input.folder", file.shownName)};
  if (!std::filesystem::is_regular_file(status)) return Failed{inputFailure("cli.input.special", file.shownName)};
  const int fd = ::open(file.path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return Failed{systemFailure(file.shownName, errno)};
  ::close(fd);
  if (std::filesystem::file_size(file.path, failure) == 0 && !failure)
    return Failed{inputFailure("cli.input.empty", file.shownName)};
  return file;
}

Result<InputFile, CommandFailure> readStandardInput(const std::atomic<bool>& stop) {
  InputFile file;
  file.shownName = localizedText("cli.input.standardInput");
  if (isatty(STDIN_FILENO)) return Failed{CommandFailure{localizedText("cli.input.terminal"), exitUsage}};
  file.temporary = std::make_shared<QTemporaryDir>();
  if (!file.temporary->isValid())
    return Failed{
        CommandFailure{localizedText("cli.input.system", file.shownName, file.temporary->errorString()), exitFailure}};
  const QString path = file.temporary->filePath(QStringLiteral("standard-input"));
  file.path = path.toStdString();
  QFile copy(path);
  if (!copy.open(QIODevice::WriteOnly))
    return Failed{CommandFailure{localizedText("cli.input.system", file.shownName, copy.errorString()), exitFailure}};
  std::vector<char> chunk(1 << 16);
  qint64 total = 0;
  while (!stop.load()) {
    pollfd waiting{STDIN_FILENO, POLLIN, 0};
    const int ready = poll(&waiting, 1, 100);
    if (ready == 0 || (ready < 0 && errno == EINTR)) continue;
    const ssize_t count = ::read(STDIN_FILENO, chunk.data(), chunk.size());
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) continue;
    if (count < 0) return Failed{systemFailure(file.shownName, errno)};
    if (count == 0) break;
    if (copy.write(chunk.data(), count) != count)
      return Failed{CommandFailure{localizedText("cli.input.system", file.shownName, copy.errorString()), exitFailure}};
    total += count;
  }
  if (!copy.flush())
    return Failed{CommandFailure{localizedText("cli.input.system", file.shownName, copy.errorString()), exitFailure}};
  if (total == 0 && !stop.load()) return Failed{inputFailure("cli.input.empty", file.shownName)};
  return file;
}

}  // namespace quillmere
