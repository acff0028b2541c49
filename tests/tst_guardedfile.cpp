#include "files.h"
#include "peer.h"
#include "rows.h"
#include "storage/database.h"
#include "storage/readconnection.h"
#include "warnings.h"

#include <QTemporaryDir>
#include <QtTest>

#include <cstdio>
#include <functional>

using storage::ReadConnection;
using storage::Status;

namespace {

/// As an operator does: a name that is taken goes to what is moved over it.
void move(const QString &from, const QString &to)
{
    QCOMPARE(std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()), 0);
}

} // namespace

Q_DECLARE_METATYPE(std::function<void()>)

/// The file is "open.db" with the row "old", whose journal is not yet in it; "copy.db" is another with the row "copy".
class TestGuardedFile : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void lostAndFound_data();
    void lostAndFound();
    void lostInsideATransaction();
    void replacedAtOnce();
    void journalOfTheOtherFile();
    void cameBackChanged();
    void linkThatPointsElsewhere();
    void replacedWhileRowsAreRead();
    void opensByItself();
    void missingAtTheStart();
    void faultOfTheConnection();
    void faultThatStays();

private:
    using Act = std::function<void()>;

    QString path(const char *name = "open.db") const { return m_folder->filePath(name); }
    QStringList aside() const { return QDir(m_folder->path()).entryList({"*.old-*"}, QDir::Files, QDir::Name); }
    bool insert(const char *user) { return bool(m_database->insert("events", {{"USER", user}})); }
    QString users() { return Peer(path()).cells("SELECT USER FROM events ORDER BY ID"); }
    void expectOutage()
    {
        QVERIFY2(Warnings::lines.size() == 2 && Warnings::lines.at(0).startsWith("DataBase: the file was ") &&
                     Warnings::lines.at(1).startsWith("DataBase: the file is open again:"),
                 qPrintable(Warnings::lines.join('\n')));
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<DataBase> m_database;
    std::unique_ptr<Warnings> m_warnings;
};

void TestGuardedFile::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_database = std::make_unique<DataBase>(path());
    QVERIFY(m_database->exec("CREATE TABLE config (KEY TEXT PRIMARY KEY, VALUE TEXT)"));
    QVERIFY(m_database->exec("INSERT INTO config VALUES ('LastLogIdx', '41')"));
    QVERIFY(insert("before"));
    QVERIFY(m_database->exec(QString("VACUUM INTO '%1'").arg(path("copy.db"))));
    m_database.reset();
    QVERIFY(Peer(path("copy.db")).run("UPDATE events SET USER='copy'"));
    QVERIFY(Peer(path("copy.db")).run("UPDATE config SET VALUE='99'"));
    m_database = std::make_unique<DataBase>(path());
    QVERIFY(m_database->exec("UPDATE events SET USER='old'"));
    m_warnings = std::make_unique<Warnings>();
}

void TestGuardedFile::cleanup()
{
    m_database.reset();
    m_warnings.reset();
}

void TestGuardedFile::lostAndFound_data()
{
    const auto row = columns<Act, Act, QString>({"lose", "find", "stored"});
    const Act removeIt = [this] { QVERIFY(QFile::remove(path())); };
    const Act moveAway = [this] { move(path(), path("away.db")); };
    const Act moveBack = [this] { move(path("away.db"), path()); };
    const Act moveCopy = [this] { move(path("copy.db"), path()); };
    const Act fillIn = [this] { writeFile(path(), contentOf(path("copy.db"))); };
    const Act garbage = [this] {
        writeFile(path("garbage"), QByteArray("no database\n").repeated(1000));
        move(path("garbage"), path());
    };
    const Act damagedHeader = [this] {
        writeFile(path("garbage"), contentOf(path("copy.db")).replace(0, 10, "0123456789"));
        move(path("garbage"), path());
    };
    const Act folder = [this, removeIt] {
        removeIt();
        QVERIFY(QDir().mkdir(path()));
    };
    const Act folderAway = [this, moveCopy] {
        QVERIFY(QDir().rmdir(path()));
        moveCopy();
    };
    const Act empty = [this] { writeFile(path("garbage"), {}), move(path("garbage"), path()); };
    const Act truncate = [this] { writeFile(path(), {}); };
    row("deleted", removeIt, moveCopy, "copy new");
    row("moved away and back", moveAway, moveBack, "old new");
    row("moved away for another", moveAway, moveCopy, "copy new");
    row("garbage", garbage, moveCopy, "copy new");
    row("garbage, filled in", garbage, fillIn, "copy new");
    row("damaged header", damagedHeader, moveCopy, "copy new");
    row("folder", folder, folderAway, "copy new");
    row("an empty one", empty, moveCopy, "copy new");
    row("truncated", truncate, moveCopy, "copy new");
    row("truncated, filled in", truncate, fillIn, "copy new");
}

