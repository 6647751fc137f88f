#include "diagnostics/Sanitize.h"

#include "diagnostics/BeforeSend.h"

namespace quillmere {
namespace {

QString cleaned(const char* text) {
  return sanitize(QString::fromUtf8(text));
}

TEST(SanitizeTest, ScrubsWhatNamesAPersonOrAMachine) {
  const std::pair<const char*, const char*> cases[] = {
      {"/Users/ada/Library/a.wav", "/Users/[REDACTED]/Library/a.wav"},
      {"/home/jürgen/x", "/home/[REDACTED]/x"},
      {"in /home/ada", "in /home/ada"},    // no folder below: no name is told apart from a word
      {"/home/ada b/x", "/home/ada b/x"},  // a blank ends a name
      {"from 192.168.0.17:80", "from [IP_REDACTED]:80"},
      {"version 1.2.3.4 of it", "version [IP_REDACTED] of it"},  // four dotted parts look like an address
      {"mail ada.l+x@sub.example.org now", "mail [EMAIL_REDACTED] now"},
      {"ada@example.org wrote /Users/ada/a", "[EMAIL_REDACTED] wrote /Users/[REDACTED]/a"},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(cleaned(text), QString::fromUtf8(expected)) << text;
}

TEST(SanitizeTest, ScrubsWhatReadsLikeDictatedContent) {
  const std::pair<const char*, const char*> cases[] = {
      {"message: 12345678901234567890", "[CONTENT_REDACTED]"},
      {"message:1234567890123456789", "message:1234567890123456789"},
      {"MESSAGE:  and so my fellow Americans\nnext: line", "[CONTENT_REDACTED]\nnext: line"},
      {"Transcript:\nthe text goes on in the next line", "[CONTENT_REDACTED]"},  // white space spans lines
      {"x Full text: a", "x [CONTENT_REDACTED]"},
      {"full TEXT:", "[CONTENT_REDACTED]"},
      {"Text preview: hi\nkept", "[CONTENT_REDACTED]\nkept"},
      // A longer one is caught by the earlier rule already, which leaves the word before it.
      {"Full text: more than twenty characters", "Full [CONTENT_REDACTED]"},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(cleaned(text), QString::fromUtf8(expected)) << text;
}

TEST(BeforeSendTest, RemovesBreadcrumbsAndValuesThatCouldHoldContent) {
  CrashEvent event;
  event.breadcrumbs = {Breadcrumb{"m", "c", ReportLevel::info, {}}};
  event.tags = {{"text", "tags stay"}};
  for (const char* key :
       {"transcript", "TranscriptLength", "selectedTEXT", "context", "systemPrompt", "recent_logs", "mode"})
    event.extra.insert(QString::fromLatin1(key), "value");
  event.extra.insert("text_count", 7);

  const CrashEvent sent = beforeSend(event);

  EXPECT_TRUE(sent.breadcrumbs.isEmpty());
  EXPECT_EQ(sent.tags, event.tags);
  for (auto it = sent.extra.begin(); it != sent.extra.end(); ++it) {
    const bool isKept = it.key() == u"recent_logs" || it.key() == u"mode";
    EXPECT_EQ(it.value(), isKept ? QVariant("value") : QVariant("[redacted]")) << it.key().toStdString();
  }
}

}  // namespace
}  // namespace quillmere
