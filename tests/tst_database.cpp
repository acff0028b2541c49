#include "files.h"
#include "peer.h"
#include "storage/database.h"
#include "storage/owntables.h"
#include "storage/schema.h"
#include "storage/statementcache.h"
#include "storage/worklimit.h"
#include "warnings.h"

#include <QLockFile>
#include <QSqlError>
#include <QTemporaryDir>
#include <QtTest>

using storage::Status;

class TestDataBase : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void freshFile();
    void filledFileIsLeftAsItIs();
    void searchesDoNotScan();
    void upkeepKnowsWhatHasGrown();
    void ringContinues();
    void ringWraps();
    void logRowHoldsItsData();
    void logRowsWithoutATable();
    void newestTimes();
    void insertKeepsColumnsOnly();
    void valuesKeepTheirKind();
    void update();
    void columnAddedByAnotherProcess();
    void selectAnswers();
    void transactionsNest();
    void lockedFileLosesTheWholeTransaction();
    void fullDiskLosesTheWholeTransaction();
    void remoteTransaction();
    void nestedReads();
    void readsLeaveNothingOpen();
    void unusableFile();
    void damagedPage();
    void statementsStayInTheFile();
    void workIsLimited();
    void ownTablesAreBroughtUpToDate();
    void ownTablesAreNotChangedWithoutACopy();

private:
    QString path() const { return m_folder->filePath("zuknetserver.db"); }
    void reopen()
    {
        m_database.reset();
        m_database = std::make_unique<DataBase>(path());
    }
    QString cells(const QString &sql) const { return Peer(path()).cells(sql); }
    QAny cell(const QString &sql) { return m_database->select(sql).value(0).toHash().values().value(0); }
    Status run(const QString &sql) { return m_database->execPrepared(sql, {}); }
    Status insertEvent(const QString &user) { return m_database->insert("events", QAny({{"USER", user}})); }
    Status log(const QString &message) { return m_database->insertLog(7, 1, 0, 0, 1000, message, QAny()); }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<DataBase> m_database;
};

void TestDataBase::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    reopen();
    QVERIFY(run("CREATE TABLE config (KEY TEXT PRIMARY KEY, VALUE TEXT)"));
}

void TestDataBase::cleanup()
{
    m_database.reset();
    m_folder.reset();
}

void TestDataBase::freshFile()
{
    QCOMPARE(cells("SELECT name FROM sqlite_master WHERE type='table' AND name NOT LIKE 'sqlite%' ORDER BY name"),
             "IMAGES config events logs");
    QCOMPARE(cell("PRAGMA journal_mode"), QAny("wal"));
    QCOMPARE(cell("PRAGMA synchronous"), QAny(2));
    QCOMPARE(cell("PRAGMA busy_timeout"), QAny(5000));
    m_database.reset();
    // Without a path it lies beside the executable.
    QCOMPARE(DataBase().filePath(), QCoreApplication::applicationDirPath() + QDir::separator() + "zuknetserver.db");
}

void TestDataBase::filledFileIsLeftAsItIs()
{
    m_database.reset();
    QVERIFY(QFile::remove(path()));
    const QString ownTable = "CREATE TABLE events (USER TEXT, TID INTEGER, TIMESTAMP INTEGER, EXTRA TEXT)";
    QVERIFY(Peer(path()).run(ownTable));
    QVERIFY(Peer(path()).run("INSERT INTO events (USER, EXTRA) VALUES ('5', 'kept')"));
    reopen();
    QCOMPARE(cells("SELECT sql, EXTRA FROM sqlite_master, events WHERE name='events'"), ownTable + " kept");
}

