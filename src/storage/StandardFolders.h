#pragma once
#include <QString>

namespace quillmere {

// The user's folders, absolute and without a slash at the end.
struct StandardFolders {
  QString applicationSupport;
  QString documents;
  QString downloads;
  QString temporary;
};

}  // namespace quillmere
