#include "context/CopyMenuItem.h"

#include <QSet>
#include <algorithm>

namespace quillmere {
namespace {

constexpr int mostMenus = 30;
constexpr int mostItemsOfAMenu = 100;
constexpr int mostItems = 400;  // in all menus
constexpr int menuDepth = 3;
constexpr int usualEditMenu = 3;  // the fourth: after those of the system and the application, and File

QString plainTitle(QString title) {
  title = title.section(QLatin1Char('\t'), 0, 0);
  // "Kopieren(&C)" is how mnemonics are added to words of other scripts.
  static const QStringList openings{QStringLiteral("(&"), QStringLiteral("(_")};
  for (const QString& opening : openings)
    if (const auto at = title.indexOf(opening); at > 0) title.truncate(at);
  title.remove(QLatin1Char('&')).remove(QLatin1Char('_'));
  return title.trimmed().toCaseFolded();
}

QSet<QString> folded(std::initializer_list<const char*> words) {
  QSet<QString> set;
  for (const char* word : words) set.insert(QString::fromUtf8(word).toCaseFolded());
  return set;
}

bool isCopyItem(AccessibilityTree& tree, const AccessibilityElementPtr& item) {
  const auto role = tree.text(item, QStringLiteral("AXRole"));
  if (role != QStringLiteral("AXMenuItem") && role != QStringLiteral("AXButton")) return false;
  const auto title = tree.text(item, QStringLiteral("AXTitle"));
  if (!title || !isWordForCopy(*title))
    return tree.text(item, QStringLiteral("AXIdentifier")) == QStringLiteral("copy:");
  const auto character = tree.text(item, QStringLiteral("AXMenuItemCmdChar"));
  if (character && !character->isEmpty() && character->compare(QLatin1String("C"), Qt::CaseInsensitive) != 0)
    return tree.text(item, QStringLiteral("AXIdentifier")) == QStringLiteral("copy:");
  return true;
}

AccessibilityElementPtr findIn(AccessibilityTree& tree, const AccessibilityElementPtr& menu, int depth, int& left) {
  if (depth < 1) return nullptr;
  for (const auto& item : tree.elements(menu, QStringLiteral("AXChildren"), std::min(left, mostItemsOfAMenu))) {
    if (--left < 0 || tree.isOutOfTime()) return nullptr;
    if (isCopyItem(tree, item)) {
      if (tree.text(item, QStringLiteral("AXEnabled")) != QStringLiteral("false")) return item;
    } else if (auto found = findIn(tree, item, depth - 1, left)) {
      return found;
    }
  }
  return nullptr;
}

}  // namespace

bool isWordForCopy(const QString& title) {
  static const QSet<QString> words = folded({
      "Copy",       "Kopieren",  "Copier",    "Copiar",    "Copia",     "Kopiëren",  "Kopiér",  "Kopiera",
      "Kopier",     "Kopioi",    "Kopiuj",    "Kopírovat", "Kopírovať", "Másolás",   "Copiază", "Copiere",
      "Копировать", "Копіювати", "Копиране",  "Копирај",   "Kopiraj",   "Αντιγραφή", "Kopyala", "コピー",
      "复制",       "拷贝",      "複製",      "拷貝",      "복사",      "복사하기",  "نسخ",     "העתק",
      "העתקה",      "คัดลอก",     "สำเนา",     "Sao chép",  "Salin",     "कॉपी करें",   "کپی",     "رونوشت",
      "Kopeeri",    "Kopēt",     "Kopijuoti", "Còpia",     "Kopiatu",   "প্রতিলিপি",  "நகலெடு",
  });
  return words.contains(plainTitle(title));
}

bool isWordForEdit(const QString& title) {
  static const QSet<QString> words = folded({
      "Edit",        "Bearbeiten", "Édition",   "Edition",        "Editar",  "Edición",     "Modifica", "Composizione",
      "Bewerken",    "Redigér",    "Rediger",   "Redigera",       "Muokkaa", "Edycja",      "Úpravy",   "Upraviť",
      "Szerkesztés", "Editare",    "Правка",    "Редактирование", "Зміни",   "Редагування", "Uredi",    "Επεξεργασία",
      "Düzenle",     "Düzen",      "編集",      "编辑",           "編輯",    "편집",        "تحرير",    "עריכה",
      "แก้ไข",        "Sửa",        "Chỉnh sửa", "Sunting",        "ویرایش",  "Edita",       "Edició",   "Editatu",
      "Breyta",      "Muuda",      "Rediģēt",   "Keisti",
  });
  return words.contains(plainTitle(title));
}

AccessibilityElementPtr findCopyMenuItem(AccessibilityTree& tree, qint64 processId) {
  const auto application = tree.applicationElement(processId);
  const auto bar = application ? tree.element(application, QStringLiteral("AXMenuBar")) : nullptr;
  if (!bar) return nullptr;
  const auto menus = tree.elements(bar, QStringLiteral("AXChildren"), mostMenus);
  // By distance from where Edit usually stands; a menu called Edit before all others.
  std::vector<std::pair<int, AccessibilityElementPtr>> ordered;
  for (int i = 0; i < int(menus.size()); ++i) {
    const auto title = tree.text(menus[size_t(i)], QStringLiteral("AXTitle"));
    const bool isEdit = title && isWordForEdit(*title);
    ordered.emplace_back(isEdit ? -1 : std::abs(i - usualEditMenu), menus[size_t(i)]);
  }
  std::stable_sort(ordered.begin(), ordered.end(),
                   [](const auto& one, const auto& other) { return one.first < other.first; });
  int left = mostItems;
  for (const auto& [distance, menu] : ordered)
    if (auto found = findIn(tree, menu, menuDepth, left)) return found;
  return nullptr;
}

}  // namespace quillmere
