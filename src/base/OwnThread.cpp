#include "base/OwnThread.h"

#include <stdexcept>
#include <string>

namespace quillmere::detail {

void refuseThread(const std::source_location& where) {
  throw std::logic_error(std::string(where.file_name()) + ":" + std::to_string(where.line()) +
                         ": only the thread that it belongs to may call " + where.function_name());
}

}  // namespace quillmere::detail