void TestDataBase::searchesDoNotScan()
{
    // Whatever the statistics say, and whenever they were gathered: none, of empty tables, of small and of full ones.
    // One more column than the index means a walk or a sort.
    const std::pair<const char *, const char *> searches[] = {
        {storage::kLastLogTime, "logs_line_ftimestamp (LINE=?)"},
        {storage::kLastEventTime, "events_tid_timestamp (TID=?)"},
        {"SELECT id FROM events  where user=5 and timestamp=9", "events_user_timestamp (USER=? AND TIMESTAMP=?)"},
        {"SELECT id FROM events  where user='5' and timestamp=9", "events_user_timestamp (USER=? AND TIMESTAMP=?)"},
        {"SELECT VALUE FROM Config WHERE KEY='LastLogIdx'", "sqlite_autoindex_config_1 (KEY=?)"}};
    QVERIFY(run("ANALYZE"));
    for (const char *rows : {"", "0 0 0", "1 1 1", "3 3 1", "10000000 10000000 1", "10000000 100 1"}) {
        QVERIFY(run("DELETE FROM sqlite_stat1"));
        if (*rows) {
            QVERIFY(run(QString("INSERT INTO sqlite_stat1 SELECT tbl_name, name, '%1' FROM sqlite_master "
                                "WHERE type='index'")
                            .arg(rows)));
        }
        reopen();
        for (const auto &[sql, index] : searches) {
            const QString plan =
                m_database->select(QString("EXPLAIN QUERY PLAN ").append(sql).replace("=?", "=7")).toJson();
            QVERIFY2(plan.count("detail") == 1 && plan.contains("SEARCH") && plan.contains(index),
                     qPrintable(rows + plan));
        }
    }
}

/// Only who reads the file anew hears of it: it is the same file.
void TestDataBase::upkeepKnowsWhatHasGrown()
{
    QVERIFY(run(
        "WITH n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n WHERE i<9000) INSERT INTO events (USER) SELECT i FROM n"));
    const quint64 file = m_database->generation();
    const quint64 readers = m_database->readersGeneration();
    m_database->upkeep();
    QCOMPARE(cells("SELECT DISTINCT tbl FROM sqlite_stat1"), QString("events"));
    QCOMPARE(m_database->generation(), file);
    QVERIFY(m_database->readersGeneration() != readers);
}

void TestDataBase::ringContinues()
{
    QCOMPARE(m_database->lastLogIndex(), 0LL);
    // Beyond the ring it begins anew; what is no number counts as 0.
    const std::pair<QVariant, qint64> rows[] = {
        {"41", 42}, {"9999998", 9999999}, {"9999999", 0}, {"9223372036854775807", 0}, {"abc", 1},
        {"", 1},    {QVariant(), 1}};
    for (const auto &[saved, next] : rows) {
        QVERIFY(m_database->execPrepared("INSERT OR REPLACE INTO config VALUES ('LastLogIdx', ?)", {saved}));
        QVERIFY(run("DELETE FROM logs"));
        reopen();
        QVERIFY(log("x"));
        QCOMPARE(cell("SELECT IDX FROM logs"), QAny(next));
    }
}

void TestDataBase::ringWraps()
{
    QVERIFY(log("oldest"));
    QVERIFY(run("UPDATE config SET VALUE='9999998'"));
    reopen();
    QVERIFY(log("highest"));
    QCOMPARE(m_database->lastLogIndex(), 0LL);
    QCOMPARE(m_database->configValue("LastLogIdx"), QString("0"));
    QVERIFY(log("overwrites the oldest"));
    QCOMPARE(cells("SELECT IDX, FMESSAGE FROM logs ORDER BY IDX"), "0 overwrites the oldest 9999999 highest");
    // The saved value is the index of the next row, so a restart leaves one unused.
    reopen();
    QCOMPARE(m_database->lastLogIndex(), 2LL);
}

void TestDataBase::logRowHoldsItsData()
{
    QVERIFY(
        m_database->insertLog(12, 3, 1, 4, 1700000000123LL, QStringLiteral("Odklenjeno »Č«"), QAny::list({1, "a"})));
    QVERIFY(m_database->insertLog(12, 3, 1, 4, 1, QString(), QAny()));
    QCOMPARE(cells("SELECT IDX, LINE, ID, LLEVEL, LGROUP, FTIMESTAMP, FMESSAGE, DATA FROM logs ORDER BY IDX"),
             QStringLiteral(R"(0 12 3 1 4 1700000000123 Odklenjeno »Č« {"DATA":[1,"a"]} 1 12 3 1 4 1  {"DATA":null})"));
}

