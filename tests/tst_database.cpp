#include "database.h"
#include "statementcache.h"

#include <QSqlError>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const char *const kConfigTable = "CREATE TABLE config (KEY TEXT PRIMARY KEY, VALUE TEXT)";

/// Another process at the same file.
class Peer
{
public:
    explicit Peer(const QString &path)
    {
        QSqlDatabase connection = QSqlDatabase::addDatabase("QSQLITE", "peer");
        connection.setDatabaseName(path);
        connection.setConnectOptions("QSQLITE_BUSY_TIMEOUT=0");
        connection.open();
    }
    ~Peer() { QSqlDatabase::removeDatabase("peer"); }

    bool run(const QString &sql) const { return QSqlQuery(QSqlDatabase::database("peer")).exec(sql); }
    /// All cells of all rows.
    QStringList cells(const QString &sql) const
    {
        QSqlQuery query(sql, QSqlDatabase::database("peer"));
        QStringList result;
        while (query.next()) {
            for (int i = 0; query.value(i).isValid(); ++i)
                result += query.isNull(i) ? QString("NULL") : query.value(i).toString();
            if (result.size() > 1000)
                break;
        }
        return result;
    }
};

/// Collects the warnings while it lives.
class Warnings
{
public:
    Warnings()
    {
        collected().clear();
        m_before = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &text) {
            if (type == QtWarningMsg)
                collected() += text;
        });
    }
    ~Warnings() { qInstallMessageHandler(m_before); }
    QStringList texts() const { return collected(); }

private:
    static QStringList &collected()
    {
        static QStringList texts;
        return texts;
    }

    QtMessageHandler m_before;
};

QAny count(DataBase &database, const QString &table)
{
    return database.select(QString("SELECT count(*) AS N FROM %1").arg(table)).value(0).value("N");
}

void expectWarning(const char *pattern)
{
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(pattern));
}

} // namespace

class TestDataBase : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void freshFileGetsTheServersTables();
    void fileLiesBesideTheExecutable();
    void filledFileIsLeftAsItIs();
    void searchesDoNotScan_data();
    void searchesDoNotScan();
    void ringContinues_data();
    void ringContinues();
    void ringWraps();
    void logRowHoldsItsData();
    void failedLogRowSavesTheIndex();
    void logWithoutConfigurationTable();
    void newestTimes();
    void insertKeepsColumnsOnly_data();
    void insertKeepsColumnsOnly();
    void valuesKeepTheirKind();
    void update_data();
    void update();
    void columnAddedByAnotherProcess();
    void selectAnswers();
    void transactionsNest();
    void leftTransactionIsRolledBack();
    void lockedFileLosesTheWholeTransaction();
    void fullDiskLosesTheWholeTransaction();
    void remoteTransaction_data();
    void remoteTransaction();
    void ownTransactionAfterRemoteBegin();
    void sameTextNested();
    void manyTexts();
    void readsLeaveNothingOpen();
    void unusableFile_data();
    void unusableFile();
    void readOnlyFile();

private:
    QString path() const { return m_folder->filePath("zuknetserver.db"); }
    void open(const QStringList &statements = {kConfigTable})
    {
        m_database.reset();
        m_database = std::make_unique<DataBase>(path());
        for (const QString &sql : statements)
            QVERIFY(m_database->execPrepared(sql, {}));
    }
    void reopen() { open({}); }
    bool insertEvent(const QString &user) { return m_database->insert("events", QAny({{"USER", user}})); }
    bool log(const QString &message) { return m_database->insertLog(7, 1, 0, 0, 1000, message, QAny()); }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<DataBase> m_database;
};

void TestDataBase::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    open();
}

void TestDataBase::cleanup()
{
    m_database.reset();
    m_folder.reset();
}

