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
  ModesViewModel modes{{*store, settings, state, models}, Logging()};
  QString id(int row) const { return modes.index(row).data(ModesViewModel::idRole).toString(); }
};

QVariantMap values(const char* name, const char* model = "base", const char* language = "auto") {
  return {{QStringLiteral("name"), QString::fromUtf8(name)},
          {QStringLiteral("model"), QString::fromLatin1(model)},
          {QStringLiteral("language"), QString::fromLatin1(language)},
          {QStringLiteral("preset"), QStringLiteral("mail")}};
}

TEST(ModesViewModel, CreatesEditsSelectsAndDeletes) {
  Fixture f;
  EXPECT_EQ(f.modes.save({}, values(" Letters ")), QString());
  ASSERT_EQ(f.modes.count(), 1);
  const QString letters = f.id(0);
  EXPECT_EQ(f.modes.values(letters)[QStringLiteral("name")], QStringLiteral("Letters"));
  f.modes.select(letters);
  EXPECT_TRUE(f.modes.index(0).data(ModesViewModel::selectedRole).toBool());
  EXPECT_EQ(QUuid::fromString(f.settings.currentModeId()), QUuid::fromString(letters));

  using Refused = std::array<const char*, 4>;
  for (const auto& [name, model, language, word] :
       {Refused{"  ", "base", "auto", "name"}, Refused{"letters", "base", "auto", "already"},
        Refused{"Other", "tiny.en", "de", "English only"}}) {
    const QString problem = f.modes.save({}, values(name, model, language));
    EXPECT_TRUE(problem.contains(QLatin1String(word))) << name << ": " << qPrintable(problem);
  }
  EXPECT_EQ(f.modes.count(), 1);
  EXPECT_EQ(f.modes.save({}, values("Other", "tiny.en", "en-GB")), QString());

  // What the editor doesn't show stays, and the name shown elsewhere follows.
  f.store->fetchMode(letters)->customInstructions = QStringLiteral("Be brief.");
  f.store->save();
  EXPECT_EQ(f.modes.save(letters, values("Post", "base", "de")), QString());
  EXPECT_EQ(f.store->fetchMode(letters)->customInstructions, QStringLiteral("Be brief."));
  EXPECT_EQ(f.state.data().selectedModeName, QStringLiteral("Post"));
  EXPECT_EQ(f.modes.index(0).data(ModesViewModel::detailsRole), QStringLiteral("Base (Multilingual) · German"));

  EXPECT_EQ(f.modes.remove(letters), QString());
  EXPECT_EQ(f.state.data().selectedModeName, QStringLiteral("Other")) << "another one is selected";
  EXPECT_NE(f.modes.remove(f.id(0)), QString()) << "the last one";
  EXPECT_EQ(f.modes.count(), 1);
  EXPECT_NE(f.modes.save(letters, values("Gone")), QString());
}

TEST(ModesViewModel, OffersWhatIsHereInTheUsersLanguage) {
  Fixture f(QStringLiteral("de"));
  EXPECT_EQ(f.modes.modelChoices(QStringLiteral("base")).size(), 2);
  EXPECT_EQ(f.modes.modelChoices(QStringLiteral("small")).size(), 3) << "with the one that is set but missing";
  QStringList names;
  for (const QVariant& language : f.modes.languageChoices(QStringLiteral("base"), QStringLiteral("auto")))
    names << language.toMap()[QStringLiteral("text")].toString();
  EXPECT_FALSE(names.contains(QStringLiteral("German")));
  // Sorted as it is read: Ä, Ö and Ü among A, O and U, and the automatic choice in front.
  EXPECT_EQ(names.indexOf(QStringLiteral("Färöisch")), names.indexOf(QStringLiteral("Finnisch")) - 1);
  EXPECT_EQ(names[0], QStringLiteral("Jede Sprache"));
}

TEST(ModesViewModel, OffersTheLanguagesThatTheModelKnows) {
  Fixture f;
  f.install(QStringLiteral("large-v3"));
  const auto offers = [&](const char* model, const char* code, const char* present = "auto") {
    for (const QVariant& choice : f.modes.languageChoices(QString::fromLatin1(model), QString::fromLatin1(present)))
      if (choice.toMap()[QStringLiteral("value")] == QString::fromLatin1(code)) return true;
    return false;
  };
  for (const auto& [model, code, isOffered] :
       std::vector<std::tuple<const char*, const char*, bool>>{{"base", "de", true},
                                                               {"base", "pt-BR", true},
                                                               {"base", "yue", false},
                                                               {"large-v3", "yue", true},
                                                               {"large-v3_turbo", "yue", true},
                                                               {"large-v2", "yue", false},
                                                               {"large-v3", "taq", false},
                                                               {"tiny.en", "de", false},
                                                               {"tiny.en", "en-GB", true},
                                                               {"tiny.en", "auto", true}}) {
    EXPECT_EQ(offers(model, code), isOffered) << model << " " << code;
    EXPECT_EQ(f.modes.save({}, values(qPrintable(QString(model) + code), model, code)).isEmpty(), isOffered) << code;
  }
  EXPECT_TRUE(offers("base", "yue", "yue")) << "what is set is shown";
}

TEST(VocabularyModel, ListsChangesAndRefuses) {
  Fixture f;
  VocabularyModel words(*f.store);
  const auto id = [&](int row) { return words.index(row).data(VocabularyModel::idRole).toString(); };
  const auto word = [&](int row) { return words.index(row).data(VocabularyModel::wordRole).toString(); };
  for (const char* added : {" Zürich ", "acme"}) EXPECT_EQ(words.add(QString::fromUtf8(added), {}), QString());
  EXPECT_EQ(QStringList({word(0), word(1)}), QStringList({QStringLiteral("acme"), QStringLiteral("Zürich")}));
  for (const char* refused : {"  ", "ACME"}) EXPECT_NE(words.add(QString::fromLatin1(refused), {}), QString());
  EXPECT_NE(words.change(id(0), QStringLiteral("zürich"), {}), QString());
  EXPECT_EQ(words.change(id(0), QStringLiteral("Acme"), QString()), QString());
  EXPECT_EQ(word(0), QStringLiteral("Acme"));
  // Written by another part of the program.
  f.store->addVocabularyItem(QStringLiteral("Quill"));
  EXPECT_EQ(words.count(), 3);
}

}  // namespace
}  // namespace quillmere