void TestDataBase::logRowsWithoutATable()
{
    QVERIFY(log("x"));
    QVERIFY(run("DELETE FROM config"));
    QVERIFY(run("ALTER TABLE logs RENAME TO elsewhere"));
    expectWarning("DataBase::insertLog\\(\\).*no such table");
    QCOMPARE(log("y").outcome(), Status::Lasting);
    QCOMPARE(m_database->lastLogIndex(), 1LL);
    QCOMPARE(m_database->configValue("LastLogIdx"), QString("1"));
    QVERIFY(run("ALTER TABLE elsewhere RENAME TO logs") && run("DROP TABLE config"));
    expectWarning("DataBase::saveLastLogIdx\\(\\).*no such table");
    QVERIFY(log("second") && log("third"));
    QCOMPARE(cells("SELECT IDX, FMESSAGE FROM logs"), "0 x 1 second 2 third");
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
    for (const char *text : {"", "abc"}) // in place of a time
        QVERIFY(m_database->insert("events", QAny({{"TID", 7}, {"TIMESTAMP", text}})));
    QCOMPARE(m_database->lastLogTime(7), 1700000000900LL);
    QCOMPARE(m_database->lastEventTime(7), 1700000003LL);
    QCOMPARE(m_database->lastEventTime(8), 0LL);
}

void TestDataBase::insertKeepsColumnsOnly()
{
    const auto stored = [this](const QAny &values) {
        const bool inserted(m_database->insert("events", values));
        const QString row = cells("SELECT USER, NAME, UID FROM events");
        return inserted != row.isEmpty() && run("DELETE FROM events") ? row : "the answer is wrong";
    };
    QCOMPARE(stored(QAny({{"USER", "5"}, {"COLOUR", 1}})), "5 NULL 0");
    QCOMPARE(stored(QAny({{"user", "5"}, {"Name", "Ana"}})), "5 Ana 0");
    QCOMPARE(stored(QAny({{"NAME", "O'Neil\"); --"}})), "NULL O'Neil\"); -- 0");
    QCOMPARE(stored(QAny({{"USER) VALUES (1) --", "5"}})), "");
    QCOMPARE(stored(QAny({{"COLOUR", 1}})), "");
    QCOMPARE(stored(QAny::list({"USER"})), "");
    QCOMPARE(stored(QAny()), "");
}

void TestDataBase::valuesKeepTheirKind()
{
    QVERIFY(run("CREATE TABLE kinds (V)"));
    const QAny values = QAny::list({true, 9007199254740993LL, 0.1, "č\"", QString(), QAny()});
    for (int i = 0; i < values.count(); ++i)
        QVERIFY(m_database->insert("kinds", QAny({{"V", values.at(i)}})));
    QVERIFY(m_database->execPrepared("INSERT INTO kinds VALUES (?)", {QByteArray("\0\xff", 2)}));
    QCOMPARE(cells("SELECT typeof(V), hex(V) FROM kinds LIMIT 2 OFFSET 5"), "null  blob 00FF");
    const QAny rows = m_database->select("SELECT V FROM kinds");
    QCOMPARE(rows.at(0).value("V"), QAny(1));
    for (int i = 1; i < values.count(); ++i)
        QCOMPARE(rows.at(i).value("V"), values.at(i));
}

