// Room on the disk.

#include "tools/doctor/checks.h"

#include <QFileInfo>
#include <QStorageInfo>

namespace tools::doctor {

namespace {

constexpr qint64 kMiB = 1 << 20;
constexpr qint64 kLittle = 1024 * kMiB;
constexpr qint64 kAlmostNothing = 100 * kMiB;
/// A log of that size is not taken into the file: somebody reads without end.
constexpr qint64 kLongLog = 1024 * kMiB;

QString megabytes(qint64 bytes)
{
    return QStringLiteral("%1 MiB").arg(bytes / kMiB);
}

} // namespace

void checkDisk(const Site &site, Findings &findings)
{
    const QFileInfo database(site.files->database);
    const qint64 free = QStorageInfo(database.absolutePath()).bytesAvailable();
    const QString remedy = QStringLiteral("make room on the disk of %1, or give it more").arg(database.absolutePath());
    if (free < 0) {
        findings.addUnseen(
            QStringLiteral("disk: the system does not tell what is free at %1.").arg(database.filePath()));
    } else if (free < kAlmostNothing) {
        findings.add(Severity::Act, QStringLiteral("only %1 are free").arg(megabytes(free)), remedy);
    } else if (free < kLittle || free < 2 * database.size()) {
        findings.add(Severity::Soon,
                     QStringLiteral("%1 are free; the database has %2, and a copy of it needs as much again")
                         .arg(megabytes(free), megabytes(database.size())),
                     remedy);
    }
    const qint64 log = QFileInfo(site.files->database + QStringLiteral("-wal")).size();
    if (log > kLongLog) {
        findings.add(Severity::Soon, QStringLiteral("the write-ahead log has %1").arg(megabytes(log)),
                     QStringLiteral("end the program that reads the database without end, or restart the server"));
    }
}

} // namespace tools::doctor
