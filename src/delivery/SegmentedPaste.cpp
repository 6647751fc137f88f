#include "delivery/SegmentedPaste.h"

namespace quillmere {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds fetchLimit{1000};
constexpr milliseconds betweenSegments{50};
constexpr milliseconds beforeAutocomplete{500};
constexpr milliseconds beforeTab{200};
constexpr milliseconds beforeSpace{300};
constexpr size_t segmentLimit = 50;

}  // namespace

struct SegmentedPaste::Piece {
  QString text;
  std::shared_ptr<ClipboardLoan> loan;
  qsizetype number = 0;
  qsizetype total = 0;
};

SegmentedPaste::SegmentedPaste(ClipboardKeeper& keeper, PasteCommand& command, Pasteboard& pasteboard,
                               KeySynthesizer& keys, const Logging& logging)
    : keeper_(keeper),
      command_(command),
      pasteboard_(pasteboard),
      keys_(keys),
      logger_(logging.logger(QStringLiteral("AccessibilityHelper"))) {}

Task<bool> SegmentedPaste::paste(std::vector<PasteSegment> segments, std::shared_ptr<ClipboardLoan> loan) {
  if (segments.size() > segmentLimit) {
    logger_.warning("⚠️ Limiting segmented paste to first %{public}ld segments (total: %{public}ld)", segmentLimit,
                    segments.size());
    segments.resize(segmentLimit);
  }
  Piece piece;
  piece.loan = std::move(loan);
  piece.total = qsizetype(segments.size());
  bool isComplete = true;
  try {
    for (const PasteSegment& segment : segments) {
      ++piece.number;
      piece.text = segment.text;
      co_await throwIfCancelled();
      if (segment.isFileReference) {
        const bool isPasted = co_await pasteFileReference(piece);
        isComplete = isComplete && isPasted;
      } else {
        logger_.info("📝 Pasting text segment %{public}ld/%{public}ld: `%s`", piece.number, piece.total, piece.text);
        if (!co_await pasteOne(piece.text, piece.loan)) {
          logger_.error("❌ Failed to paste text segment");
          isComplete = false;
        }
      }
      if (piece.number < piece.total) co_await sleepFor(betweenSegments);
    }
  } catch (const Cancelled&) {
    logger_.info("❌ Segmented paste cancelled at segment %{public}ld/%{public}ld", piece.number, piece.total);
    throw;
  }
  if (isComplete)
    logger_.info("✅ Async segmented paste completed successfully");
  else
    logger_.warning("⚠️ Async segmented paste partially failed - clipboard restored");
  co_return isComplete;
}

Task<bool> SegmentedPaste::pasteFileReference(const Piece& piece) {
  bool isComplete = true;
  logger_.info("📁 Pasting MATCHED file reference: %{public}ld/%{public}ld: `%s`", piece.number, piece.total,
               piece.text);
  if (!co_await pasteOne(piece.text, piece.loan)) {
    logger_.error("❌ Failed to paste file reference");
    isComplete = false;
  }
  co_await sleepFor(beforeAutocomplete);
  if (!PasteCommand::canPaste(co_await command_.target())) co_return false;
  logger_.info("🔤 Pressing Ctrl+Space to trigger autocomplete - %{public}ld/%{public}ld: `%s`", piece.number,
               piece.total, piece.text);
  if (!keys_.press(KeySynthesizer::NamedKey::space, KeySynthesizer::Modifier::control)) {
    logger_.warning("⚠️ Failed to send Ctrl+Space");
    isComplete = false;
  }
  co_await sleepFor(beforeTab);
  logger_.info("⇥ Pressing Tab to accept suggestion - %{public}ld/%{public}ld: `%s`", piece.number, piece.total,
               piece.text);
  if (!keys_.press(KeySynthesizer::NamedKey::tab, KeySynthesizer::Modifier::none)) {
    logger_.warning("⚠️ Failed to send Tab");
    isComplete = false;
  }
  co_await sleepFor(beforeSpace);
  logger_.info("➕ Adding space after file reference");
  if (!co_await pasteOne(QStringLiteral(" "), piece.loan)) {
    logger_.warning("⚠️ Failed to add space");
    isComplete = false;
  }
  co_return isComplete;
}

Task<bool> SegmentedPaste::pasteOne(QString text, std::shared_ptr<ClipboardLoan> loan) {
  if (!co_await keeper_.lend(text, std::move(loan))) co_return false;
  if (co_await command_.send(text) != PasteCommand::Outcome::sent) co_return false;
  // The next piece must not take the place of one that the target is still to fetch.
  co_return co_await pasteboard_.waitForFetch(fetchLimit);
}

}  // namespace quillmere
