#pragma once
#include <QString>
#include <QStringList>
#include <optional>
#include <vector>

#include "base/Result.h"
#include "domain/Errors.h"
#include "storage/HistoryFilter.h"
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

// The stored rows that a filter of the history lets through.
class FilteredRows {
 public:
  static Result<FilteredRows, PlatformError> read(ObjectContext& context, HistoryFilter filter);

  // Without those that the next save deletes.
  Result<qint64, PlatformError> count(ObjectContext& context) const;
  // `rows` ascending; takes out those that the filter holds back.
  void apply(std::vector<qint64>& rows) const;

 private:
  HistoryFilter filter_ = HistoryFilter::all;
  std::vector<qint64> discarded_;  // ascending
};

// The rows of the history that match, newest first.
class TranscriptMatches {
 public:
  // Words first; where no row has such words, pieces of texts (inner parts of words, signs).
  static Result<TranscriptMatches, PlatformError> find(ObjectContext& context, const SearchQuery& query,
                                                       const FilteredRows& filter);

  qint64 count() const { return static_cast<qint64>(rowIds_.size()); }
  // A negative limit means all.
  Result<std::vector<qint64>, PlatformError> page(ObjectContext& context, qint64 limit, qint64 offset) const;

 private:
  std::vector<qint64> rowIds_;  // ascending
};

// The same tests for one transcript that isn't stored yet.
bool matchesSearch(const Transcript& transcript, const SearchQuery& query);
bool passesFilter(const Transcript& transcript, HistoryFilter filter);
// The end of a query for a page of the rows that pass: "WHERE ... ORDER BY ... LIMIT ? OFFSET ?".
const char* pageClause(HistoryFilter filter);

}  // namespace quillmere
