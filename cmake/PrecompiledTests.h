// What every test file needs, parsed once.
#pragma once
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Precompiled.h"

// Readable texts in failure messages. Found by argument-dependent lookup.
inline void PrintTo(const QString& text, std::ostream* out) {
  *out << '"' << text.toStdString() << '"';
}
inline void PrintTo(const QByteArray& bytes, std::ostream* out) {
  *out << '"' << bytes.toStdString() << '"';
}
