#include "server/web/webmetods.h"

#include "calc/input/metaevents.h"
#include "server/logger/logger.h"
#include "server/web/literaltext.h"
#include "server/web/readings.h"
#include "server/web/webanswer.h"
#include "storage/database.h"
#include "storage/worklimit.h"

#include <QDateTime>
#include <QDebug>
#include <QLocale>
#include <QObject>

using namespace server::web;

namespace {

/// Values stand in it unescaped: deliberate, the site's names and passwords are stored and compared so. Those that
/// would not stay between their quotes are kept away from it.
const QString &userSql()
{
    static const QString sql = QStringLiteral(
        "select idp,firstname,lastname from USER_ACCESS left join employees on employees.id=user_access.idp "
        "where name='%1' and password='%2' and user_access.active=1 and employees.active=1");
    return sql;
}

const QString kUser = QStringLiteral("user");
const QString kPassword = QStringLiteral("pass");

QString userOf(const QAny &req)
{
    return req.lookup(kData).lookup(kUser).toString();
}

QAny shortened(const QAny &text)
{
    return QAny(text.toString().left(kMaxLiteral + 1));
}

/// What matters of a login, to be kept: no more than a text of a statement, or what is too long for one.
QAny loginOf(const QAny &req)
{
    QAny data(QAny::Hash);
    for (const QString &key : {kUser, kPassword}) {
        if (req.lookup(kData).contains(key))
            data.insert(key, shortened(req.lookup(kData).lookup(key)));
    }
    return QAny{{kType, req.lookup(kType)}, {kTag, req.lookup(kTag).toString()}, {kData, data}};
}

/// Nobody who has not logged in may fill the journal with long names and passwords.
constexpr int kMaxLogged = 256;

/// A file that holds nothing, where there is none.
class NoFile final : public storage::Reader
{
public:
    bool isOpen() const override { return false; }
    QString filePath() const override { return {}; }
    QString configValue(const QString &) override { return {}; }
    QAny select(const QString &) override { return QAny(QAny::List); }
    storage::Status forEachRow(const QString &, const QVariantList &,
                               const std::function<void(const QSqlQuery &)> &) override
    {
        return storage::Status::Lasting;
    }
};

/// What waits for the answer is everybody: it must not take long.
QAny rowsOf(const QString &sql)
{
    const storage::WorkLimit limit;
    return db() ? db()->select(sql) : QAny(QAny::List);
}

bool store(const MetaEvent &event)
{
    for (const QString &text : {event.accessCode, event.type, event.remark}) {
        if (!isLiteral(text))
            return false;
    }
    const storage::WorkLimit limit;
    return db() && InsertMeta(*db(), event);
}

QAny tooBusy(QAny answer)
{
    return refused(std::move(answer), "Busy!");
}

} // namespace

/// The locale is asked for once here, so that what other threads format finds it ready.
webMetods::webMetods(server::process::Clock clock) : m_clock(std::move(clock))
{
    QLocale::system().dayName(1, QLocale::ShortFormat);
}

QAny webMetods::request(const QAny &req, const QObject *peer)
{
    const Outcome outcome = answer(req, peer, false);
    if (!outcome.reading)
        return outcome.answer;
    NoFile noFile;
    return outcome.reading(db() ? static_cast<storage::Reader &>(*db()) : noFile);
}

webMetods::Outcome webMetods::begin(const QAny &req, const QObject *peer)
{
    return answer(req, peer, true);
}

webMetods::Outcome webMetods::answer(const QAny &req, const QObject *peer, bool mayHold)
{
    // An array or a text that is no JSON has no tag either, so that every shape of request is answered here.
    const QString tag = req.contains(kTag) ? req.lookup(kTag).toString() : QString();
    if (tag.isEmpty() || tag.size() > KnownTags::kMaxLength)
        return {refused(startOfAnswer(), "Not tag!"), {}};

    const QString type = req.lookup(kType).toString();
    if (type == QLatin1String("getUser")) {
        if (!m_brake.allows(userOf(req)) && mayHold)
            return {{}, {}, loginOf(req)};
        QAny login = getUser(req, peer, tag);
        login.insert(kTag, tag);
        return {login, {}};
    }
    if (type == QLatin1String("logOut"))
        return {logOut(peer, tag), {}};
    if (!isLoggedIn(peer, tag))
        return {refused(startOfAnswer(), "Not logged in!"), {}};
    if (type == QLatin1String("getWTime"))
        return workTime(req);
    if (type == QLatin1String("getPresence"))
        return presence();
    if (type == QLatin1String("getSaldo"))
        return saldo(req);
    if (type == QLatin1String("addMeta"))
        return {addMeta(req), {}};
    return {startOfAnswer(), {}};
}

void webMetods::removePeer(const QObject *peer)
{
    m_peers.remove(peer);
    m_tags.clientIsGone(peer);
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
    if (!data.contains(kUser))
        return refused(answer, "No user!");
    if (!data.contains(kPassword))
        return refused(answer, "No password!");

    const QString user = userOf(req);
    const QString password = data.lookup(kPassword).toString();
    const QString sql = userSql().arg(user, password);
    // Deliberate: the row names the password, administrators look up failed logins by it.
    if (logger())
        logger()->note(
            QStringLiteral("Logger::Webser NewUser:%1 %2").arg(user.left(kMaxLogged), password.left(kMaxLogged)));
    constexpr int kMaxShown = 1000;
    qDebug() << "SQL getUser: " << sql.left(kMaxShown);
    const QAny rows = isLiteral(user) && isLiteral(password) ? rowsOf(sql) : QAny(QAny::List);
    if (rows.count() == 0) {
        m_brake.failed(user);
        return refused(answer, "User unknown!");
    }

    QAny row = withKeys(rows.at(0), [](const QString &key) { return key.toLower(); });
    row.insert(kResult, true); // deliberately a Bool, where other answers have a text: the page relies on it
    answer.insert(kData, row);
    m_peers.insert(peer);
    m_tags.add(tag, peer);
    return answer;
}

QAny webMetods::logOut(const QObject *peer, const QString &tag)
{
    m_peers.remove(peer);
    m_tags.remove(tag);
    return answerOf(QAny{{kResult, QStringLiteral("true")}});
}

webMetods::Outcome webMetods::workTime(const QAny &req) const
{
    return {tooBusy(startOfAnswer("getWTime")), [request = req.deepCopy(), day = today()](storage::Reader &reader) {
                return workTimeAnswer(reader, request, day);
            }};
}

webMetods::Outcome webMetods::presence() const
{
    return {tooBusy(startOfAnswer()), [day = today()](storage::Reader &reader) { return presenceAnswer(reader, day); }};
}

webMetods::Outcome webMetods::saldo(const QAny &req)
{
    return {tooBusy(startOfAnswer()),
            [request = req.deepCopy()](storage::Reader &reader) { return saldoAnswer(reader, request); }};
}

QAny webMetods::addMeta(const QAny &req) const
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
    const bool stored = event.user > 0 && store(event);
    return answerOf(QAny{{kResult, stored}});
}
