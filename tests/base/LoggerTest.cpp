#include "base/log/Logger.h"

using namespace quillmere;

namespace {

struct RenderCase {
  const char* format;
  std::vector<LogArgument> arguments;
  const char* full;
  const char* masked;
};

TEST(LogFormatTest, RendersAndMasks) {
  const LogArgument text = "größe";
  const LogArgument number = std::int64_t(-42);
  const LogArgument real = 2.345;
  const LogArgument yes = true;
  const RenderCase cases[] = {
      {"plain", {}, "plain", "plain"},
      {"%{public}s", {text}, "größe", "größe"},
      {"%{public}@ %s", {text, text}, "größe größe", "größe <private>"},
      {"%{private}s %{sensitive}s", {text, text}, "größe größe", "<private> <private>"},
      {"%{private, mask.hash}d", {number}, "-42", "<private>"},
      {"%x %X %04x", {std::int64_t(255), std::int64_t(255), std::int64_t(255)}, "ff FF 00ff", nullptr},
      {"%f %.2f %.0f %.1fs", {real, real, real, real}, "2.345000 2.35 2 2.3s", nullptr},
      {"%ss", {text}, "größes", "<private>s"},
      {"%{bool}d %{bool,public}d %d", {yes, yes, yes}, "true true 1", "true true 1"},
      {"%5d|%-5d|%05d|%+d|%+d", {number, number, number, number, std::int64_t(7)}, "  -42|-42  |-0042|-42|+7", nullptr},
      {"%.3s|%8.2f", {text, real}, "grö|    2.35", "<private>|    2.35"},
      {"100% sure %d", {number}, "100% sure -42", nullptr},
      {"%d %s", {number}, "-42 <missing>", "-42 <missing>"},
      {"%s", {"%d %{public}s"}, "%d %{public}s", "<private>"},
  };
  for (const auto& [format, arguments, full, masked] : cases) {
    EXPECT_EQ(renderLogFormat(format, arguments, false), QString::fromUtf8(full)) << format;
    EXPECT_EQ(renderLogFormat(format, arguments, true), QString::fromUtf8(masked ? masked : full)) << format;
  }
}

}  // namespace
