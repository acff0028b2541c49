#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>

namespace tools::doctor {

/// The figures that a running server writes for who watches it.
struct Figures {
    bool isThere = false;
    qint64 ageS = 0;                 ///< since they were written
    QMap<QByteArray, double> values; ///< by name, with its labels as they stand

    static Figures read(const QString &path);
};

} // namespace tools::doctor
