#include "server/web/webmetods.h"

#include "calc/calc21.h"
#include "calc/dialogcalc3.h"
#include "calc/input/metaevents.h"
#include "calc/output/records.h"
#include "calc/output/tables.h"
#include "server/logger/logger.h"
#include "storage/database.h"

#include <QDateTime>
#include <QDebug>
#include <QElapsedTimer>
#include <QObject>

namespace {

// Statements. Values stand in them unescaped: deliberate, the site's names and passwords are stored and compared so.

const QString &userSql()
{
    static const QString sql = QStringLiteral(
        "select idp,firstname,lastname from USER_ACCESS left join employees on employees.id=user_access.idp "
        "where name='%1' and password='%2' and user_access.active=1 and employees.active=1");
    return sql;
}

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

/// Nobody who has not logged in may fill the journal with long names and passwords.
constexpr int kMaxLogged = 256;

const QString kData = QStringLiteral("data");
const QString kResult = QStringLiteral("result");
const QString kReason = QStringLiteral("reason");
const QString kType = QStringLiteral("type");
const QString kTag = QStringLiteral("tag");

QAny startOfAnswer()
{
    return QAny{{kData, QAny{{kResult, QStringLiteral("false")}}}};
}

QAny startOfAnswer(const char *method)
{
    QAny answer = startOfAnswer();
    answer.insert(kType, QString::fromLatin1(method));
    return answer;
}

/// Makes the answer an error answer; what else it already holds stays.
QAny refused(QAny answer, const char *reason)
{
    answer.insert(kData, QAny{{kReason, QString::fromLatin1(reason)}, {kResult, QStringLiteral("false")}});
    return answer;
}

QAny answerOf(const QAny &data)
{
    return QAny{{kData, data}};
}

QAny rowsOf(const QString &sql)
{
    return db() ? db()->select(sql) : QAny(QAny::List);
}

/// Unix seconds as local time in the given form; empty where there is no time.
QString timeText(const QAny &seconds, const QString &format)
{
    bool isTime = false;
    const qint64 time = seconds.toInteger(&isTime);
    return isTime ? QDateTime::fromSecsSinceEpoch(time).toString(format) : QString();
}

QString durationText(qint64 seconds)
{
    const QLatin1Char zero('0');
    return QStringLiteral("%1:%2").arg(seconds / 3600, 2, 10, zero).arg((seconds / 60) % 60, 2, 10, zero);
}

/// The row under keys of one case, whatever case the administration's file declares its columns in.
template <typename Convert> QAny withKeys(const QAny &row, Convert convert)
{
    QAny result(QAny::Hash);
    for (int i = 0; i < row.count(); ++i)
        result.insert(convert(row.keyAt(i)), row.at(i));
    return result;
}

QAny withLowerCaseKeys(const QAny &row)
{
    return withKeys(row, [](const QString &key) { return key.toLower(); });
}

QAny upperCaseRowsOf(const QString &sql)
{
    const QAny rows = rowsOf(sql);
    QAny result(QAny::List);
    for (int i = 0; i < rows.count(); ++i)
        result.append(withKeys(rows.at(i), [](const QString &key) { return key.toUpper(); }));
    return result;
}

/// Only an explicit false (Bool, number or text) switches a part of the answer off.
bool isWanted(const QAny &data, const QString &key)
{
    bool isSwitch = false;
    const bool on = data.lookup(key).toBool(&isSwitch);
    return on || !isSwitch;
}

/// The one employee asked for: an id, or a list of exactly one. Anything else is 0, whom no employee has.
qint64 oneUser(const QAny &user)
{
    return user.isList() && user.count() == 1 ? user.at(0).toInteger() : user.toInteger();
}

/// The records with times, day and length as texts; a length of nothing stays a number. They are nobody else's.
QAny readablePairs(const QAny &pairs)
{
    static const QString clock = QStringLiteral("hh:mm");
    static const QString day = QStringLiteral("ddd d.M.yyyy");
    const QString length = QStringLiteral("PTIME");
    for (int i = 0; i < pairs.count(); ++i) {
        QAny pair = pairs.at(i);
        for (const QString &key : {QStringLiteral("TIMESTAMP"), QStringLiteral("TIMESTAMP2")})
            pair.insert(key, timeText(pair.lookup(key), clock));
        pair.insert(QStringLiteral("DATESTAMP"), timeText(pair.lookup(QStringLiteral("DATESTAMP")), day));
        const qint64 seconds = pair.lookup(length).toInteger();
        if (seconds != 0)
            pair.insert(length, durationText(seconds));
    }
    return pairs;
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

QAny webMetods::request(const QAny &req, const QObject *peer)
{
    // An array or a text that is no JSON has no tag either, so that every shape of request is answered here.
    const QString tag = req.contains(kTag) ? req.lookup(kTag).toString() : QString();
    if (tag.isEmpty())
        return refused(startOfAnswer(), "Not tag!");

    const QString type = req.lookup(kType).toString();
    if (type == QLatin1String("getUser")) {
        QAny answer = getUser(req, peer, tag);
        answer.insert(kTag, tag);
        return answer;
    }
    if (type == QLatin1String("logOut"))
        return logOut(peer, tag);
    if (!isLoggedIn(peer, tag))
        return refused(startOfAnswer(), "Not logged in!");
    if (type == QLatin1String("getWTime"))
        return getWTime(req);
    if (type == QLatin1String("getPresence"))
        return getPresence();
    if (type == QLatin1String("getSaldo"))
        return getSaldo(req);
    if (type == QLatin1String("addMeta"))
        return addMeta(req);
    return startOfAnswer();
}

void webMetods::removePeer(const QObject *peer)
{
    m_peers.remove(peer);
}

bool webMetods::isLoggedIn(const QObject *peer, const QString &tag) const
{
    const bool havePeer = m_peers.contains(peer);
    const bool haveTag = m_tags.contains(tag);
    qDebug() << "havePeer(peer)" << havePeer << "(peer)" << peer;
    qDebug() << "haveTag(tag)" << haveTag << "(tag)" << tag;
    return havePeer && haveTag;
}

QAny webMetods::getUser(const QAny &req, const QObject *peer, const QString &tag)
{
    QAny answer = startOfAnswer("getUser");
    if (!req.contains(kData))
        return refused(answer, "No Data");
    const QAny &data = req.lookup(kData);
    const QString userKey = QStringLiteral("user");
    const QString passKey = QStringLiteral("pass");
    if (!data.contains(userKey))
        return refused(answer, "No user!");
    if (!data.contains(passKey))
        return refused(answer, "No password!");

    const QString user = data.lookup(userKey).toString();
    const QString password = data.lookup(passKey).toString();
    const QString sql = userSql().arg(user, password);
    // Deliberate: the row names the password, administrators look up failed logins by it.
    if (logger())
        logger()->log(
            0, 0, QStringLiteral("Logger::Webser NewUser:%1 %2").arg(user.left(kMaxLogged), password.left(kMaxLogged)),
            QAny());
    qDebug() << "SQL getUser: " << sql;
    const QAny rows = rowsOf(sql);
    if (rows.count() == 0)
        return refused(answer, "User unknown!");

    QAny row = withLowerCaseKeys(rows.at(0));
    row.insert(kResult, true); // deliberately a Bool, where other answers have a text: the page relies on it
    answer.insert(kData, row);
    m_peers.insert(peer);
    m_tags.insert(tag);
    return answer;
}

QAny webMetods::logOut(const QObject *peer, const QString &tag)
{
    m_peers.remove(peer);
    m_tags.remove(tag);
    return answerOf(QAny{{kResult, QStringLiteral("true")}});
}

QAny webMetods::getWTime(const QAny &req)
{
    QAny answer = startOfAnswer("getWTime");
    if (!req.contains(kData))
        return refused(answer, "No Data");
    const QAny &data = req.lookup(kData);
    if (!data.contains(QStringLiteral("STARTDATE")))
        return refused(answer, "No Start date!");
    if (!data.contains(QStringLiteral("ENDDATE")))
        return refused(answer, "No End date!");
    if (!data.contains(QStringLiteral("USER")))
        return refused(answer, "No User!");

    QAny result = recalc(data, isWanted(data, QStringLiteral("PAIRS")), isWanted(data, QStringLiteral("CALC")));
    if (!result.isHash())
        return refused(answer, "WTime Error!");
    result.insert(kResult, QStringLiteral("true"));
    answer.insert(kData, result);
    return answer;
}

/// The calculation of one employee's period with the stored settings; Invalid after a fatal error.
QAny webMetods::recalc(const QAny &data, bool withPairs, bool withSums)
{
    const QString startDate = QStringLiteral("STARTDATE");
    const QString endDate = QStringLiteral("ENDDATE");
    QElapsedTimer timer;
    timer.start();
    qDebug() << "webMetods::recalc() START";
    if (!db())
        return QAny(QAny::Invalid);
    qDebug() << "DialogCalc3::recalc() allpairs"; // deliberately under the name of the class that packs
    // Built anew: the page may not bring settings of its own.
    Calc21 calculation(*db(), today());
    const calc::rules::CalcResult &calculated = calculation.calculate(QAny{
        {startDate, data.lookup(startDate).toString()},
        {endDate, data.lookup(endDate).toString()},
        {QStringLiteral("USER"), QAny::list({oneUser(data.lookup(QStringLiteral("USER")))})},
    });
    if (calculated.isFatal)
        return QAny(QAny::Invalid);

    QAny result(QAny::Hash);
    if (withSums) {
        DialogCalc3 dialog(*db(), today());
        calc::output::PackedCells cells = calc::output::cellsOf(calculated);
        result.insert(QStringLiteral("SUM"), dialog.packSum(calculated, cells));
        result.insert(QStringLiteral("DAYS"), dialog.showSumDays(calculated, cells));
    }
    qDebug() << "webMetods::recalc() END";
    qDebug() << "webMetods::recalc()" << timer.elapsed() << "ms";
    result.insert(QStringLiteral("ERR"), calc::output::errorRecords(calculated.errors));
    if (withPairs)
        result.insert(QStringLiteral("PAIRS"), readablePairs(calc::output::pairRecords(calculated, 0)));
    return result;
}

QAny webMetods::getPresence()
{
    const QDateTime midnight = today().startOfDay();
    const QAny rows = upperCaseRowsOf(presenceSql().arg(midnight.toSecsSinceEpoch()));
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

QAny webMetods::getSaldo(const QAny &req)
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
    const qint64 id = req.lookup(kData).lookup(QStringLiteral("ID")).toInteger();
    const QAny rows = upperCaseRowsOf(saldoSql().arg(id));
    for (int i = 0; i < rows.count(); ++i) {
        QAny row = rows.at(i);
        for (const auto &time : times)
            row.insert(time.key, timeText(row.lookup(time.key), time.format));
        row.insert(status, saldoStatus(row.lookup(status)));
    }
    return answerOf(QAny{{kResult, true}, {QStringLiteral("saldo"), rows}});
}

QAny webMetods::addMeta(const QAny &req)
{
    const QAny &data = req.lookup(kData);
    MetaEvent event;
    event.user = data.lookup(QStringLiteral("ID")).toInteger();
    event.author = event.user;
    event.timestamp = m_clock() / 1000;
    event.accessCode = data.lookup(QStringLiteral("AC")).toString();
    event.type = data.lookup(QStringLiteral("TYPE")).toString();
    event.remark = data.lookup(QStringLiteral("REM")).toString();
    // A request that names nobody must not leave an event that belongs to nobody.
    const bool stored = db() && event.user > 0 && InsertMeta(*db(), event);
    return answerOf(QAny{{kResult, stored}});
}
