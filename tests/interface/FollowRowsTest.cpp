#include "interface/FollowRows.h"

#include <gtest/gtest.h>

#include <QAbstractListModel>
#include <QString>

namespace quillmere {

class Letters final : public QAbstractListModel {
 public:
  explicit Letters(const QString& letters) : rows(letters.begin(), letters.end()) {}
  int rowCount(const QModelIndex& parent = {}) const override { return parent.isValid() ? 0 : int(rows.size()); }
  QVariant data(const QModelIndex& place, int role) const override {
    return role == Qt::DisplayRole ? QVariant(QString(rows[size_t(place.row())])) : QVariant();
  }
  bool follow(const QString& wanted) { return followRows(*this, rows, {wanted.begin(), wanted.end()}); }

  std::vector<QChar> rows;

 private:
  template <typename Model, typename Row>
  friend bool followRows(Model& model, std::vector<Row>& shown, const std::vector<Row>& wanted);
};

namespace {

// A view stands on its rows by what they are: those that stay are still known, the others are gone.
TEST(FollowRows, RowsThatStayAreStillKnown) {
  for (const auto& [before, after] : std::vector<std::pair<QString, QString>>{{"abc", "ac"},
                                                                              {"abc", ""},
                                                                              {"", "ab"},
                                                                              {"ac", "abcd"},
                                                                              {"abc", "cab"},
                                                                              {"abc", "bca"},
                                                                              {"abcd", "dxca"},
                                                                              {"abc", "xyz"},
                                                                              {"abc", "abc"}}) {
    Letters model(before);
    std::vector<QPersistentModelIndex> places;
    for (int i = 0; i < before.size(); ++i) places.emplace_back(model.index(i));
    EXPECT_EQ(model.follow(after), before != after);
    EXPECT_EQ(QString(model.rows.data(), qsizetype(model.rows.size())), after);
    for (int i = 0; i < before.size(); ++i)
      EXPECT_EQ(places[size_t(i)].row(), after.indexOf(before[i])) << qPrintable(before + u' ' + after);
  }
}

}  // namespace
}  // namespace quillmere
