#pragma once
#include "ports/DeploymentValues.h"

namespace quillmere {

// The values of this machine and of the environment: QUILLMERE_REPORT_DSN and QUILLMERE_REPORT_ENVIRONMENT override
// what the build was given (compile definitions of the same names). Version and build are the caller's.
DeploymentValues linuxDeploymentValues();

}  // namespace quillmere
