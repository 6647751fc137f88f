#pragma once

namespace quillmere {

// The one online flag. Starts true.
class NetworkStatus {
 public:
  virtual ~NetworkStatus() = default;
  virtual bool isOnline() const = 0;
};

}  // namespace quillmere
