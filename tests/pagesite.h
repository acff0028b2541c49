#pragma once

#include "calc/crew.h"
#include "page/server/pageserver.h"
#include "storage/database.h"

#include <QHash>
#include <QMutex>
#include <QSet>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

/// An office of two people, "ana" and "bor" with the password "geslo" each; bor is over the department "A", to which
/// ana belongs. Answers tell what was asked; "changes" are what the tests say.
class StandInOffice : public page::OfficeDoor
{
public:
    static Person ana() { return {1, 5, "Kos Ana", "A", {}}; }
    static Person bor() { return {2, 6, "Rus Bor", "B", {{false, "A"}}}; }

    /// Shared with the test: for any thread.
    struct State {
        QMutex mutex;
        QMutex gate; ///< whoever asks for a "month" goes through it
        Change change;
        QSet<qint64> gone; ///< no longer active
        QString presentState = "out";
        int written = 0;
    };
    explicit StandInOffice(State &state) : m_state(state) {}

    std::optional<Person> signIn(storage::Reader &, const QString &name, const QString &password,
                                 bool *fault) const override
    {
        *fault = name == "fault";
        if (password != "geslo" || (name != "ana" && name != "bor"))
            return {};
        return name == "ana" ? ana() : bor();
    }
    std::optional<Person> lookAgain(storage::Reader &, const Person &person, bool *fault) const override
    {
        *fault = false;
        const QMutexLocker lock(&m_state.mutex);
        return m_state.gone.contains(person.id) ? std::nullopt : std::optional<Person>(person);
    }
    bool isWriting(const QAny &ask) const override { return ask.lookup("ask").toString() == "decide"; }
    bool isLarge(const QAny &ask) const override { return ask.lookup("ask").toString() == "department"; }
    QAny read(calc::Crew &, const Person &person, const QAny &ask, const Now &) const override
    {
        if (ask.lookup("ask").toString() == "month")
            const QMutexLocker through(&m_state.gate);
        const QMutexLocker lock(&m_state.mutex);
        QAny answer{{"ok", true}, {"asker", person.id}, {"asked", ask.lookup("ask")}};
        if (ask.lookup("ask").toString() == "presence") {
            QAny people(QAny::List);
            people.append(QAny{{"id", 5}, {"department", "A"}, {"state", m_state.presentState}});
            people.append(QAny{{"id", 6}, {"department", "B"}, {"state", "in"}});
            answer.insert("people", people);
        }
        return answer;
    }
    QAny write(const Person &, const QAny &, const Now &) override
    {
        const QMutexLocker lock(&m_state.mutex);
        ++m_state.written;
        return {{"ok", true}};
    }
    std::optional<Export> exported(calc::Crew &, const Person &person, const QString &path, const QUrlQuery &query,
                                   const Now &, bool *fault) const override
    {
        *fault = path == "fault.csv";
        if (query.queryItemValue("user") == "99")
            return {};
        return Export{"mesec\"\r\n-\u010c.csv", QStringLiteral("%1;%2").arg(person.id).arg(path).toUtf8()};
    }
    std::unique_ptr<Watch> watch(storage::Reader &) const override { return std::make_unique<StandInWatch>(m_state); }
    bool overlooks(const Person &person, const QString &department) const override
    {
        return !person.roles.isEmpty() && person.roles[0].department == department;
    }

private:
    class StandInWatch : public Watch
    {
    public:
        explicit StandInWatch(State &state) : m_state(state) {}
        Change look() override
        {
            const QMutexLocker lock(&m_state.mutex);
            return std::exchange(m_state.change, {});
        }

    private:
        State &m_state;
    };

    State &m_state;
};

/// The page's server on a port of its own, with clocks that stand still and time-outs that tests can wait for.
class PageSite
{
public:
    explicit PageSite(const page::http::Limits &limits = quickLimits())
    {
        file = folder.filePath("zuknetserver.db");
        const DataBase made(file);
        page::PageServer::Options options;
        options.databasePath = file;
        options.limits = limits;
        options.live.lookMs = 20;
        options.live.closeGraceMs = 500;
        options.clock = [this] { return time; };
        options.steadyClock = [this] { return steady; };
        page::http::FileTable files;
        files.add("index.html", "<p>page</p>" + QByteArray(1000, ' '), "gzipped");
        files.add("vendor/lit.mjs", "export {}", {});
        server = std::make_unique<page::PageServer>(options, std::make_unique<StandInOffice>(office), files);
        fault = server->open(QHostAddress::LocalHost, 0);
        origin = "http://127.0.0.1:" + QByteArray::number(server->port());
    }
    static page::http::Limits quickLimits()
    {
        page::http::Limits limits;
        limits.lingerMs = 50;
        return limits;
    }

