#pragma once
#include <span>

namespace quillmere {

// One step of the store's history: the statements that lead from version - 1 to version.
struct SchemaVersion {
  int version;
  std::span<const char* const> statements;
};

// All steps, oldest first. A released step is never changed: a new version gets a new step, and a test that opens a
// store of the version before it.
std::span<const SchemaVersion> schemaVersions();
int latestSchemaVersion();

// Tells our stores from other people's databases: "Qlmr".
inline constexpr int storeApplicationId = 0x516c6d72;

}  // namespace quillmere
