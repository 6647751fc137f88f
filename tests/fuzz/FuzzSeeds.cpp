// FuzzSeeds FOLDER: writes what each fuzz target begins with into FOLDER/TARGET, from the generators of the tests.
#include <QDir>
#include <QFile>
#include <cstdio>

#include "fuzz/SeedEdits.h"
#include "support/CTranslate2Folder.h"
#include "support/SampleMedia.h"
#include "support/ScriptedWhisperModel.h"

namespace {

using namespace quillmere;

class Seeds {
 public:
  Seeds(const QDir& folder, const QString& target) : folder_(folder.filePath(target)) { folder_.mkpath("."); }
  void add(const QByteArray& content) {
    QFile file(folder_.filePath(QString("seed-%1").arg(++count_)));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) qFatal("a seed can't be written");
  }

 private:
  QDir folder_;
  int count_ = 0;
};

// Changes to a model: none, a dimension of zero after a name, a cut.
QByteArrayList edits() {
  QByteArrayList inputs{QByteArray(), QByteArray(SeedEdits::editBytes, '\0')};
  for (int place = 0; place < 24; ++place)
    for (const char distance : {char(16), char(33), char(40)})
      inputs << QByteArray(1, char(place)) + '\0' + distance + '\4' + QByteArray(4, '\0');
  return inputs;
}

void writeModelSeeds(const QDir& folder) {
  const QByteArray ggmlModel = ScriptedWhisperModel::bytes({});
  Seeds ggml(folder, "GgmlModelFileFuzz");
  ggml.add('\0' + ScriptedWhisperModel::bytes({.vocabularyOnly = true}));
  Seeds converted(folder, "CTranslate2Fuzz");
  using Vocabulary = CTranslate2Folder::Vocabulary;
  for (const auto& [first, kind] :
       {std::pair{'\1', Vocabulary::tokenizerJson}, std::pair{'\2', Vocabulary::vocabularyJson},
        std::pair{'\3', Vocabulary::vocabularyText}})
    converted.add(first + CTranslate2Folder::vocabularyBytes(ggmlModel, kind));
  for (const QByteArray& edit : edits()) {
    ggml.add('\1' + edit);
    ggml.add('\2' + edit);
    converted.add('\4' + edit);
  }
}

void writeMediaSeeds(const QDir& folder) {
  Seeds media(folder, "MediaReaderFuzz");
  const SampleMedia sounds;
  const QByteArray wave = SampleMedia::wav(16000, 1, 3200, SampleMedia::tone(440, 16000));
  media.add(wave);
  media.add(SampleMedia::wav(44100, 2, 4410, SampleMedia::tone(440, 44100), true));
  sounds.write("tone.wav", wave);
  for (const char* name : {"tone.m4a", "tone.mp3", "tone.ogg", "tone.flac", "tone.mkv"})
    if (sounds.ffmpeg({"-i", sounds.path("tone.wav"), sounds.path(name)})) media.add(sounds.read(name));
}

void writeTextSeeds(const QDir& folder) {
  Seeds settings(folder, "SettingsFileFuzz");
  settings.add(
      "[General]\nenableVAD=false\nsoundEffectsVolume=0.25\nmaxRecordingDuration=120\nsoundTheme=New\n"
      "defaultLanguage=pt-BR\nprojectDirectories=\"json:\\\"[\\\\\\\"/a\\\\\\\"]\\\"\"\n"
      "defaultModelByMode=@ByteArray({\"a\":\"base\"})\nmodelDisplayNames=json:{\"base\":\"Mine\"}\n"
      "KeyboardShortcuts_changeMode=Ctrl+Alt+D\nrecordingsFolder=/tmp/a, b\nautoDeleteValue=-3\n");
  settings.add("[General]\nenableVAD=@Variant(\\0\\0\\0\\x1\\1)\nselectedMicrophoneId=@Invalid()\n");

  Seeds headers(folder, "HttpHeadersFuzz");
  const QByteArray first = "200\nETag: \"v1\"\nContent-Length: 16\n\n0123456789";
  headers.add("200\nETag: \"v1\"\nContent-Length: 16\n\n0123456789abcdef");
  headers.add(first + '\0' + "206\nETag: \"v1\"\nContent-Range: bytes 10-15/16\nContent-Length: 6\n\nabcdef");
  headers.add(first + '\0' + "416\nContent-Range: bytes */16\n\n" + '\0' + "200\n\n0123456789abcdef");
  headers.add("503\nRetry-After: 1\n\n" + QByteArray(1, '\0') + "200\nContent-Encoding: gzip\n\nxx");

  Seeds searches(folder, "SearchQueryFuzz");
  for (const char* text : {"fox", "\"brown fox\" the", "\"over", "100 % of_it \\", "Grüße", "東京",
                           "AND OR NOT NEAR(a b)", "a* -b ^c", "col:x"})
    searches.add(text);
}

void writeSelectionSeeds(const QDir& folder) {
  Seeds selections(folder, "SelectionFuzz");
  // A list of two targets, then their values.
  const QByteArray list = QByteArray("\1\1\2\2", 4) + QByteArray("\3\0\0\0\4\0\0\0", 8);
  const QByteArray text = QByteArray("\1\3\0\5", 4) + "hello";
  selections.add(list + text + text);
  // The second one in pieces.
  const QByteArray pieces = QByteArray("\1\2\2\1", 4) + QByteArray(4, '\7') + QByteArray("\3\3\0\2", 4) + "ab" +
                            QByteArray("\3\3\0\1", 4) + "c" + QByteArray("\3\3\0\0", 4);
  selections.add(list + text + pieces);
  selections.add(list + QByteArray("\2\4\0", 3));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "FuzzSeeds FOLDER\n");
    return 2;
  }
  const QDir folder(QString::fromLocal8Bit(argv[1]));
  writeModelSeeds(folder);
  writeMediaSeeds(folder);
  writeTextSeeds(folder);
  writeSelectionSeeds(folder);
  return 0;
}
