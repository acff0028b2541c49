// The employees' page beside the server, on a company of 1,000 employees and a year: what it adds to the calculation of
// a month, how soon 200 people have the month that they ask for at once, and how long terminals wait for their
// acknowledgements meanwhile. Prints each against its target; ends with 1 when a target is missed.

#include "calc/calc21.h"
#include "filledcompany.h"
#include "latency.h"
#include "page/server/asks.h"
#include "page/server/pageserver.h"
#include "pagecrowd.h"
#include "server/workers/filereaders.h"
#include "storage/readconnection.h"

#include <QEventLoop>
#include <QTemporaryDir>

#include <memory>
#include <sys/resource.h>
#include <thread>

using server::workers::ReadPool;

namespace {

constexpr int kEmployees = 1000;
constexpr int kPeople = 200;
constexpr int kMonths = 12;
/// The weight that the unit gives the page is not to be had without systemd. By this each of its threads has a tenth of
/// what the server's have; it has three.
constexpr int kPageNice = 10;
const QDate kStart(2025, 1, 1);
const QDate kToday(2025, 12, 31);

qint64 noonOfToday()
{
    return QDateTime(kToday, QTime(12, 0)).toMSecsSinceEpoch();
}

/// So that all can sign in: the user is the employee's number with a letter, and so is the password.
void makeFile(const QString &file)
{
    DataBase database(file);
    makeCompany(database, kEmployees, kStart, kToday);
    if (!database.exec(QStringLiteral("update USER_ACCESS set NAME='u'||IDP,PASSWORD='u'||IDP where ACTIVE=1")))
        qFatal("no users");
}

quint16 startPage(const QString &file)
{
    setpriority(PRIO_PROCESS, 0, kPageNice);
    page::PageServer::Options options;
    options.databasePath = file;
    options.clock = noonOfToday;
    static page::PageServer server(options, page::openOffice(file), page::pageFiles());
    const QString fault = server.open(QHostAddress::LocalHost, 0);
    if (!fault.isEmpty())
        qFatal("%s", qPrintable(fault));
    return server.port();
}

QStringList usersOf(const QString &file)
{
    QStringList users;
    storage::ReadConnection reader(file);
    const QString sql = QStringLiteral("select NAME from USER_ACCESS join employees on employees.ID=IDP "
                                       "where USER_ACCESS.ACTIVE=1 and employees.ACTIVE=1 order by IDP limit ?");
    reader.forEachRow(sql, {kPeople}, [&users](const QSqlQuery &row) { users += row.value(0).toString(); });
    if (users.size() != kPeople)
        qFatal("too few users");
    return users;
}

std::string monthAsk(int month)
{
    return R"({"id":1,"ask":"month","month":")" + kToday.addMonths(-month).toString("yyyy-MM").toStdString() + "\"}";
}

/// The page without its sockets, for people who are signed in.
class PageInside
{
public:
    PageInside(const QString &file, const QStringList &users)
        : m_pool(std::make_unique<server::workers::FileReaders>(file), {}, poolOptions()),
          m_office(page::openOffice(file)), m_services{m_sessions, m_pool, *m_office, noonOfToday}
    {
        storage::ReadConnection reader(file);
        for (const QString &user : users) {
            bool isFault = false;
            const auto person = m_office->signIn(reader, user, user, &isFault);
            if (!person)
                qFatal("not signed in");
            m_ids.push_back(person->id);
            m_asks.push_back(
                std::make_unique<page::Asks>(m_services, page::Sessions::keyOf(m_sessions.begin(*person)), clientOf()));
        }
    }

    qint64 employee(size_t person) const { return m_ids[person]; }

    /// From the ask as it came to the answer as it goes.
    void ask(size_t person, int month)
    {
        m_asks[person]->take(QString::fromStdString(monthAsk(month)));
        m_loop.exec();
    }

private:
    Q_DISABLE_COPY(PageInside)

    static ReadPool::Options poolOptions()
    {
        ReadPool::Options options;
        options.threads = page::PageServer::kReaders;
        return options;
    }
    page::Asks::Client clientOf()
    {
        return {[this](const QByteArray &answer) {
                    if (!answer.contains(R"("ok":true)"))
                        qFatal("refused: %s", answer.constData());
                    m_loop.quit();
                },
                [] { qFatal("signed out"); }, [] {}};
    }

    page::Sessions m_sessions;
    ReadPool m_pool;
    const std::unique_ptr<page::OfficeDoor> m_office;
    const page::Services m_services;
    std::vector<qint64> m_ids;
    std::vector<std::unique_ptr<page::Asks>> m_asks;
    QEventLoop m_loop;
};

void calculate(storage::ReadConnection &reader, qint64 employee, int month)
{
    const QDate first = kToday.addMonths(-month).addDays(1 - kToday.addMonths(-month).day());
    const QString format = QStringLiteral("d.M.yyyy");
    reader.beginRead();
    Calc21 calculation(reader, kToday);
    calculation.allowNoEvents();
    calculation.calculate({{QStringLiteral("STARTDATE"), first.toString(format)},
                           {QStringLiteral("ENDDATE"), first.addMonths(1).addDays(-1).toString(format)},
                           {QStringLiteral("USER"), QAny::list({employee})}});
    reader.endRead();
}

