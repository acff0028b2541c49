#include "outcome.h"

#include "calc/output/records.h"
#include "calcrows.h"

#include <QDateTime>

using namespace calc::rules;

namespace {

QString shortened(QString text)
{
    if (text.count(':') == 2 && text.endsWith(":00"))
        text.chop(3);
    return text;
}

QString clockText(const QAny &time, const char *format)
{
    const qint64 instant = time.toInteger();
    return instant == 0 ? QString() : shortened(QDateTime::fromSecsSinceEpoch(instant).toString(format));
}

} // namespace

QString duration(std::optional<qint64> value)
{
    if (!value)
        return "-";
    const QTime rest = QTime(0, 0).addSecs(static_cast<int>(qAbs(*value) % 3600));
    return (*value < 0 ? "-" : "") + shortened(QString::number(qAbs(*value) / 3600) + rest.toString(":mm:ss"));
}

QString values(const QAny &row, const QString &keys)
{
    QStringList texts;
    for (const QString &key : keys.split(' ')) {
        const QAny cell = row.value(key);
        texts += (cell.isHash() ? cell.value("UWVS") : cell).toJson().replace('"', '\'');
    }
    return texts.join(',');
}

QString each(const QAny &list, const QString &keys)
{
    QStringList texts;
    for (int i = 0; i < list.count(); ++i)
        texts += values(list[i], keys).remove('\'').replace(',', ' ');
    return texts.join(", ");
}

QString durations(const QAny &row, const QString &keys)
{
    QStringList texts;
    for (const QString &key : keys.split(' '))
        texts += duration(row.value(key).isInteger() ? std::optional(row.value(key).toInteger()) : std::nullopt);
    return texts.join(' ');
}

QAny Outcome::row(const QString &list, qint64 user, const QString &day) const
{
    const QList<QAny> rows = answer.value(list).toList();
    for (const QAny &candidate : rows)
        if (candidate.value("USER").toInteger() == user &&
            (day.isEmpty() || candidate.value("DATE").toInteger() == midnight(day)))
            return candidate;
    return {};
}

QString Outcome::values(const QString &day, qint64 user) const
{
    return amounts(day, "IN OUT", user).replace("- -", "-").replace(' ', '-') + ' ' + amounts(day, "DELO", user);
}

QString Outcome::remarks(const QString &day, qint64 user) const
{
    return row("DAYS", user, day).value("OPOMBA").toVariant().toStringList().join("; ");
}

QString Outcome::pairs(qint64 user) const
{
    QStringList texts;
    const QList<QAny> all = row("CALC", user).value("PAIRS").toList();
    for (const QAny &pair : all) {
        const qint64 beyond = pair.value("NW").toInteger();
        texts += QString("%1 %2-%3 %4 %5 %6")
                     .arg(clockText(pair.value("DATESTAMP"), "d.M."), clockText(pair.value("TIMESTAMP"), "HH:mm:ss"),
                          clockText(pair.value("TIMESTAMP2"), "HH:mm:ss"), pair.value("TIP2").toString(),
                          durations(pair, "PTIME"), beyond == 0 ? QString() : "NW " + duration(beyond))
                     .simplified();
    }
    return texts.join("; ");
}

QString Outcome::errors(const QString &codes) const
{
    QStringList texts;
    const QList<QAny> all = answer.value("ERR").toList();
    for (const QAny &error : all)
        if (codes.split(' ').contains(error.value("CODE").toString()))
            texts += QString("%1 %2 %3 %4")
                         .arg(error.value("CODE").toString(), error.value("NAPAKA").toString(),
                              ::values(error, "USER").remove("null"), clockText(error.value("DATESTAMP"), "d.M."))
                         .simplified();
    texts.sort();
    return texts.join('|');
}

QString Outcome::amounts(const QString &day, const QString &columns, qint64 user) const
{
    return durations(row("DAYS", user, day), columns);
}

QString Outcome::sums(const QString &columns, qint64 user) const
{
    return durations(row("CALCsum", user), columns);
}

QList<qint64> Outcome::users(const QString &list) const
{
    QList<qint64> ids;
    const QList<QAny> rows = answer.value(list).toList();
    for (const QAny &one : rows)
        ids += one.value("USER").toInteger();
    return ids;
}

CalcRun::CalcRun(CalcResult calculated) : Outcome(calc::output::recordsOf(calculated)), result(std::move(calculated)) {}

const EmployeeResult &CalcRun::of(qint64 user) const
{
    for (size_t i = 0; i < result.employees.size(); ++i) {
        if (result.inputs.employees[i].user == user)
            return result.employees[i];
    }
    qFatal("CalcRun: no employee %lld", user);
}

const DayResult &CalcRun::day(const QString &day, qint64 user) const
{
    const Period &period = result.inputs.period;
    const int number = period.clock.dayOf(date(day));
    if (!period.containsDay(number))
        qFatal("CalcRun: %s is outside the period", qPrintable(day));
    return of(user).days[static_cast<size_t>(number - period.firstDay)];
}