    QTemporaryDir folder;
    QString file;
    StandInOffice::State office;
    qint64 time = 1795000000000;
    qint64 steady = 1000000;
    QString fault;
    QByteArray origin;
    std::unique_ptr<page::PageServer> server;
};

/// A peer that sends what bytes it likes.
class RawPeer : public QTcpSocket
{
public:
    struct Answer {
        int status = 0;                        ///< 0: none came
        QHash<QByteArray, QByteArray> headers; ///< names in small letters
        QByteArray body;
    };

    explicit RawPeer(const PageSite &site)
    {
        connectToHost(QHostAddress::LocalHost, site.server->port());
        m_isConnected = QTest::qWaitFor([this] { return state() == ConnectedState; });
    }

    void send(const QByteArray &bytes, int piece = 1 << 20)
    {
        for (int at = 0; at < bytes.size() && state() == ConnectedState; at += piece) {
            write(bytes.mid(at, piece));
            flush();
            if (piece >= bytes.size())
                continue;
            QCoreApplication::processEvents();
            m_input += readAll(); // a connection that is cut takes along what was not read
        }
    }
    /// The next answer. That of a request by HEAD has no body.
    Answer answer(bool hasBody = true)
    {
        Answer read;
        if (!QTest::qWaitFor([&] { return take(&read, hasBody) || state() != ConnectedState; }))
            return read;
        if (read.status == 0)
            take(&read, hasBody);
        return read;
    }
    Answer ask(const QByteArray &bytes)
    {
        send(bytes);
        return answer();
    }
    /// Within so long; unread bytes are thrown away.
    bool isClosed(int ms = 2000)
    {
        return QTest::qWaitFor([this] { return state() == UnconnectedState; }, ms);
    }

private:
    bool take(Answer *read, bool hasBody)
    {
        m_input += readAll();
        const int end = m_input.indexOf("\r\n\r\n");
        if (end < 0)
            return false;
        Answer found;
        QList<QByteArray> lines = m_input.left(end).split('\n');
        found.status = lines.takeFirst().split(' ').value(1).toInt();
        for (const QByteArray &line : qAsConst(lines))
            found.headers[line.left(line.indexOf(':')).toLower()] = line.mid(line.indexOf(':') + 1).trimmed();
        const int length = hasBody ? found.headers.value("content-length").toInt() : 0;
        if (m_input.size() < end + 4 + length)
            return false;
        found.body = m_input.mid(end + 4, length);
        m_input.remove(0, end + 4 + length);
        *read = found;
        return true;
    }

    QByteArray m_input;
    bool m_isConnected;
};

inline QByteArray requestOf(const QByteArray &line, const QByteArray &headers = {}, const QByteArray &body = {})
{
    return line + " HTTP/1.1\r\nHost: zuk\r\n" + headers + "\r\n" + body;
}

inline QByteArray loginOf(const PageSite &site, const QByteArray &name, const QByteArray &password)
{
    const QByteArray body = "user=" + name + "&pass=" + password;
    return requestOf("POST /login",
                     "Origin: " + site.origin +
                         "\r\nContent-Type: application/x-www-form-urlencoded\r\nContent-Length: " +
                         QByteArray::number(body.size()) + "\r\n",
                     body);
}

/// "zuk_session=…" of somebody who has logged in; empty when that failed.
inline QByteArray cookieOf(const PageSite &site, const QByteArray &name = "ana")
{
    RawPeer peer(site);
    return peer.ask(loginOf(site, name, "geslo")).headers.value("set-cookie").split(';').first();
}

inline QByteArray handshakeOf(const PageSite &site, const QByteArray &headers)
{
    return requestOf("GET /live", "Origin: " + site.origin +
                                      "\r\nUpgrade: websocket\r\nConnection: keep-alive, Upgrade\r\n"
                                      "Sec-WebSocket-Version: 13\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n" +
                                      headers);
}
