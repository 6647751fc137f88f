#pragma once
#include <QString>
#include <QStringList>
#include <vector>

#include "base/log/Logger.h"
#include "domain/Entities.h"

namespace quillmere {

// Replaces whole words, in any case of letters, by the rows' replacements as they stand: rows by word ascending, each
// on the result of the one before. A word that begins or ends in a sign ("C++", ".net") counts as whole there where its
// neighbour is no letter and no digit. Rows without a word or a replacement take no part. The result is trimmed. Pure,
// any thread, if nobody changes the rows meanwhile.
QString applyVocabulary(const QString& text, const std::vector<VocabularyPtr>& rows, const Logger& logger = {});

// What a speech engine is told to expect: of each row with a word what it is to be written as, each once.
QStringList vocabularyForPrompt(const std::vector<VocabularyPtr>& rows);

}  // namespace quillmere
