// Terminals whose clock is off. No stored row tells when an event arrived. What tells it: that the event is of a time
// that has not come yet, and the figures of the running server.

#include "tools/doctor/checks.h"
#include "tools/doctor/figures.h"
#include "tools/doctor/terminalsteps.h"

#include <cmath>
#include <cstdlib>

namespace tools::doctor {

namespace {

/// A clock that differs less is right.
constexpr qint64 kToleranceS = 300;
/// From so much ahead on the server asks the terminal for nothing older any more.
constexpr qint64 kBlockingS = 86400;

const QString kSetClock = QStringLiteral("set the terminal's clock and time zone; docs/operation.md, \"Terminals\", "
                                         "tells how its events get their true time");

/// How many events of each terminal are of times to come, and the last of these times.
const char kAhead[] =
    "select N,(select count(*) from events where TID=N and TIMESTAMP>%1 and typeof(TIMESTAMP)='integer') as AHEAD,"
    "(select TIMESTAMP from events where TID=N and TIMESTAMP>%1 and typeof(TIMESTAMP)='integer' order by TIMESTAMP "
    "desc "
    "limit 1) as NEWEST from T where typeof(N)='integer'";

void checkAhead(const Site &site, Findings &findings)
{
    const QAny rows = site.rows->select(QString::fromLatin1(kTerminalSteps) +
                                        QString::fromLatin1(kAhead).arg(site.now + kToleranceS));
    QStringList little;
    QStringList blocking;
    for (int i = 0; i < rows.count(); ++i) {
        const QAny &row = rows.at(i);
        const int count = row.lookup(QStringLiteral("AHEAD")).toInt();
        const qint64 newest = row.lookup(QStringLiteral("NEWEST")).toInteger();
        if (count > 0) {
            (newest > site.now + kBlockingS ? blocking : little) +=
                QStringLiteral("terminal %1: %2 up to %3")
                    .arg(row.lookup(QStringLiteral("N")).toString(), counted(count, "event"), site.timeText(newest));
        }
    }
    if (!blocking.isEmpty()) {
        findings.add(Severity::Act,
                     QStringLiteral("%1 sent events of more than a day ahead: what it records without a connection "
                                    "is not fetched any more")
                         .arg(counted(blocking.size(), "terminal")),
                     kSetClock, blocking);
    }
    if (!little.isEmpty()) {
        findings.add(Severity::Soon,
                     QStringLiteral("%1 sent events of times that have not come yet: the clock is ahead")
                         .arg(counted(little.size(), "terminal")),
                     kSetClock, little);
    }
}

/// From the time of a terminal's last live event to its arrival, as the server tells it.
void checkDelays(const Figures &figures, Findings &findings)
{
    const QByteArray prefix = "zuk_terminal_event_delay_seconds{terminal=\"";
    QStringList off;
    for (auto value = figures.values.lowerBound(prefix);
         value != figures.values.end() && value.key().startsWith(prefix); ++value) {
        if (std::fabs(value.value()) <= static_cast<double>(kToleranceS))
            continue;
        const QByteArray number = value.key().mid(prefix.size()).split('"').first();
        off += QStringLiteral("terminal %1: %2 s %3")
                   .arg(QString::fromUtf8(number), QString::number(std::fabs(value.value()), 'f', 0),
                        value.value() < 0 ? QStringLiteral("ahead") : QStringLiteral("behind"));
    }
    if (!off.isEmpty()) {
        findings.add(
            Severity::Soon,
            QStringLiteral("%1 whose last event arrived with a clock that is off").arg(counted(off.size(), "terminal")),
            kSetClock, off);
    }
}

} // namespace

void checkClocks(const Site &site, Findings &findings)
{
    checkAhead(site, findings);
    if (!site.files && std::llabs(site.here - site.now) > kToleranceS) {
        findings.add(Severity::Soon,
                     QStringLiteral("the server's clock shows %1, this machine's %2")
                         .arg(site.timeText(site.now), site.timeText(site.here)),
                     QStringLiteral("have both set by NTP (timedatectl): terminals get their time from such clocks"));
    }
    const Figures figures = site.files ? Figures::read(site.files->figures) : Figures();
    checkDelays(figures, findings);
    if (!figures.isThere) {
        findings.addUnseen(QStringLiteral("terminals whose clock is behind: no stored row tells when an event arrived; "
                                          "the running server's figures would."));
    }
}

} // namespace tools::doctor
