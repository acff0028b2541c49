#include "calcsite.h"

#include "attendancefile.h"
#include "calc/calc21.h"
#include "calc/dialogcalc3.h"

#include <QDateTime>
#include <QRegularExpression>

namespace {

QAny scalar(const QString &text)
{
    if (text.startsWith('\''))
        return text.mid(1, text.size() - 2);
    bool ok = false;
    if (const qint64 number = text.toLongLong(&ok); ok)
        return number;
    if (const double number = text.toDouble(&ok); ok)
        return number;
    return text;
}

/// "SALDO/ARRINT=1 TYPE=MIXTYPE" as a hash of hashes; texts are kept as texts on request.
QAny assignments(const QString &text, bool asTexts = false)
{
    QAny hash(QAny::Hash);
    for (const QString &item : text.split(' ', Qt::SkipEmptyParts)) {
        const QString name = item.section('=', 0, 0);
        const QAny value = asTexts ? QAny(item.section('=', 1)) : scalar(item.section('=', 1));
        if (!name.contains('/'))
            hash[name] = value;
        else
            hash[name.section('/', 0, 0)][name.section('/', 1)] = value;
    }
    return hash;
}

QAny scheduleHash(const QString &text)
{
    QAny shifts(QAny::Hash);
    for (const QString &part : text.split('|', Qt::SkipEmptyParts)) {
        static const QRegularExpression head("^\\s*(IZM\\d)?\\s*(?:(\\d)-(\\d))?\\s*(.*)$");
        const auto match = head.match(part);
        const QString shift = match.captured(1).isEmpty() ? "IZM1" : match.captured(1);
        const int first = match.captured(2).isEmpty() ? 1 : match.captured(2).toInt();
        const int last = match.captured(3).isEmpty() ? 7 : match.captured(3).toInt();
        for (int day = first; day <= last; ++day)
            shifts[shift][QString::number(day)] = assignments(match.captured(4), true);
    }
    return shifts;
}

QString stored(const QString &text, const std::function<QAny()> &parse)
{
    return text.isEmpty() || text.contains(QRegularExpression("^[{\\[]")) ? text : parse().toJson();
}

qint64 instant(const QString &text)
{
    const QString time = text.section(' ', 1);
    return midnight(text.section(' ', 0, 0)) + (time.isEmpty() ? 0 : seconds(time));
}

QString shortened(QString text)
{
    if (text.count(':') == 2 && text.endsWith(":00"))
        text.chop(3);
    return text;
}

QString clock(const QAny &time, const char *format = "HH:mm:ss")
{
    return time.toInteger() ? shortened(QDateTime::fromSecsSinceEpoch(time.toInteger()).toString(format)) : QString();
}

void merge(QAny &row, const QString &columns)
{
    const QAny extra = assignments(columns);
    for (const QString &key : extra.keys())
        row[key] = extra.value(key);
}

} // namespace

qint64 seconds(const QString &text)
{
    const bool negative = text.startsWith('-');
    const QStringList parts = text.mid(negative ? 1 : 0).split(':');
    const qint64 value =
        parts.value(0).toLongLong() * 3600 + parts.value(1).toLongLong() * 60 + parts.value(2).toLongLong();
    return negative ? -value : value;
}

QString duration(qint64 value)
{
    const QTime rest = QTime(0, 0).addSecs(static_cast<int>(qAbs(value) % 3600));
    return (value < 0 ? "-" : "") + shortened(QString::number(qAbs(value) / 3600) + rest.toString(":mm:ss"));
}

QDate date(const QString &text)
{
    return QDate::fromString(text, "d.M.yyyy");
}