void TestDataBase::freshFileGetsTheServersTables()
{
    m_database.reset();
    DataBase fresh(m_folder->filePath("fresh.db"));
    const Peer peer(fresh.filePath());
    QCOMPARE(peer.cells("SELECT name FROM sqlite_master WHERE type='table' AND name NOT LIKE 'sqlite%' ORDER BY name"),
             QStringList({"IMAGES", "events", "logs"}));
    QCOMPARE(fresh.select("PRAGMA journal_mode").value(0).value("journal_mode").toString(), QString("wal"));
    QCOMPARE(fresh.select("PRAGMA synchronous").value(0).value("synchronous").toInt(), 2);
    QCOMPARE(fresh.select("PRAGMA busy_timeout").value(0).value("timeout").toInt(), 5000);
}

void TestDataBase::fileLiesBesideTheExecutable()
{
    m_database.reset();
    QCOMPARE(DataBase().filePath(), QCoreApplication::applicationDirPath() + QDir::separator() + "zuknetserver.db");
}

void TestDataBase::filledFileIsLeftAsItIs()
{
    m_database.reset();
    const QString foreign = m_folder->filePath("filled.db");
    const QString ownTable = "CREATE TABLE events (USER TEXT, TID INTEGER, TIMESTAMP INTEGER, EXTRA TEXT)";
    {
        const Peer peer(foreign);
        QVERIFY(peer.run(ownTable));
        QVERIFY(peer.run("INSERT INTO events (USER, EXTRA) VALUES ('5', 'kept')"));
    }
    DataBase filled(foreign);
    QCOMPARE(filled.select("SELECT sql AS S FROM sqlite_master WHERE name='events'").value(0).value("S").toString(),
             ownTable);
    QCOMPARE(filled.select("SELECT EXTRA FROM events").value(0).value("EXTRA").toString(), QString("kept"));
}

void TestDataBase::searchesDoNotScan_data()
{
    QTest::addColumn<QString>("sql");
    QTest::newRow("newest log row of a line") << "SELECT max(ftimestamp) FROM logs WHERE line=7";
    QTest::newRow("newest event of a terminal") << "SELECT max(timestamp) FROM events WHERE tid=7";
    QTest::newRow("stored event, user bare") << "SELECT id FROM events  where user=5 and timestamp=9";
    QTest::newRow("stored event, user quoted") << "SELECT id FROM events  where user='5' and timestamp=9";
}

void TestDataBase::searchesDoNotScan()
{
    QFETCH(QString, sql);
    const QAny plan = m_database->select("EXPLAIN QUERY PLAN " + sql);
    QVERIFY(plan.count() > 0);
    const QString json = plan.toJson();
    QVERIFY2(json.contains("INDEX") && !json.contains("SCAN"), qPrintable(json));
}

void TestDataBase::ringContinues_data()
{
    QTest::addColumn<QVariant>("saved");
    QTest::addColumn<qint64>("next");
    QTest::newRow("last row written") << QVariant("41") << 42LL;
    QTest::newRow("last but one of the ring") << QVariant("9999998") << 9999999LL;
    QTest::newRow("last of the ring") << QVariant("9999999") << 0LL;
    QTest::newRow("beyond the ring") << QVariant("9223372036854775807") << 0LL;
    QTest::newRow("no number counts as 0") << QVariant("abc") << 1LL;
    QTest::newRow("empty text counts as 0") << QVariant("") << 1LL;
    QTest::newRow("NULL counts as 0") << QVariant() << 1LL;
}

void TestDataBase::ringContinues()
{
    QFETCH(QVariant, saved);
    QFETCH(qint64, next);
    QCOMPARE(m_database->lastLogIndex(), 0LL);
    QVERIFY(m_database->execPrepared("INSERT INTO config VALUES ('LastLogIdx', ?)", {saved}));
    reopen();
    QVERIFY(log("x"));
    QCOMPARE(m_database->select("SELECT IDX FROM logs").value(0).value("IDX").toInteger(), next);
}

