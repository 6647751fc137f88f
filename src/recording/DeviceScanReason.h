#pragma once
#include "domain/RawValue.h"

namespace quillmere {

enum class DeviceScanReason { manual, initialBootstrap, deviceList, defaultInput };
template <>
struct RawValues<DeviceScanReason> {
  using E = DeviceScanReason;
  static constexpr std::array values{
      std::pair{E::manual, "manual"}, std::pair{E::initialBootstrap, "initial_bootstrap"},
      std::pair{E::deviceList, "coreaudio.device_list"}, std::pair{E::defaultInput, "coreaudio.default_input"}};
};

}  // namespace quillmere