qint64 midnight(const QString &text)
{
    return date(text).startOfDay().toSecsSinceEpoch();
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

QString durations(const QAny &row, const QString &keys)
{
    QStringList texts;
    for (const QString &key : keys.split(' '))
        texts += row.value(key).isInteger() ? duration(row.value(key).toInteger()) : QString('-');
    return texts.join(' ');
}

QAny Outcome::row(const QString &list, qint64 user, const QString &day) const
{
    const QList<QAny> rows = result.value(list).toList();
    for (const QAny &candidate : rows)
        if (candidate.value("USER").toInteger() == user &&
            (day.isEmpty() || candidate.value("DATE").toInteger() == midnight(day)))
            return candidate;
    return {};
}

QString Outcome::remarks(qint64 user, const QString &date) const
{
    return day(user, date).value("OPOMBA").toVariant().toStringList().join("; ");
}

QList<qint64> Outcome::users(const QString &list) const
{
    QList<qint64> ids;
    const QList<QAny> rows = result.value(list).toList();
    for (const QAny &one : rows)
        ids += one.value("USER").toInteger();
    return ids;
}

QString Outcome::pairTexts(qint64 user) const
{
    QStringList texts;
    const QList<QAny> all = pairs(user).toList();
    for (const QAny &pair : all)
        texts += QString("%1 %2-%3 %4 %5 %6")
                     .arg(clock(pair.value("DATESTAMP"), "d.M."), clock(pair.value("TIMESTAMP")),
                          clock(pair.value("TIMESTAMP2")), pair.value("TIP2").toString(), durations(pair, "PTIME"),
                          pair.value("NW").toInteger() ? "NW " + durations(pair, "NW") : QString())
                     .simplified();
    return texts.join("; ");
}

QStringList Outcome::errors(const QStringList &codes) const
{
    QStringList texts;
    const QList<QAny> all = result.value("ERR").toList();
    for (const QAny &error : all)
        if (codes.contains(error.value("CODE").toString()))
            texts += QString("%1 %2 %3 %4")
                         .arg(error.value("CODE").toString(), error.value("NAPAKA").toString(),
                              error.value("USER").toString(), clock(error.value("DATESTAMP"), "d.M."))
                         .simplified();
    texts.sort();
    return texts;
}

CalcSite::CalcSite() : m_database(std::make_unique<DataBase>(m_folder.filePath("site.db")))
{
    sql("PRAGMA synchronous=OFF"); // no test outlives a power cut
    Transaction transaction(*m_database);
    QStringList days;
    for (QDate day(2026, 1, 1); day.year() == 2026; day = day.addDays(1))
        days += QString("(%1,'%2','','')").arg(day.startOfDay().toSecsSinceEpoch()).arg(day.toString("d.M.yyyy"));
    if (!fillAttendance(*m_database, {"delete from config"}))
        qFatal("CalcSite: no attendance tables");
    sql("insert into calendar (DATE,DATESTAMP,NOTE,PRAZNIK) values " + days.join(','));
    if (!transaction.commit())
        qFatal("CalcSite: nothing stored");
}

CalcSite::CalcSite(const QString &script, const QString &schedule, const QString &settings, const QString &columns)
    : CalcSite()
{
    employee(1, "Novak Ana", schedule, settings, columns);
    events(1, script);
}

void CalcSite::sql(const QString &statement)
{
    if (!m_database->execPrepared(statement, {}))
        qFatal("CalcSite: statement fails: %s", qPrintable(statement));
}

void CalcSite::insert(const QString &table, const QAny &row)
{
    if (!m_database->insert(table, row))
        qFatal("CalcSite: row fails: %s", qPrintable(row.toJson()));
}

void CalcSite::employee(qint64 id, const QString &name, const QString &schedule, const QString &settings,
                        const QString &columns)
{
    const QString key = QString("K%1").arg(id);
    insert("calcset", {{"KEY", key}, {"VALUE", stored(settings, [&] { return assignments(settings); })}});
    insert("wtimset", {{"KEY", key}, {"VALUE", stored(schedule, [&] { return scheduleHash(schedule); })}});
    QAny row{{"ID", id},
             {"LASTNAME", name.section(' ', 0, 0)},
             {"FIRSTNAME", name.section(' ', 1)},
             {"EMPLID", QString("E%1").arg(id)},
             {"ACTIVE", 1},
             {"CALCSET", key},
             {"WTIMSET", key},
             {"TIMEZ", 0}};
    merge(row, columns);
    insert("employees", row);
}

void CalcSite::events(qint64 user, const QString &script, const QString &table)
{
    QString day = "2.3.2026";
    for (const QString &item : script.split(';', Qt::SkipEmptyParts)) {
        QStringList words = item.split(' ', Qt::SkipEmptyParts);
        if (words.value(0).count('.') == 2)
            day = words.takeFirst();
        if (words.isEmpty())
            continue;
        QString time = words.value(0);
        const bool utc = time.endsWith('Z');
        time.remove('Z');
        const QString code = words.value(1).section('/', 0, 0);
        const qint64 second = seconds(time);
        const QTime ofDay = QTime(0, 0).addSecs(static_cast<int>(second));
        QAny row{{"USER", user},
                 {"TIMESTAMP", QDateTime(date(day), ofDay, utc ? Qt::UTC : Qt::LocalTime).toSecsSinceEpoch()},
                 {"ACCESS_CODE", code.startsWith('=') ? code.mid(1) : code + ":Ime"},
                 {"TYPE", words.value(1).section('/', 1).isEmpty() ? "EV" : words.value(1).section('/', 1)},
                 {"REMARK", "opomba"}};
        insert(table, row);
    }
}

void CalcSite::holiday(const QString &day, const QAny &text)
{
    sql(QString("update calendar set PRAZNIK=%1 where DATE=%2")
            .arg(text.toJson().replace('"', '\''))
            .arg(midnight(day)));
}

void CalcSite::assign(const QString &from, const QString &to, const QString &shift, const QString &columns)
{
    QAny row{{"ID", ++m_assignments}, {"FDATE", instant(from)}, {"TDATE", instant(to)},
             {"PRERAZ", shift},       {"EMPLID", ""},           {"FHOUR", ""}};
    merge(row, columns);
    insert("RAZPOREDC", row);
}

void CalcSite::storeConfig(const QString &key, const QString &value)
{
    sql(QString("insert or replace into config (KEY,VALUE) values ('%1','%2')").arg(key, value));
}

QAny CalcSite::request(const QString &from, const QString &to, const QString &settings)
{
    return {{"STARTDATE", from}, {"ENDDATE", to}, {"SETT", assignments(settings)}};
}

Outcome CalcSite::run(const QAny &request)
{
    return Outcome(Calc21(*m_database, today).calcAll(request));
}

QAny CalcSite::pack(const QAny &request)
{
    return DialogCalc3(*m_database, today).recalc(request);
}
