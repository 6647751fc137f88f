#pragma once
#include <QString>

#include "domain/WhisperModel.h"

namespace quillmere {

// Whether the engine on this computer can be asked for a language: "auto", a plain code, or one with a region that the
// engine leaves out ("pt-BR"). Not every code that a service knows is one of its own. Pure, any thread.
bool isSpeechLanguage(const QString& code);
// The same with this model: English-only ones know English, and Cantonese came with the third large model.
bool knowsLanguage(const WhisperCppModel& model, const QString& code);

}  // namespace quillmere