void TestGuardedFile::lostAndFound()
{
    QFETCH(Act, lose);
    QFETCH(Act, find);
    QFETCH(QString, stored);
    const QByteArray journal = contentOf(path("open.db-wal"));
    lose();
    const bool wasThere = QFileInfo::exists(path());
    QCOMPARE(m_database->insert("events", {{"USER", "lost"}}).outcome(), Status::Passing);
    QCOMPARE(m_database->transaction().outcome(), Status::Passing);
    QVERIFY(!insert("lost"));
    QCOMPARE(m_database->commit().outcome(), Status::Passing);
    QVERIFY(!m_database->look() && !m_database->isOpen());
    QCOMPARE(m_database->select("SELECT USER FROM events"), QAny::list());
    QCOMPARE(m_database->generation(), quint64(1));
    QCOMPARE(QFileInfo::exists(path()), wasThere);
    QCOMPARE(Warnings::lines.size(), 1);
    QCOMPARE(aside().size(), 2);
    QCOMPARE(contentOf(path(qPrintable(aside().constLast()))), journal);

    find();
    QVERIFY(m_database->look());
    QCOMPARE(m_database->generation(), quint64(2));
    QCOMPARE(m_database->lastLogIndex(), stored.startsWith("copy") ? 100LL : 42LL);
    QVERIFY(insert("new"));
    QCOMPARE(users(), stored);
    expectOutage();
}

void TestGuardedFile::lostInsideATransaction()
{
    const std::pair<Act, const char *> rows[] = {{[this] { QVERIFY(QFile::remove(path())); }, ""},
                                                 {[this] { move(path("copy.db"), path()); }, "copy new"}};
    for (const auto &[lose, stored] : rows) {
        cleanup();
        init();
        Transaction outer(*m_database);
        QVERIFY(insert("lost"));
        lose();
        {
            Transaction inner(*m_database);
            QVERIFY(insert("lost")); // only the outermost end stores something
            QVERIFY(inner.commit());
        }
        QCOMPARE(outer.commit().outcome(), Status::Passing);
        QCOMPARE(insert("new"), *stored != '\0');
        QCOMPARE(users(), QString(stored));
        // Found so by a look in its middle, and opened anew: the rest of it is none of the new file's.
        cleanup();
        init();
        QVERIFY(m_database->transaction() && insert("lost"));
        lose();
        QVERIFY(!m_database->look());
        m_database->select("SELECT 1");
        QVERIFY(!insert("lost") && m_database->insertLog(1, 1, 0, 0, 1, "x", QAny()).mayPass());
        QVERIFY(m_database->commit().mayPass());
        QCOMPARE(insert("new"), *stored != '\0');
        QCOMPARE(users(), QString(stored));
        QCOMPARE(m_database->lastLogIndex(), *stored ? 100LL : 42LL);
    }
}

void TestGuardedFile::replacedAtOnce()
{
    // Each kind of write looks for itself; what was stored before stays in the journal that is set aside.
    const std::function<bool()> writes[] = {
        [this] { return insert("new"); },
        [this] { return bool(m_database->execPrepared("INSERT INTO events (USER) VALUES (?)", {"new"})); },
        [this] { return m_database->exec("INSERT INTO events (USER) VALUES ('new')"); },
        [this] {
            Transaction transaction(*m_database);
            return insert("new") && transaction.commit();
        }};
    for (const auto &store : writes) {
        cleanup();
        init();
        move(path("copy.db"), path());
        QVERIFY(store());
        QCOMPARE(users(), QString("copy new"));
        expectOutage();
        QCOMPARE(aside().size(), 2);
        m_database.reset();
        QCOMPARE(users(), QString("copy new"));
    }
    QVERIFY(m_database == nullptr);
    // A later outage of the same second keeps the earlier journal.
    m_database = std::make_unique<DataBase>(path());
    QVERIFY(m_database->exec("UPDATE events SET USER='newer'"));
    QVERIFY(QFile::remove(path()));
    QVERIFY(!m_database->look());
    QCOMPARE(aside().size(), 4);
}

void TestGuardedFile::journalOfTheOtherFile()
{
    {
        const Peer peer(path("copy.db"));
        QVERIFY(peer.run("PRAGMA journal_mode=WAL") && peer.run("UPDATE events SET USER='from its journal'"));
        for (const char *name : {"copy.db", "copy.db-wal"})
            writeFile(path(name) + '2', contentOf(path(name)));
    }
    move(path("copy.db-wal2"), path("open.db-wal"));
    move(path("copy.db2"), path());
    QVERIFY(m_database->look());
    QCOMPARE(users(), QString("from its journal"));
}

