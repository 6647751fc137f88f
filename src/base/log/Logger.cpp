#include "base/log/Logger.h"

#include <algorithm>
#include <optional>

namespace quillmere {
namespace {

struct Directive {
  bool isPublic = false;
  bool isPrivate = false;
  bool isBool = false;
  bool isLeft = false;
  bool isZeroFilled = false;
  bool hasPlus = false;
  int width = 0;
  int precision = -1;
  char conversion = 0;
};

bool isOneOf(char c, std::string_view set) {
  return set.find(c) != std::string_view::npos;
}

int readNumber(std::string_view format, size_t& at) {
  int number = 0;
  for (; at < format.size() && format[at] >= '0' && format[at] <= '9'; ++at)
    number = std::min(number * 10 + (format[at] - '0'), 999);
  return number;
}

// Reads one directive from behind its '%'. Returns the position after it, or nothing if it is none.
std::optional<size_t> readDirective(std::string_view format, size_t at, Directive& out) {
  if (at < format.size() && format[at] == '{') {
    const size_t close = format.find('}', at);
    if (close == std::string_view::npos) return std::nullopt;
    const std::string_view marks = format.substr(at + 1, close - at - 1);
    out.isPublic = marks.find("public") != std::string_view::npos;
    out.isPrivate =
        marks.find("private") != std::string_view::npos || marks.find("sensitive") != std::string_view::npos;
    out.isBool = marks.find("bool") != std::string_view::npos;
    at = close + 1;
  }
  for (; at < format.size() && isOneOf(format[at], "-0+"); ++at) {
    if (format[at] == '-')
      out.isLeft = true;
    else if (format[at] == '0')
      out.isZeroFilled = true;
    else
      out.hasPlus = true;
  }
  out.width = readNumber(format, at);
  if (at < format.size() && format[at] == '.') out.precision = readNumber(format, ++at);
  while (at < format.size() && isOneOf(format[at], "lhzqjt")) ++at;
  if (at >= format.size() || !isOneOf(format[at], "s@diuxXcpfFeEgG")) return std::nullopt;
  out.conversion = format[at];
  return at + 1;
}

QString renderDouble(double value, const Directive& directive) {
  const char kind = isOneOf(directive.conversion, "eEgG") ? directive.conversion : 'f';
  return QString::number(value, kind, directive.precision >= 0 ? directive.precision : 6);
}

template <typename N>
QString renderInteger(N value, const Directive& directive) {
  if (directive.isBool) return value != 0 ? QStringLiteral("true") : QStringLiteral("false");
  if (isOneOf(directive.conversion, "fFeEgG")) return renderDouble(static_cast<double>(value), directive);
  if (directive.conversion == 'x') return QString::number(static_cast<quint64>(value), 16);
  if (directive.conversion == 'X') return QString::number(static_cast<quint64>(value), 16).toUpper();
  return QString::number(value);
}

QString renderArgument(const LogArgument& argument, const Directive& directive) {
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

QString render(const LogArgument& argument, const Directive& directive) {
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
    Directive directive;
    const auto end = readDirective(format, at, directive);
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

}  // namespace quillmere
