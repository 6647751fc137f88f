#pragma once

namespace quillmere {

// Which rows of the history are asked for. Recordings that the user threw away (status "discarded") are no part of it
// unless somebody wants to see them.
enum class HistoryFilter { kept, discarded, all };

}  // namespace quillmere
