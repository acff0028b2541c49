#include "storage/database.h"
#include "storage/readconnection.h"
#include "storage/writehold.h"

#include <QTemporaryDir>
#include <QtTest>

#include <atomic>
#include <cstdio>
#include <future>
#include <optional>
#include <thread>

using storage::ReadConnection;
using storage::Status;
using storage::WriteHold;

namespace {

const QString kCount = QStringLiteral("SELECT count(*) FROM events");

int countOf(storage::Reader &reader)
{
    int count = -1;
    reader.forEachRow(kCount, {}, [&count](const QSqlQuery &row) { count = row.value(0).toInt(); });
    return count;
}

} // namespace

class TestReadConnection : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void readsAndNeverWrites();
    void missingFile();
    void readStandsStill();
    void readersSeeOneState();
    void anotherFileIsLeftAlone();

private:
    bool insertEvent() { return bool(m_database->insert("events", QAny({{"USER", "5"}}))); }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<DataBase> m_database;
    QString m_path;
};

void TestReadConnection::init()
{
    m_database.reset();
    m_folder = std::make_unique<QTemporaryDir>();
    m_path = m_folder->filePath("a %41?#č.db"); // a name that an address would have to escape
    m_database = std::make_unique<DataBase>(m_path);
    QVERIFY(m_database->exec("CREATE TABLE config (KEY TEXT PRIMARY KEY, VALUE TEXT)"));
    QVERIFY(m_database->exec("INSERT INTO config VALUES ('a', 'b')"));
}

void TestReadConnection::readsAndNeverWrites()
{
    QVERIFY(insertEvent());
    std::thread([this] {
        ReadConnection reader(m_path);
        QVERIFY(reader.isOpen());
        QCOMPARE(reader.filePath(), m_path);
        QCOMPARE(reader.configValue("a"), QString("b"));
        QCOMPARE(reader.select("SELECT USER FROM events"), QAny::list({QAny({{"USER", "5"}})}));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("ReadConnection::select\\(\\).*readonly"));
        QCOMPARE(reader.select("DELETE FROM events"), QAny::list());
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("ReadConnection::forEachRow\\(\\).*no such table"));
        QCOMPARE(reader.forEachRow("SELECT 1 FROM missing", {}, nullptr).outcome(), Status::Lasting);
    }).join();
    QCOMPARE(countOf(*m_database), 1);
}

void TestReadConnection::missingFile()
{
    const QString missing = m_folder->filePath("missing.db");
    ReadConnection reader(missing);
    QVERIFY(!reader.isOpen());
    QVERIFY(reader.beginRead().mayPass());
    QVERIFY(!reader.endRead());
    QCOMPARE(reader.select(kCount), QAny::list());
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("WriteHold::WriteHold\\(\\) can't open .*missing.db"));
    QVERIFY(WriteHold(missing).status().mayPass());
    QVERIFY(!QFile::exists(missing));
}

void TestReadConnection::readStandsStill()
{
    ReadConnection reader(m_path);
    QVERIFY(reader.beginRead());
    QVERIFY(!reader.beginRead());
    QVERIFY(insertEvent());
    QCOMPARE(countOf(reader), 0);
    QVERIFY(reader.endRead());
    QVERIFY(!reader.endRead());
    QCOMPARE(countOf(reader), 1);
}

/// Readers on threads of their own begin while somebody writes all the time.
void TestReadConnection::readersSeeOneState()
{
    m_database.reset();
    std::atomic<bool> ends{false};
    std::thread writer([this, &ends] {
        DataBase database(m_path);
        while (!ends) {
            database.insert("events", QAny({{"USER", "5"}}));
            QThread::usleep(500); // SQLite's waiting is not fair: who asks without a pause always gets the file
        }
    });
    const auto stop = qScopeGuard([&] {
        ends = true;
        writer.join();
    });
    for (int round = 0; round < 10; ++round) {
        std::vector<std::promise<int>> counts(3);
        std::vector<std::thread> readers;
        std::vector<std::promise<bool>> begun(counts.size());
        {
            std::optional<WriteHold> hold; // is only as patient as its user
            QTRY_VERIFY(hold.emplace(m_path).status());
            for (size_t i = 0; i < counts.size(); ++i) {
                readers.emplace_back([this, &count = counts[i], &hasBegun = begun[i]] {
                    ReadConnection reader(m_path);
                    hasBegun.set_value(bool(reader.beginRead()));
                    QThread::msleep(5); // for the writer to go on
                    count.set_value(countOf(reader));
                });
            }
            for (auto &each : begun)
                QVERIFY(each.get_future().get());
        }
        QSet<int> seen;
        for (auto &count : counts)
            seen.insert(count.get_future().get());
        for (auto &reader : readers)
            reader.join();
        QCOMPARE(seen.size(), 1);
    }
}

/// A copy that was moved over the open file, whose journal lies beside it still.
void TestReadConnection::anotherFileIsLeftAlone()
{
    const QString copy = m_folder->filePath("copy.db");
    QVERIFY(m_database->exec(QString("VACUUM INTO '%1'").arg(copy)));
    QVERIFY(insertEvent());
    const storage::FileState wanted = m_database->fileState();
    const auto content = [](const QString &path) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    };
    const QByteArray before = content(copy);
    QCOMPARE(std::rename(QFile::encodeName(copy).constData(), QFile::encodeName(m_path).constData()), 0);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("WriteHold::WriteHold\\(\\) can't open"));
    const bool isHeld = bool(WriteHold(m_path, wanted).status());
    QVERIFY(content(m_path) == before);
    QVERIFY(!isHeld);
    ReadConnection reader(m_path, wanted);
    QVERIFY(!reader.isOpen());
    QCOMPARE(reader.beginRead().outcome(), Status::Passing);
    QVERIFY(m_database->look());
    QVERIFY(ReadConnection(m_path, m_database->fileState()).isOpen());
    QCOMPARE(countOf(*m_database), 0);
}

QTEST_GUILESS_MAIN(TestReadConnection)
#include "tst_readconnection.moc"
