#pragma once

#include <QString>

namespace tools::zukbackup {

/// Has what was written into a file, or the names in a folder, survive a power cut. False when the system refuses.
bool syncFile(const QString &path);
bool syncFolder(const QString &path);

} // namespace tools::zukbackup
