#include "page/server/livehub.h"

#include "calc/crew.h"

#include <QCoreApplication>
#include <QTimeZone>
#include <QWebSocket>

#include <utility>

using server::workers::ReadPool;

namespace page {

namespace {

const QString kPush = QStringLiteral("push");

QAny push(const char *kind)
{
    return {{kPush, QString::fromLatin1(kind)}};
}

QString dateText(QDate date)
{
    return date.toString(Qt::ISODate);
}

QAny rolesOf(const OfficeDoor::Person &person)
{
    QAny roles(QAny::List);
    for (const office::Role &role : person.roles) {
        roles.append({{QStringLiteral("role"), QString::fromLatin1(role.isHr ? "hr" : "supervisor")},
                      {QStringLiteral("department"), role.isHr ? QAny() : QAny(role.department)}});
    }
    return roles;
}

bool isSame(const OfficeDoor::Person &one, const OfficeDoor::Person &other)
{
    return one.name == other.name && one.department == other.department && rolesOf(one) == rolesOf(other);
}

} // namespace

/// Written by the worker, read when it has ended.
struct LiveHub::Refreshed {
    struct One {
        Sessions::Key session;
        std::optional<OfficeDoor::Person> person;
    };

    std::vector<One> persons;
    OfficeDoor::Change change;
    QAny presence;
    bool isFault = false;
};

LiveHub::LiveHub(const Services &services, const QString &databasePath, const LiveLimits &limits)
    : m_services(services), m_limits(limits), m_file(databasePath, services.office)
{
    m_look.setInterval(limits.lookMs);
    connect(&m_look, &QTimer::timeout, this, [this] { look(); });
    m_persons.setInterval(limits.personsMs);
    connect(&m_persons, &QTimer::timeout, this, [this] {
        m_isDue = true;
        look();
    });
}

LiveHub::~LiveHub()
{
    m_services.pool.cancel(ReadPool::ownerOf(this));
    shut();
}

void LiveHub::shut()
{
    qDeleteAll(std::exchange(m_connections, {}));
}

void LiveHub::add(const http::Upgraded &upgraded, const Sessions::Key &session)
{
    const OfficeDoor::Person *person = m_services.sessions.person(session);
    if (!person) {
        upgraded.socket->setParent(this);
        return LiveConnection::turnAway(upgraded.socket, m_limits);
    }
    const OfficeDoor::Person known = *person;
    auto *connection = new LiveConnection(upgraded, m_services, session, m_limits, this);
    connect(connection, &LiveConnection::gone, this, [this, connection] { remove(connection); });
    connect(connection, &LiveConnection::unknown, this, [this, connection] { signOut(connection->session()); });
    connect(connection, &LiveConnection::written, this, &LiveHub::look, Qt::QueuedConnection);
    m_connections.append(connection);
    sayHello(*connection, known);
    m_isDue = true; // it may have been signed in for hours
    if (m_file.isGone())
        connection->send(R"({"push":"database","state":"gone"})");
    if (m_look.isActive())
        return; // a thousand that come at once are looked at together
    m_look.start();
    m_persons.start();
    m_today = m_services.now().today;
    look();
}

void LiveHub::remove(LiveConnection *connection)
{
    if (!m_connections.removeOne(connection))
        return;
    connection->deleteLater();
    if (!m_connections.isEmpty())
        return;
    m_look.stop();
    m_persons.stop();
    m_file.rest();
    m_board.clear();
    m_change = {};
}

void LiveHub::signOut(const Sessions::Key &session)
{
    m_services.sessions.end(session);
    const QVector<LiveConnection *> connections = m_connections;
    for (LiveConnection *connection : connections) {
        if (connection->session() == session)
            connection->signOut();
    }
}

void LiveHub::sayHello(LiveConnection &connection, const OfficeDoor::Person &person)
{
    const OfficeDoor::Now now = m_services.now();
    QAny hello = push("hello");
    hello.insert(QStringLiteral("me"), QAny{{QStringLiteral("id"), person.id},
                                            {QStringLiteral("name"), person.name},
                                            {QStringLiteral("department"), person.department},
                                            {QStringLiteral("roles"), rolesOf(person)}});
    hello.insert(QStringLiteral("today"), dateText(now.today));
    hello.insert(QStringLiteral("now"), now.time);
    hello.insert(QStringLiteral("zone"), QString::fromLatin1(QTimeZone::systemTimeZoneId()));
    hello.insert(QStringLiteral("version"), QCoreApplication::applicationVersion());
    connection.send(hello.toJsonUtf8());
}

void LiveHub::toAll(const QByteArray &text)
{
    const QVector<LiveConnection *> connections = m_connections; // one that is dropped leaves the list
    for (LiveConnection *connection : connections)
        connection->send(text);
}

void LiveHub::look()
{
    lookAtSessions();
    if (m_connections.isEmpty())
        return;
    lookAtDay();
    lookAtFile();
    if (m_change.isAny() || m_isDue)
        refresh();
}

void LiveHub::lookAtSessions()
{
    m_services.sessions.endOld();
    const QVector<LiveConnection *> connections = m_connections;
    for (LiveConnection *connection : connections) {
        if (!m_services.sessions.person(connection->session()))
            connection->signOut();
    }
}

void LiveHub::lookAtDay()
{
    const QDate today = m_services.now().today;
    if (std::exchange(m_today, today) == today)
        return;
    QAny day = push("day");
    day.insert(QStringLiteral("today"), dateText(today));
    toAll(day.toJsonUtf8());
    m_change.all = true;
}

void LiveHub::lookAtFile()
{
    const FileWatch::Seen seen = m_file.look();
    if (seen.hasGone)
        toAll(R"({"push":"database","state":"gone"})");
    if (seen.hasCome)
        toAll(R"({"push":"database","state":"back"})");
    m_change.employees += seen.change.employees;
    m_change.requests = m_change.requests || seen.change.requests;
    m_change.all = m_change.all || seen.change.all;
}

void LiveHub::refresh()
{
    if (m_isRefreshing || m_file.isGone())
        return;
    const auto refreshed = std::make_shared<Refreshed>();
    for (const LiveConnection *connection : qAsConst(m_connections)) {
        const OfficeDoor::Person *person = m_services.sessions.person(connection->session());
        if (person)
            refreshed->persons.push_back({connection->session(), *person});
    }
    if (refreshed->persons.empty())
        return;
    refreshed->change = m_change;
    m_isRefreshing = m_services.pool.submit(
        ReadPool::Size::Small, ReadPool::ownerOf(this),
        [&office = m_services.office, refreshed, now = m_services.now()](calc::Crew &crew) {
            const OfficeDoor::Person asker = *refreshed->persons.front().person; // everybody sees who is present
            for (Refreshed::One &one : refreshed->persons) {
                bool isFault = false;
                one.person = office.lookAgain(crew.reader(), *one.person, &isFault);
                refreshed->isFault = refreshed->isFault || isFault;
            }
            if (!refreshed->isFault)
                refreshed->presence =
                    office.read(crew, asker, {{QStringLiteral("ask"), QStringLiteral("presence")}}, now);
            return server::workers::Text();
        },
        [this, refreshed](const server::workers::Text &) { end(*refreshed); });
    if (!m_isRefreshing)
        return; // the next look tries again
    m_change = {};
    m_isDue = false;
}

void LiveHub::end(const Refreshed &refreshed)
{
    m_isRefreshing = false;
    const OfficeDoor::Change &change = refreshed.change;
    if (refreshed.isFault) { // at the next look
        m_change.employees += change.employees;
        m_change.requests = m_change.requests || change.requests;
        m_change.all = m_change.all || change.all;
        m_isDue = true;
        return;
    }
    takePersons(refreshed);
    const std::optional<QAny> entries = m_board.take(refreshed.presence, change);
    if (entries) {
        QAny presence = push("presence");
        presence.insert(QStringLiteral("changes"), *entries);
        toAll(presence.toJsonUtf8());
    }
    pushChange(change);
}

void LiveHub::takePersons(const Refreshed &refreshed)
{
    for (const Refreshed::One &one : refreshed.persons) {
        const OfficeDoor::Person *known = m_services.sessions.person(one.session);
        if (!known)
            continue; // signed out meanwhile
        if (!one.person) {
            signOut(one.session);
            continue;
        }
        const bool isOther = !isSame(*known, *one.person);
        m_services.sessions.setPerson(one.session, *one.person);
        const QVector<LiveConnection *> connections = m_connections;
        for (LiveConnection *connection : connections) {
            if (isOther && connection->session() == one.session)
                sayHello(*connection, *one.person);
        }
    }
}

void LiveHub::pushChange(const OfficeDoor::Change &change)
{
    const bool isAll = change.all || m_board.hasLost();
    const QVector<LiveConnection *> connections = m_connections;
    for (LiveConnection *connection : connections) {
        const OfficeDoor::Person *person = m_services.sessions.person(connection->session());
        if (!person)
            continue;
        QAny changed = push("changed");
        const QVector<qint64> visible = m_board.visibleTo(*person, change.employees, m_services.office);
        if (!isAll && visible.isEmpty())
            continue;
        QAny employees(QAny::List);
        for (const qint64 id : visible)
            employees.append(id);
        changed.insert(QStringLiteral("employees"), isAll ? QAny() : employees);
        connection->send(changed.toJsonUtf8());
    }
    if (change.requests || change.all)
        toAll(R"({"push":"requests"})");
}

} // namespace page
