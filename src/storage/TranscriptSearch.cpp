#include "storage/TranscriptSearch.h"

#include <QRegularExpression>
#include <algorithm>

namespace quillmere {

namespace {

constexpr size_t maximumPieces = 64;
constexpr qsizetype maximumPieceLength = 1000;  // SQLite limits patterns to 50,000 bytes
// Looking up the date of one row costs about as much as walking over this many entries of the index by date.
constexpr qint64 walkedEntriesALookup = 16;

QString likePattern(const QString& text) {
  QString pattern = text;
  pattern.replace('\\', "\\\\").replace('%', "\\%").replace('_', "\\_");
  return '%' + pattern + '%';
}

// Equal texts, which is what most rows hold, are looked through once.
std::string substringQuery(const std::string& parameter) {
  const std::string like = " LIKE " + parameter + " ESCAPE '\\'";
  return "SELECT pk FROM Transcript WHERE text" + like + " OR (transcribedText IS NOT text AND transcribedText" + like +
         ") OR (postProcessedText IS NOT text AND postProcessedText" + like + ") OR mode" + like;
}

// Rows whose texts contain every piece. LIKE ignores the case of ASCII letters only; the lower-case form is tried for
// the others.
Result<std::vector<qint64>, PlatformError> findSubstrings(ObjectContext& context, const SearchQuery& query) {
  std::optional<std::vector<qint64>> rows;
  for (const SearchQuery::Piece& piece : query.pieces) {
    const QString typed = likePattern(piece.text), lower = likePattern(piece.text.toLower());
    auto found = typed == lower
                     ? context.fetchNumbers(substringQuery("?1"), typed)
                     : context.fetchNumbers(substringQuery("?1") + " UNION " + substringQuery("?2"), typed, lower);
    if (!found) return found;
    std::sort(found->begin(), found->end());
    if (rows) {
      std::vector<qint64> common;
      std::set_intersection(rows->begin(), rows->end(), found->begin(), found->end(), std::back_inserter(common));
      rows = std::move(common);
    } else {
      rows = std::move(found).value();
    }
    if (rows->empty()) break;
  }
  return std::move(rows).value_or(std::vector<qint64>{});
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

Result<TranscriptMatches, PlatformError> TranscriptMatches::find(ObjectContext& context, const SearchQuery& query) {
  TranscriptMatches matches;
  auto words = context.fetchNumbers("SELECT rowid FROM TranscriptText WHERE TranscriptText MATCH ? ORDER BY rowid",
                                    fullTextExpression(query));
  if (words && !words->empty()) {
    matches.rowIds_ = std::move(words).value();
    return matches;
  }
  auto substrings = findSubstrings(context, query);
  if (!substrings) return Failed{substrings.error()};
  matches.rowIds_ = std::move(substrings).value();
  return matches;
}

Result<std::vector<qint64>, PlatformError> TranscriptMatches::page(ObjectContext& context, qint64 limit,
                                                                   qint64 offset) const {
  if (limit < 0) limit = count();
  if (rowIds_.empty() || limit == 0 || offset >= count()) return std::vector<qint64>{};
  const auto highest = context.fetchNumber("SELECT max(pk) FROM Transcript");
  if (!highest) return Failed{highest.error()};
  const auto wanted = static_cast<size_t>(std::min(limit, count() - offset));
  std::vector<qint64> result;
  if (count() * walkedEntriesALookup < *highest) {
    std::vector<std::pair<qint64, qint64>> dated;  // date, row
    dated.reserve(rowIds_.size());
    for (const qint64 row : rowIds_) {
      const auto date =
          context.fetchNumber("SELECT ifnull(date, -9223372036854775808) FROM Transcript WHERE pk = ?", row);
      if (!date) return Failed{date.error()};
      dated.emplace_back(*date, row);
    }
    std::sort(dated.begin(), dated.end(), std::greater<>());
    for (size_t i = static_cast<size_t>(offset); i < dated.size() && result.size() < wanted; ++i)
      result.push_back(dated[i].second);
    return result;
  }
  const auto walk = context.visitNumbers("SELECT pk FROM Transcript ORDER BY date DESC, pk DESC", [&](qint64 row) {
    if (!std::binary_search(rowIds_.begin(), rowIds_.end(), row)) return true;
    if (offset > 0) return (--offset, true);
    result.push_back(row);
    return result.size() < wanted;
  });
  if (!walk) return Failed{walk.error()};
  return result;
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
