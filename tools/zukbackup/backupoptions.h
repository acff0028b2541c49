#pragma once

#include "tools/zukbackup/copyfolder.h"

#include <QString>
#include <QStringList>

namespace tools::zukbackup {

struct BackupOptions {
    QString database;
    QString folder;
    QString label;
    QString checked; ///< a file that is only to be checked; empty otherwise
    Rotation rotation;
    bool isQuiet = false;
};

/// Reads the command line. What is wrong with it, as a text for people. *told receives the help or the version when
/// it was asked for.
QString readBackupOptions(const QStringList &arguments, BackupOptions *options, QString *told);

} // namespace tools::zukbackup
