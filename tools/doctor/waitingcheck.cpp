// Events that the database has not taken.

#include "storage/rescuelines.h"
#include "tools/doctor/checks.h"
#include "tools/doctor/figures.h"

#include <QFile>
#include <QFileInfo>

namespace tools::doctor {

namespace {

/// The server replaces its figures every 15 seconds.
constexpr qint64 kStaleS = 300;

const QString kHelp =
    QStringLiteral("the server's journal tells why (journalctl -u zuk3srv); docs/operation.md, \"When "
                   "the database cannot be written\"");

void checkRescueFile(const QString &path, Findings &findings)
{
    QFile file(path);
    if (!file.exists())
        return;
    if (!file.open(QIODevice::ReadOnly)) {
        findings.addUnseen(QStringLiteral("%1: %2.").arg(path, file.errorString()));
        return;
    }
    QByteArray content = file.read(storage::RescueLines::kHeadSize + 1);
    if (!storage::RescueLines::isAnyIn(content))
        return;
    content += file.readAll();
    const storage::RescueLines kept = storage::RescueLines::parse(content);
    findings.add(Severity::Act,
                 QStringLiteral("the rescue file holds %1 that the database has not taken%2")
                     .arg(counted(kept.lines.size(), "event"),
                          kept.isDamaged ? QStringLiteral("; others there cannot be read") : QString()),
                 kHelp);
}

void checkFigures(const QString &path, Findings &findings)
{
    const Figures figures = Figures::read(path);
    if (!figures.isThere) {
        findings.addUnseen(
            QStringLiteral("events that wait in memory: no figures of a running server in %1.").arg(path));
        return;
    }
    if (figures.ageS > kStaleS) {
        findings.add(Severity::Act,
                     QStringLiteral("the server wrote its figures %1 minutes ago: it stands still, or was killed")
                         .arg(figures.ageS / 60),
                     QStringLiteral("systemctl status zuk3srv; restart it"));
        return;
    }
    if (figures.values.value("zuk_database_open", 1) == 0)
        findings.add(Severity::Act, QStringLiteral("the server has no open database"), kHelp);
    const int waiting = static_cast<int>(figures.values.value("zuk_events_waiting", 0));
    if (waiting > 0) {
        findings.add(
            Severity::Act,
            QStringLiteral("the server keeps %1 that the database has not taken").arg(counted(waiting, "event")),
            kHelp);
    }
}

} // namespace

void checkWaiting(const Site &site, Findings &findings)
{
    const QString rescue = site.files->database + QStringLiteral("-rescue");
    checkRescueFile(rescue, findings);
    const QFileInfo unread(rescue + QStringLiteral("-unread"));
    if (unread.size() > 0) {
        findings.add(Severity::Soon,
                     QStringLiteral("events that nobody could take back lie in %1").arg(unread.filePath()),
                     QStringLiteral("look at them, a line each, enter what is missing, and then remove the file"));
    }
    checkFigures(site.files->figures, findings);
}

} // namespace tools::doctor
