#include "domain/catalogs/TranscriptionModelCatalog.h"

namespace quillmere {
namespace {

using P = CloudProvider;

constexpr double perMinute(double price) {
  return price / 60;
}
constexpr double perHour(double price) {
  return price / 3600;
}

std::vector<CloudTranscriptionModel> makeModels() {
  struct Row {
    const char* id;
    const char* displayName;
    CloudProvider provider;
    std::optional<double> pricePerSecond;
    const char* description;
  };
  static constexpr Row rows[] = {
      {"gpt-4o-mini-transcribe-2025-12-15", "GPT-4o Mini Transcribe (2025-12-15)", P::openai, perMinute(0.003),
       "The pinned December 2025 release of the small model, for results that stay the same."},
      {"gpt-4o-transcribe", "GPT-4o Transcribe", P::openai, perMinute(0.006),
       "Highest accuracy of the family, good with accents and background noise."},
      {"gpt-4o-mini-transcribe", "GPT-4o Mini Transcribe", P::openai, perMinute(0.003),
       "Nearly as accurate as its larger sibling at half the price."},
      {"whisper-1", "Whisper-1", P::openai, perMinute(0.006),
       "The classic Whisper model, a solid choice for many languages."},
      {"whisper-large-v3-turbo", "Whisper Large v3 Turbo", P::groq, perHour(0.04),
       "Very fast and inexpensive, with little loss of accuracy."},
      {"whisper-large-v3", "Whisper Large v3", P::groq, perHour(0.111),
       "The full Whisper model on fast hardware, for difficult recordings."},
      {"whisper-v3", "Whisper v3", P::fireworks, perMinute(0.0015),
       "The full Whisper model, accurate in many languages."},
      {"whisper-v3-turbo", "Whisper v3 Turbo", P::fireworks, perMinute(0.0009),
       "A faster and cheaper Whisper for everyday dictation."},
      {"nova-3-general", "Nova 3 General", P::deepgram, perMinute(0.0043),
       "The newest general model, with the best accuracy of this provider."},
      {"nova-3-medical", "Nova 3 Medical", P::deepgram, perMinute(0.0043),
       "The newest model tuned to clinical English."},
      {"nova-2-general", "Nova 2 General", P::deepgram, perMinute(0.0043),
       "A proven general model with a long list of languages."},
      {"nova-2-meeting", "Nova-2 Meeting", P::deepgram, perMinute(0.0043),
       "For conference rooms with several speakers and one microphone."},
      {"nova-2-phonecall", "Nova-2 Phone Call", P::deepgram, perMinute(0.0043),
       "For telephone audio with its narrow bandwidth."},
      {"nova-2-voicemail", "Nova-2 Voicemail", P::deepgram, perMinute(0.0043),
       "For short voice messages of a single speaker."},
      {"nova-2-finance", "Nova-2 Finance", P::deepgram, perMinute(0.0043),
       "Knows the vocabulary of earnings calls and markets."},
      {"nova-2-conversationalai", "Nova-2 Conversational AI", P::deepgram, perMinute(0.0043),
       "For people who talk to a voice assistant or a bot."},
      {"nova-2-medical", "Nova-2 Medical", P::deepgram, perMinute(0.0043), "Knows clinical terms and drug names."},
      {"nova-2-automotive", "Nova-2 Automotive", P::deepgram, perMinute(0.0043),
       "For speech in a car with its road noise."},
      {"nova-2-video", "Nova-2 Video", P::deepgram, perMinute(0.0043), "For the sound track of videos."},
      {"nova", "Nova General", P::deepgram, perMinute(0.0035), "The first Nova model, for general use."},
      {"nova-phonecall", "Nova Phone Call", P::deepgram, perMinute(0.0035),
       "The first Nova model, tuned to telephone audio."},
      {"enhanced-general", "Enhanced General", P::deepgram, perMinute(0.0145),
       "An older general model with a broad vocabulary."},
      {"enhanced-meeting", "Enhanced Meeting (beta)", P::deepgram, perMinute(0.0145),
       "An older model for meetings, still in beta."},
      {"enhanced-phonecall", "Enhanced Phone Call", P::deepgram, perMinute(0.0145),
       "An older model for telephone audio."},
      {"enhanced-finance", "Enhanced Finance (beta)", P::deepgram, perMinute(0.0145),
       "An older model for financial talk, still in beta."},
      {"base-general", "Base General", P::deepgram, perMinute(0.0125), "The plain general model for clear recordings."},
      {"base-meeting", "Base Meeting", P::deepgram, perMinute(0.0125), "The plain model for meetings."},
      {"base-phonecall", "Base Phone Call", P::deepgram, perMinute(0.0125), "The plain model for telephone audio."},
      {"base-voicemail", "Base Voicemail", P::deepgram, perMinute(0.0125), "The plain model for voice messages."},
      {"base-finance", "Base Finance", P::deepgram, perMinute(0.0125), "The plain model for financial talk."},
      {"base-conversationalai", "Base Conversational AI", P::deepgram, perMinute(0.0125),
       "The plain model for conversations with a bot."},
      {"base-video", "Base Video", P::deepgram, perMinute(0.0125), "The plain model for video sound tracks."},
      {"whisper-tiny", "Whisper Tiny", P::deepgram, perMinute(0.0033), "The smallest hosted Whisper, fast and rough."},
      {"whisper-base", "Whisper Base", P::deepgram, perMinute(0.0035), "A small hosted Whisper for clear speech."},
      {"whisper-small", "Whisper Small", P::deepgram, perMinute(0.0038),
       "A hosted Whisper between speed and accuracy."},
      {"whisper-medium", "Whisper Medium", P::deepgram, perMinute(0.0042),
       "A larger hosted Whisper with good accuracy."},
      {"whisper-large", "Whisper Large", P::deepgram, perMinute(0.0048),
       "The largest hosted Whisper, accurate and slow."},
      {"universal", "Universal", P::assemblyAI, perMinute(0.0045),
       "One accurate model for nearly a hundred languages."},
      {"slam-1", "SLAM-1", P::assemblyAI, perMinute(0.0045),
       "A speech language model for English, strong with special terms."},
      {"scribe_v1", "Scribe v1", P::elevenLabs, std::nullopt, "The first Scribe model, accurate in 99 languages."},
      {"scribe_v2", "Scribe v2", P::elevenLabs, std::nullopt,
       "The newest Scribe model, with key terms from your vocabulary."},
      {"voxtral-mini-latest", "Voxtral Mini", P::mistral, perMinute(0.002),
       "A compact and inexpensive model for the larger European languages and Hindi."},
  };
  std::vector<CloudTranscriptionModel> models;
  for (const Row& row : rows)
    models.push_back({QString::fromLatin1(row.id), QString::fromLatin1(row.displayName), true,
                      QString::fromLatin1(row.description), row.provider, row.pricePerSecond});
  return models;
}

}  // namespace

const std::vector<CloudTranscriptionModel>& TranscriptionModelCatalog::all() {
  static const std::vector<CloudTranscriptionModel> models = makeModels();
  return models;
}

std::vector<CloudTranscriptionModel> TranscriptionModelCatalog::models(CloudProvider provider) {
  std::vector<CloudTranscriptionModel> found;
  for (const CloudTranscriptionModel& model : all())
    if (model.provider == provider) found.push_back(model);
  return found;
}

std::optional<CloudTranscriptionModel> TranscriptionModelCatalog::model(const QString& id) {
  for (const CloudTranscriptionModel& model : all())
    if (model.id == id) return model;
  return std::nullopt;
}

QString TranscriptionModelCatalog::defaultModel(CloudProvider provider) {
  switch (provider) {
    case P::quillmere:
    case P::groq:
      return QStringLiteral("whisper-large-v3-turbo");
    case P::openai:
      return QStringLiteral("whisper-1");
    case P::fireworks:
      return QStringLiteral("whisper-v3");
    case P::deepgram:
      return QStringLiteral("nova-3-general");
    case P::assemblyAI:
      return QStringLiteral("universal");
    case P::elevenLabs:
      return QStringLiteral("scribe_v2");
    case P::mistral:
      return QStringLiteral("voxtral-mini-latest");
  }
  return {};
}

}  // namespace quillmere
