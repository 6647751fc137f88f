#pragma once
#include <QString>
#include <QStringView>
#include <concepts>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

namespace quillmere {

namespace detail {

struct LogDirective {
  bool isPublic = false;
  bool isPrivate = false;
  bool isBool = false;
  bool isLeft = false;
  bool isZeroFilled = false;
  bool hasPlus = false;
  bool hasUnknownMark = false;
  int width = 0;
  int precision = -1;
  char conversion = 0;
};

constexpr bool isOneOf(char c, std::string_view set) {
  return set.find(c) != std::string_view::npos;
}

constexpr int readLogNumber(std::string_view format, size_t& at) {
  int number = 0;
  for (; at < format.size() && isOneOf(format[at], "0123456789"); ++at)
    number = number > 99 ? 999 : number * 10 + (format[at] - '0');
  return number;
}

constexpr void readLogMarks(std::string_view marks, LogDirective& out) {
  while (!marks.empty()) {
    const size_t comma = marks.find(',');
    std::string_view mark = marks.substr(0, comma);
    marks = comma == std::string_view::npos ? std::string_view() : marks.substr(comma + 1);
    while (mark.starts_with(' ')) mark.remove_prefix(1);
    if (mark == "public")
      out.isPublic = true;
    else if (mark == "private" || mark == "sensitive")
      out.isPrivate = true;
    else if (mark == "bool")
      out.isBool = true;
    else
      out.hasUnknownMark = true;
  }
}

// Reads one directive from after its '%'. Returns the position after it, or nothing if it is none.
constexpr std::optional<size_t> readLogDirective(std::string_view format, size_t at, LogDirective& out) {
  if (at < format.size() && format[at] == '{') {
    const size_t close = format.find('}', at);
    if (close == std::string_view::npos) return std::nullopt;
    readLogMarks(format.substr(at + 1, close - at - 1), out);
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
  out.width = readLogNumber(format, at);
  if (at < format.size() && format[at] == '.') out.precision = readLogNumber(format, ++at);
  while (at < format.size() && isOneOf(format[at], "lhz")) ++at;
  if (at >= format.size() || !isOneOf(format[at], "s@diuxXfeg")) return std::nullopt;
  out.conversion = format[at];
  return at + 1;
}

enum class LogKind { text, truth, integer, real };

template <typename A>
consteval LogKind logKindOf() {
  using T = std::decay_t<A>;
  if constexpr (std::same_as<T, bool>)
    return LogKind::truth;
  else if constexpr (std::is_floating_point_v<T>)
    return LogKind::real;
  else if constexpr (std::is_integral_v<T>)
    return LogKind::integer;
  else
    return LogKind::text;
}

// Never defined: the compiler names the one that a wrong format would call.
void logFormatHasADirectiveWithoutArgument();
void logFormatHasAnArgumentWithoutDirective();
void logFormatHasAPercentSignThatBeginsNoDirective();
void logFormatHasAnUnknownMark();
void logFormatHasADirectiveOfAnotherKindThanItsArgument();

constexpr bool fits(const LogDirective& directive, LogKind kind) {
  if (directive.isBool) return kind == LogKind::truth && directive.conversion == 'd';
  if (isOneOf(directive.conversion, "s@")) return kind == LogKind::text;
  if (isOneOf(directive.conversion, "feg")) return kind == LogKind::real;
  return kind == LogKind::integer;
}

}  // namespace detail

// The format of a log line, checked against the types of its arguments when it is compiled: as many directives as
// arguments, each of its argument's kind, and "%%" for a percent sign. A literal; lives as long as the program. What
// the directives mean is told at renderLogFormat.
template <typename... A>
class LogFormat {
 public:
  // From a literal only. Not explicit: calls are written logger.info("%d", 1).
  consteval LogFormat(const char* literal) : text_(literal) {
    constexpr detail::LogKind kinds[] = {detail::logKindOf<A>()..., detail::LogKind::text};
    size_t next = 0;
    for (size_t at = text_.find('%'); at != std::string_view::npos; at = text_.find('%', at)) {
      if (text_.substr(at).starts_with("%%")) {
        at += 2;
        continue;
      }
      detail::LogDirective directive;
      const auto end = detail::readLogDirective(text_, at + 1, directive);
      if (!end) detail::logFormatHasAPercentSignThatBeginsNoDirective();
      if (directive.hasUnknownMark) detail::logFormatHasAnUnknownMark();
      if (next == sizeof...(A)) detail::logFormatHasADirectiveWithoutArgument();
      if (!detail::fits(directive, kinds[next++])) detail::logFormatHasADirectiveOfAnotherKindThanItsArgument();
      at = *end;
    }
    if (next != sizeof...(A)) detail::logFormatHasAnArgumentWithoutDirective();
  }

  constexpr std::string_view text() const { return text_; }
  constexpr bool operator==(const LogFormat&) const = default;

 private:
  std::string_view text_;
};

}  // namespace quillmere
