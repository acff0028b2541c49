// Who is away, and what is left of somebody's free hours.

#include "server/web/readings.h"
#include "server/web/webanswer.h"
#include "storage/reader.h"

#include <QDateTime>

namespace server::web {

namespace {

const QString &presenceSql()
{
    static const QString sql = QStringLiteral(
        "SELECT USER as UID,ACCESS_CODE as CODE,TYPE,allevents.REMARK as REMARK,(LASTNAME || \" \" || FIRSTNAME) as "
        "NAME FROM employees  left join allevents on allevents.user = employees.id where active=1 and timestamp > %1 "
        "order by UID,TIMESTAMP");
    return sql;
}

const QString &saldoSql()
{
    static const QString sql = QStringLiteral(
        "SELECT freehour.ID as ID,IDU,(employees.LASTNAME || \" \" || employees.FIRSTNAME) as NAME,DEPARTMENT,"
        "HDLAST,HDLSPENT,HDLDATE,HDTOT,HDSPENT,OFFDAYS as HDSUM,FHOURS,LUPDATE,CHGDATE,STATUS,freehour.REMARK as "
        "REMARK FROM EMPLOYEES left join FREEHOUR on employees.id = idu  where idu=%1 and STATUS=2 ");
    return sql;
}

QAny upperCaseRowsOf(storage::Reader &reader, const QString &sql)
{
    const QAny rows = reader.select(sql);
    QAny result(QAny::List);
    for (int i = 0; i < rows.count(); ++i)
        result.append(withKeys(rows.at(i), [](const QString &key) { return key.toUpper(); }));
    return result;
}

/// Whether a user whose last event of the day is this row stands in the presence list.
bool isListed(const QAny &row)
{
    if (row.lookup(QStringLiteral("TYPE")).toString() != QLatin1String("MP")) {
        // Deliberate: of the terminal events those are listed that are no arrival; the page relies on it.
        return !row.lookup(QStringLiteral("CODE")).toString().startsWith(QLatin1String("101"));
    }
    const QString remark = row.lookup(QStringLiteral("REMARK")).toString().toUpper();
    for (const char *start : {"DOP", "1:", "BOL", "2:"}) {
        if (remark.startsWith(QLatin1String(start)))
            return true;
    }
    return false;
}

QString saldoStatus(const QAny &status)
{
    const char *words[] = {"Zadnji obračun", "Tekoče stanje", "Arhiv"};
    const qint64 state = status.toInteger();
    const QString word = state >= 1 && state <= 3 ? QString::fromUtf8(words[state - 1]) : QString();
    return QStringLiteral("%1:").arg(state) + word;
}

} // namespace

QAny presenceAnswer(storage::Reader &reader, QDate today)
{
    const QDateTime midnight = today.startOfDay();
    const QAny rows = upperCaseRowsOf(reader, presenceSql().arg(midnight.toSecsSinceEpoch()));
    const QString uid = QStringLiteral("UID");
    QAny presence(QAny::List);
    // Deliberate: the very last row is never examined, the user with the highest id is never listed.
    for (int i = 0; i + 1 < rows.count(); ++i) {
        const QAny &row = rows.at(i);
        const bool isLastOfUser = row.lookup(uid) != rows.at(i + 1).lookup(uid);
        if (!isLastOfUser || !isListed(row))
            continue;
        QAny entry(QAny::Hash);
        for (const QString &key : {QStringLiteral("NAME"), QStringLiteral("CODE"), QStringLiteral("REMARK")})
            entry.insert(key, row.lookup(key));
        presence.append(entry);
    }
    return answerOf(QAny{{kResult, true}, {QStringLiteral("presence"), presence}});
}

QAny saldoAnswer(storage::Reader &reader, const QAny &request)
{
    const QString day = QStringLiteral("dd.MM.yyyy");
    const struct {
        QString key;
        QString format;
    } times[] = {
        {QStringLiteral("HDLDATE"), day},
        {QStringLiteral("LUPDATE"), day},
        {QStringLiteral("CHGDATE"), QStringLiteral("dd.MM.yyyy hh:mm")},
    };
    const QString status = QStringLiteral("STATUS");
    const qint64 id = request.lookup(kData).lookup(QStringLiteral("ID")).toInteger();
    const QAny rows = upperCaseRowsOf(reader, saldoSql().arg(id));
    for (int i = 0; i < rows.count(); ++i) {
        QAny row = rows.at(i);
        for (const auto &time : times)
            row.insert(time.key, timeText(row.lookup(time.key), time.format));
        row.insert(status, saldoStatus(row.lookup(status)));
    }
    return answerOf(QAny{{kResult, true}, {QStringLiteral("saldo"), rows}});
}

} // namespace server::web
