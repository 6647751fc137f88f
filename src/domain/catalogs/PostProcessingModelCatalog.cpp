#include "domain/catalogs/PostProcessingModelCatalog.h"

#include "base/text/LocalizedText.h"

namespace quillmere {
namespace {

using P = PostProcessingProvider;

std::vector<PostProcessingModel> makeModels() {
  struct Row {
    const char* id;
    const char* displayName;
    PostProcessingProvider provider;
    const char* descriptionKey;
  };
  static constexpr Row rows[] = {
      {"quillmere-cloud", "Quillmere Cloud", P::quillmere, "models.postProcessing.quillmere.description"},
      {"gpt-4.1-nano", "GPT-4.1 Nano", P::openai, "models.postProcessing.gpt4.1.nano.description"},
      {"gpt-4.1-mini", "GPT-4.1 Mini", P::openai, "models.postProcessing.gpt4.1.mini.description"},
      {"gpt-4.1", "GPT-4.1", P::openai, "models.postProcessing.gpt4.1.description"},
      {"gpt-5-nano", "GPT-5 Nano", P::openai, "models.postProcessing.gpt5.nano.description"},
      {"gpt-5-mini", "GPT-5 Mini", P::openai, "models.postProcessing.gpt5.mini.description"},
      {"gpt-5", "GPT-5", P::openai, "models.postProcessing.gpt5.description"},
      {"gpt-5.1", "GPT-5.1", P::openai, "models.postProcessing.gpt5.1.description"},
      {"gpt-5.2", "GPT-5.2", P::openai, "models.postProcessing.gpt5.2.description"},
      {"claude-3-5-haiku-latest", "Claude 3.5 Haiku", P::anthropic,
       "models.postProcessing.claude3.5.haiku.description"},
      {"claude-haiku-4.5", "Claude 4.5 Haiku", P::anthropic, "models.postProcessing.claude4.5.haiku.description"},
      {"claude-sonnet-4-0", "Claude 4 Sonnet", P::anthropic, "models.postProcessing.claude4.sonnet.description"},
      {"gemini-3-flash-preview", "Gemini 3 Flash", P::gemini, "models.postProcessing.gemini3.flash.description"},
      {"gemini-2.5-flash", "Gemini 2.5 Flash", P::gemini, "models.postProcessing.gemini2.5.flash.description"},
      {"gemini-2.5-flash-lite", "Gemini 2.5 Flash Lite", P::gemini,
       "models.postProcessing.gemini2.5.flashLite.description"},
      {"llama-3.3-70b-versatile", "Llama 3.3 70B Versatile", P::groq,
       "models.postProcessing.groq.llama33.70b.description"},
      {"llama-3.1-8b-instant", "Llama 3.1 8B Instant", P::groq, "models.postProcessing.groq.llama31.8b.description"},
      {"openai/gpt-oss-120b", "GPT OSS 120B", P::groq, "models.postProcessing.groq.gptoss.120b.description"},
      {"openai/gpt-oss-20b", "GPT OSS 20B", P::groq, "models.postProcessing.groq.gptoss.20b.description"},
      {"llama-3.3-70b", "Llama 3.3 70B", P::cerebras, "models.postProcessing.cerebras.llama33.70b.description"},
      {"llama-3.1-8b", "Llama 3.1 8B", P::cerebras, "models.postProcessing.cerebras.llama31.8b.description"},
      {"gemma-3-1b-it-Q4_K_M.gguf", "Gemma 3 1B Instruct (Q4)", P::localGemma,
       "models.postProcessing.gemma3.1b.description"},
      {"gemma-3-4b-it-Q4_K_M.gguf", "Gemma 3 4B Instruct (Q4)", P::localGemma,
       "models.postProcessing.gemma3.4b.description"},
      {"gemma-3-12b-it-Q4_K_S.gguf", "Gemma 3 12B Instruct (Q4)", P::localGemma,
       "models.postProcessing.gemma3.12b.description"},
  };
  std::vector<PostProcessingModel> models;
  for (const Row& row : rows)
    models.push_back({QString::fromLatin1(row.id), QString::fromLatin1(row.displayName), true,
                      QString::fromLatin1(row.descriptionKey), row.provider});
  return models;
}

}  // namespace

QString PostProcessingModel::description() const {
  return localizedText(descriptionKey);
}

const std::vector<PostProcessingModel>& PostProcessingModelCatalog::all() {
  static const std::vector<PostProcessingModel> models = makeModels();
  return models;
}

std::vector<PostProcessingModel> PostProcessingModelCatalog::models(PostProcessingProvider provider) {
  std::vector<PostProcessingModel> found;
  for (const PostProcessingModel& model : all())
    if (model.provider == provider) found.push_back(model);
  return found;
}

std::optional<PostProcessingModel> PostProcessingModelCatalog::model(const QString& id) {
  for (const PostProcessingModel& model : all())
    if (model.id == id) return model;
  return std::nullopt;
}

QString PostProcessingModelCatalog::defaultModel(PostProcessingProvider provider) {
  return quillmere::defaultModel(provider);
}

}  // namespace quillmere