void TestDataBase::update()
{
    QVERIFY(m_database->insert("events", QAny({{"NAME", "Ana"}})));
    QVERIFY(m_database->insert("events", QAny({{"NAME", "Bor"}})));
    // The key in another case is another key.
    for (const QAny &values : {QAny({{"NAME", "Cene"}}), QAny({{"ID", 2}, {"COLOUR", 1}}),
                               QAny({{"id", 2}, {"NAME", "Cene"}}), QAny::list({2})})
        QVERIFY2(!m_database->update("events", values, "ID"), qPrintable(values.toJson()));
    // Deliberate: a quote breaks the statement, the answer stays true.
    expectWarning("DataBase::exec\\(\\).*syntax");
    QVERIFY(m_database->update("events", QAny({{"ID", 2}, {"NAME", "O'Neil"}}), "ID"));
    QCOMPARE(cells("SELECT NAME FROM events ORDER BY ID"), "Ana Bor");
    QVERIFY(m_database->update("events", QAny({{"ID", 2}, {"NAME", "Cene"}, {"COLOUR", 1}}), "ID"));
    QCOMPARE(cells("SELECT NAME FROM events ORDER BY ID"), "Ana Cene");
}

void TestDataBase::columnAddedByAnotherProcess()
{
    const QString all = "SELECT * FROM config";
    QStringList units;
    const auto addUnit = [&units](const QSqlQuery &row) { units += row.value(2).toString(); };
    QVERIFY(m_database->insert("config", QAny({{"KEY", "a"}, {"UNIT", "h"}})));
    QVERIFY(m_database->forEachRow(all, {}, [](const QSqlQuery &) {}));
    QVERIFY(Peer(path()).run("ALTER TABLE config ADD COLUMN UNIT TEXT"));
    QVERIFY(m_database->insert("config", QAny({{"KEY", "b"}, {"UNIT", "h"}})));
    QVERIFY(m_database->update("config", QAny({{"KEY", "a"}, {"UNIT", "s"}}), "KEY"));
    QVERIFY(m_database->forEachRow(all, {}, addUnit));
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
    QCOMPARE(peer.cells("SELECT USER FROM events"), "");
    QVERIFY(outer.commit());
    QCOMPARE(peer.cells("SELECT USER FROM events ORDER BY ID"), "outer inner");
    expectWarning("DataBase::transaction\\(\\) no transaction is open");
    QVERIFY(!m_database->commit());
    // One that is left is rolled back.
    QVERIFY(m_database->transaction());
    QVERIFY(insertEvent("half"));
    reopen();
    QCOMPARE(cell("SELECT count(*) FROM events"), QAny(2));
}

void TestDataBase::lockedFileLosesTheWholeTransaction()
{
    m_database->exec("PRAGMA busy_timeout=0");
    const Peer peer(path());
    QVERIFY(peer.run("BEGIN IMMEDIATE"));
    expectWarning("DataBase::transaction\\(\\).*locked");
    QCOMPARE(m_database->transaction().outcome(), Status::Passing);
    QVERIFY(peer.run("COMMIT"));
    // The file is free again, but the first half of the transaction may be gone.
    QCOMPARE(insertEvent("half").outcome(), Status::Passing);
    QCOMPARE(run("INSERT INTO events (USER) VALUES ('half')").outcome(), Status::Passing);
    QVERIFY(m_database->exec("INSERT INTO events (USER) VALUES ('half')"));
    QCOMPARE(log("half").outcome(), Status::Passing);
    QCOMPARE(m_database->commit().outcome(), Status::Passing);
    QCOMPARE(cell("SELECT count(*) FROM events"), QAny(0));
    // Who reads, or only begins to, does not learn whether it is free.
    QVERIFY(m_database->exec("BEGIN") && m_database->exec("COMMIT"));
    QCOMPARE(cell("PRAGMA busy_timeout"), QAny(DataBase::kImpatientTimeoutMs));
    QVERIFY(insertEvent("whole"));
    QCOMPARE(cell("PRAGMA busy_timeout"), QAny(DataBase::kBusyTimeoutMs));
}

void TestDataBase::fullDiskLosesTheWholeTransaction()
{
    QVERIFY(log("x"));
    const int pages = cell("PRAGMA page_count").toInt();
    m_database->exec(QString("PRAGMA max_page_count=%1").arg(pages));
    Transaction outer(*m_database);
    QVERIFY(insertEvent("first"));
    expectWarning("DataBase::insert\\(\\).*full");
    expectWarning("rolled the transaction back");
    QCOMPARE(insertEvent(QString(100000, 'x')).outcome(), Status::Passing);
    QVERIFY(!insertEvent("second"));
    QVERIFY(!outer.commit());
    QCOMPARE(cell("SELECT count(*) FROM events"), QAny(0));
    QCOMPARE(m_database->lastLogIndex(), 1LL);
    QVERIFY(insertEvent("later"));
}

