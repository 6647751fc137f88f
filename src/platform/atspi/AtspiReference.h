#pragma once
#include <QString>
#include <compare>

namespace quillmere {

// Where an accessible object lives: the bus name of its program and its path there.
struct AtspiReference {
  QString bus;
  QString path;

  bool isNull() const { return bus.isEmpty() || path.isEmpty() || path == QLatin1String("/org/a11y/atspi/null"); }
  bool operator==(const AtspiReference&) const = default;
  bool operator<(const AtspiReference& other) const { return bus != other.bus ? bus < other.bus : path < other.path; }
};

}  // namespace quillmere
