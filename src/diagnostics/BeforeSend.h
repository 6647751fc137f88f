#pragma once
#include "ports/CrashReporter.h"

namespace quillmere {

// The last filter on an event: no breadcrumbs, and no value whose key speaks of a transcript, a text or a prompt. Pure.
CrashEvent beforeSend(CrashEvent event);

}  // namespace quillmere
