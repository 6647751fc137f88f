#pragma once
#include <QString>
#include <array>

namespace quillmere {

// Names of the system-wide shortcuts. None has a key until the user gives it one.
namespace shortcutNames {
inline constexpr const char* toggleRecordingWithTranscription = "toggleRecordingWithTranscription";
inline constexpr const char* cancelRecording = "cancelRecording";  // enabled only while a recording runs
inline constexpr const char* pushToTalk = "pushToTalk";
inline constexpr const char* startStreaming = "startStreaming";
inline constexpr const char* changeMode = "changeMode";
inline constexpr const char* toggleMiniWindow = "toggleMiniWindow";
inline constexpr const char* toggleMainWindow = "toggleMainWindow";
inline constexpr std::array all{toggleRecordingWithTranscription,
                                cancelRecording,
                                pushToTalk,
                                startStreaming,
                                changeMode,
                                toggleMiniWindow,
                                toggleMainWindow};
}  // namespace shortcutNames

// Key of the setting that holds the shortcut's keys as text.
QString shortcutSettingKey(const QString& shortcutName);

}  // namespace quillmere
