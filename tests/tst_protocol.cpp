#include "attendancefile.h"
#include "files.h"
#include "rpcpeer.h"

#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

/// Runs the example exchanges of the protocol reference against the real server, as they stand and in their order.
class TestProtocol : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void example_data();
    void example();
    void stored();

private:
    QStringList examples() const;

    QTemporaryDir m_folder;
    QProcess m_server;
};

namespace {

constexpr int kPatienceMs = 10000;

/// A client of the examples. The ids of the server's calls differ from theirs.
class ExamplePeer : public RpcPeer
{
public:
    ExamplePeer() : RpcPeer(3501) {}

    void send(QAny message)
    {
        const QString id = message.lookup("id").toString();
        if (m_ids.contains(id) && !message.contains("method"))
            message.insert("id", m_ids.take(id));
        write(message.toJsonUtf8());
    }

    /// The next message, its id as in the example where it is a call.
    QAny receive(const QAny &expected)
    {
        QAny message = QAny::fromJson(next(kPatienceMs));
        if (message.contains("method")) {
            m_ids.insert(expected.lookup("id").toString(), message.lookup("id").toString());
            message.insert("id", expected.lookup("id"));
        }
        return message;
    }

private:
    QHash<QString, QString> m_ids; // of the server's calls: as in the example, as received
};

} // namespace

QStringList TestProtocol::examples() const
{
    QFile reference(QStringLiteral(ZUK_PROTOCOL_REFERENCE));
    if (!reference.open(QIODevice::ReadOnly | QIODevice::Text))
        return {};
    const QString text = QString::fromUtf8(reference.readAll());
    QStringList found;
    const QRegularExpression fence(QStringLiteral("```knetrpc\n(.*?)```"),
                                   QRegularExpression::DotMatchesEverythingOption);
    for (auto match = fence.globalMatch(text); match.hasNext();)
        found.append(match.next().captured(1));
    return found;
}

void TestProtocol::initTestCase()
{
    const QString server = m_folder.filePath(QStringLiteral("zuk3server"));
    QVERIFY(QFile::copy(QStringLiteral(ZUK_SERVER), server));
    {
        DataBase database(m_folder.filePath(QStringLiteral("zuknetserver.db")));
        QVERIFY(fillAttendance(database, {}));
    }
    QVERIFY(!writeFile(m_folder.filePath(QStringLiteral("ZUKSERW.INI")), "[WEBS]\nPORT=any\n").isEmpty());
    m_server.setWorkingDirectory(m_folder.path());
    m_server.setStandardErrorFile(m_folder.filePath(QStringLiteral("log")));
    m_server.start(server, {QStringLiteral("-d")});
    QVERIFY(m_server.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(!ExamplePeer().isClosed(), kPatienceMs);
}

void TestProtocol::cleanupTestCase()
{
    m_server.terminate();
    QVERIFY(m_server.waitForFinished());
    QCOMPARE(m_server.exitCode(), 0);
}

void TestProtocol::example_data()
{
    QTest::addColumn<QString>("text");
    const QStringList found = examples();
    QCOMPARE(found.count(), 4);
    for (int i = 0; i < found.count(); ++i)
        QTest::addRow("exchange %d", i + 1) << found.at(i);
}

void TestProtocol::example()
{
    QFETCH(QString, text);
    ExamplePeer peer;
    const QStringList lines = text.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (const QString &line : lines) {
        const QString content = line.mid(2);
        if (content == QLatin1String("(closed)")) {
            QVERIFY2(peer.waitClosed(kPatienceMs) && peer.messages.isEmpty(), qPrintable(line));
            continue;
        }
        const QAny message = QAny::fromJson(content);
        QVERIFY2(message.isHash(), qPrintable(line));
        if (line.startsWith(QLatin1Char('>'))) {
            peer.send(message);
            continue;
        }
        QVERIFY2(line.startsWith(QLatin1Char('<')), qPrintable(line));
        const QAny received = peer.receive(message);
        QVERIFY2(received == message, qPrintable(line + "\nreceived " + received.toJson()));
    }
}

/// What the examples tell the server is in its tables.
void TestProtocol::stored()
{
    DataBase database(m_folder.filePath(QStringLiteral("zuknetserver.db")));
    const auto rows = [&](const char *sql) { return database.select(QString::fromLatin1(sql)).toJson(); };
    // Answers that the server has are not acknowledged to us: they may still be on their way to the file.
    QTRY_COMPARE_WITH_TIMEOUT(rows("select USER,TIMESTAMP,REMARK from allevents order by TIMESTAMP,USER"),
                              QStringLiteral(R"([{"USER":7,"TIMESTAMP":1792044060,"REMARK":"ZUK5 SERVER OFFLINE"},)"
                                             R"({"USER":8,"TIMESTAMP":1792044075,"REMARK":"ZUK5 SERVER OFFLINE"},)"
                                             R"({"USER":7,"TIMESTAMP":1792072800,"REMARK":""}])"),
                              kPatienceMs);
    QTRY_COMPARE_WITH_TIMEOUT(rows("select LINE,FMESSAGE from logs where LINE in (5,200) order by LINE,FTIMESTAMP"),
                              QStringLiteral(R"([{"LINE":5,"FMESSAGE":"Network lost"},)"
                                             R"({"LINE":5,"FMESSAGE":"Door opened"},)"
                                             R"({"LINE":200,"FMESSAGE":"Opened"}])"),
                              kPatienceMs);
}

QTEST_GUILESS_MAIN(TestProtocol)
#include "tst_protocol.moc"
