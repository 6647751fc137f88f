#pragma once
#include <QString>
#include <QStringView>
#include <vector>

#include "base/log/Logger.h"
#include "domain/Entities.h"

namespace quillmere {

// Replaces whole words, in any case of letters, by the rows' replacements: rows by word ascending, each on the result
// of the one before. Rows without a word or a replacement take no part. The result is trimmed. Pure, any thread, if
// nobody changes the rows meanwhile.
QString applyVocabulary(const QString& text, const std::vector<VocabularyPtr>& rows, const Logger& logger = {});

// A replacement template with the whole match filled in: "$0" is the match, "$1" to "$9" are empty since the pattern
// has no groups, a backslash takes the next character as it stands.
QString expandReplacementTemplate(QStringView replacement, QStringView match);

}  // namespace quillmere
