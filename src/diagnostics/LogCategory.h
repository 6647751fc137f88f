#pragma once
#include <QString>

namespace quillmere {

inline constexpr char logSubsystem[] = "com.quillmere.app";

// The log categories that several rooms share. A service with a log of its own passes its own word to Logging::logger.
enum class LogCategory { audio, transcription, coredata, network, ui, settings, models, accessibility };

QString logCategoryName(LogCategory category);

}  // namespace quillmere
