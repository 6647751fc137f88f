#include "interface/ModesViewModel.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "interface/InterfaceFixture.h"
#include "interface/VocabularyModel.h"

namespace quillmere {
namespace {

struct Fixture : InterfaceFixture {
  explicit Fixture(const QString& language = QStringLiteral("en")) : InterfaceFixture(language) {
    for (const char* name : {"base", "tiny.en"}) install(QString::fromLatin1(name));
  }
};

QVariantMap values(const char* name, const char* model = "base", const char* language = "auto") {
  return {{QStringLiteral("name"), QString::fromUtf8(name)},
          {QStringLiteral("model"), QString::fromLatin1(model)},
          {QStringLiteral("language"), QString::fromLatin1(language)},
          {QStringLiteral("preset"), QStringLiteral("mail")}};
}

TEST(ModesViewModel, CreatesEditsSelectsAndDeletes) {
  Fixture f;
  ModesViewModel modes({*f.store, f.settings, f.state, f.models}, Logging());
  const auto id = [&](int row) { return modes.index(row).data(ModesViewModel::idRole).toString(); };
  EXPECT_EQ(modes.save({}, values(" Letters ")), QString());
  ASSERT_EQ(modes.count(), 1);
  const QString letters = id(0);
  EXPECT_EQ(modes.values(letters)[QStringLiteral("name")], QStringLiteral("Letters"));
  EXPECT_EQ(f.store->fetchMode(letters)->postProcessingMode, qint16(0));
  modes.select(letters);
  EXPECT_TRUE(modes.index(0).data(ModesViewModel::selectedRole).toBool());
  EXPECT_EQ(QUuid::fromString(f.settings.currentModeId()), QUuid::fromString(letters));

  struct Refused {
    const char* name;
    const char* model;
    const char* language;
    const char* word;
  };
  for (const Refused& r : {Refused{"", "base", "auto", "name"},
                           {"  ", "base", "auto", "name"},
                           {"letters", "base", "auto", "already"},
                           {"Other", "tiny.en", "de", "English only"}}) {
    const QString problem = modes.save({}, values(r.name, r.model, r.language));
    EXPECT_TRUE(problem.contains(QLatin1String(r.word))) << r.name << ": " << qPrintable(problem);
  }
  EXPECT_EQ(modes.count(), 1);
  EXPECT_EQ(modes.save({}, values("Other", "tiny.en", "en-GB")), QString());

  // What the editor doesn't show stays, and the name shown elsewhere follows.
  f.store->fetchMode(letters)->customInstructions = QStringLiteral("Be brief.");
  f.store->save();
  EXPECT_EQ(modes.save(letters, values("Post", "base", "de")), QString());
  EXPECT_EQ(f.store->fetchMode(letters)->customInstructions, QStringLiteral("Be brief."));
  EXPECT_EQ(f.state.data().selectedModeName, QStringLiteral("Post"));
  EXPECT_EQ(modes.index(0).data(ModesViewModel::detailsRole), QStringLiteral("Base (Multilingual) · German"));

  EXPECT_EQ(modes.remove(letters), QString());
  EXPECT_EQ(f.state.data().selectedModeName, QStringLiteral("Other")) << "another one is selected";
  ASSERT_EQ(modes.count(), 1);
  EXPECT_NE(modes.remove(id(0)), QString()) << "the last one";
  EXPECT_EQ(modes.count(), 1);
  EXPECT_NE(modes.save(letters, values("Gone")), QString());
}

TEST(ModesViewModel, OffersWhatIsHereAndWhatIsSet) {
  Fixture f;
  ModesViewModel modes({*f.store, f.settings, f.state, f.models}, Logging());
  EXPECT_EQ(modes.modelChoices(QStringLiteral("base")).size(), 2);
  const QVariantList withMissing = modes.modelChoices(QStringLiteral("small"));
  ASSERT_EQ(withMissing.size(), 3);
  EXPECT_TRUE(withMissing[2].toMap()[QStringLiteral("text")].toString().contains(QStringLiteral("not installed")));
  EXPECT_EQ(modes.languageChoices()[0].toMap()[QStringLiteral("value")], QStringLiteral("auto"));
  for (const QVariant& preset : modes.presetChoices())
    EXPECT_FALSE(preset.toMap()[QStringLiteral("text")].toString().startsWith(QStringLiteral("modes.")));
}

TEST(ModesViewModel, NamesLanguagesInTheUsersLanguage) {
  Fixture f(QStringLiteral("de"));
  ModesViewModel modes({*f.store, f.settings, f.state, f.models}, Logging());
  QStringList names;
  for (const QVariant& language : modes.languageChoices()) names << language.toMap()[QStringLiteral("text")].toString();
  for (const char* name : {"Deutsch", "Französisch", "Englisch (USA)"})
    EXPECT_TRUE(names.contains(QString::fromUtf8(name))) << name;
  EXPECT_FALSE(names.contains(QStringLiteral("German")));
  // Sorted as it is read: Ä, Ö and Ü among A, O and U, and the automatic choice in front.
  EXPECT_EQ(names.indexOf(QStringLiteral("Färöisch")), names.indexOf(QStringLiteral("Finnisch")) - 1);
  EXPECT_EQ(names[0], QStringLiteral("Jede Sprache"));
}

TEST(VocabularyModel, AddsChangesAndRemoves) {
  Fixture f;
  VocabularyModel words(*f.store);
  const auto id = [&](int row) { return words.index(row).data(VocabularyModel::idRole).toString(); };
  const auto word = [&](int row) { return words.index(row).data(VocabularyModel::wordRole).toString(); };
  EXPECT_EQ(words.add(QStringLiteral(" Zürich "), QString()), QString());
  EXPECT_EQ(words.add(QStringLiteral("acme"), QStringLiteral("ACME Inc.")), QString());
  ASSERT_EQ(words.count(), 2);
  EXPECT_EQ(word(0), QStringLiteral("acme"));
  EXPECT_EQ(word(1), QStringLiteral("Zürich"));
  for (const char* refused : {"", "  ", "ACME"})
    EXPECT_NE(words.add(QString::fromLatin1(refused), {}), QString()) << refused;
  EXPECT_EQ(words.count(), 2);
  EXPECT_NE(words.change(id(0), QStringLiteral("zürich"), {}), QString());
  EXPECT_EQ(words.change(id(0), QStringLiteral("Acme"), QString()), QString());
  EXPECT_EQ(word(0), QStringLiteral("Acme"));
  EXPECT_EQ(words.index(0).data(VocabularyModel::replacementRole), QString());
  words.remove(id(1));
  EXPECT_EQ(words.count(), 1);
  // Written by another part of the program.
  f.store->addVocabularyItem(QStringLiteral("Quill"));
  EXPECT_EQ(words.count(), 2);
}

}  // namespace
}  // namespace quillmere
