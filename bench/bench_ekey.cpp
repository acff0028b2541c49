// The fingerprint reader's file: the initial run over a million lines against a bare loop that parses their dates, with
// the slowest answer to a terminal meanwhile; and a burst of appended lines until the last is stored, against a bare
// loop that stores their events with a flush for each. Prints each against its target, then the usual table; ends with
// 1 when a target is missed.

#include "alternating.h"
#include "baredriver.h"
#include "server/reader/ekeyeventhandler.h"
#include "serverprocess.h"
#include "siteterminals.h"
#include "target.h"

#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <memory>

namespace {

constexpr int kOldLines = 1000000;
constexpr int kBurst = 10000;
constexpr int kUsers = 100;   ///< of the reader
constexpr int kEvents = 1000; ///< of the bare loop in one round
constexpr useconds_t kPingPause = 1000;

qint64 number(const QString &sql)
{
    return db()->select(sql).lookup(QStringLiteral("0")).lookup(QStringLiteral("N")).toInteger();
}

/// The tracker in the measured server.
class BenchService : public QObject
{
    Q_OBJECT
public:
    explicit BenchService(const QString &csv) { m_settings.file = csv; }

public Q_SLOTS:
    /// Begins with the file as it is.
    QAny follow(const QString &, const QAny &)
    {
        m_settings.isOn = true;
        m_tracker = std::make_unique<EkeyEventHandler>(m_settings);
        m_tracker->start();
        return 0;
    }
    QAny initialRuns(const QString &, const QAny &)
    {
        return number(QStringLiteral("select count(*) as N from logs where FMESSAGE like '%Initial run ended'"));
    }
    QAny stored(const QString &, const QAny &) { return number(QStringLiteral("select max(ID) as N from allevents")); }
    /// Events with a time that is not later than that of the one before.
    QAny disordered(const QString &, const QAny &)
    {
        return number(QStringLiteral(
            "select count(*) as N from events a join events b on b.ID=a.ID+1 where b.TIMESTAMP<=a.TIMESTAMP"));
    }

private:
    server::reader::EkeySettings m_settings;
    std::unique_ptr<EkeyEventHandler> m_tracker;
};

/// As the reader writes them, each seconds later than the one before, from 2020 on.
class LineWriter
{
public:
    LineWriter(const QString &path, int seconds) : m_file(path), m_seconds(seconds) {}

