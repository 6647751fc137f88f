#include <QJsonObject>
#include <QLocale>

#include "app/cli/Commands.h"
#include "app/cli/ModeChoice.h"
#include "app/cli/SavedChanges.h"
#include "app/cli/TranscriptJson.h"
#include "app/compose/Services.h"
#include "base/text/Graphemes.h"
#include "base/text/LocalizedText.h"

namespace quillmere {
namespace {

QString shortId(const Transcript& transcript) {
  return transcript.id ? transcript.id->toString(QUuid::WithoutBraces).left(8) : QStringLiteral("--------");
}

QString lengthText(double seconds) {
  const int whole = int(seconds + 0.5);
  return whole >= 3600 ? QStringLiteral("%1:%2:%3")
                             .arg(whole / 3600)
                             .arg(whole / 60 % 60, 2, 10, QChar(u'0'))
                             .arg(whole % 60, 2, 10, QChar(u'0'))
                       : QStringLiteral("%1:%2").arg(whole / 60).arg(whole % 60, 2, 10, QChar(u'0'));
}

QString rowLine(const Transcript& transcript, const Terminal& terminal) {
  QString text = transcript.text.value_or(QString()).simplified();
  const QString date =
      transcript.date ? transcript.date->toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm")) : QString();
  const QString head =
      QStringLiteral("%1  %2  %3  %4  ")
          .arg(shortId(transcript), date, lengthText(transcript.duration.value_or(0)).rightJustified(7),
               transcript.status.value_or(QString()).leftJustified(10));
  if (terminal.isOutputTerminal()) {
    const int room = std::max(20, terminal.columns() - int(head.size()) - 1);
    if (graphemeCount(text) > room) text = leftGraphemes(text, room - 1) + QChar(u'…');
  }
  return head + text;
}

Task<int> retry(CommandContext context, TranscriptPtr transcript, ModeWishes wishes) {
  Services& services = context.services;
  ModePtr before = transcript->modeRelationship;
  if (!before)
    if (auto byName = services.persistence->fetchModeByName(transcript->mode.value_or(QString()))) before = *byName;
  const auto mode = chooseMode(context, wishes, before);
  if (!mode) co_return fail(context, mode.error());
  if (const auto problem = whyModeCannotRun(services, **mode)) co_return fail(context, *problem);
  const auto result = co_await services.transcription->retry->retry(transcript, *mode);
  if (!result) co_return fail(context, {localizedDescription(result.error()), exitCodeFor(result.error())});
  context.terminal.out(result->text);
  co_return co_await exitWhenSaved(context);
}

}  // namespace

Task<int> runHistory(CommandContext context, HistoryOptions options) {
  using Action = HistoryOptions::Action;
  PersistenceController& store = *context.services.persistence;
  co_await context.services.historySweeper->sweep();
  if (options.action == Action::list) {
    std::optional<QString> search;
    if (options.search) search = argumentText(*options.search);
    const HistoryFilter filter = options.isDiscarded ? HistoryFilter::discarded : HistoryFilter::kept;
    for (const TranscriptPtr& transcript : store.fetchTranscripts(options.limit, options.offset, search, filter)) {
      const bool isRead = options.isJson ? context.terminal.json(transcriptJson(*transcript))
                                         : context.terminal.out(rowLine(*transcript, context.terminal));
      if (!isRead) break;
    }
    co_return exitOk;
  }

  std::vector<TranscriptPtr> chosen;
  for (const std::string& id : options.ids) {
    const auto found = store.findTranscript(argumentText(id));
    if (!found) co_return fail(context, {found.error().message, exitFailure});
    if (std::find(chosen.begin(), chosen.end(), *found) == chosen.end()) chosen.push_back(*found);
  }
  switch (options.action) {
    case Action::show:
      for (const TranscriptPtr& transcript : chosen)
        options.isJson ? context.terminal.json(transcriptJson(*transcript))
                       : context.terminal.out(transcript->text.value_or(QString()));
      co_return exitOk;
    case Action::remove:
      // Words can't be brought back, so a program or a slip of the finger has to say it twice.
      if (!options.isConfirmed) {
        for (const TranscriptPtr& transcript : chosen) context.terminal.err(rowLine(*transcript, context.terminal));
        co_return fail(context, {localizedText("cli.history.confirm", int(chosen.size())), exitUsage});
      }
      store.deleteTranscripts(chosen);
      co_return co_await exitWhenSaved(context);
    case Action::retry: {
      ModeWishes wishes{options.mode, options.model, options.language};
      co_return co_await retry(context, chosen.front(), std::move(wishes));
    }
    case Action::list:
      break;
  }
  co_return exitFailure;
}

}  // namespace quillmere
