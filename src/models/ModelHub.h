#pragma once
#include <QString>
#include <QStringList>
#include <QUrl>
#include <variant>

#include "base/Result.h"
#include "domain/Errors.h"

namespace quillmere {

inline constexpr const char* defaultModelHub = "https://huggingface.co";
inline constexpr const char* modelHubPath = "/ggerganov/whisper.cpp/resolve/main/";
inline constexpr const char* modelHubEnvironmentVariable = "QUILLMERE_MODEL_HUB";

// Which hub is used: the environment's where it is set and not blank, else the setting's, else the public one.
QString chosenModelHub(const QString& fromEnvironment, const QString& fromSetting);

// Where a file of a hub lies: on a web server, or in one of these local places (the first that exists).
using HubLocation = std::variant<QUrl, QStringList>;

// The location of `filename` on the hub `base`: an http(s) URL (the hub's own path is kept in front of the models'
// path), a file:// URL, or a folder (absolute, or "~/..."). In a folder the file may lie directly or under the models'
// path.
Result<HubLocation, UrlError> locateOnHub(const QString& base, const QString& filename);

}  // namespace quillmere
