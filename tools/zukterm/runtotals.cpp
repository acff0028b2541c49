#include "tools/zukterm/runtotals.h"

namespace tools::zukterm {

namespace {

QString milliseconds(qint64 microseconds)
{
    return QString::number(static_cast<double>(microseconds) / 1000, 'f', 2);
}

} // namespace

qint64 RunTotals::progress() const
{
    return loggedIn + settledEvents() + logLinesStored + callsAnswered + getLogs + getEvents;
}

bool RunTotals::isClean() const
{
    return loggedIn == terminals && refused == 0 && unanswered == 0 && logLinesStored == logLines &&
           callsAnswered == calls && unasked == 0;
}

QString RunTotals::summary() const
{
    QString text = QStringLiteral("terminals: %1, logged in %2, logins refused %3, connections lost %4\n")
                       .arg(terminals)
                       .arg(loggedIn)
                       .arg(refusedLogins)
                       .arg(losses);
    text += QStringLiteral("events: %1, acknowledged %2, found stored %3, refused %4, unanswered %5\n")
                .arg(events)
                .arg(acknowledged)
                .arg(foundStored)
                .arg(refused)
                .arg(unanswered);
    if (acknowledged > 0) {
        const double seconds = static_cast<double>(qMax<qint64>(lastEventMs, 1)) / 1000;
        text += QStringLiteral("rate: %1 acknowledged per second over %2 s\n")
                    .arg(static_cast<double>(acknowledged) / seconds, 0, 'f', 1)
                    .arg(seconds, 0, 'f', 1);
        text += QStringLiteral("latency ms: p50 %1, p90 %2, p99 %3, p99.9 %4, max %5\n")
                    .arg(milliseconds(latency.percentile(0.5)), milliseconds(latency.percentile(0.9)),
                         milliseconds(latency.percentile(0.99)), milliseconds(latency.percentile(0.999)),
                         milliseconds(latency.max()));
    }
    text +=
        QStringLiteral("offline logs: asked %1, rows %2, not newer %3\n").arg(getLogs).arg(logRows).arg(logRowsKept);
    text += QStringLiteral("offline events: asked %1, rows %2, not newer %3\n")
                .arg(getEvents)
                .arg(eventRows)
                .arg(eventRowsKept);
    if (getPictures + ulkaCsvEvents + zukCmds > 0)
        text += QStringLiteral("asked: pictures %1, reader events %2, commands %3\n")
                    .arg(getPictures)
                    .arg(ulkaCsvEvents)
                    .arg(zukCmds);
    if (logLines > 0)
        text += QStringLiteral("log lines: %1, stored %2\n").arg(logLines).arg(logLinesStored);
    if (calls > 0)
        text += QStringLiteral("calls: %1, answered %2\n").arg(calls).arg(callsAnswered);
    if (unasked > 0)
        text += QStringLiteral("terminals whose offline rows were not asked for: %1\n").arg(unasked);
    return text;
}

} // namespace tools::zukterm
