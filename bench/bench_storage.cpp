// Log rows through DataBase::insertLog against a bare loop over the driver that writes the same two rows with prepared
// statements, in the same kind of file with the same settings. Prints the ratios, then the usual table; ends with 1
// when the target is missed.

#include "alternating.h"
#include "storage/database.h"
#include "target.h"

#include <QCoreApplication>
#include <QLoggingCategory>
#include <QTemporaryDir>
#include <QVariant>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <vector>

namespace {

constexpr double kTarget = 0.5; ///< rows per second, ours to the bare loop's
constexpr size_t kRounds = 15;
constexpr int kLine = 7;
constexpr qint64 kTime = 1700000000000;

QString message()
{
    return QStringLiteral("Terminal 7 connected from 192.168.10.107");
}

void makeFile(const QString &path)
{
    DataBase database(path);
    database.exec(QStringLiteral("CREATE TABLE config (KEY TEXT PRIMARY KEY, VALUE TEXT)"));
}

class Ours
{
public:
    explicit Ours(const QString &path) : m_database(path) {}
    storage::Status begin() { return m_database.transaction(); }
    storage::Status commit() { return m_database.commit(); }
    storage::Status row() { return m_database.insertLog(kLine, 0, 0, 0, kTime, message(), QAny(m_data)); }

private:
    DataBase m_database;
    QString m_data = QStringLiteral("data");
};

class Bare
{
public:
    explicit Bare(const QString &path)
        : m_connection(QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("bare")))
    {
        m_connection.setDatabaseName(path);
        m_connection.open();
        for (const char *pragma : {"PRAGMA journal_mode=WAL", "PRAGMA synchronous=FULL"})
            QSqlQuery(m_connection).exec(QString::fromLatin1(pragma));
        m_log = QSqlQuery(m_connection);
        m_log.prepare(
            QStringLiteral("INSERT OR REPLACE INTO logs (idx, line, id, ftimestamp, llevel, lgroup, fmessage, "
                           "data) VALUES(?,?,?,?,?,?,?,?)"));
        m_index = QSqlQuery(m_connection);
        m_index.prepare(QStringLiteral("INSERT OR REPLACE INTO Config (KEY, VALUE) VALUES(?,?)"));
    }
    ~Bare()
    {
        m_log.clear();
        m_index.clear();
        m_connection = QSqlDatabase();
        QSqlDatabase::removeDatabase(QStringLiteral("bare"));
    }
    bool begin()
    {
        m_inside = true;
        return m_connection.transaction();
    }
    bool commit()
    {
        m_inside = false;
        return m_connection.commit();
    }
    bool row() { return m_inside ? twoRows() : m_connection.transaction() && twoRows() && m_connection.commit(); }

private:
    bool twoRows()
    {
        const QVariant row[] = {m_next++, kLine, 0, kTime, 0, 0, message(), QStringLiteral("{\"DATA\":\"data\"}")};
        int place = 0;
        for (const QVariant &value : row)
            m_log.bindValue(place++, value);
        m_index.bindValue(0, QStringLiteral("LastLogIdx"));
        m_index.bindValue(1, QString::number(m_next));
        return m_log.exec() && m_index.exec();
    }

    QSqlDatabase m_connection;
    QSqlQuery m_log;
    QSqlQuery m_index;
    qint64 m_next = 0;
    bool m_inside = false;
};

/// False when a row was not stored.
template <typename Side> bool write(Side &side, int rows, bool together)
{
    bool ok = !together || side.begin();
    for (int i = 0; i < rows; ++i)
        ok = side.row() && ok;
    return (!together || side.commit()) && ok;
}

template <typename Side> double rowsPerSecond(Side &side, int rows, bool together)
{
    const auto begin = std::chrono::steady_clock::now();
    const bool ok = write(side, rows, together);
    return ok ? rows / secondsSince(begin) : 0;
}

bool compare(const char *name, Ours &ours, Bare &bare, int rows, bool together)
{
    const std::vector<double> rates = alternatingMediansOf(
        {[&] { return rowsPerSecond(ours, rows, together); }, [&] { return rowsPerSecond(bare, rows, together); }},
        kRounds);
    std::printf("%.0f log rows/s, bare %.0f\n", rates[0], rates[1]);
    return atLeast(name, "ratio", rates[0] / rates[1], kTarget, "a bare SQLite loop that writes the same rows");
}

template <typename Side> void registerSide(const char *name, Side &side, bool together)
{
    constexpr int rows = 100;
    benchmark::RegisterBenchmark(name, [&side, together](benchmark::State &state) {
        for (auto _ : state) {
            if (!write(side, rows, together))
                state.SkipWithError("a row was not stored");
        }
        state.SetItemsProcessed(state.iterations() * rows);
    });
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));
    QTemporaryDir folder;
    makeFile(folder.filePath(QStringLiteral("ours.db")));
    makeFile(folder.filePath(QStringLiteral("bare.db")));
    Ours ours(folder.filePath(QStringLiteral("ours.db")));
    Bare bare(folder.filePath(QStringLiteral("bare.db")));

    const bool single = compare("log rows per second, each flushed to the disk", ours, bare, 200, false);
    const bool together = compare("log rows per second, 5,000 in a transaction", ours, bare, 5000, true);

    registerSide("single", ours, false);
    registerSide("singleBare", bare, false);
    registerSide("catchUp", ours, true);
    registerSide("catchUpBare", bare, true);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return single && together ? 0 : 1;
}
