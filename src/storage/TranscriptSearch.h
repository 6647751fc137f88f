#pragma once
#include <QString>
#include <QStringList>
#include <optional>
#include <vector>

#include "base/Result.h"
#include "domain/Errors.h"
#include "storage/ObjectContext.h"

namespace quillmere {

// What a person typed into the search field, as pieces that all have to match.
struct SearchQuery {
  struct Piece {
    QString text;
    bool isPhrase = false;  // stood in double quotes: whole words in this order; else the beginning of a word
    bool operator==(const Piece&) const = default;
  };
  std::vector<Piece> pieces;
  bool isEmpty() const { return pieces.empty(); }
};

SearchQuery parseSearch(const QString& text);
// As an expression of the full-text index. Whatever was typed is quoted, so that it can't be taken for syntax.
QString fullTextExpression(const SearchQuery& query);

// The rows of the history that match, newest first.
class TranscriptMatches {
 public:
  // Words first; where no row has such words, pieces of texts (inner parts of words, signs).
  static Result<TranscriptMatches, PlatformError> find(ObjectContext& context, const SearchQuery& query);

  qint64 count() const { return static_cast<qint64>(rowIds_.size()); }
  // A negative limit means all.
  Result<std::vector<qint64>, PlatformError> page(ObjectContext& context, qint64 limit, qint64 offset) const;

 private:
  std::vector<qint64> rowIds_;  // ascending
};

// The same test for one transcript that isn't stored yet.
bool matchesSearch(const Transcript& transcript, const SearchQuery& query);

}  // namespace quillmere
