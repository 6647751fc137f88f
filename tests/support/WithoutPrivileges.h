#pragma once
#include <unistd.h>

namespace quillmere {

// File permissions count for the length of a test, also where the tests run as root.
class WithoutPrivileges {
 public:
  WithoutPrivileges() : wasRoot_(::geteuid() == 0) {
    if (wasRoot_ && ::setresuid(65534, 65534, 0) != 0) _exit(99);
  }
  ~WithoutPrivileges() {
    if (wasRoot_ && ::setresuid(0, 0, 0) != 0) _exit(99);
  }
  WithoutPrivileges(const WithoutPrivileges&) = delete;
  WithoutPrivileges& operator=(const WithoutPrivileges&) = delete;

 private:
  bool wasRoot_;
};

}  // namespace quillmere
