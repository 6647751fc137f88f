#pragma once
#include <QJsonObject>

#include "domain/Entities.h"

namespace quillmere {

// A history row as the command line prints it with --json. Fields without a value are left out; times are UTC.
QJsonObject transcriptJson(const Transcript& transcript);

}  // namespace quillmere
