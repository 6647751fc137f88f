#pragma once
#include <QByteArray>
#include <QString>

namespace quillmere {

// Makes tiny model files that the real speech engine loads and runs in full (spectrogram, encoder, decoder, language
// detection, time stamps), and that always answer with a chosen text: the decoder is a look-up from each token to the
// next one of the script. Every 30 s window that a recording begins gives one segment; prompts don't disturb it.
// Default size 4 MB; a run takes about 60 ms.
class ScriptedWhisperModel {
 public:
  struct Options {
    QByteArray text = "Hello there, this is a scripted transcript.";  // empty: no segments; at most about 100 words
    QByteArray translation;                                           // the text of a run with translate; empty: `text`
    QByteArray language = "en";  // what language detection finds, one of the first twelve or so of the engine
    bool isEnglishOnly = false;
    int width = 0;  // of the states; 0: as small as the text allows. 256 with 4 heads and 8 layers: 50 MB,
    int heads = 1;  // about half a second of encoder time a window, for tests of cancelling
    int encoderLayers = 1;
  };

  static QByteArray bytes(const Options& options);
  // False when the file could not be written.
  static bool write(const QString& path, const Options& options);
};

}  // namespace quillmere
