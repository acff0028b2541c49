// Whether the file is undamaged and written as it should be.

#include "tools/doctor/checks.h"

#include <QFileInfo>

namespace tools::doctor {

namespace {

/// The server does nothing else while it checks its file, about a second for so many bytes.
constexpr qint64 kMaxRemoteBytes = 256LL << 20;
/// So many take long enough that people want to know.
constexpr qint64 kAnnouncedBytes = 256LL << 20;

qint64 sizeOf(const Site &site)
{
    return site.rows
        ->first(QStringLiteral("select page_count*page_size as BYTES from pragma_page_count,pragma_page_size"))
        .lookup(QStringLiteral("BYTES"))
        .toInteger();
}

} // namespace

void addDamage(const QStringList &signs, Findings &findings)
{
    findings.add(Severity::Act, QStringLiteral("the database is damaged"),
                 QStringLiteral("put the last good copy in its place and keep this file aside: docs/operation.md, "
                                "\"Restore\""),
                 signs);
}

void checkIntegrity(const Site &site, Findings &findings)
{
    const qint64 bytes = sizeOf(site);
    const QString megabytes = QString::number(bytes >> 20);
    if (!site.files && bytes > kMaxRemoteBytes) {
        findings.addUnseen(QStringLiteral("integrity: the server would stand still while it reads its %1 MiB; "
                                          "--database on its machine does not stop it.")
                               .arg(megabytes));
        return;
    }
    if (site.announce && bytes > kAnnouncedBytes)
        site.announce(QStringLiteral("reading the whole database, %1 MiB").arg(megabytes));
    const QAny rows = site.rows->select(QStringLiteral("PRAGMA quick_check(5)"));
    QStringList told;
    for (int i = 0; i < rows.count(); ++i)
        told += rows.at(i).at(0).toString().simplified();
    if (told.isEmpty())
        findings.addUnseen(QStringLiteral("integrity: the check of the file had no answer."));
    else if (told != QStringList(QStringLiteral("ok")))
        addDamage(told, findings);
}

void checkJournalMode(const Site &site, Findings &findings)
{
    const bool hasLog = site.files ? site.files->hasWriteAheadLog
                                   : site.rows->first(QStringLiteral("PRAGMA journal_mode"))
                                             .lookup(QStringLiteral("journal_mode"))
                                             .toString() == QLatin1String("wal");
    if (!hasLog) {
        findings.add(Severity::Soon, QStringLiteral("the database is not written with a write-ahead log"),
                     QStringLiteral("restart the server, which sets it; until then who reads holds up who writes"));
    }
}

} // namespace tools::doctor