void TestDataBase::ringWraps()
{
    QVERIFY(log("oldest"));
    QVERIFY(m_database->execPrepared("UPDATE config SET VALUE='9999998'", {}));
    reopen();
    QVERIFY(log("highest"));
    QCOMPARE(m_database->lastLogIndex(), 0LL);
    QCOMPARE(m_database->configValue("LastLogIdx"), QString("0"));
    QVERIFY(log("overwrites the oldest"));
    QCOMPARE(Peer(path()).cells("SELECT IDX, FMESSAGE FROM logs ORDER BY IDX"),
             QStringList({"0", "overwrites the oldest", "9999999", "highest"}));
    // The saved value is the index of the next row, so a restart leaves one unused.
    reopen();
    QCOMPARE(m_database->lastLogIndex(), 2LL);
}

void TestDataBase::logRowHoldsItsData()
{
    QVERIFY(
        m_database->insertLog(12, 3, 1, 4, 1700000000123LL, QStringLiteral("Odklenjeno »Č«"), QAny::list({1, "a"})));
    QVERIFY(m_database->insertLog(12, 3, 1, 4, 1, QString(), QAny()));
    QCOMPARE(
        Peer(path()).cells("SELECT IDX, LINE, ID, LLEVEL, LGROUP, FTIMESTAMP, FMESSAGE, DATA FROM logs ORDER BY IDX"),
        QStringList({"0", "12", "3", "1", "4", "1700000000123", QStringLiteral("Odklenjeno »Č«"), R"({"DATA":[1,"a"]})",
                     "1", "12", "3", "1", "4", "1", "", R"({"DATA":null})"}));
}

void TestDataBase::failedLogRowSavesTheIndex()
{
    QVERIFY(log("x"));
    QVERIFY(m_database->execPrepared("DELETE FROM config", {}));
    QVERIFY(m_database->execPrepared("ALTER TABLE logs RENAME TO elsewhere", {}));
    expectWarning("DataBase::insertLog\\(\\).*no such table");
    QVERIFY(!log("y"));
    QCOMPARE(m_database->lastFailure(), DataBase::Failure::Lasting);
    QCOMPARE(m_database->lastLogIndex(), 1LL);
    QCOMPARE(m_database->configValue("LastLogIdx"), QString("1"));
}

void TestDataBase::logWithoutConfigurationTable()
{
    QVERIFY(m_database->execPrepared("DROP TABLE config", {}));
    expectWarning("DataBase::saveLastLogIdx\\(\\).*no such table");
    QVERIFY(log("first"));
    QVERIFY(log("second"));
    QCOMPARE(Peer(path()).cells("SELECT IDX, FMESSAGE FROM logs"), QStringList({"0", "first", "1", "second"}));
}

void TestDataBase::newestTimes()
{
    QCOMPARE(m_database->lastLogTime(7), 0LL);
    QCOMPARE(m_database->lastEventTime(7), 0LL);
    for (const qint64 time : {1700000000500LL, 1700000000900LL, 1700000000700LL})
        QVERIFY(m_database->insertLog(7, 0, 0, 0, time, "x", QAny()));
    QVERIFY(m_database->insertLog(8, 0, 0, 0, 1800000000000LL, "x", QAny()));
    for (const qint64 time : {1700000001LL, 1700000003LL, 1700000002LL})
        QVERIFY(m_database->insert("events", QAny({{"TID", 7}, {"TIMESTAMP", time}})));
    QCOMPARE(m_database->lastLogTime(7), 1700000000900LL);
    QCOMPARE(m_database->lastEventTime(7), 1700000003LL);
    QCOMPARE(m_database->lastEventTime(8), 0LL);
}

void TestDataBase::insertKeepsColumnsOnly_data()
{
    QTest::addColumn<QAny>("values");
    QTest::addColumn<QStringList>("rows");
    QTest::newRow("unknown keys are dropped")
        << QAny({{"USER", "5"}, {"COLOUR", 1}}) << QStringList({"5", "NULL", "0"});
    QTest::newRow("case does not matter") << QAny({{"user", "5"}, {"Name", "Ana"}}) << QStringList({"5", "Ana", "0"});
    QTest::newRow("quotes are data") << QAny({{"NAME", "O'Neil\"); --"}})
                                     << QStringList({"NULL", "O'Neil\"); --", "0"});
    QTest::newRow("a key that is SQL is no column") << QAny({{"USER) VALUES (1) --", "5"}}) << QStringList();
    QTest::newRow("no column") << QAny({{"COLOUR", 1}}) << QStringList();
    QTest::newRow("a list") << QAny::list({"USER"}) << QStringList();
    QTest::newRow("nothing") << QAny() << QStringList();
}

