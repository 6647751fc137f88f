// What nearly every file of the desktop windows needs, parsed once.
#pragma once
#include <QQuickWindow>
#include <QtQml>

#include "Precompiled.h"
