#pragma once
#include "app/session/Doctor.h"

namespace quillmere {

// Asks the secret service of the session bus whether its default collection is there and open. Ends within 2 s.
Task<KeyringState> probeKeyring();

}  // namespace quillmere
