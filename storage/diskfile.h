#pragma once

#include <QFile>
#include <QString>

namespace storage {

/// Brings what was written to a file to the disk; false when the system refuses. The descriptor is that of
/// QFile::handle(), asked for once.
bool flushToDisk(int descriptor);
/// The same for the name of a new file.
bool flushFolderOf(const QString &path);
/// Takes room on the disk for a file of this size, so that a disk that is full later does not keep it from being
/// written. What is new reads as zeros.
bool takeRoom(QFile &file, int descriptor, qint64 size);

} // namespace storage
