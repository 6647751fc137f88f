#pragma once
#include <QString>

namespace quillmere {

// Scrubs a text that may leave the machine: home folders, network addresses, anything that reads like dictated content,
// mail addresses. Pure; any thread.
QString sanitize(const QString& text);

}  // namespace quillmere
