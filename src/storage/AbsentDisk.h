#pragma once
#include <QString>
#include <QStringList>

namespace quillmere {

// Whether the path lies where disks are mounted and none is there now, so that what it names may well come back.
// Nothing is made below such a place. Any thread.
bool isOnAbsentDisk(const QString& path,
                    const QStringList& places = {QStringLiteral("/media"), QStringLiteral("/run/media"),
                                                 QStringLiteral("/mnt")});

}  // namespace quillmere
