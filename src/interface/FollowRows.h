#pragma once
#include <QAbstractItemModel>
#include <algorithm>
#include <vector>

namespace quillmere {

// Turns the rows that a list model shows into the wanted ones by taking out, moving and putting in, so that a view
// keeps its place in those that stay. Rows are told apart by ==, and none is there twice. What has changed inside of a
// row is left to the caller to announce. For models that declare this function a friend. True when the list is another
// one.
template <typename Model, typename Row>
bool followRows(Model& model, std::vector<Row>& shown, const std::vector<Row>& wanted) {
  if (shown == wanted) return false;
  for (int i = int(shown.size()) - 1; i >= 0; --i) {
    if (std::ranges::find(wanted, shown[size_t(i)]) != wanted.end()) continue;
    model.beginRemoveRows({}, i, i);
    shown.erase(shown.begin() + i);
    model.endRemoveRows();
  }
  for (int i = 0; i < int(wanted.size()); ++i) {
    const auto place = shown.begin() + i;
    const auto present = std::find(place, shown.end(), wanted[size_t(i)]);
    if (present == shown.end()) {
      model.beginInsertRows({}, i, i);
      shown.insert(place, wanted[size_t(i)]);
      model.endInsertRows();
    } else if (present != place) {
      const int from = int(present - shown.begin());
      model.beginMoveRows({}, from, from, {}, i);
      std::rotate(place, present, present + 1);
      model.endMoveRows();
    }
  }
  return true;
}

}  // namespace quillmere