void TestDataBase::remoteTransaction()
{
    const auto check = [this](const char *begin, const char *end, const char *stored) {
        QVERIFY(m_database->exec(begin));
        QVERIFY(insertEvent("5"));
        QCOMPARE(cells("SELECT USER FROM events"), "");
        if (end)
            QVERIFY(m_database->exec(end));
        else
            expectWarning("DataBase::exec\\(\\) a transaction was left open");
        QCoreApplication::processEvents();
        QCOMPARE(cells("SELECT USER FROM events"), stored);
        Transaction own(*m_database);
        QVERIFY(run("DELETE FROM events") && own.commit());
    };
    check("BEGIN", nullptr, "5");
    check(" /* c */ SAVEPOINT x", nullptr, "5");
    check("begin immediate", "END", "5");
    check("BEGIN", "ROLLBACK", "");

    // One of ours that begins before the event loop comes to the remote one.
    m_database->select("BEGIN");
    QVERIFY(insertEvent("remote"));
    expectWarning("DataBase::exec\\(\\) a transaction was left open");
    {
        Transaction own(*m_database);
        QVERIFY(insertEvent("own"));
    }
    QCOMPARE(cells("SELECT USER FROM events"), "remote");
    m_database->exec("BEGIN");
    QVERIFY(insertEvent("before the end"));
    expectWarning("DataBase::exec\\(\\) a transaction was left open");
    reopen();
    QCOMPARE(cell("SELECT count(*) FROM events"), QAny(2));
}

void TestDataBase::nestedReads()
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
    // More texts than are kept, while one of them is being read.
    int rows = 0;
    QVERIFY(m_database->forEachRow("SELECT USER FROM events", {}, [&](const QSqlQuery &) {
        for (int i = 0; i < 3 * storage::StatementCache::kCapacity; ++i) {
            QVERIFY(m_database->forEachRow(QString("SELECT %1").arg(i % (2 * storage::StatementCache::kCapacity)), {},
                                           [&rows](const QSqlQuery &) { ++rows; }));
        }
    }));
    QCOMPARE(rows, 3 * 3 * storage::StatementCache::kCapacity);
    expectWarning("DataBase::forEachRow\\(\\)");
    QVERIFY(!m_database->forEachRow("SELECT nothing", {}, [](const QSqlQuery &) { QFAIL("no row"); }));
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
    run("SELECT ID FROM events"); // stops at the first row
    QVERIFY(m_database->forEachRow("SELECT USER FROM events", {}, [](const QSqlQuery &) {}));
    QVERIFY(insertEvent("3"));
    QCOMPARE(cells("PRAGMA wal_checkpoint(TRUNCATE)"), "0 0 0");
}

void TestDataBase::unusableFile()
{
    const QByteArray content = QByteArray("not a database, but somebody's file\n").repeated(100);
    const QString text = writeFile(m_folder->filePath("text.db"), content);
    m_database.reset();
    for (const char *name : {"missing/zuknetserver.db", "text.db"}) {
        const Warnings warnings;
        DataBase database(m_folder->filePath(name));
        QVERIFY(!database.isOpen());
        QCOMPARE(database.generation(), quint64(0));
        QCOMPARE(database.select("SELECT 1 FROM events"), QAny::list());
        QVERIFY(!database.exec("DELETE FROM events"));
        QVERIFY(database.insert("events", QAny({{"USER", "5"}})).mayPass());
        QVERIFY(!database.update("events", QAny({{"ID", 1}, {"USER", "5"}}), "ID"));
        QVERIFY(database.insertLog(1, 1, 0, 0, 1, "x", QAny()).mayPass());
        QVERIFY(database.execPrepared("DELETE FROM events", {}).mayPass());
        QVERIFY(database.forEachRow("SELECT 1 FROM events", {}, [](const QSqlQuery &) {}).mayPass());
        QCOMPARE(database.configValue("LastLogIdx"), QString());
        QCOMPARE(database.lastLogTime(1), 0LL);
        QCOMPARE(database.lastEventTime(1), 0LL);
        Transaction transaction(database);
        QVERIFY(transaction.commit().mayPass());
        QCOMPARE(Warnings::lines, QStringList("DataBase::Database() can't open kservermain.db"));
    }
    QCOMPARE(contentOf(text), content);
}

