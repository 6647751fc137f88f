#include <gtest/gtest.h>

#include <QBuffer>
#include <QImage>
#include <QRandomGenerator>

#include "e2e/Application.h"
#include "e2e/Clipboard.h"
#include "e2e/Keys.h"
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
      {"unknown Chromium", Kind::unknownTextarea, plainText, before},
      {"terminal", Kind::terminal, plainText, before},
      {"Tk", Kind::tkText, plainText, before},
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

// What became of the newest text, once its paste is over.
QString fate(const Application& application) {
  QString paste;
  eventually([&] { return (paste = application.status()["paste"].toString()) != "none"; });
  return paste;
}

TEST(DeliveryTest, TheTextGoesToTheWindowItWasSpokenForAndTheUserStaysWhereHeIs) {
  Application application;
  ASSERT_TRUE(application.start());
  for (const bool isOnAnotherDesktop : {false, true}) {
    SCOPED_TRACE(isOnAnotherDesktop ? "on another desktop" : "of the same program");
    TextField letter(TextField::Kind::tkText);
    ASSERT_TRUE(letter.isReady());
    if (isOnAnotherDesktop) Tool::run("wmctrl", {"-s", "1"});
    TextField other(letter);
    ASSERT_TRUE(other.isReady());
    letter.activate();
    ASSERT_TRUE(eventually([&] { return letter.isActive(); }));
    ASSERT_TRUE(application.record());
    other.activate();
    ASSERT_TRUE(eventually([&] { return other.isActive(); }));
    application.toggle();
    ASSERT_TRUE(application.waitForState("idle"));
    EXPECT_EQ(fate(application), "pasted");
    EXPECT_TRUE(hasTheWords(letter.eventualText()));
    EXPECT_EQ(other.text(), QString());
    EXPECT_TRUE(eventually([&] { return other.isActive(); }));
  }
  Tool::run("wmctrl", {"-s", "0"});
}

TEST(DeliveryTest, NothingIsPastedWhereTheUserTypesOnOrWhereTheWindowIsGone) {
  Application application;
  ASSERT_TRUE(application.start());
  for (const bool isClosed : {false, true}) {
    SCOPED_TRACE(isClosed ? "closed" : "typing elsewhere");
    TextField other(TextField::Kind::qtLine);
    ASSERT_TRUE(other.isReady());
    auto letter = std::make_unique<TextField>(TextField::Kind::qtLine);
    ASSERT_TRUE(letter->isReady());
    ASSERT_TRUE(application.record());
    if (isClosed) letter.reset();
    other.activate();
    ASSERT_TRUE(eventually([&] { return other.isActive(); }));
    if (!isClosed) Keys::press("x");
    application.toggle();
    ASSERT_TRUE(application.waitForState("idle"));
    EXPECT_EQ(fate(application), isClosed ? "targetGone" : "typedElsewhere");
    EXPECT_TRUE(Application::command({"status"}).text().contains("on the clipboard"));
    EXPECT_TRUE(hasTheWords(QString::fromUtf8(Clipboard::read(plainText))));
    EXPECT_EQ(other.text(), isClosed ? QString() : QString("x"));
    if (letter) {
      EXPECT_EQ(letter->text(), QString());
    }
    EXPECT_TRUE(other.isActive());
  }
}

TEST(DeliveryTest, OverlappingDictationsGoEachToItsOwnWindow) {
  Application application;
  ASSERT_TRUE(application.start());
  TextField first(TextField::Kind::qtLine);
  ASSERT_TRUE(first.isReady());
  ASSERT_TRUE(application.record());
  TextField second(TextField::Kind::qtLine);
  ASSERT_TRUE(second.isReady());
  application.toggle();
  ASSERT_TRUE(eventually([&] { return application.state() != "recording"; }));
  ASSERT_TRUE(application.dictate());
  EXPECT_TRUE(hasTheWords(first.eventualText()));
  EXPECT_TRUE(hasTheWords(second.eventualText()));
}

TEST(DeliveryTest, TwoDictationsWithinTheDelayGiveTheFirstClipboardBack) {
  Clipboard clipboard;
  ASSERT_TRUE(clipboard.own(plainText, before));
  Application application({{"clipboardRestoreDelaySeconds", "10"}});
  ASSERT_TRUE(application.start());
  TextField field(TextField::Kind::qtLine);
  ASSERT_TRUE(field.isReady());
  ASSERT_TRUE(application.dictate(2.2));
  ASSERT_TRUE(eventually([&] { return !field.text().isEmpty(); }));
  ASSERT_EQ(Application::command({"settings", "set", "clipboardRestoreDelaySeconds", "1"}).code, 0);
  ASSERT_TRUE(application.dictate(2.2));
  ASSERT_TRUE(eventually([&] { return wordsOf(field.text()).size() >= 6; })) << field.text().toStdString();
  EXPECT_TRUE(eventually([&] { return Clipboard::read(plainText) == before; }));
}

TEST(DeliveryTest, EveryLayoutPastes) {
  Application application;
  ASSERT_TRUE(application.start());
  for (const QStringList& layout : {QStringList{"fr"}, {"de"}, {"us", "-variant", "dvorak"}, {"ru"}, {"us,ru"}}) {
    SCOPED_TRACE(layout.join(' ').toStdString());
    ASSERT_EQ(Tool::run("setxkbmap", layout).code, 0);
    TextField field(TextField::Kind::qtLine);
    ASSERT_TRUE(field.isReady());
    ASSERT_TRUE(application.dictate(2.2));
    EXPECT_TRUE(eventually([&] { return wordsOf(field.text()).size() >= 3; })) << field.text().toStdString();
  }
  Tool::run("setxkbmap", {"us", "-variant", ""});
}

}  // namespace
}  // namespace quillmere
