// Whatever stands in the fingerprint reader's file, in whatever format its times are said to be: a time is read as Qt
// reads it, its text leads back to it, and every line leaves two rows of the journal and at most one event. The first
// line of the input is the format.

#include "server/logger/logger.h"
#include "server/reader/ekeyline.h"
#include "server/reader/ekeylineprocessor.h"
#include "sitefile.h"

using namespace server::reader;

namespace {

const QDate kToday(2026, 10, 25); // when the clock shows an hour twice

void checkTime(const QString &format, const QString &text)
{
    const auto read = calc::rules::TimeFormat(format).read(text);
    if (!format.contains(QLatin1Char('t'))) {
        const QDateTime qt = QDateTime::fromString(text + QStringLiteral("+00:00"), format + QLatin1Char('t'));
        require(read.has_value() == qt.isValid(), "a time that Qt does not read, or the reverse");
        require(!read || (read->date == qt.date() && read->second == qt.time().msecsSinceStartOfDay() / 1000),
                "not the time that Qt reads");
    }
    EkeyTime times(format);
    const EkeyTime::Verdict verdict = times.judge(text, kToday, 0);
    if (verdict.fault != EkeyTime::Fault::None || format != EkeySettings().dateFormat)
        return;
    const EkeyTime::Verdict again = times.judge(times.text(verdict.time), kToday, verdict.time);
    require(again.fault == EkeyTime::Fault::None && again.time == verdict.time, "its text leads to another time");
}

void checkLines(const QString &format, const QByteArrayList &lines)
{
    static SiteFile file({});
    static const EkeyLineProcessor maker({}, [] {}); // of the table of users
    static const bool known = db()->exec(QStringLiteral("insert into ULKAIDS (UID,ULKAID) values (5,'70')"));
    require(known, "no users");
    for (const char *table : {"events", "allevents", "logs"})
        file.empty(table);

    EkeySettings settings;
    settings.dateFormat = format;
    EkeyLineProcessor processor(
        settings, [] {}, [] { return kToday.endOfDay().toMSecsSinceEpoch(); });
    EkeyLineProcessor::Entries entries;
    for (const QByteArray &line : lines)
        entries.push_back({line, {}});
    require(processor.take(&entries, true) == EkeyLineProcessor::Taken::All, "a line that is not taken");
    const QAny events = file.rows("select TIMESTAMP from %1 order by ID", "events");
    require(events.count() == file.count("allevents") && events.count() <= lines.size(), "an event too many");
    require(file.count("logs") == 2 * lines.size(), "a line without its rows in the journal");
    for (int i = 1; i < events.count(); ++i)
        require(events.at(i - 1).at(0).toInteger() <= events.at(i).at(0).toInteger(), "a time that goes back");
}

} // namespace

void check(const QByteArray &input)
{
    static Logger journal({}, [] { return QList<QHostAddress>{QHostAddress(QHostAddress::LocalHost)}; });
    setLogger(&journal);
    QByteArrayList lines = input.split('\n');
    const QString format = QString::fromUtf8(lines.takeFirst());
    for (const QByteArray &line : lines) {
        const EkeyLine read(line);
        require(EkeyLine::dateOf(line) == read.date(), "another date in short");
        checkTime(format, read.date());
    }
    checkLines(format, lines);
}