    void append(int lines)
    {
        QByteArray bytes;
        for (int i = 0; i < lines; ++i, m_time = m_time.addSecs(m_seconds))
            bytes += QByteArray::number(1000 + i % kUsers) + ";7;" + QByteArray::number(1 + i % 5) + ';' +
                     m_time.toString(QStringLiteral("d.M.yyyy hh:mm:ss")).toLatin1() + ";1;OK\r\n";
        if (!m_file.open(QIODevice::Append) || m_file.write(bytes) != bytes.size())
            giveUpMeasuring("no file");
        m_file.close();
    }

private:
    QFile m_file;
    int m_seconds;
    QDateTime m_time{QDate(2020, 1, 1), QTime(0, 0)};
};

std::unique_ptr<ServerProcess> serverWithReader(const QString &base)
{
    return std::make_unique<ServerProcess>([base] {
        makeFile(base + ".db");
        auto *const controller = startSite(base + ".db", new BenchService(base + ".csv"));
        {
            const EkeyEventHandler makesTable{server::reader::EkeySettings()};
        }
        QStringList users;
        for (int i = 0; i < kUsers; ++i) {
            users << QStringLiteral("insert into ULKAIDS (UID,ULKAID) values (%1,'%2')").arg(i + 1).arg(1000 + i)
                  << QStringLiteral(
                         "insert or replace into employees (ID,FIRSTNAME,LASTNAME) values (%1,'Ana','Žagar')")
                         .arg(i + 1);
        }
        run(*db(), users);
        return controller->serverPort();
    });
}

/// What must be done at least: the lines and their dates.
double parseDates(const QString &path)
{
    const QString format = server::reader::EkeySettings().dateFormat;
    const auto start = std::chrono::steady_clock::now();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        giveUpMeasuring("no file");
    int valid = 0;
    const QByteArray bytes = file.readAll();
    for (int at = 0, end = 0; (end = bytes.indexOf('\n', at)) >= 0; at = end + 1) {
        int begin = at;
        for (int field = 0; field < 3; ++field)
            begin = bytes.indexOf(';', begin) + 1;
        const QString date = QString::fromLatin1(bytes.constData() + begin, bytes.indexOf(';', begin) - begin);
        valid += QDateTime::fromString(date, format).isValid() ? 1 : 0;
    }
    const double seconds = secondsSince(start);
    if (valid < kOldLines - 3600) // an hour of the spring is none
        giveUpMeasuring("the dates are wrong");
    return seconds;
}

bool measureInitialRun(const ServerProcess &server, const QString &csv)
{
    constexpr size_t rounds = 3;
    Control control(server.port());
    double slowest = 0;
    const auto follow = [&] {
        const qint64 runs = control.ask("initialRuns");
        const auto start = std::chrono::steady_clock::now();
        control.ask("follow");
        for (bool ended = false; !ended; usleep(kPingPause)) {
            const auto asked = std::chrono::steady_clock::now();
            ended = control.ask("initialRuns") > runs;
            slowest = std::max(slowest, secondsSince(asked));
        }
        return secondsSince(start);
    };
    const std::vector<double> seconds = alternatingMediansOf({follow, [&csv] { return parseDates(csv); }}, rounds);
    std::printf("initial run over 1,000,000 lines %.2f s, bare %.2f s, slowest answer meanwhile %.1f ms\n", seconds[0],
                seconds[1], slowest * 1e3);
    return atMost("time of the initial run over a fingerprint reader's file of 1,000,000 lines", "ratio",
                  seconds[0] / seconds[1], 2, "a bare loop that parses the dates of the lines with QDateTime");
}

/// Until the last one is stored, with the time that the tracker takes to look at the file again.
void storeBurst(Control &control, LineWriter &writer)
{
    const qint64 expected = control.ask("stored") + kBurst;
    writer.append(kBurst);
    while (control.ask("stored") < expected)
        usleep(kPingPause);
}

bool measureBurst(Control &control, LineWriter &writer, BareEvents &bare)
{
    constexpr size_t rounds = 5;
    const std::vector<double> seconds =
        alternatingMedians({[&] { storeBurst(control, writer); }, [&] { bare.store(kEvents); }}, rounds);
    const double lines = kBurst / seconds[0];
    const double events = kEvents / seconds[1];
    std::printf("%.0f appended lines/s stored, %.0f events/s stored by a bare loop\n", lines, events);
    const bool ordered = control.ask("stored") == qint64(rounds) * kBurst && control.ask("disordered") == 0;
    std::printf("lines are stored once and in order: %s\n", ordered ? "yes" : "NO");
    return atLeast("fingerprint reader's lines stored per second", "ratio", lines / events, 0.5,
                   "a bare SQLite loop with a flush for each event") &&
           ordered;
}

void registerSide(const char *name, int items, const std::function<void()> &side)
{
    const auto run = [side, items](benchmark::State &state) {
        for (auto _ : state)
            side();
        state.SetItemsProcessed(state.iterations() * items);
    };
    benchmark::RegisterBenchmark(name, run)->UseRealTime();
}

} // namespace

int main(int argc, char **argv)
{
    QTemporaryDir folder;
    const QString old = folder.filePath(QStringLiteral("old"));
    const QString fresh = folder.filePath(QStringLiteral("fresh"));
    const auto oldServer = serverWithReader(old);
    const auto freshServer = serverWithReader(fresh);

    QCoreApplication application(argc, argv);
    LineWriter(old + ".csv", 20).append(kOldLines);
    const bool swift = measureInitialRun(*oldServer, old + ".csv");

    LineWriter writer(fresh + ".csv", 1);
    writer.append(1);
    Control control(freshServer->port());
    control.ask("follow");
    control.waitFor("initialRuns", [](qint64 runs) { return runs == 1; });
    makeFile(folder.filePath(QStringLiteral("bare.db")));
    BareEvents bare(folder.filePath(QStringLiteral("bare.db")));
    const bool stored = measureBurst(control, writer, bare);

    registerSide("appendedLines", kBurst, [&] { storeBurst(control, writer); });
    registerSide("events", kEvents, [&bare] { bare.store(kEvents); });
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return swift && stored ? 0 : 1;
}

#include "bench_ekey.moc"
