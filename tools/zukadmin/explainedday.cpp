#include "tools/zukadmin/explainedday.h"

#include <QDateTime>
#include <QHash>

namespace tools::zukadmin {

namespace {

constexpr qint64 kDaySeconds = 86400;

} // namespace

ExplainedDay::ExplainedDay(const QAny &explanation) : entry(explanation)
{
    const qint64 midnight = entry.lookup(QStringLiteral("DATE")).toInteger();
    // Noon lies on the same day in every zone but the farthest.
    date = QDateTime::fromSecsSinceEpoch(midnight + kDaySeconds / 2).date();
    isOtherZone = clockOf(midnight) != 0;
    readEvents();
    readPairs();
}

std::optional<qint64> ExplainedDay::scheduled(const char *key) const
{
    const QAny &value = entry.lookup(QStringLiteral("SCHEDULE")).lookup(QLatin1String(key));
    return value.isInteger() ? std::optional<qint64>(value.asInteger()) : std::nullopt;
}

qint64 ExplainedDay::clockOf(qint64 instant) const
{
    const QDateTime shown = QDateTime::fromSecsSinceEpoch(instant);
    return date.daysTo(shown.date()) * kDaySeconds + QTime(0, 0).secsTo(shown.time());
}

void ExplainedDay::readEvents()
{
    const QAny &list = entry.lookup(QStringLiteral("EVENTS"));
    for (int i = 0; i < list.count(); ++i) {
        const QAny &event = list.at(i);
        const auto text = [&event](const char *key) { return event.lookup(QLatin1String(key)).toString(); };
        const QAny &stored = event.lookup(QStringLiteral("STORED"));
        events.push_back({event.lookup(QStringLiteral("N")).toInteger(),
                          clockOf(event.lookup(QStringLiteral("TIMESTAMP")).toInteger()),
                          stored.isInteger() ? std::optional<qint64>(clockOf(stored.asInteger())) : std::nullopt,
                          text("AC"), text("SOURCE"), text("USE")});
    }
}

void ExplainedDay::readPairs()
{
    QHash<qint64, qint64> instants;
    const QAny &eventList = entry.lookup(QStringLiteral("EVENTS"));
    for (int i = 0; i < eventList.count(); ++i)
        instants.insert(eventList.at(i).lookup(QStringLiteral("N")).toInteger(),
                        eventList.at(i).lookup(QStringLiteral("TIMESTAMP")).toInteger());

    const auto instantOf = [&instants](const QAny &number) {
        const auto found = instants.constFind(number.toInteger());
        return found != instants.constEnd() ? std::optional<qint64>(*found) : std::nullopt;
    };

    const QAny &list = entry.lookup(QStringLiteral("PAIRS"));
    for (int i = 0; i < list.count(); ++i) {
        const QAny &pair = list.at(i);
        const QAny &from = pair.lookup(QStringLiteral("FROM"));
        const QAny &to = pair.lookup(QStringLiteral("TO"));
        Pair read{instantOf(from),
                  instantOf(to),
                  from.isNull(),
                  to.isNull(),
                  pair.lookup(QStringLiteral("SECONDS")).toInteger(),
                  pair.lookup(QStringLiteral("CATEGORY")).toString()};
        // The length tells where an end lies that no event made.
        if (read.from && !read.to)
            read.to = *read.from + read.seconds;
        else if (read.to && !read.from)
            read.from = *read.to - read.seconds;
        for (std::optional<qint64> *end : {&read.from, &read.to}) {
            if (*end)
                *end = clockOf(**end);
        }
        pairs.push_back(read);
    }
}

} // namespace tools::zukadmin