void TestDataBase::insertKeepsColumnsOnly()
{
    QFETCH(QAny, values);
    QFETCH(QStringList, rows);
    QCOMPARE(m_database->insert("events", values), !rows.isEmpty());
    QCOMPARE(Peer(path()).cells("SELECT USER, NAME, UID FROM events"), rows);
}

void TestDataBase::valuesKeepTheirKind()
{
    QVERIFY(m_database->execPrepared("CREATE TABLE kinds (V)", {}));
    const QAny values = QAny::list({true, 9007199254740993LL, 0.1, "č\"", QString(), QAny()});
    for (int i = 0; i < values.count(); ++i)
        QVERIFY(m_database->insert("kinds", QAny({{"V", values.at(i)}})));
    QVERIFY(m_database->execPrepared("INSERT INTO kinds VALUES (?)", {QByteArray("\0\xff", 2)}));
    QCOMPARE(Peer(path()).cells("SELECT typeof(V), hex(V) FROM kinds").mid(10),
             QStringList({"null", "", "blob", "00FF"}));
    const QAny rows = m_database->select("SELECT V FROM kinds");
    QCOMPARE(rows.at(0).value("V"), QAny(1));
    for (int i = 1; i < values.count(); ++i)
        QCOMPARE(rows.at(i).value("V"), values.at(i));
}

void TestDataBase::update_data()
{
    QTest::addColumn<QAny>("values");
    QTest::addColumn<QString>("key");
    QTest::addColumn<bool>("result");
    QTest::addColumn<QString>("warning");
    QTest::addColumn<QStringList>("names");
    const QStringList unchanged{"Ana", "Bor"};
    QTest::newRow("one row") << QAny({{"ID", 2}, {"NAME", "Cene"}, {"COLOUR", 1}}) << "ID" << true << ""
                             << QStringList({"Ana", "Cene"});
    QTest::newRow("a quote breaks the statement, the answer stays true")
        << QAny({{"ID", 2}, {"NAME", "O'Neil"}}) << "ID" << true << "DataBase::exec\\(\\).*syntax" << unchanged;
    QTest::newRow("no key column") << QAny({{"NAME", "Cene"}}) << "ID" << false << "" << unchanged;
    QTest::newRow("nothing to set") << QAny({{"ID", 2}, {"COLOUR", 1}}) << "ID" << false << "" << unchanged;
    QTest::newRow("key column in another case is another key")
        << QAny({{"id", 2}, {"NAME", "Cene"}}) << "ID" << false << "" << unchanged;
    QTest::newRow("a list") << QAny::list({2}) << "ID" << false << "" << unchanged;
}

void TestDataBase::update()
{
    QFETCH(QAny, values);
    QFETCH(QString, key);
    QFETCH(QString, warning);
    QVERIFY(m_database->insert("events", QAny({{"NAME", "Ana"}})));
    QVERIFY(m_database->insert("events", QAny({{"NAME", "Bor"}})));
    if (!warning.isEmpty())
        expectWarning(qPrintable(warning));
    QTEST(m_database->update("events", values, key), "result");
    QTEST(Peer(path()).cells("SELECT NAME FROM events ORDER BY ID"), "names");
}

void TestDataBase::columnAddedByAnotherProcess()
{
    const QString all = "SELECT * FROM config";
    const auto ignoreRow = [](const QSqlQuery &) {};
    QVERIFY(m_database->insert("config", QAny({{"KEY", "a"}, {"UNIT", "h"}})));
    QVERIFY(m_database->forEachRow(all, {}, ignoreRow));
    {
        const Peer peer(path());
        QVERIFY(peer.run("ALTER TABLE config ADD COLUMN UNIT TEXT"));
    }
    QVERIFY(m_database->insert("config", QAny({{"KEY", "b"}, {"UNIT", "h"}})));
    QVERIFY(m_database->update("config", QAny({{"KEY", "a"}, {"UNIT", "s"}}), "KEY"));
    QStringList units;
    QVERIFY(m_database->forEachRow(all, {}, [&units](const QSqlQuery &row) { units += row.value(2).toString(); }));
    QCOMPARE(units, QStringList({"s", "h"}));
}

