#include <gtest/gtest.h>

#include <QBuffer>
#include <QImage>
#include <QRandomGenerator>

#include "e2e/Application.h"
#include "e2e/Clipboard.h"
#include "e2e/Microphone.h"
#include "e2e/TextField.h"
#include "support/WordErrorRate.h"

namespace quillmere {
namespace {

const QByteArray before = "what was here before\n";
const QString plainText = "UTF8_STRING";

::testing::AssertionResult hasTheWords(const QString& text, const char* expected = Microphone::shortWords) {
  const double rate = wordErrorRate(wordsOf(QString::fromLatin1(expected)), wordsOf(text));
  if (rate <= 0.4) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "'" << text.toStdString() << "', word error rate " << rate;
}

QByteArray pictureBytes() {
  QImage image(900, 700, QImage::Format_RGB32);
  QRandomGenerator random(7);
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x < image.width(); ++x) image.setPixel(x, y, random.generate());
  QByteArray bytes;
  QBuffer buffer(&bytes);
  buffer.open(QIODevice::WriteOnly);
  image.save(&buffer, "PNG");
  return bytes;
}

TEST(DeliveryTest, SpokenWordsArriveInEveryFieldAndTheClipboardComesBack) {
  Application application;
  ASSERT_TRUE(application.start()) << application.errors().toStdString();
  using Kind = TextField::Kind;
  const struct {
    const char* name;
    Kind kind;
    QString type;  // on the clipboard
    QByteArray bytes;
  } cases[] = {
      {"GTK entry", Kind::gtkEntry, plainText, before},
      {"GTK 4 editor", Kind::gtk4Editor, plainText, before},
      {"Qt line", Kind::qtLine, "image/png", pictureBytes()},
      {"Qt editor", Kind::qtEditor, "text/uri-list", "file:///tmp/one%20file\r\nfile:///tmp/two\r\n"},
      {"Chromium", Kind::chromiumTextarea, plainText, before},
      {"terminal", Kind::terminal, plainText, before},
  };
  for (qsizetype done = 1; const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Clipboard clipboard;
    ASSERT_TRUE(clipboard.own(c.type, c.bytes));
    TextField field(c.kind);
    ASSERT_TRUE(field.isReady());
    ASSERT_TRUE(application.dictate()) << application.errors().toStdString();
    ASSERT_TRUE(eventually([&] { return application.status()["paste"].toString() != "none"; }));
    EXPECT_EQ(application.status()["paste"].toString(), "pasted");
    EXPECT_TRUE(eventually([&] { return Clipboard::read(c.type) == c.bytes; }));
    EXPECT_TRUE(hasTheWords(field.eventualText()));
    const auto rows = Application::history();
    ASSERT_EQ(rows.size(), done++);
    EXPECT_EQ(rows[0]["status"].toString(), "completed");
    EXPECT_TRUE(hasTheWords(rows[0]["text"].toString()));
  }
}

TEST(DeliveryTest, NothingGoesIntoAPasswordOrIntoNoField) {
  Application application;
  ASSERT_TRUE(application.start());
  for (const auto kind : {TextField::Kind::gtkPassword, TextField::Kind::qtPassword}) {
    TextField field(kind);
    ASSERT_TRUE(field.isReady());
    ASSERT_TRUE(application.dictate());
    ASSERT_TRUE(eventually([&] { return application.status()["paste"].toString() != "none"; }));
    EXPECT_EQ(application.status()["paste"].toString(), "secureField");
    EXPECT_EQ(field.text(), QString());
  }
  ASSERT_TRUE(application.dictate());
  ASSERT_TRUE(eventually([&] { return application.status()["paste"].toString() != "none"; }));
  EXPECT_NE(application.status()["paste"].toString(), "pasted");
  EXPECT_TRUE(hasTheWords(QString::fromUtf8(Clipboard::read(plainText))));
}

}  // namespace
}  // namespace quillmere
