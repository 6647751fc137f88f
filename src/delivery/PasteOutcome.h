#pragma once

namespace quillmere {

// How the last paste ended, for what the user is told. Everything but `pasted` leaves the text on the clipboard.
enum class PasteOutcome { none, pasted, notFetched, noTarget, secureField, noPermission, cancelled, failed };

}  // namespace quillmere