void TestDataBase::selectAnswers()
{
    QVERIFY(insertEvent("5"));
    QCOMPARE(m_database->select("SELECT USER, user AS UPPER, ID AS idx FROM events"),
             QAny::list({QAny({{"USER", "5"}, {"UPPER", "5"}, {"idx", 1}})}));
    QCOMPARE(m_database->select("SELECT USER FROM events WHERE USER='6'"), QAny::list());
    expectWarning("DataBase::select\\(\\).*no such table");
    QCOMPARE(m_database->select("SELECT * FROM missing"), QAny::list());
    // Fails only after the first row was read.
    expectWarning("DataBase::select\\(\\).*overflow");
    QCOMPARE(m_database->select("SELECT 1 UNION ALL SELECT abs(-9223372036854775807-1)"), QAny::list());
    QCOMPARE(m_database->configValue("nothing"), QString());
}

void TestDataBase::transactionsNest()
{
    Transaction outer(*m_database);
    QVERIFY(insertEvent("outer"));
    {
        Transaction undone(*m_database);
        QVERIFY(insertEvent("undone"));
        QVERIFY(log("undone"));
        Transaction inner(*m_database);
        QVERIFY(inner.commit());
    }
    QCOMPARE(m_database->lastLogIndex(), 0LL);
    {
        Transaction inner(*m_database);
        QVERIFY(insertEvent("inner"));
        QVERIFY(inner.commit());
    }
    const Peer peer(path());
    QCOMPARE(peer.cells("SELECT USER FROM events"), QStringList());
    QVERIFY(outer.commit());
    QCOMPARE(peer.cells("SELECT USER FROM events ORDER BY ID"), QStringList({"outer", "inner"}));
    expectWarning("DataBase::transaction\\(\\) no transaction is open");
    QVERIFY(!m_database->commit());
}

void TestDataBase::leftTransactionIsRolledBack()
{
    QVERIFY(m_database->transaction());
    QVERIFY(insertEvent("half"));
    reopen();
    QCOMPARE(count(*m_database, "events"), QAny(0));
}

void TestDataBase::lockedFileLosesTheWholeTransaction()
{
    m_database->exec("PRAGMA busy_timeout=0");
    const Peer peer(path());
    QVERIFY(peer.run("BEGIN IMMEDIATE"));
    expectWarning("DataBase::transaction\\(\\).*locked");
    Transaction outer(*m_database);
    QCOMPARE(m_database->lastFailure(), DataBase::Failure::Passing);
    QVERIFY(peer.run("COMMIT"));
    // The file is free again, but the first half of the transaction may be gone.
    QVERIFY(!insertEvent("half"));
    QVERIFY(!m_database->execPrepared("INSERT INTO events (USER) VALUES ('half')", {}));
    QVERIFY(m_database->exec("INSERT INTO events (USER) VALUES ('half')"));
    QVERIFY(!log("half"));
    QVERIFY(!outer.commit());
    QCOMPARE(m_database->lastFailure(), DataBase::Failure::Passing);
    QCOMPARE(count(*m_database, "events"), QAny(0));
    QVERIFY(insertEvent("whole"));
    QCOMPARE(m_database->lastFailure(), DataBase::Failure::None);
}

