#pragma once

#include "tools/doctor/rows.h"

#include <QDateTime>
#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

namespace tools::doctor {

/// What lies on the server's machine beside what queries tell.
struct LocalFiles {
    QString database;
    QString backups; ///< the folder of zukbackup
    QString figures; ///< of the running server, for Prometheus
    bool hasWriteAheadLog = true;
};

/// What is examined. Nothing is owned.
struct Site {
    Rows *rows;
    std::optional<LocalFiles> files;      ///< nothing when the server is asked from elsewhere
    std::optional<QString> serverVersion; ///< as it tells it; nothing when it was not asked
    QString host;
    quint16 rpcPort = 0;
    quint16 webPort = 0; ///< 0 when nobody knows it
    /// Gets a line before something that takes long.
    std::function<void(const QString &line)> announce;

    qint64 now = 0; ///< Unix seconds; 0 as the server's machine has it

    // What examine() finds out first.
    qint64 here = 0;                       ///< what this machine's clock shows when the server's shows `now`
    qint64 utcOffset = 0;                  ///< its zone's now, seconds
    QHash<QString, QSet<QString>> columns; ///< by table or view, both in upper case
    QSet<QString> views;                   ///< which of these are views

    QStringList indexes; ///< "TABLE COLUMN, COLUMN" in upper case

    QDate dayOf(qint64 seconds) const
    {
        return QDateTime::fromSecsSinceEpoch(seconds, Qt::OffsetFromUTC, static_cast<int>(utcOffset)).date();
    }
    QDate today() const { return dayOf(now); }
    /// "2026-11-22 16:05" on the server's clock.
    QString timeText(qint64 seconds) const
    {
        return QDateTime::fromSecsSinceEpoch(seconds, Qt::OffsetFromUTC, static_cast<int>(utcOffset))
            .toString(QStringLiteral("yyyy-MM-dd HH:mm"));
    }
};

} // namespace tools::doctor
