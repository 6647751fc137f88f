#pragma once

namespace quillmere {

// Whether the stored key of a service works.
enum class ProviderHealth { unknown, checking, healthy, unauthorized, unreachable, notInstalled };

// The name in log lines: "unknown", "checking", ...
constexpr const char* logText(ProviderHealth health) {
  switch (health) {
    case ProviderHealth::unknown:
      return "unknown";
    case ProviderHealth::checking:
      return "checking";
    case ProviderHealth::healthy:
      return "healthy";
    case ProviderHealth::unauthorized:
      return "unauthorized";
    case ProviderHealth::unreachable:
      return "unreachable";
    case ProviderHealth::notInstalled:
      return "notInstalled";
  }
  return "unknown";
}

}  // namespace quillmere
