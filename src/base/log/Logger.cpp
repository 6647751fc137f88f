#include "base/log/Logger.h"

#include <optional>

namespace quillmere {
namespace {

using detail::isOneOf;
using detail::LogDirective;

QString renderDouble(double value, const LogDirective& directive) {
  const char kind = isOneOf(directive.conversion, "eg") ? directive.conversion : 'f';
  return QString::number(value, kind, directive.precision >= 0 ? directive.precision : 6);
}

template <typename N>
QString renderInteger(N value, const LogDirective& directive) {
  if (directive.isBool) return value != 0 ? QStringLiteral("true") : QStringLiteral("false");
  if (isOneOf(directive.conversion, "feg")) return renderDouble(static_cast<double>(value), directive);
  if (directive.conversion == 'x') return QString::number(static_cast<quint64>(value), 16);
  if (directive.conversion == 'X') return QString::number(static_cast<quint64>(value), 16).toUpper();
  return QString::number(value);
}

QString renderArgument(const LogArgument& argument, const LogDirective& directive) {
  return std::visit(
      [&](const auto& value) -> QString {
        using T = std::decay_t<decltype(value)>;
        if constexpr (std::is_same_v<T, QString>)
          return directive.precision >= 0 ? value.left(directive.precision) : value;
        else if constexpr (std::is_same_v<T, bool>)
          return renderInteger(int(value), directive);
        else if constexpr (std::is_same_v<T, double>)
          return renderDouble(value, directive);
        else
          return renderInteger(value, directive);
      },
      argument);
}

QString render(const LogArgument& argument, const LogDirective& directive) {
  QString text = renderArgument(argument, directive);
  const bool isNumber = !std::holds_alternative<QString>(argument) && !directive.isBool;
  if (isNumber && directive.hasPlus && !text.startsWith(u'-')) text.prepend(u'+');
  if (directive.isLeft) return text.leftJustified(directive.width);
  const qsizetype missing = directive.width - text.size();
  if (missing <= 0) return text;
  if (!isNumber || !directive.isZeroFilled) return text.rightJustified(directive.width);
  const bool hasSign = text.startsWith(u'-') || text.startsWith(u'+');
  return text.insert(hasSign ? 1 : 0, QString(missing, u'0'));
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
    LogDirective directive;
    const auto end = detail::readLogDirective(format, at, directive);
    if (!end) {
      line += u'%';
      continue;
    }
    at = *end;
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

QString LogRecord::fullText() const {
  return renderLogFormat(format, arguments, false);
}
QString LogRecord::publicText() const {
  return renderLogFormat(format, arguments, true);
}

void Logger::write(LogLevel level, std::string_view format, std::initializer_list<LogArgument> arguments) const {
  sink_->write(LogRecord{level, category_, format, arguments});
}

}  // namespace quillmere