void TestDataBase::fullDiskLosesTheWholeTransaction()
{
    QVERIFY(log("x"));
    const int pages = m_database->select("PRAGMA page_count").value(0).value("page_count").toInt();
    m_database->exec(QString("PRAGMA max_page_count=%1").arg(pages));
    Transaction outer(*m_database);
    QVERIFY(insertEvent("first"));
    expectWarning("DataBase::insert\\(\\).*full");
    expectWarning("rolled the transaction back");
    QVERIFY(!insertEvent(QString(100000, 'x')));
    QCOMPARE(m_database->lastFailure(), DataBase::Failure::Passing);
    QVERIFY(!insertEvent("second"));
    QVERIFY(!outer.commit());
    QCOMPARE(count(*m_database, "events"), QAny(0));
    QCOMPARE(m_database->lastLogIndex(), 1LL);
    QVERIFY(insertEvent("later"));
}

void TestDataBase::remoteTransaction_data()
{
    QTest::addColumn<QString>("begin");
    QTest::addColumn<QString>("end");
    QTest::addColumn<bool>("warned");
    QTest::addColumn<int>("stored");
    QTest::newRow("left open") << "BEGIN"
                               << "" << true << 1;
    QTest::newRow("left open by a savepoint") << " /* c */ SAVEPOINT x"
                                              << "" << true << 1;
    QTest::newRow("ended by itself") << "begin immediate"
                                     << "END" << false << 1;
    QTest::newRow("taken back by itself") << "BEGIN"
                                          << "ROLLBACK" << false << 0;
}

void TestDataBase::remoteTransaction()
{
    QFETCH(QString, begin);
    QFETCH(QString, end);
    QFETCH(bool, warned);
    QFETCH(int, stored);
    QVERIFY(m_database->exec(begin));
    QVERIFY(insertEvent("5"));
    QCOMPARE(Peer(path()).cells("SELECT count(*) FROM events"), QStringList("0"));
    if (!end.isEmpty())
        QVERIFY(m_database->exec(end));
    if (warned)
        expectWarning("DataBase::exec\\(\\) a transaction was left open");
    QCoreApplication::processEvents();
    QCOMPARE(Peer(path()).cells("SELECT count(*) FROM events"), QStringList(QString::number(stored)));
    Transaction own(*m_database);
    QVERIFY(own.commit());
}

void TestDataBase::ownTransactionAfterRemoteBegin()
{
    m_database->select("BEGIN");
    QVERIFY(insertEvent("remote"));
    expectWarning("DataBase::exec\\(\\) a transaction was left open");
    {
        Transaction own(*m_database);
        QVERIFY(insertEvent("own"));
    }
    QCOMPARE(Peer(path()).cells("SELECT USER FROM events"), QStringList("remote"));
    m_database->exec("BEGIN");
    QVERIFY(insertEvent("before the end"));
    expectWarning("DataBase::exec\\(\\) a transaction was left open");
    reopen();
    QCOMPARE(count(*m_database, "events"), QAny(2));
}

void TestDataBase::sameTextNested()
{
    for (const char *user : {"1", "2", "3"})
        QVERIFY(insertEvent(user));
    const QString sql = "SELECT USER FROM events WHERE ID>=? ORDER BY ID";
    QStringList visited;
    for (int round = 0; round < 2; ++round) {
        visited.clear();
        QVERIFY(m_database->forEachRow(sql, {2}, [&](const QSqlQuery &outer) {
            QVERIFY(m_database->forEachRow(sql, {3}, [&](const QSqlQuery &inner) {
                visited += outer.value(0).toString() + inner.value(0).toString();
            }));
        }));
    }
    QCOMPARE(visited, QStringList({"23", "33"}));
    expectWarning("DataBase::forEachRow\\(\\)");
    QVERIFY(!m_database->forEachRow("SELECT nothing", {}, [](const QSqlQuery &) { QFAIL("no row"); }));
}

void TestDataBase::manyTexts()
{
    // More texts than are kept, while one of them is being read.
    QVERIFY(insertEvent("1"));
    QVERIFY(insertEvent("2"));
    int rows = 0;
    QVERIFY(m_database->forEachRow("SELECT USER FROM events", {}, [&](const QSqlQuery &) {
        for (int i = 0; i < 3 * StatementCache::kCapacity; ++i) {
            QVERIFY(m_database->forEachRow(QString("SELECT %1").arg(i % (2 * StatementCache::kCapacity)), {},
                                           [&rows](const QSqlQuery &) { ++rows; }));
        }
    }));
    QCOMPARE(rows, 2 * 3 * StatementCache::kCapacity);
}

