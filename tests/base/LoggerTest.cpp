#include "base/log/Logger.h"

#include <algorithm>
#include <limits>

#include "support/RecordingLogSink.h"

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
  const LogArgument big = std::numeric_limits<std::uint64_t>::max();
  const LogArgument real = 2.345;
  const LogArgument yes = true;
  const RenderCase cases[] = {
      {"plain", {}, "plain", "plain"},
      {"", {}, "", ""},
      {"%s", {text}, "größe", "<private>"},
      {"%@!", {text}, "größe!", "<private>!"},
      {"%{public}s", {text}, "größe", "größe"},
      {"%{public}@ %s", {text, text}, "größe größe", "größe <private>"},
      {"%{private}s %{sensitive}s", {text, text}, "größe größe", "<private> <private>"},
      {"%{private}ld %ld", {number, number}, "-42 -42", "<private> -42"},
      {"%{private, mask.hash}d", {number}, "-42", "<private>"},
      {"%d%i%ld%lld%hd", {number, number, number, number, number}, "-42-42-42-42-42", "-42-42-42-42-42"},
      {"%u %llu %zu", {big, big, big}, "18446744073709551615 18446744073709551615 18446744073709551615", nullptr},
      {"%x %X %04x", {std::int64_t(255), std::int64_t(255), std::int64_t(255)}, "ff FF 00ff", nullptr},
      {"%f %.2f %.0f %.1fs", {real, real, real, real}, "2.345000 2.35 2 2.3s", nullptr},
      {"%ldms %ldch %lds", {number, number, number}, "-42ms -42ch -42s", nullptr},
      {"%ss", {text}, "größes", "<private>s"},
      {"%{bool}d %{bool,public}d %d", {yes, yes, yes}, "true true 1", "true true 1"},
      {"%{bool}d %{bool}ld", {false, std::int64_t(0)}, "false false", nullptr},
      {"%5d|%-5d|%05d|%+d|%+d", {number, number, number, number, std::int64_t(7)}, "  -42|-42  |-0042|-42|+7", nullptr},
      {"%.3s|%8.2f", {text, real}, "grö|    2.35", "<private>|    2.35"},
      {"100%", {}, "100%", "100%"},
      {"100% sure %d", {number}, "100% sure -42", nullptr},
      {"50%%: %d%%", {number}, "50%: -42%", nullptr},
      {"%{public", {text}, "%{public", nullptr},
      {"%d %s", {number}, "-42 <missing>", "-42 <missing>"},
      {"%d", {number, text}, "-42", "-42"},
      {"%d %f", {real, number}, "2.345000 -42.000000", nullptr},
      {"✅ %s 🎉", {text}, "✅ größe 🎉", "✅ <private> 🎉"},
      {"%s", {"%d %{public}s"}, "%d %{public}s", "<private>"},
      {"%f", {std::numeric_limits<double>::quiet_NaN()}, "nan", "nan"},
  };
  for (const auto& [format, arguments, full, masked] : cases) {
    EXPECT_EQ(renderLogFormat(format, arguments, false), QString::fromUtf8(full)) << format;
    EXPECT_EQ(renderLogFormat(format, arguments, true), QString::fromUtf8(masked ? masked : full)) << format;
  }
}

// What a logger compiles and what it refuses.
template <size_t N>
struct Literal {
  constexpr Literal(const char (&text)[N]) { std::copy_n(text, N, characters); }
  char characters[N];
};
template <Literal format, typename... A>
concept Compiles = requires { typename std::bool_constant<(LogFormat<A...>(format.characters), true)>; };

static_assert(Compiles<"50%%"> && Compiles<"%{public}s %@", QString, char[3]> && Compiles<"%+5ld %04x", int, quint64>);
static_assert(Compiles<"%.2f %{private}e", float, double> && Compiles<"%{bool,public}d", bool>);
static_assert(!Compiles<"%d"> && !Compiles<"plain", int> && !Compiles<"%d%d", int> && !Compiles<"%d", int, int>);
static_assert(!Compiles<"%d", QString> && !Compiles<"%s", int> && !Compiles<"%f", int> && !Compiles<"%d", double>);
static_assert(!Compiles<"%d", bool> && !Compiles<"%{bool}d", int> && !Compiles<"%{bool}s", bool>);
static_assert(!Compiles<"50%"> && !Compiles<"50% of %d", int> && !Compiles<"%{publc}s", QString>);

TEST(LoggerTest, PassesLevelsCategoryAndTypedArguments) {
  const auto sink = std::make_shared<RecordingLogSink>();
  const Logger logger = Logging(sink).logger("Test");
  logger.debug("a");
  logger.info("b %d", 1);
  logger.notice("c %{public}s", "text");
  logger.warning("d %s", "said");
  logger.error("e %u %llu", 7u, std::numeric_limits<quint64>::max());
  logger.fault("f %.1f %{bool}d %s", 0.5f, true, std::string("s"));
  EXPECT_EQ(sink->lines(), (QStringList{"a", "b 1", "c text", "d said", "e 7 18446744073709551615", "f 0.5 true s"}));
  EXPECT_EQ(sink->publicLines().at(3), "d <private>");
  EXPECT_EQ(sink->lines(LogLevel::error).size(), 1);
  for (const auto& record : sink->records()) EXPECT_EQ(record.category, "Test");
}

}  // namespace
