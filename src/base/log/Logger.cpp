#include "base/log/Logger.h"

namespace quillmere {
namespace {

struct Directive {
  bool isPublic = false;
  bool isPrivate = false;
  bool isBool = false;
  int precision = -1;
  char conversion = 0;
};

// Reads one directive behind its '%'; returns the position after it.
size_t readDirective(std::string_view format, size_t at, Directive& out) {
  if (at < format.size() && format[at] == '{') {
    const size_t close = format.find('}', at);
    if (close == std::string_view::npos) return format.size();
    const std::string_view marks = format.substr(at + 1, close - at - 1);
    out.isPublic = marks.find("public") != std::string_view::npos;
    out.isPrivate = marks.find("private") != std::string_view::npos;
    out.isBool = marks.find("bool") != std::string_view::npos;
    at = close + 1;
  }
  if (at < format.size() && format[at] == '.') {
    int digits = 0;
    for (++at; at < format.size() && format[at] >= '0' && format[at] <= '9'; ++at) digits = digits * 10 + (format[at] - '0');
    out.precision = digits;
  }
  while (at < format.size() && (format[at] == 'l' || format[at] == 'h' || format[at] == 'z')) ++at;
  if (at < format.size()) out.conversion = format[at++];
  return at;
}

QString render(const LogArgument& argument, const Directive& directive) {
  return std::visit(
      [&](const auto& value) -> QString {
        using T = std::decay_t<decltype(value)>;
        if constexpr (std::is_same_v<T, QString>) return value;
        else if constexpr (std::is_same_v<T, bool>)
          return directive.isBool ? (value ? QStringLiteral("true") : QStringLiteral("false")) : QString::number(int(value));
        else if constexpr (std::is_same_v<T, double>)
          return QString::number(value, 'f', directive.precision >= 0 ? directive.precision : 6);
        else if (directive.isBool) return value ? QStringLiteral("true") : QStringLiteral("false");
        else if (directive.conversion == 'f')
          return QString::number(static_cast<double>(value), 'f', directive.precision >= 0 ? directive.precision : 6);
        else return QString::number(value);
      },
      argument);
}

}  // namespace

QString renderLogFormat(std::string_view format, const std::vector<LogArgument>& arguments, bool maskPrivate) {
  QString line;
  size_t next = 0, at = 0;
  while (at < format.size()) {
    const size_t percent = format.find('%', at);
    if (percent == std::string_view::npos) {
      line += QString::fromUtf8(format.data() + at, qsizetype(format.size() - at));
      break;
    }
    line += QString::fromUtf8(format.data() + at, qsizetype(percent - at));
    at = percent + 1;
    if (at < format.size() && format[at] == '%') {
      line += u'%';
      ++at;
      continue;
    }
    Directive directive;
    at = readDirective(format, at, directive);
    if (next >= arguments.size()) {
      line += QStringLiteral("<missing>");
      continue;
    }
    const LogArgument& argument = arguments[next++];
    const bool isText = std::holds_alternative<QString>(argument);
    const bool hidden = directive.isPrivate || (isText && !directive.isPublic);
    line += maskPrivate && hidden ? QStringLiteral("<private>") : render(argument, directive);
  }
  return line;
}

QString LogRecord::fullText() const { return renderLogFormat(format, arguments, false); }
QString LogRecord::publicText() const { return renderLogFormat(format, arguments, true); }

}  // namespace quillmere
