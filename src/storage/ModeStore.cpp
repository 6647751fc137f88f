#include "storage/ModeStore.h"

#include "base/text/LocalizedText.h"
#include "storage/ObjectContext.h"
#include "storage/SortOrder.h"
#include "storage/Store.h"

namespace quillmere {

namespace {

struct SeedMode {
  const char* id;
  const char* name;
  const char* preset;
  const char* language;
  const char* model;
  bool punctuation, capitalization, profanityFilter, isDefault, isSystemProvided;
  qint16 sortOrder;
  const char* customInstructions;
  PostProcessingMode postProcessingMode;
  const char* postProcessingProvider;
  const char* cloudProvider;
};
const SeedMode seedModes[] = {{defaultModeId, "Default", "quillmere", "en", "cloud", true, true, false, true, true, 0,
                               "", PostProcessingMode::cloud, "quillmere", "quillmere"}};

}  // namespace

void ModeStore::seedDefaultModes() {
  const auto count = store_.context().fetchNumber("SELECT count(*) FROM (SELECT 1 FROM Mode LIMIT 1)");
  if (count && *count > 0) return;
  std::vector<ModePtr> seeded;
  const auto saved = store_.context().transact([&] {
    // Another process that starts right now may have been faster.
    if (store_.context().fetchNumber("SELECT count(*) FROM (SELECT 1 FROM Mode LIMIT 1)").valueOr(0) > 0) return;
    for (const SeedMode& seed : seedModes) {
      Mode mode;
      mode.id = QUuid::fromString(QString(seed.id));
      mode.name = seed.name;
      mode.preset = seed.preset;
      mode.language = seed.language;
      mode.model = seed.model;
      mode.punctuation = seed.punctuation;
      mode.capitalization = seed.capitalization;
      mode.profanityFilter = seed.profanityFilter;
      mode.isDefault = seed.isDefault;
      mode.isSystemProvided = seed.isSystemProvided;
      mode.createdDate = mode.modifiedDate = store_.clock().now();
      mode.sortOrder = seed.sortOrder;
      mode.customInstructions = seed.customInstructions;
      mode.postProcessingMode = static_cast<qint16>(seed.postProcessingMode);
      mode.postProcessingProvider = seed.postProcessingProvider;
      mode.cloudProvider = seed.cloudProvider;
      seeded.push_back(store_.context().insert(std::move(mode)));
    }
  });
  if (saved) {
    if (!seeded.empty())
      store_.log().info("Initialized %{public}ld default modes for new install", static_cast<qint64>(seeded.size()));
    return;
  }
  for (const ModePtr& mode : seeded) store_.context().remove(mode);
  store_.report("Failed to initialize default modes", saved.error());
  store_.log().error("Failed to initialize default modes: %{public}@", saved.error().description);
}

Result<std::vector<ModePtr>, PlatformError> ModeStore::loadModes() {
  auto modes = store_.context().fetchWithInserted<Mode>("ORDER BY sortOrder, pk");
  if (modes) std::stable_sort(modes->begin(), modes->end(), &sortOrderBefore<Mode>);
  return modes;
}

std::vector<ModePtr> ModeStore::fetchAllModes() {
  return store_.valueOrReport(loadModes(), "Failed to fetch modes: %{public}@", "Failed to fetch all modes");
}

ModePtr ModeStore::fetchDefaultMode() {
  for (const ModePtr& mode : store_.context().registry().inserted<Mode>())
    if (mode->isDefault == true) return mode;
  const auto modes = store_.valueOrReport(store_.context().fetch<Mode>("WHERE isDefault = 1 LIMIT 1"),
                                          "Failed to fetch default mode: %{public}@", "Failed to fetch default mode");
  return modes.empty() ? nullptr : modes.front();
}

ModePtr ModeStore::fetchMode(const QString& id) {
  const auto parsed = parseId(id);
  return parsed ? fetchMode(*parsed) : nullptr;
}

ModePtr ModeStore::fetchMode(const QUuid& id) {
  for (const ModePtr& mode : store_.context().registry().inserted<Mode>())
    if (mode->id == id) return mode;
  const auto modes = store_.valueOrReport(store_.context().fetch<Mode>("WHERE id = ? LIMIT 1", id),
                                          "Failed to fetch mode by id: %{public}@", "Failed to fetch mode by id");
  return modes.empty() ? nullptr : modes.front();
}

Result<ModePtr, LookupFailure> ModeStore::fetchModeByName(const QString& name) {
  using Kind = LookupFailure::Kind;
  std::vector<ModePtr> exact, inAnyCase;
  for (const ModePtr& mode : fetchAllModes()) {
    if (mode->name == name)
      exact.push_back(mode);
    else if (mode->name && sameWord(*mode->name, name))
      inAnyCase.push_back(mode);
  }
  const auto& found = exact.empty() ? inAnyCase : exact;
  if (found.size() == 1) return found.front();
  if (found.empty()) return Failed{LookupFailure{Kind::notFound, 0, localizedText("modes.lookup.notFound", name)}};
  const auto count = static_cast<int>(found.size());
  return Failed{LookupFailure{Kind::ambiguous, count, localizedText("modes.lookup.ambiguous", name, count)}};
}

ModePtr ModeStore::saveMode(const ModeData& data) {
  const QUuid id = data.id.isNull() ? QUuid::createUuid() : data.id;
  ModePtr mode;
  const auto body = [&] {
    mode = fetchMode(id);
    if (!mode) {
      const qint16 sortOrder = nextSortOrder(fetchAllModes());
      mode = store_.context().insert<Mode>();
      mode->id = id;
      mode->createdDate = store_.clock().now();
      mode->isSystemProvided = false;
      mode->sortOrder = sortOrder;
    }
    applyTo(data, *mode);
    if (data.postProcessingMode == PostProcessingMode::local)
      mode->postProcessingProvider = rawValue(PostProcessingProvider::localGemma);
    mode->modifiedDate = store_.clock().now();
  };
  store_.change(body, [this, id] {
    for (const ModePtr& added : store_.context().registry().inserted<Mode>())
      if (added->id == id) added->sortOrder = nextSortOrder(fetchAllModes(), added);
  });
  return mode;
}

ModePtr ModeStore::createMode(const ModeData& data) {
  ModeData fresh = data;
  fresh.id = QUuid();
  return saveMode(fresh);
}

Result<void, LastModeRefusal> ModeStore::deleteMode(const ModePtr& mode) {
  bool isLast = false;
  store_.change([&] {
    isLast = fetchAllModes().size() <= 1;
    if (!isLast) store_.context().remove(mode);
  });
  if (!isLast) return {};
  return Failed{LastModeRefusal{"Cannot Delete Last Mode",
                                "You cannot delete your last remaining mode. Create a new mode first, then you can "
                                "delete this one."}};
}

void ModeStore::setModeOrder(const std::vector<QUuid>& order) {
  store_.change([&] {
    std::vector<ModePtr> modes = fetchAllModes();
    const auto place = [&](const ModePtr& mode) {
      return mode->id ? std::find(order.begin(), order.end(), *mode->id) : order.end();
    };
    std::stable_sort(modes.begin(), modes.end(),
                     [&](const ModePtr& a, const ModePtr& b) { return place(a) < place(b); });
    qint16 number = 0;
    for (const ModePtr& mode : modes) {
      mode->sortOrder = number;
      if (number < std::numeric_limits<qint16>::max()) ++number;
    }
  });
}

}  // namespace quillmere