void TestGuardedFile::cameBackChanged()
{
    auto reader = std::make_unique<ReadConnection>(path());
    QCOMPARE(reader->select("SELECT USER FROM events").count(), 1);
    move(path(), path("away.db"));
    QVERIFY(!m_database->look());
    QVERIFY(!reader->isCurrent());
    QVERIFY(reader->beginRead().mayPass());
    writeFile(path("away.db"), contentOf(path("copy.db")));
    move(path("away.db"), path());
    // The reader still has the old journal's index.
    QVERIFY(!m_database->look());
    reader.reset();
    QVERIFY(m_database->look());
    QVERIFY(insert("new"));
    QCOMPARE(users(), QString("copy new"));
    QCOMPARE(aside().size(), 2);
}

void TestGuardedFile::linkThatPointsElsewhere()
{
    m_database.reset();
    QVERIFY(QFile::link(path(), path("link.db")) && QFile::link(path("copy.db"), path("link2.db")));
    m_database = std::make_unique<DataBase>(path("link.db"));
    QVERIFY(insert("through the link"));
    move(path("link2.db"), path("link.db"));
    QVERIFY(insert("new"));
    QCOMPARE(Peer(path("copy.db")).cells("SELECT USER FROM events ORDER BY ID"), QString("copy new"));
    // Its file has not moved: the journal is its own still.
    QCOMPARE(users(), QString("old through the link"));
    QVERIFY(aside().isEmpty());
}

void TestGuardedFile::replacedWhileRowsAreRead()
{
    QVERIFY(insert("second"));
    QStringList read;
    QVERIFY(m_database->forEachRow("SELECT USER FROM events", {}, [this, &read](const QSqlQuery &row) {
        if (read.isEmpty())
            move(path("copy.db"), path());
        read += row.value(0).toString();
        QVERIFY(!insert("lost"));
    }));
    QCOMPARE(read, QStringList({"old", "second"}));
    QVERIFY(insert("new"));
    QCOMPARE(users(), QString("copy new"));
}

void TestGuardedFile::opensByItself()
{
    m_database->setRetryInterval(10);
    move(path(), path("away.db"));
    QVERIFY(!insert("lost"));
    QTest::qWait(50);
    QVERIFY(!m_database->isOpen());
    move(path("away.db"), path());
    QTRY_VERIFY(m_database->isOpen());
    expectOutage();
    // Where no event loop runs, the next use opens it, be it a read.
    move(path(), path("away.db"));
    QVERIFY(!insert("lost"));
    move(path("away.db"), path());
    QTest::qSleep(20);
    QCOMPARE(m_database->select("SELECT USER FROM events").count(), 1);
}

void TestGuardedFile::missingAtTheStart()
{
    const QString there = m_folder->filePath("later/open.db");
    m_database = nullptr;
    m_database = std::make_unique<DataBase>(there);
    QVERIFY(QDir(m_folder->path()).mkdir("later"));
    QVERIFY(!m_database->look());
    QVERIFY(!QFile::exists(there));
    Peer(path("copy.db")).run("DROP TABLE logs");
    move(path("copy.db"), there);
    QVERIFY(m_database->look());
    QVERIFY(m_database->insertLog(7, 0, 0, 0, 1, "x", QAny()));
    QCOMPARE(Peer(there).cells("SELECT IDX FROM logs"), QString("100"));
    QCOMPARE(Warnings::lines, QStringList({"DataBase::Database() can't open kservermain.db",
                                           "DataBase: the file is open again: " + there}));
}

/// A connection that was opened for reading only stays so.
void TestGuardedFile::faultOfTheConnection()
{
    m_database->exec("PRAGMA query_only=ON");
    QCOMPARE(m_database->insert("events", {{"USER", "lost"}}).outcome(), Status::Passing);
    QVERIFY(m_database->exec("BEGIN"));
    m_database->setRetryInterval(0);
    QTest::qSleep(2);
    QVERIFY(!insert("inside of somebody's transaction, which goes on"));
    QVERIFY(m_database->exec("ROLLBACK"));
    QVERIFY(insert("new"));
    QCOMPARE(users(), QString("old new"));
}

/// Nor can it be opened anew: what is written over the file in place stays unseen until then.
void TestGuardedFile::faultThatStays()
{
    m_database->exec("PRAGMA query_only=ON");
    QVERIFY(!insert("lost"));
    writeFile(path(), QByteArray("no database\n").repeated(1000));
    m_database->setRetryInterval(0);
    QTest::qSleep(2);
    Warnings::lines.clear();
    for (int i = 0; i < 2; ++i)
        QCOMPARE(m_database->insert("events", {{"USER", "lost"}}).outcome(), Status::Passing);
    QVERIFY(!m_database->isOpen());
    QCOMPARE(Warnings::lines, QStringList("DataBase: the file can't be opened again: " + path()));
    move(path("copy.db"), path());
    QTest::qSleep(2);
    QVERIFY(insert("new"));
    QCOMPARE(users(), QString("copy new"));
}

QTEST_GUILESS_MAIN(TestGuardedFile)
#include "tst_guardedfile.moc"