/// Part of the file cannot be read, the rest serves on.
void TestDataBase::damagedPage()
{
    QVERIFY(run("CREATE TABLE other (V TEXT)"));
    const int page = cell("SELECT rootpage FROM sqlite_master WHERE name='other'").toInt();
    const int pageSize = cell("PRAGMA page_size").toInt();
    m_database.reset();
    QFile file(path());
    QVERIFY(file.open(QIODevice::ReadWrite) && file.seek(qint64(page - 1) * pageSize));
    QCOMPARE(file.write(QByteArray(pageSize, '\x55')), qint64(pageSize));
    file.close();
    reopen();
    expectWarning("DataBase::insert\\(\\).*malformed");
    const Status refused = m_database->insert("other", QAny({{"V", "x"}}));
    QVERIFY(refused.isDamaged() && refused.mayPass());
    QVERIFY(insertEvent("alone"));
    // A transaction does not survive it, be it met while something is read.
    for (const char *sql : {"INSERT INTO other VALUES ('x')", "SELECT * FROM other"}) {
        Transaction turn(*m_database);
        QVERIFY(insertEvent("5"));
        {
            Transaction inner(*m_database);
            expectWarning("DataBase::execPrepared\\(\\).*malformed");
            expectWarning("DataBase::transaction\\(\\) nothing can be stored");
            QVERIFY(run(sql).isDamaged());
        }
        QVERIFY(insertEvent("6").isDamaged());
        QVERIFY(turn.commit().isDamaged());
    }
    QVERIFY(insertEvent("later"));
    QCOMPARE(cells("SELECT USER FROM events ORDER BY ID"), "alone later");
    QCOMPARE(m_database->generation(), quint64(1));
}

void TestDataBase::statementsStayInTheFile()
{
    QVERIFY(m_database->exec("create virtual table found using fts4(words)"));
    QVERIFY(m_database->exec("insert into found values ('one two')"));
    for (const char *sql : {"select fts3_tokenizer('simple', x'0102030405060708')", "select load_extension('libm')"}) {
        expectWarning("^DataBase::select\\(\\)");
        QCOMPARE(m_database->select(sql).count(), 0);
    }
    QCOMPARE(cell("select hex(fts3_tokenizer('simple'))"), QAny("")); // an address
    for (const char *sql : {"update found_content set c0words='three'", "update sqlite_master set sql='x'"}) {
        expectWarning("^DataBase::exec\\(\\)");
        m_database->exec("pragma writable_schema=1");
        m_database->exec(sql);
    }
    // What an administrator does goes on.
    for (const char *sql :
         {"analyze", "vacuum", "reindex", "pragma user_version=7", "pragma wal_checkpoint",
          "insert into found(found) values ('optimize')", "alter table logs add column more",
          "create trigger t after delete on logs begin delete from found; end", "delete from sqlite_stat1"})
        m_database->exec(sql);
    QCOMPARE(cells("select words from found where words match 'two'"), QStringLiteral("one two"));
    QCOMPARE(cells("pragma user_version"), QStringLiteral("7"));
}

