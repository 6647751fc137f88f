#pragma once
#include <QString>

namespace quillmere {

enum class ApplicationKind {
  other,
  browser,
  communication,
  email,
  notes,
  wordProcessor,
  presentation,
  spreadsheet,
  codeEditor,
  ide,
  terminal
};

// What is known of an application. Everything that has to tell applications apart reads it here.
struct Application {
  ApplicationKind kind = ApplicationKind::other;
  bool isElectronEditor = false;  // its completion needs a file reference pasted by itself
  bool hasDeepFocus = false;      // the focused field lies deep in its accessibility tree
  bool isSlowToFocus = false;     // the focus may not be there at the first look
  bool takesBlindPaste = false;   // a paste reaches it although no editable element is found
  const char* description = "";   // one sentence, where there is one of its own
  bool operator==(const Application&) const = default;
};

// By the identifier that Workspace tells: exactly for those that applications have on every system, without regard to
// case (and to ".desktop") for names of the Linux desktop. A plain Application for what nobody knows. Any thread.
const Application& applicationOf(const QString& identifier);

// Whether the identifier is of a family of applications built on Electron, known or not.
bool isOfElectronFamily(const QString& identifier);

}  // namespace quillmere
