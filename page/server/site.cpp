#include "page/server/site.h"

#include "calc/crew.h"
#include "page/server/requestvalues.h"

#include <QUrlQuery>

#include <memory>
#include <utility>

using server::workers::ReadPool;

namespace page {

namespace {

const QByteArray kCookie = "zuk_session";
const QByteArray kLive = "/live";
const QByteArray kLogin = "/login";
const QByteArray kLogout = "/logout";
const QByteArray kExport = "/export/";
constexpr char kFormType[] = "application/x-www-form-urlencoded";

constexpr int kBadRequest = 400;
constexpr int kForbidden = 403;
constexpr int kNotFound = 404;
constexpr int kWrongMethod = 405;
constexpr int kWrongType = 415;
constexpr int kUpgradeRequired = 426;
constexpr int kUnavailable = 503;

http::Response onlyBy(const QByteArray &methods)
{
    http::Response response = http::Response::ofStatus(kWrongMethod);
    response.add("Allow", methods);
    return response;
}

http::Response onlyAsWebSocket()
{
    http::Response response = http::Response::ofStatus(kUpgradeRequired);
    response.add("Upgrade", "websocket");
    return response;
}

/// A name that a header takes as it is; letters lose their accents.
QByteArray plainName(const QString &name)
{
    const QString letters = name.normalized(QString::NormalizationForm_D);
    QByteArray plain;
    for (const QChar unit : letters) {
        if (!unit.isMark())
            plain += unit.toLatin1();
    }
    for (char &c : plain) {
        const bool isPlain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
                             c == '_' || c == '.';
        c = isPlain ? c : '_';
    }
    return plain;
}

http::Response download(const OfficeDoor::Export &file)
{
    http::Response response;
    response.type = file.fileName.endsWith(QLatin1String(".pdf")) ? "application/pdf" : "text/csv; charset=utf-8";
    response.body = file.content;
    response.headers = {{"Cache-Control", "no-store"},
                        {"Content-Disposition", "attachment; filename=\"" + plainName(file.fileName) + '"'}};
    return response;
}

/// Written by the worker, read when it has ended.
struct Made {
    std::optional<OfficeDoor::Export> file;
    bool isFault = false;
};

Sessions::Key sessionOf(const http::Request &request)
{
    return Sessions::keyOf(cookieOf(request, kCookie));
}

} // namespace

Site::Site(const Services &services, Logins &logins, LiveHub &hub, http::FileTable files)
    : m_services(services), m_logins(logins), m_hub(hub), m_files(std::move(files))
{
}

bool Site::isOfPage(const http::Request &request) const
{
    return m_origin.allows(request.header("origin"));
}

http::Header Site::cookie(const QByteArray &value) const
{
    return {"Set-Cookie", kCookie + '=' + value + "; HttpOnly; SameSite=Strict; Path=" + m_origin.path +
                              (m_origin.isSecure ? "; Secure" : "")};
}

void Site::handle(const http::Request &request, QObject *asker, const Answer &answer)
{
    const bool isGet = request.method == "GET";
    if (m_files.contains(request.path)) {
        answer(isGet || request.method == "HEAD" ? m_files.answer(request) : onlyBy("GET, HEAD"));
    } else if (request.path == kLogin || request.path == kLogout) {
        post(request, asker, answer);
    } else if (request.path.startsWith(kExport)) {
        if (isGet)
            giveExport(request, asker, answer);
        else
            answer(onlyBy("GET"));
    } else if (request.path == kLive) {
        answer(isGet ? onlyAsWebSocket() : onlyBy("GET"));
    } else {
        answer(http::Response::ofStatus(kNotFound));
    }
}

void Site::post(const http::Request &request, QObject *asker, const Answer &answer)
{
    if (request.method != "POST")
        answer(onlyBy("POST"));
    else if (!isOfPage(request))
        answer(http::Response::ofStatus(kForbidden));
    else if (request.path == kLogout)
        answer(loggedOut(request));
    else
        logIn(request, asker, answer);
}

void Site::logIn(const http::Request &request, QObject *asker, const Answer &answer)
{
    if (request.header("content-type").toLower().split(';').first().trimmed() != kFormType)
        return answer(http::Response::ofStatus(kWrongType));
    const QHash<QString, QString> form = formOf(request.body);
    const QString user = QStringLiteral("user");
    const QString password = QStringLiteral("pass");
    if (!form.contains(user) || !form.contains(password))
        return answer(http::Response::ofStatus(kBadRequest));
    m_logins.attempt({form[user], form[password], request.client.toString()}, asker,
                     [this, request, answer](Logins::Outcome outcome, const std::optional<office::Person> &person) {
                         endLogin(outcome, person, request, answer);
                     });
}

/// The browser always gets a new id: one that it was made to bring along is of no use.
void Site::endLogin(Logins::Outcome outcome, const std::optional<office::Person> &person, const http::Request &request,
                    const Answer &answer)
{
    http::Response response;
    switch (outcome) {
    case Logins::Outcome::Done:
        m_hub.signOut(sessionOf(request));
        response = http::Response::json(200, R"({"ok":true})");
        response.add(cookie(m_services.sessions.begin(*person)));
        return answer(response);
    case Logins::Outcome::Wrong:
        return answer(http::Response::json(kForbidden, R"({"ok":false,"error":"login"})"));
    case Logins::Outcome::Fault:
        return answer(http::Response::json(kUnavailable, R"({"ok":false,"error":"database"})"));
    case Logins::Outcome::Busy:
        return answer(http::Response::json(kUnavailable, R"({"ok":false,"error":"busy"})"));
    }
}

http::Response Site::loggedOut(const http::Request &request)
{
    m_hub.signOut(sessionOf(request));
    http::Response response = http::Response::json(200, R"({"ok":true})");
    http::Header ended = cookie({});
    ended.value += "; Max-Age=0";
    response.add(ended);
    return response;
}

void Site::giveExport(const http::Request &request, QObject *asker, const Answer &answer)
{
    const Sessions::Key session = sessionOf(request);
    const OfficeDoor::Person *person = m_services.sessions.person(session);
    if (!person)
        return answer(http::Response::ofStatus(kForbidden));
    m_services.sessions.use(session);
    // As forms write it: a blank is a plus.
    const QUrlQuery query(QString::fromLatin1(request.query).replace(QLatin1Char('+'), QStringLiteral("%20")));
    const auto made = std::make_shared<Made>();
    // Of a department, for example; whoever wants a day's is not held up by it.
    const bool isTaken = m_services.pool.submit(
        ReadPool::Size::Large, ReadPool::ownerOf(asker),
        [made, person = *person, path = QString::fromLatin1(request.path.mid(kExport.size())), query,
         now = m_services.now(), &office = m_services.office](calc::Crew &crew) {
            const auto known = office.lookAgain(crew.reader(), person, &made->isFault);
            if (known && !made->isFault)
                made->file = office.exported(crew, *known, path, query, now, &made->isFault);
            return server::workers::Text();
        },
        [made, answer](const server::workers::Text &) {
            answer(made->file ? download(*made->file)
                              : http::Response::ofStatus(made->isFault ? kUnavailable : kForbidden));
        });
    if (!isTaken)
        return answer(http::Response::ofStatus(kUnavailable));
    QObject::connect(asker, &QObject::destroyed, &m_hub,
                     [this, owner = ReadPool::ownerOf(asker)] { m_services.pool.cancel(owner); });
}

/// Nothing else may a request turn into, so that no proxy takes this connection for something that it is not.
std::optional<http::Response> Site::refusalOf(const http::Request &request)
{
    const bool isUpgrade = request.method == "GET" && request.hasToken("upgrade", "websocket") &&
                           request.hasToken("connection", "upgrade") && !request.isLast;
    if (request.path != kLive || !isUpgrade || request.header("sec-websocket-key").isEmpty())
        return http::Response::ofStatus(kBadRequest);
    if (request.header("sec-websocket-version") != "13") {
        http::Response response = onlyAsWebSocket();
        response.add("Sec-WebSocket-Version", "13");
        return response;
    }
    if (!isOfPage(request))
        return http::Response::ofStatus(kForbidden);
    return {};
}

void Site::upgraded(const http::Upgraded &upgraded)
{
    m_hub.add(upgraded, sessionOf(upgraded.request));
}

} // namespace page