void TestDataBase::readsLeaveNothingOpen()
{
    // A read that stayed open would keep the journal from ever being emptied.
    QVERIFY(log("x"));
    QVERIFY(insertEvent("1"));
    QVERIFY(insertEvent("2"));
    m_database->select("SELECT * FROM events");
    m_database->configValue("LastLogIdx");
    m_database->lastLogTime(7);
    m_database->exec("SELECT * FROM events");
    m_database->execPrepared("SELECT ID FROM events", {}); // stops at the first row
    QVERIFY(m_database->forEachRow("SELECT USER FROM events", {}, [](const QSqlQuery &) {}));
    QVERIFY(insertEvent("3"));
    const QStringList checkpoint = Peer(path()).cells("PRAGMA wal_checkpoint(TRUNCATE)");
    QCOMPARE(checkpoint, QStringList({"0", "0", "0"}));
}

void TestDataBase::unusableFile_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isOpen");
    QTest::addColumn<QString>("warning");
    QTest::newRow("missing directory") << "missing/zuknetserver.db" << false
                                       << "DataBase::Database() can't open kservermain.db";
    QTest::newRow("no database") << "text.db" << true << "file is not a database";
}

void TestDataBase::unusableFile()
{
    QFETCH(QString, name);
    QFETCH(bool, isOpen);
    QFETCH(QString, warning);
    QFile text(m_folder->filePath("text.db"));
    QVERIFY(text.open(QIODevice::WriteOnly));
    const QByteArray content = QByteArray("not a database, but somebody's file\n").repeated(100);
    text.write(content);
    text.close();
    m_database.reset();
    const Warnings warnings;
    DataBase database(m_folder->filePath(name));
    QCOMPARE(database.isOpen(), isOpen);
    QCOMPARE(database.select("SELECT 1 FROM events"), QAny::list());
    QCOMPARE(database.exec("DELETE FROM events"), isOpen);
    QVERIFY(!database.insert("events", QAny({{"USER", "5"}})));
    QVERIFY(!database.update("events", QAny({{"ID", 1}, {"USER", "5"}}), "ID"));
    QVERIFY(!database.insertLog(1, 1, 0, 0, 1, "x", QAny()));
    QVERIFY(!database.execPrepared("DELETE FROM events", {}));
    QVERIFY(!database.forEachRow("SELECT 1 FROM events", {}, [](const QSqlQuery &) {}));
    QCOMPARE(database.lastFailure(), DataBase::Failure::Lasting);
    QCOMPARE(database.configValue("LastLogIdx"), QString());
    QCOMPARE(database.lastLogTime(1), 0LL);
    QCOMPARE(database.lastEventTime(1), 0LL);
    Transaction transaction(database);
    QVERIFY(!transaction.commit());
    if (!isOpen)
        QCOMPARE(warnings.texts(), QStringList(warning));
    else
        QVERIFY(!warnings.texts().isEmpty() && warnings.texts().filter(warning) == warnings.texts());
    QVERIFY(text.open(QIODevice::ReadOnly));
    QCOMPARE(text.readAll(), content);
}

void TestDataBase::readOnlyFile()
{
    QVERIFY(insertEvent("5"));
    m_database->exec("PRAGMA query_only=ON");
    expectWarning("DataBase::insert\\(\\).*readonly");
    QVERIFY(!insertEvent("6"));
    QCOMPARE(m_database->lastFailure(), DataBase::Failure::Passing);
    expectWarning("DataBase::exec\\(\\).*readonly");
    QVERIFY(m_database->exec("DELETE FROM events"));
    expectWarning("DataBase::transaction\\(\\).*readonly");
    QVERIFY(!log("x"));
    QCOMPARE(count(*m_database, "events"), QAny(1));
}

QTEST_GUILESS_MAIN(TestDataBase)
#include "tst_database.moc"
