#pragma once
#include <QString>
#include <QStringList>

#include "storage/StandardFolders.h"

namespace quillmere {

// Where this program keeps things, after the XDG base directories of the environment it was started in.
struct Paths {
  QString dataFolder;        // $XDG_DATA_HOME/quillmere
  QString storeFile;         // the store, in dataFolder
  QString modelsFolder;      // dataFolder/models
  QString configHome;        // $XDG_CONFIG_HOME
  QString settingsFile;      // $XDG_CONFIG_HOME/quillmere/quillmere.conf
  QString logsFolder;        // $XDG_STATE_HOME/quillmere/logs
  QString stateFolder;       // $XDG_STATE_HOME/quillmere
  QString resourcesFolder;   // $PREFIX/share/quillmere, or the source tree's resources in a development build
  bool isInstalled = false;  // the program runs from where it was installed, not from a build tree
  // Where models that come with the program lie: with the resources, or in a development build's own folder.
  QStringList bundledModelFolders;
  QStringList mediaLibraries;  // where the media library may lie, the likeliest first
  StandardFolders standard;

  static Paths fromEnvironment();
};

}  // namespace quillmere
