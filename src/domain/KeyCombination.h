#pragma once
#include <QString>
#include <optional>

namespace quillmere {

// A key with modifiers, as a person writes it: "Ctrl+Alt+D", "Super+F9", "Pause". Keys carry X keysym names ("d", "F9",
// "space", "Pause"), letters in lower case.
struct KeyCombination {
  bool control = false;
  bool alt = false;
  bool shift = false;
  bool super = false;
  QString key;

  // Modifiers in the order Ctrl, Alt, Shift, Super; any case and the usual other names ("Control", "Meta", "Win").
  // Nothing for a text without a key, with two keys or with an unknown word.
  static std::optional<KeyCombination> parse(const QString& text);
  // The form that parse() reads back; letters in upper case.
  QString text() const;
  bool operator==(const KeyCombination&) const = default;
};

}  // namespace quillmere