void TestDataBase::workIsLimited()
{
    const QString sql(
        "with recursive c(n) as (select 1 union all select n+1 from c limit %1) select max(n) as N from c");
    {
        const storage::WorkLimit limit(1000000);
        QCOMPARE(m_database->select(sql.arg(10000)).count(), 1);
        expectWarning("^DataBase::select\\(\\) interrupted");
        QCOMPARE(m_database->select(sql.arg(1000000)).count(), 0);
    }
    QCOMPARE(m_database->select(sql.arg(1000000)).count(), 1);
}

namespace {

const storage::OwnTables kFirst{"wish", {"CREATE TABLE IF NOT EXISTS wish (ID INTEGER PRIMARY KEY, WHAT TEXT)"}, {}};

/// Its newest form, and the ways there.
storage::OwnTables third(const char *lastStep)
{
    return {"wish",
            {"CREATE TABLE IF NOT EXISTS wish (ID INTEGER PRIMARY KEY, WHAT TEXT, BY TEXT, DAY INTEGER)"},
            {{"ALTER TABLE wish ADD BY TEXT", "UPDATE wish SET BY='?'"}, {lastStep}}};
}

} // namespace

void TestDataBase::ownTablesAreBroughtUpToDate()
{
    const QString copy = path() + ".wish-1";
    QVERIFY(storage::bringUpToDate(*m_database, kFirst));
    QVERIFY(run("insert into wish (WHAT) values ('Šega')"));
    QVERIFY(storage::bringUpToDate(*m_database, kFirst));
    QVERIFY(!QFile::exists(copy)); // nothing was changed

    // A step that fails takes the ones before it back.
    QVERIFY(!storage::bringUpToDate(*m_database, third("ALTER TABLE nobody ADD DAY INTEGER")));
    QCOMPARE(cells("select VERSION from zuk_schema"), QString("1"));
    QVERIFY(!QFile::exists(copy)); // nor is anything copied for it
    QVERIFY(storage::bringUpToDate(*m_database, third("ALTER TABLE wish ADD DAY INTEGER")));
    QCOMPARE(cells("select WHAT,BY,DAY is null,VERSION from wish,zuk_schema"), QString("Šega ? 1 3"));
    QCOMPARE(Peer(copy).cells("select WHAT,VERSION from wish,zuk_schema where NAME='wish'"), QString("Šega 1"));
    QVERIFY(!QFile::exists(copy + ".part"));

    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("are of version 3, this program knows 1"));
    const Status newer = storage::bringUpToDate(*m_database, kFirst);
    QVERIFY(!newer && !newer.mayPass());

    // A new file has the newest form at once.
    QVERIFY(run("drop table wish") && run("delete from zuk_schema"));
    QVERIFY(storage::bringUpToDate(*m_database, third("ALTER TABLE wish ADD DAY INTEGER")));
    QCOMPARE(cells("select VERSION,(select count(DAY) from wish) from zuk_schema"), QString("3 0"));
}

void TestDataBase::ownTablesAreNotChangedWithoutACopy()
{
    QVERIFY(storage::bringUpToDate(*m_database, kFirst));
    QVERIFY(QDir().mkdir(path() + ".wish-1.part")); // where the copy would be
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("no copy can be made"));
    const Status status = storage::bringUpToDate(*m_database, third("ALTER TABLE wish ADD DAY INTEGER"));
    QVERIFY(!status && status.mayPass());
    QCOMPARE(cells("select VERSION from zuk_schema"), QString("1"));
    QCOMPARE(cells("select count(*) from pragma_table_info('wish')"), QString("2"));

    QVERIFY(QDir().rmdir(path() + ".wish-1.part"));
    QLockFile other(path() + ".wish.lock");
    QVERIFY(other.tryLock());
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("another process"));
    QVERIFY(!storage::bringUpToDate(*m_database, third("ALTER TABLE wish ADD DAY INTEGER")));
    QVERIFY(!QFile::exists(path() + ".wish-1"));
    other.unlock();
    QVERIFY(storage::bringUpToDate(*m_database, third("ALTER TABLE wish ADD DAY INTEGER")));
    QVERIFY(QFile::exists(path() + ".wish-1"));
}

QTEST_GUILESS_MAIN(TestDataBase)
#include "tst_database.moc"
