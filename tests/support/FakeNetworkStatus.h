#pragma once
#include "ports/NetworkStatus.h"

namespace quillmere {

class FakeNetworkStatus final : public NetworkStatus {
 public:
  bool online = true;
  bool isOnline() const override { return online; }
};

}  // namespace quillmere
