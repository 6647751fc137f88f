#include "storage/TranscriptSearch.h"

#include <QRegularExpression>
#include <algorithm>

namespace quillmere {

namespace {

constexpr size_t maximumPieces = 64;
constexpr qsizetype maximumPieceLength = 1000;  // SQLite limits patterns to 50,000 bytes
// Looking up the date of one row costs about as much as walking over this many entries of the index by date.
constexpr qint64 walkedEntriesALookup = 16;
constexpr qsizetype gramLength = 3;
// Enough to tell the candidates from the rest; the texts decide.
constexpr qsizetype maximumGrams = 24;
// Pieces of one or two characters aren't in the index: so many rows can be looked through within the budget.
constexpr int newestRowsScanned = 10'000;
// Rows that hold every trigram of a longer piece still have to be read: so many of the newest within the budget.
constexpr int newestCandidatesRead = 6'000;

QString likePattern(const QString& text) {
  QString pattern = text;
  pattern.replace('\\', "\\\\").replace('%', "\\%").replace('_', "\\_");
  return '%' + pattern + '%';
}

// Equal texts, which is what most rows hold, are looked through once.
QString containsCondition(int parameter) {
  const QString like = QString(" LIKE ?%1 ESCAPE '\\'").arg(parameter);
  return "row.text" + like + " OR (row.transcribedText IS NOT row.text AND row.transcribedText" + like +
         ") OR (row.postProcessedText IS NOT row.text AND row.postProcessedText" + like + ") OR row.mode" + like;
}

// What a search for pieces of texts asks of the index, and what is left to be seen in the texts.
struct PieceSearch {
  QStringList grams;     // three characters each, quoted
  QStringList contents;  // pieces that the index can't decide on
};

PieceSearch planPieceSearch(const SearchQuery& query) {
  PieceSearch search;
  for (const SearchQuery::Piece& piece : query.pieces) {
    const auto characters = piece.text.toUcs4();
    const qsizetype last = characters.size() - gramLength;
    for (qsizetype i = 0; i <= last && search.grams.size() < maximumGrams; ++i) {
      QString gram = QString::fromUcs4(reinterpret_cast<const char32_t*>(characters.constData()) + i, gramLength);
      search.grams << '"' + gram.replace('"', "\"\"") + '"';
    }
    if (last != 0 || search.grams.size() == maximumGrams) search.contents << piece.text;
  }
  return search;
}

// Rows whose texts contain every piece.
Result<std::vector<qint64>, PlatformError> findSubstrings(ObjectContext& context, const SearchQuery& query) {
  const PieceSearch search = planPieceSearch(query);
  const QString grams = search.grams.join(" AND ");
  if (search.contents.isEmpty())
    return context.fetchNumbers("SELECT rowid FROM TranscriptPieces WHERE TranscriptPieces MATCH ? ORDER BY rowid",
                                grams);
  QString sql = QString(
                    "SELECT row.pk FROM Transcript AS row WHERE row.pk >= ifnull("
                    "(SELECT pk FROM Transcript ORDER BY pk DESC LIMIT 1 OFFSET %1), 0)")
                    .arg(newestRowsScanned - 1);
  QStringList values;
  if (!grams.isEmpty()) {
    sql = QString(
              "SELECT row.pk FROM (SELECT rowid AS candidate FROM TranscriptPieces WHERE TranscriptPieces MATCH ?1 "
              "ORDER BY rowid DESC LIMIT %1) CROSS JOIN Transcript AS row ON row.pk = candidate WHERE true")
              .arg(newestCandidatesRead);
    values << grams;
  }
  // LIKE ignores the case of ASCII letters only; the lower-case form is tried for the others.
  const bool hasOtherCase = std::any_of(search.contents.begin(), search.contents.end(), [](const QString& content) {
    return content.toLower() != content &&
           std::any_of(content.begin(), content.end(), [](QChar c) { return c.unicode() > 127; });
  });
  for (const QString& content : search.contents) {
    values << likePattern(content);
    QString condition = containsCondition(static_cast<int>(values.size()));
    if (hasOtherCase) {
      values << likePattern(content.toLower());
      condition += " OR " + containsCondition(static_cast<int>(values.size()));
    }
    sql += " AND (" + condition + ')';
  }
  sql += " ORDER BY row.pk";
  return context.fetchNumbers(sql.toStdString(), values);
}

}  // namespace

SearchQuery parseSearch(const QString& text) {
  static const QRegularExpression piece(R"re("([^"]*)"|([^\s"]+))re", QRegularExpression::UseUnicodePropertiesOption);
  SearchQuery query;
  QString cleaned = text;
  cleaned.remove(QChar(0));
  for (auto matches = piece.globalMatch(cleaned); matches.hasNext() && query.pieces.size() < maximumPieces;) {
    const QRegularExpressionMatch match = matches.next();
    const bool isPhrase = match.hasCaptured(1);
    const QString content = (isPhrase ? match.captured(1) : match.captured(2)).trimmed().left(maximumPieceLength);
    if (!content.isEmpty()) query.pieces.push_back({content, isPhrase});
  }
  return query;
}

QString fullTextExpression(const SearchQuery& query) {
  QStringList terms;
  for (const SearchQuery::Piece& piece : query.pieces) {
    QString quoted = piece.text;
    quoted.replace('"', "\"\"");
    terms << '"' + quoted + (piece.isPhrase ? "\"" : "\"*");
  }
  return terms.join(" AND ");
}

Result<FilteredRows, PlatformError> FilteredRows::read(ObjectContext& context, HistoryFilter filter) {
  FilteredRows rows;
  rows.filter_ = filter;
  if (filter == HistoryFilter::all) return rows;
  TRY(rows.discarded_, context.fetchNumbers("SELECT pk FROM Transcript WHERE status = 'discarded'"));
  std::sort(rows.discarded_.begin(), rows.discarded_.end());  // asked of SQLite, it would read the whole table in order
  return rows;
}

Result<qint64, PlatformError> FilteredRows::count(ObjectContext& context) const {
  const auto& removed = context.registry().removedRows<Transcript>();
  const auto removedDiscarded =
      std::count_if(discarded_.begin(), discarded_.end(), [&](qint64 row) { return removed.contains(row); });
  const auto discarded = static_cast<qint64>(discarded_.size());
  if (filter_ == HistoryFilter::discarded) return discarded - removedDiscarded;
  TRY(const qint64 all, context.fetchNumber("SELECT count(*) FROM Transcript"));
  return all - discarded - (static_cast<qint64>(removed.size()) - removedDiscarded);
}

void FilteredRows::apply(std::vector<qint64>& rows) const {
  if (filter_ == HistoryFilter::all) return;
  const bool wanted = filter_ == HistoryFilter::discarded;
  std::erase_if(rows,
                [&](qint64 row) { return std::binary_search(discarded_.begin(), discarded_.end(), row) != wanted; });
}

Result<TranscriptMatches, PlatformError> TranscriptMatches::find(ObjectContext& context, const SearchQuery& query,
                                                                 const FilteredRows& filter) {
  TranscriptMatches matches;
  if (auto words = context.fetchNumbers("SELECT rowid FROM TranscriptText WHERE TranscriptText MATCH ? ORDER BY rowid",
                                        fullTextExpression(query))) {
    matches.rowIds_ = std::move(words).value();
    filter.apply(matches.rowIds_);
    if (!matches.rowIds_.empty()) return matches;
  }
  TRY(matches.rowIds_, findSubstrings(context, query));
  filter.apply(matches.rowIds_);
  return matches;
}

Result<std::vector<qint64>, PlatformError> TranscriptMatches::page(ObjectContext& context, qint64 limit,
                                                                   qint64 offset) const {
  if (limit < 0) limit = count();
  if (rowIds_.empty() || limit == 0 || offset >= count()) return std::vector<qint64>{};
  TRY(const qint64 highest, context.fetchNumber("SELECT max(pk) FROM Transcript"));
  const auto wanted = static_cast<size_t>(std::min(limit, count() - offset));
  std::vector<qint64> result;
  if (count() * walkedEntriesALookup < highest) {
    std::vector<std::pair<qint64, qint64>> dated;  // date, row
    dated.reserve(rowIds_.size());
    for (const qint64 row : rowIds_) {
      TRY(const qint64 date,
          context.fetchNumber("SELECT ifnull(date, -9223372036854775808) FROM Transcript WHERE pk = ?", row));
      dated.emplace_back(date, row);
    }
    std::sort(dated.begin(), dated.end(), std::greater<>());
    for (size_t i = static_cast<size_t>(offset); i < dated.size() && result.size() < wanted; ++i)
      result.push_back(dated[i].second);
    return result;
  }
  TRY_OK(context.visitNumbers("SELECT pk FROM Transcript ORDER BY date DESC, pk DESC", [&](qint64 row) {
    if (!std::binary_search(rowIds_.begin(), rowIds_.end(), row)) return true;
    if (offset > 0) return (--offset, true);
    result.push_back(row);
    return result.size() < wanted;
  }));
  return result;
}

bool passesFilter(const Transcript& transcript, HistoryFilter filter) {
  if (filter == HistoryFilter::all) return true;
  return (transcript.status == TranscriptStatus::discarded) == (filter == HistoryFilter::discarded);
}

const char* pageClause(HistoryFilter filter) {
  switch (filter) {
    case HistoryFilter::kept:
      // By a small index: looking at the status of every row would read all that are skipped.
      return "WHERE pk NOT IN (SELECT pk FROM Transcript WHERE status = 'discarded') "
             "ORDER BY date DESC, pk DESC LIMIT ? OFFSET ?";
    case HistoryFilter::discarded:
      return "WHERE status = 'discarded' ORDER BY date DESC, pk DESC LIMIT ? OFFSET ?";
    case HistoryFilter::all:
      break;
  }
  return "ORDER BY date DESC, pk DESC LIMIT ? OFFSET ?";
}

bool matchesSearch(const Transcript& transcript, const SearchQuery& query) {
  return std::all_of(query.pieces.begin(), query.pieces.end(), [&](const SearchQuery::Piece& piece) {
    for (const auto* text :
         {&transcript.text, &transcript.transcribedText, &transcript.postProcessedText, &transcript.mode})
      if (*text && (*text)->contains(piece.text, Qt::CaseInsensitive)) return true;
    return false;
  });
}

}  // namespace quillmere
