#include "recording/BorrowedVolumes.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUuid>
#include <algorithm>
#include <cmath>

namespace quillmere {
namespace {

constexpr double roundingError = 0.01;
const QString outputText = QStringLiteral("output");
const QString inputText = QStringLiteral("input");

QJsonObject toJson(const BorrowedVolume& volume) {
  QJsonArray channels;
  for (const double channel : volume.channels) channels.append(channel);
  return {{QStringLiteral("device"), volume.device == BorrowedVolume::Device::output ? outputText : inputText},
          {QStringLiteral("uid"), volume.uid},
          {QStringLiteral("name"), volume.name},
          {QStringLiteral("channels"), channels},
          {QStringLiteral("owner"), volume.owner}};
}

std::optional<BorrowedVolume> fromJson(const QJsonObject& object) {
  BorrowedVolume volume;
  const QString device = object[QStringLiteral("device")].toString();
  volume.device = device == inputText ? BorrowedVolume::Device::input : BorrowedVolume::Device::output;
  volume.uid = object[QStringLiteral("uid")].toString();
  volume.name = object[QStringLiteral("name")].toString();
  volume.owner = object[QStringLiteral("owner")].toString();
  for (const auto& channel : object[QStringLiteral("channels")].toArray())
    volume.channels.push_back(channel.toDouble());
  if ((device != inputText && device != outputText) || volume.uid.isEmpty() || volume.channels.empty())
    return std::nullopt;
  return volume;
}

}  // namespace

bool BorrowedVolume::isAsRecordingsLeaveIt() const {
  return !channels.empty() &&
         std::abs(*std::max_element(channels.begin(), channels.end()) - volumeOf(device)) < roundingError;
}

BorrowedVolumes::BorrowedVolumes(AudioSettingsManager& settings, ProcessLocks& locks)
    : settings_(settings),
      locks_(locks),
      owner_(QStringLiteral("volumes-") + QUuid::createUuid().toString(QUuid::WithoutBraces)) {}

std::vector<BorrowedVolume> BorrowedVolumes::read() const {
  std::vector<BorrowedVolume> volumes;
  for (const auto& entry : QJsonDocument::fromJson(settings_.borrowedVolumes().toUtf8()).array())
    if (auto volume = fromJson(entry.toObject())) volumes.push_back(std::move(*volume));
  return volumes;
}

void BorrowedVolumes::write(const std::vector<BorrowedVolume>& volumes) {
  QJsonArray entries;
  for (const BorrowedVolume& volume : volumes) entries.append(toJson(volume));
  settings_.setBorrowedVolumes(
      volumes.empty() ? QString() : QString::fromUtf8(QJsonDocument(entries).toJson(QJsonDocument::Compact)));
}

void BorrowedVolumes::replace(const BorrowedVolume& volume) {
  auto volumes = read();
  std::erase_if(volumes, [&](const BorrowedVolume& one) { return one.isSameDevice(volume); });
  volumes.push_back(volume);
  write(volumes);
}

void BorrowedVolumes::remove(const BorrowedVolume& volume) {
  auto volumes = read();
  if (std::erase_if(volumes, [&](const BorrowedVolume& one) { return one.isSameDevice(volume); })) write(volumes);
}

void BorrowedVolumes::abandon(const BorrowedVolume& volume) {
  BorrowedVolume left = volume;
  left.owner.clear();
  replace(left);
}

bool BorrowedVolumes::isInUse(const BorrowedVolume& volume) const {
  return !volume.owner.isEmpty() && locks_.isTaken(volume.owner);
}

std::optional<std::vector<double>> BorrowedVolumes::claim(BorrowedVolume current) {
  if (current.channels.empty()) return std::nullopt;
  for (const BorrowedVolume& known : read()) {
    if (!known.isSameDevice(current)) continue;
    if (known.owner != owner_ && isInUse(known)) return std::nullopt;
    // Whoever turned it since then meant it.
    if (current.isAsRecordingsLeaveIt()) current.channels = known.channels;
  }
  if (!lock_) lock_ = locks_.take(owner_);
  current.owner = owner_;
  replace(current);
  return current.channels;
}

std::vector<BorrowedVolume> BorrowedVolumes::abandoned() const {
  auto volumes = read();
  std::erase_if(volumes, [this](const BorrowedVolume& one) { return isInUse(one); });
  return volumes;
}

}  // namespace quillmere
