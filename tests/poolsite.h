#pragma once

#include "calc/crew.h"
#include "server/workers/readpool.h"

#include <QCoreApplication>
#include <QStringList>
#include <QtTest>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

/// A number that threads count and wait for.
class Counter
{
public:
    void add(int count = 1)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_count += count;
        m_changed.notify_all();
    }
    int count()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_count;
    }
    /// False when it does not get there within ten seconds.
    bool waitFor(int count)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, std::chrono::seconds(10), [&] { return m_count >= count; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_count = 0;
};

/// What the readers of a test have done, from all threads.
struct ReaderLog {
    std::atomic<int> opened{0};
    std::atomic<int> open{0};
    std::atomic<int> states{0};  ///< that have begun and not ended
    std::atomic<int> misuses{0}; ///< on another thread than their own, or begun or ended twice
    std::atomic<int> held{0};    ///< times that the file was held still
    std::atomic<int> begunUnheld{0};
    std::atomic<bool> isHeld{false};
    std::atomic<bool> canHold{true};
    std::atomic<int> failures{0}; ///< so many of the next states fail to begin
    std::atomic<int> delays{0};   ///< so many of the next begin with leave, while others see theirs
    Counter leave;
};

/// A reader without a file; its path is its number.
class CountingReader : public storage::Reader, public server::workers::ReadingConnection
{
public:
    explicit CountingReader(ReaderLog &log) : m_log(log), m_number(++log.opened) { ++log.open; }
    ~CountingReader() override
    {
        check(true);
        if (m_hasState)
            --m_log.states;
        --m_log.open;
    }

    storage::Reader &reader() override { return *this; }
    bool beginState() override
    {
        check(!m_hasState);
        if (m_log.failures > 0 && m_log.failures-- > 0)
            return false;
        if (m_log.states > 0 && m_log.delays > 0 && m_log.delays-- > 0)
            check(m_log.leave.waitFor(1));
        m_hasState = true;
        ++m_log.states;
        m_log.begunUnheld += m_log.isHeld ? 0 : 1;
        return true;
    }
    void endState() override
    {
        check(m_hasState);
        m_hasState = false;
        --m_log.states;
    }

    bool isOpen() const override { return true; }
    QString filePath() const override { return QString::number(m_number); }
    QString configValue(const QString &) override
    {
        check(m_hasState);
        return filePath();
    }
    QAny select(const QString &) override { return {}; }
    storage::Status forEachRow(const QString &, const QVariantList &,
                               const std::function<void(const QSqlQuery &)> &) override
    {
        return {};
    }

private:
    void check(bool isGood)
    {
        if (!isGood || std::this_thread::get_id() != m_thread)
            ++m_log.misuses;
    }

    ReaderLog &m_log;
    const int m_number;
    const std::thread::id m_thread = std::this_thread::get_id();
    bool m_hasState = false;
};

class CountingSource : public server::workers::ReaderSource
{
public:
    explicit CountingSource(ReaderLog &log) : m_log(log) {}

    std::unique_ptr<server::workers::ReadingConnection> open(const server::workers::WantedFile &) override
    {
        return std::make_unique<CountingReader>(m_log);
    }
    std::unique_ptr<StillFile> holdStill(const server::workers::WantedFile &) override
    {
        if (!m_log.canHold)
            return nullptr;
        return std::make_unique<Held>(m_log);
    }

private:
    struct Held : StillFile {
        explicit Held(ReaderLog &readers) : log(readers)
        {
            log.isHeld = true;
            ++log.held;
        }
        ~Held() override { log.isHeld = false; }
        ReaderLog &log;
    };

    ReaderLog &m_log;
};

/// A pool whose works say when they begin and wait for leave to end. The names of those that ended are told in order.
class PoolSite
{
public:
    using Pool = server::workers::ReadPool;
    using Size = Pool::Size;
    using Text = server::workers::Text;

    explicit PoolSite(int threads = 2, int maxSmall = 100, int maxLarge = 10, int restMs = 10000)
        : pool(
              std::make_unique<CountingSource>(readers),
              [this] {
                  return server::workers::WantedFile{generation, {}};
              },
              Pool::Options{threads, maxSmall, maxLarge, restMs})
    {
    }

    /// A work that does this, and answers its name.
    bool submit(Size size, const QString &name, const std::function<void(calc::Crew &)> &work,
                const QString &owner = "owner")
    {
        const QByteArray text = name.toUtf8();
        return pool.submit(
            size, owner,
            [this, text, work](calc::Crew &crew) {
                begin(text);
                work(crew);
                return Text{text};
            },
            [this](const Text &told) { ended += QString::fromUtf8(told.front()); });
    }
    /// One that waits for leave.
    bool submitWaiting(Size size, const QString &name, const QString &owner = "owner")
    {
        return submit(
            size, name, [this](calc::Crew &) { leave.waitFor(1); }, owner);
    }
    /// Keeps all workers busy until leave is given.
    void occupy(int threads = 2)
    {
        for (int i = 0; i < threads; ++i)
            QVERIFY(submitWaiting(Size::Small, QString("busy%1").arg(i), "busy"));
        QVERIFY(begun.waitFor(threads));
    }
    /// Lets the event loop run until so many have ended.
    bool waitForEnded(int count)
    {
        return QTest::qWaitFor([&] { return ended.size() >= count; }, 10000);
    }
    /// In the order in which they began.
    QStringList started()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        QStringList names;
        for (const std::string &name : m_started)
            names += QString::fromStdString(name);
        return names;
    }

    ReaderLog readers;
    quint64 generation = 1;
    Counter begun;
    Counter leave;
    QStringList ended;
    Pool pool; // the last: its threads use the others

private:
    void begin(const QByteArray &name)
    {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_started.push_back(name.toStdString());
        }
        begun.add();
    }

    std::mutex m_mutex;
    std::vector<std::string> m_started;
};
