// Whatever events there are, and whatever they are calculated by: the result is sound. The lines of the input, of which
// any may be nonsense:
//   1  the request: FROM (days from 1.1.2026) and DAYS of the period, TODAY likewise, TAP, and switches (ISROUND30=1)
//   2  the schedule, and 3 the settings, in the scripts of the tests or as the JSON texts that are stored
//   4  the events, from the day before the period on: see Story

#include "calc/input/settingsstore.h"
#include "driver.h"
#include "soundrun.h"
#include "story.h"

void check(const QByteArray &input)
{
    const QByteArrayList lines = input.split('\n');
    const auto script = [&lines](int line) { return QString::fromUtf8(lines.value(line)); };
    const QAny request = keyValues(script(0));
    const auto number = [&request](const char *key, qint64 bound) {
        return qAbs(request.lookup(QString::fromLatin1(key)).toInteger() % bound);
    };
    const QDate first = QDate(2026, 1, 1).addDays(number("FROM", 365));
    const QDate last = first.addDays(qMax<qint64>(number("DAYS", 40), 1) - 1);
    CalcRows rows({}, script(1), script(2));
    rows.today = first.addDays(number("TODAY", 400));
    rows.doubleTapSeconds = number("TAP", calc::input::kMaxDoubleTapSeconds + 1);
    Story(rows, first.addDays(-1)).tell(lines.mid(3).join('|'));
    const QString format = QStringLiteral("d.M.yyyy");
    soundRun(rows, first.toString(format), last.toString(format), script(0));
}
