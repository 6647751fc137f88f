// Headers that nearly every file of the desktop windows needs, parsed once.
#pragma once
#include <QQuickWindow>
#include <QString>
#include <QtQml>
#include <functional>
#include <memory>
#include <optional>
#include <vector>
