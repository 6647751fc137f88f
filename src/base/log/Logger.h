#pragma once
#include <QString>
#include <QStringView>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

#include "base/log/LogFormat.h"

namespace quillmere {

enum class LogLevel { debug, info, notice, warning, error, fault };

// One argument of a log line. Text is private unless the format says %{public}; numbers are public unless it says
// %{private}.
using LogArgument = std::variant<std::int64_t, std::uint64_t, double, bool, QString>;

inline LogArgument logArgument(const QString& text) {
  return text;
}
inline LogArgument logArgument(QStringView text) {
  return text.toString();
}
inline LogArgument logArgument(const char* text) {
  return QString::fromUtf8(text);
}
inline LogArgument logArgument(const std::string& text) {
  return QString::fromStdString(text);
}
template <typename N>
  requires std::is_arithmetic_v<N>
LogArgument logArgument(N value) {
  if constexpr (std::is_same_v<N, bool>)
    return value;
  else if constexpr (std::is_floating_point_v<N>)
    return static_cast<double>(value);
  else if constexpr (std::is_signed_v<N>)
    return static_cast<std::int64_t>(value);
  else
    return static_cast<std::uint64_t>(value);
}

struct LogRecord {
  LogLevel level = LogLevel::info;
  QString category;
  std::string_view format;  // a literal; lives as long as the program
  std::vector<LogArgument> arguments;

  // The line with every argument in place. For tests and for the terminal of the person who said it; never for a file.
  QString fullText() const;
  // The line with private arguments written as "<private>". This is what reaches files and reports.
  QString publicText() const;
};

// Where log records go. write() may be called from any thread and must not block for long.
class LogSink {
 public:
  virtual ~LogSink() = default;
  virtual void write(const LogRecord& record) = 0;
};

// Renders a printf-like format: %s %@ (text), %d %i %ld %lld %hd %zu %u %llu %x %X (integers), %f %.2f %e %g (doubles),
// %{bool}d, %% and the visibility marks %{public}s, %{private}ld, %{bool,public}d ({sensitive} is private too).
// Flags '-', '0', '+' and a width work as in printf, a precision cuts text to that many UTF-16 units. The argument's
// own type decides where it does not fit the letter. A directive without an argument gives "<missing>", an argument
// without a directive is left out, a '%' that begins no directive stands for itself. A Logger lets none of these be
// compiled.
QString renderLogFormat(std::string_view format, const std::vector<LogArgument>& arguments, bool maskPrivate);

// A handle on one log category. Cheap to copy, safe to use from any thread; without a sink it drops everything.
// Lines that could hold what the user said take the text as a private argument (plain %s).
class Logger {
 public:
  Logger() = default;
  Logger(std::shared_ptr<LogSink> sink, QString category) : sink_(std::move(sink)), category_(std::move(category)) {}

  template <typename... A>
  void debug(LogFormat<std::type_identity_t<A>...> format, const A&... arguments) const {
    if (sink_) write(LogLevel::debug, format.text(), {logArgument(arguments)...});
  }
  template <typename... A>
  void info(LogFormat<std::type_identity_t<A>...> format, const A&... arguments) const {
    if (sink_) write(LogLevel::info, format.text(), {logArgument(arguments)...});
  }
  template <typename... A>
  void notice(LogFormat<std::type_identity_t<A>...> format, const A&... arguments) const {
    if (sink_) write(LogLevel::notice, format.text(), {logArgument(arguments)...});
  }
  template <typename... A>
  void warning(LogFormat<std::type_identity_t<A>...> format, const A&... arguments) const {
    if (sink_) write(LogLevel::warning, format.text(), {logArgument(arguments)...});
  }
  template <typename... A>
  void error(LogFormat<std::type_identity_t<A>...> format, const A&... arguments) const {
    if (sink_) write(LogLevel::error, format.text(), {logArgument(arguments)...});
  }
  template <typename... A>
  void fault(LogFormat<std::type_identity_t<A>...> format, const A&... arguments) const {
    if (sink_) write(LogLevel::fault, format.text(), {logArgument(arguments)...});
  }

 private:
  void write(LogLevel level, std::string_view format, std::initializer_list<LogArgument> arguments) const;

  std::shared_ptr<LogSink> sink_;
  QString category_;
};

// Hands out loggers that share one sink. Services take it by value in their constructor.
class Logging {
 public:
  Logging() = default;
  explicit Logging(std::shared_ptr<LogSink> sink) : sink_(std::move(sink)) {}
  Logger logger(const QString& category) const { return Logger(sink_, category); }
  const std::shared_ptr<LogSink>& sink() const { return sink_; }

 private:
  std::shared_ptr<LogSink> sink_;
};

}  // namespace quillmere
