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
const QString plainText = QStringLiteral("UTF8_STRING");

::testing::AssertionResult hasTheWords(const QString& text, const char* expected = Microphone::shortWords) {
  const double rate = wordErrorRate(wordsOf(QString::fromLatin1(expected)), wordsOf(text));
  if (rate <= 0.4) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "'" << text.toStdString() << "', word error rate " << rate;
}

struct FieldCase {
  const char* name;
  TextField::Kind kind;
};
void PrintTo(const FieldCase& field, std::ostream* out) {
  *out << field.name;
}

class DeliveryToField : public testing::TestWithParam<FieldCase> {};

TEST_P(DeliveryToField, SpokenWordsArriveAndTheClipboardComesBack) {
  Clipboard clipboard;
  ASSERT_TRUE(clipboard.own(plainText, before));
  Application application;
  ASSERT_TRUE(application.start()) << application.errors().toStdString();
  TextField field(GetParam().kind);
  ASSERT_TRUE(field.isReady());
  ASSERT_TRUE(application.dictate()) << application.errors().toStdString();
  ASSERT_TRUE(eventually([&] { return application.status()["paste"].toString() != "none"; }));
  EXPECT_EQ(application.status()["paste"].toString(), "pasted");
  EXPECT_TRUE(eventually([&] { return Clipboard::read(plainText) == before; }));
  EXPECT_TRUE(hasTheWords(field.eventualText()));
  const auto rows = Application::history();
  ASSERT_EQ(rows.size(), 1);
  EXPECT_EQ(rows[0]["status"].toString(), "completed");
  EXPECT_TRUE(hasTheWords(rows[0]["text"].toString()));
}
INSTANTIATE_TEST_SUITE_P(Fields, DeliveryToField,
                         testing::Values(FieldCase{"GtkEntry", TextField::Kind::gtkEntry},
                                         FieldCase{"Gtk4Editor", TextField::Kind::gtk4Editor},
                                         FieldCase{"QtLine", TextField::Kind::qtLine},
                                         FieldCase{"QtEditor", TextField::Kind::qtEditor},
                                         FieldCase{"ChromiumTextarea", TextField::Kind::chromiumTextarea},
                                         FieldCase{"Terminal", TextField::Kind::terminal}),
                         [](const auto& info) { return info.param.name; });

class DeliveryToPassword : public testing::TestWithParam<FieldCase> {};

TEST_P(DeliveryToPassword, StaysEmpty) {
  Application application;
  ASSERT_TRUE(application.start());
  TextField field(GetParam().kind);
  ASSERT_TRUE(field.isReady());
  ASSERT_TRUE(application.dictate());
  ASSERT_TRUE(eventually([&] { return application.status()["paste"].toString() != "none"; }));
  EXPECT_EQ(application.status()["paste"].toString(), "secureField");
  EXPECT_EQ(field.text(), QString());
}
INSTANTIATE_TEST_SUITE_P(Fields, DeliveryToPassword,
                         testing::Values(FieldCase{"Gtk", TextField::Kind::gtkPassword},
                                         FieldCase{"Qt", TextField::Kind::qtPassword}),
                         [](const auto& info) { return info.param.name; });

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

TEST(DeliveryTest, PicturesAndFileListsComeBackByteForByte) {
  Application application({{"clipboardRestoreDelaySeconds", "1"}});
  ASSERT_TRUE(application.start());
  for (const auto& [type, bytes] : {std::pair<QString, QByteArray>{"image/png", pictureBytes()},
                                    {"text/uri-list", "file:///tmp/one%20file\r\nfile:///tmp/two\r\n"}}) {
    SCOPED_TRACE(type.toStdString());
    Clipboard clipboard;
    ASSERT_TRUE(clipboard.own(type, bytes));
    TextField field(TextField::Kind::qtLine);
    ASSERT_TRUE(field.isReady());
    ASSERT_TRUE(application.dictate());
    EXPECT_TRUE(hasTheWords(field.eventualText()));
    EXPECT_TRUE(eventually([&] { return Clipboard::read(type) == bytes; }));
  }
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
  ASSERT_TRUE(application.set("clipboardRestoreDelaySeconds", "1"));
  ASSERT_TRUE(application.dictate(2.2));
  ASSERT_TRUE(eventually([&] { return wordsOf(field.text()).size() >= 6; })) << field.text().toStdString();
  EXPECT_TRUE(eventually([&] { return Clipboard::read(plainText) == before; }));
}

TEST(DeliveryTest, WithoutAFieldTheTextStaysOnTheClipboard) {
  Application application({{"clipboardRestoreDelaySeconds", "1"}});
  ASSERT_TRUE(application.start());
  ASSERT_TRUE(application.dictate());
  ASSERT_TRUE(eventually([&] { return application.status()["paste"].toString() != "none"; }));
  EXPECT_NE(application.status()["paste"].toString(), "pasted");
  EXPECT_TRUE(hasTheWords(QString::fromUtf8(Clipboard::read(plainText))));
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
