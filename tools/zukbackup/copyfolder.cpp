#include "tools/zukbackup/copyfolder.h"

#include "storage/diskfile.h"
#include "storage/filecopy.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QLockFile>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>

namespace tools::zukbackup {

namespace {

const QString kPartSuffix = QStringLiteral(".part");

QRegularExpressionMatch copyMatch(const QString &name)
{
    static const QRegularExpression pattern(
        QStringLiteral("^zuknetserver-((\\d{6})\\d{2})-(\\d{6})(?:-([A-Za-z0-9]+))?\\.db$"));
    return pattern.match(name);
}

/// Counts kinds of copies as they come.
class Places
{
public:
    explicit Places(int count) : m_count(count) {}
    /// Whether this is the first of its kind, and there is room for another kind.
    bool take(const QString &kind)
    {
        if (m_kinds.contains(kind) || m_kinds.size() >= m_count)
            return false;
        m_kinds.insert(kind);
        return true;
    }

private:
    int m_count;
    QSet<QString> m_kinds;
};

QString writeCopy(const QString &database, const QString &part, CopyReport *report)
{
    QString fault = storage::copyDatabase(database, part);
    if (fault.isEmpty())
        fault = storage::checkDatabase(part, &report->rows);
    if (!fault.isEmpty())
        return fault;
    report->bytes = QFileInfo(part).size();
    // Never over a copy that is there.
    return QFile::rename(part, report->path) ? QString() : report->path + ": cannot be given its name";
}

QString rotate(const QDir &folder, const Rotation &rotation)
{
    const QStringList names = folder.entryList({QStringLiteral("zuknetserver-*.db")}, QDir::Files);
    const QStringList superfluous = superfluousCopies(names, rotation);
    QStringList stuck;
    for (const QString &name : superfluous) {
        if (!QFile::remove(folder.filePath(name)))
            stuck += name;
    }
    return stuck.isEmpty() ? QString() : "cannot remove " + stuck.join(", ");
}

} // namespace

QString copyName(const QDateTime &now, const QString &label)
{
    return now.toString(QStringLiteral("'zuknetserver-'yyyyMMdd-HHmmss")) +
           (label.isEmpty() ? QString() : '-' + label) + ".db";
}

QStringList superfluousCopies(const QStringList &names, const Rotation &rotation)
{
    QStringList copies;
    for (const QString &name : names) {
        if (copyMatch(name).hasMatch())
            copies += name;
    }
    std::sort(copies.begin(), copies.end(), std::greater<>()); // the newest first
    Places days(std::max(rotation.daily, 1));
    Places months(rotation.monthly);
    QHash<QString, int> labels;
    QStringList superfluous;
    for (const QString &name : qAsConst(copies)) {
        const QRegularExpressionMatch match = copyMatch(name);
        const QString label = match.captured(4);
        bool stays = false;
        if (label.isEmpty()) {
            const bool isOfDay = days.take(match.captured(1));
            const bool isOfMonth = months.take(match.captured(2));
            stays = isOfDay || isOfMonth;
        } else {
            stays = ++labels[label] <= rotation.labelled;
        }
        if (!stays)
            superfluous += name;
    }
    return superfluous;
}

CopyReport makeCopy(const QString &database, const QString &folderPath, const QString &label, const Rotation &rotation)
{
    CopyReport report;
    const QDir folder(folderPath);
    if (!folder.exists()) {
        report.fault = folderPath + ": no such folder";
        return report;
    }
    QLockFile lock(folder.filePath(QStringLiteral(".zukbackup.lock")));
    lock.setStaleLockTime(0);
    if (!lock.tryLock(0)) {
        report.fault =
            folderPath + (lock.error() == QLockFile::LockFailedError ? ": another back-up is being made there"
                                                                     : ": cannot be written");
        return report;
    }
    // What a run left behind that was killed.
    const QStringList remains =
        folder.entryList({QStringLiteral("zuknetserver-*.db") + kPartSuffix + '*'}, QDir::Files);
    for (const QString &name : remains)
        QFile::remove(folder.filePath(name));

    report.path = folder.filePath(copyName(QDateTime::currentDateTime(), label));
    const QString part = report.path + kPartSuffix;
    report.fault = writeCopy(database, part, &report);
    for (const char *suffix : {"", "-journal", "-wal", "-shm"})
        QFile::remove(part + suffix);
    if (!report.fault.isEmpty())
        return report;
    // A power cut must not take the new copy when the old ones have gone.
    report.rotationFault =
        storage::flushFolderOf(report.path) ? rotate(folder, rotation) : folderPath + ": cannot be brought to the disk";
    return report;
}

} // namespace tools::zukbackup
