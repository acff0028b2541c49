#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>

namespace tools::zukbackup {

/// How many copies stay.
struct Rotation {
    int daily = 14;   ///< days of which the newest copy stays
    int monthly = 12; ///< months likewise
    int labelled = 3; ///< newest copies of each label
};

/// The name of a copy made now, "zuknetserver-20261122-023000.db"; with a label, which is letters and digits, such as
/// "zuknetserver-20261122-023000-upgrade.db".
QString copyName(const QDateTime &now, const QString &label);

/// Which of these files of a folder go. Names that are no copies' stay; the newest copy always does.
QStringList superfluousCopies(const QStringList &names, const Rotation &rotation);

/// What makeCopy() tells. Faults are texts for people.
struct CopyReport {
    QString fault;         ///< then there is no new copy, and the others are as they were
    QString rotationFault; ///< the new copy is good, but an old one could not be removed, or none was for its sake
    QString path;
    QString rows;
    qint64 bytes = 0;
};

/// Makes a copy in the folder under a passing name, checks it, gives it its name when it is good, and removes
/// superfluous ones when that is on the disk. One process at a time works in a folder.
CopyReport makeCopy(const QString &database, const QString &folder, const QString &label, const Rotation &rotation);

} // namespace tools::zukbackup