double processorMs()
{
    timespec used = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
    return static_cast<double>(used.tv_sec) * 1e3 + static_cast<double>(used.tv_nsec) / 1e6;
}

bool measureInside(const QString &file, const QStringList &users)
{
    constexpr int kSamples = 1200;
    PageInside page(file, users);
    storage::ReadConnection reader(file);
    Samples alone;
    Samples inside;
    double worked = 0; // where the machine is loaded, its threads wait for each other
    for (int i = 0; i < kSamples; ++i) {
        const auto person = static_cast<size_t>(i % kPeople);
        const int month = (i + i / kPeople) % kMonths;
        calculate(reader, page.employee(person), month); // what the file has of it is in memory for both
        Clock::time_point start = Clock::now();
        calculate(reader, page.employee(person), month);
        alone.tookMs.push_back(msSince(start));
        worked -= processorMs();
        start = Clock::now();
        page.ask(person, month);
        inside.tookMs.push_back(msSince(start));
        worked += processorMs();
    }
    const double calculated = alone.percentile(0.5);
    std::printf("a month inside zukpage %.2f ms (processor time, mean, %.2f ms), its calculation alone %.2f ms\n",
                inside.percentile(0.5), worked / kSamples, calculated);
    return atMost("a month inside the page, above its calculation, medians", "ms", inside.percentile(0.5) - calculated,
                  3, "the calculation alone");
}

bool measureCrowd(const ServerProcess &page, const PageCrowd::Cookies &cookies)
{
    constexpr int kRounds = 10;
    constexpr std::chrono::milliseconds kPause(200);
    PageCrowd crowd(page.port(), cookies);
    Samples rounds;
    const double worked = page.cpuSeconds();
    for (int i = 0; i < kRounds; ++i) {
        std::this_thread::sleep_for(kPause);
        const Clock::time_point start = Clock::now();
        crowd.ask(monthAsk(i % kMonths));
        rounds.tookMs.push_back(msSince(start));
    }
    // What a loaded machine does not change much.
    const double workedMs = (page.cpuSeconds() - worked) * 1e3 / kRounds;
    std::printf("200 months asked for at once: p50 %.0f ms, longest %.0f ms, processor time %.0f ms\n",
                rounds.percentile(0.5), rounds.percentile(1), workedMs);
    return atMost("200 people ask for their month at once, until all have it", "s", rounds.percentile(1) / 1e3, 1, "");
}

/// Adds samples.
void acknowledge(quint16 port, Samples *samples)
{
    constexpr int kSamples = 500;
    static const Clock::time_point zero = Clock::now();
    static int terminals = 0;
    const int terminal = ++terminals;
    Peer peer(port, "mainterminal", terminal);
    const Samples more = sample(zero, false, kSamples, std::chrono::milliseconds(4),
                                [&] { peer.ask("logger.event", eventOf(terminal)); });
    samples->tookMs.insert(samples->tookMs.end(), more.tookMs.begin(), more.tookMs.end());
    samples->beganAt.insert(samples->beganAt.end(), more.beganAt.begin(), more.beganAt.end());
}

bool measureAcknowledgements(quint16 rpcPort, quint16 pagePort, const PageCrowd::Cookies &cookies)
{
    constexpr int kRounds = 4; // in turn, so that what else the machine does meets both
    Samples idle;
    Samples busy;
    int asked = 0;
    for (int i = 0; i < kRounds; ++i) {
        acknowledge(rpcPort, &idle);
        std::atomic<bool> stop{false};
        PageCrowd crowd(pagePort, cookies);
        std::thread asking([&] {
            setpriority(PRIO_PROCESS, 0, kPageNice); // of this thread: the browsers are other machines
            for (; !stop; ++asked)
                crowd.ask(monthAsk(asked % kMonths));
        });
        acknowledge(rpcPort, &busy);
        stop = true;
        asking.join();
    }
    std::printf("200 people asked %d times, the page at nice %d\n", asked, kPageNice);
    tell("acknowledgements, nobody at the page", idle);
    tell("acknowledgements, 200 people ask for months", busy);
    return atMost("acknowledgements while 200 people ask for their months, p99", "ratio",
                  busy.percentile(0.99) / idle.percentile(0.99), 2, "p99 of the same while nobody does");
}

} // namespace

int main(int argc, char **argv)
{
    raiseDescriptorLimit();
    QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("site.db"));
    const ServerProcess server([&file] {
        makeFile(file);
        return startServer(file);
    });
    const ServerProcess pageProcess([&file] { return startPage(file); });
    const QCoreApplication application(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));

    const QStringList users = usersOf(file);
    const bool inside = measureInside(file, users);
    PageCrowd::Cookies cookies;
    for (const QString &user : users)
        cookies.push_back(PageCrowd::signIn(pageProcess.port(), user.toStdString(), user.toStdString()));
    const bool crowd = measureCrowd(pageProcess, cookies);
    const bool acknowledged = measureAcknowledgements(server.port(), pageProcess.port(), cookies);
    return inside && crowd && acknowledged ? 0 : 1;
}
