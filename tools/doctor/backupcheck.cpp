// The age of the newest copy.

#include "tools/doctor/checks.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>

namespace tools::doctor {

namespace {

constexpr qint64 kHour = 3600;
/// Every night, and two hours for it.
constexpr qint64 kOld = 26 * kHour;
constexpr qint64 kTooOld = 8 * 24 * kHour;

/// When the copies of the folder were made. zukbackup gives a copy its name when it has read it whole.
QList<QDateTime> copyTimes(const QDir &folder)
{
    static const QRegularExpression pattern(QStringLiteral("^zuknetserver-(\\d{8}-\\d{6})(?:-[A-Za-z0-9]+)?\\.db$"));
    QList<QDateTime> times;
    const QStringList names = folder.entryList(QDir::Files);
    for (const QString &name : names) {
        const QDateTime time =
            QDateTime::fromString(pattern.match(name).captured(1), QStringLiteral("yyyyMMdd-HHmmss"));
        if (time.isValid())
            times += time;
    }
    return times;
}

} // namespace

void checkBackups(const Site &site, Findings &findings)
{
    const QString path = site.files->backups;
    const QString remedy = QStringLiteral("systemctl enable --now zuk3srv-backup.timer; journalctl -u zuk3srv-backup "
                                          "tells why one failed. By hand: sudo -u zuk3srv zukbackup --folder %1")
                               .arg(path);
    const QFileInfo folder(path);
    if (folder.isDir() && !folder.isReadable()) {
        findings.addUnseen(QStringLiteral("back-ups: %1 cannot be read by this user.").arg(path));
        return;
    }
    const QList<QDateTime> times = copyTimes(QDir(path));
    if (times.isEmpty()) {
        findings.add(Severity::Act, QStringLiteral("there is no back-up in %1").arg(path), remedy);
        return;
    }
    const QDateTime newest = *std::max_element(times.begin(), times.end());
    const qint64 age = newest.secsTo(QDateTime::fromSecsSinceEpoch(site.now));
    if (age > kOld) {
        findings.add(age > kTooOld ? Severity::Act : Severity::Soon,
                     QStringLiteral("the newest back-up in %1 is %2 hours old, of %3")
                         .arg(path)
                         .arg(age / kHour)
                         .arg(newest.toString(QStringLiteral("yyyy-MM-dd HH:mm"))),
                     remedy);
    }
}

} // namespace tools::doctor
