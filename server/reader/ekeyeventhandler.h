#pragma once

#include "server/reader/csvfollower.h"
#include "server/reader/ekeylineprocessor.h"
#include "server/reader/ekeysettings.h"
#include "server/reader/mainthreadwork.h"

#include <QThread>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>

/// Follows the fingerprint reader's file on a thread of its own and makes an event of each line that is appended. Lines
/// that the file holds at first, or again after it was cut, are read without events.
///
/// Made, started, finished and destroyed on the main thread, where it has its lines stored; db(), logger() and
/// mainTerminalService() may be missing. Owned by ServicesStarter, finished before they go.
class EkeyEventHandler : public QThread
{
    Q_OBJECT
public:
    /// Pauses while the file brings nothing, in ms: after each such look, and then before the next one.
    static constexpr int kIdleMs = 500;
    static constexpr int kStepMs = 200;
    static constexpr int kInitialStepMs = 10;
    /// While the database cannot be read.
    static constexpr int kRetryMs = 5000;
    /// How long lines that are there when the thread is to end are still read, and how long the thread may hang before
    /// it is given up (the file may lie on another machine), in ms.
    static constexpr int kLastLinesMs = 300;
    static constexpr int kPatienceMs = 800;
    /// Lines that are stored as one; less when they are long. They hold up the main thread for some milliseconds.
    static constexpr int kBatchLines = 200;
    static constexpr qint64 kBatchBytes = 1024 * 1024;

    explicit EkeyEventHandler(const server::reader::EkeySettings &settings = server::reader::EkeySettings::read(),
                              QObject *parent = nullptr);
    /// As finish(), unless that was called.
    ~EkeyEventHandler() override;

    /// Whether the settings ask for the thread to be started.
    bool isEnabled() const { return m_settings.isOn; }
    /// Ends the thread and stores what it has read. Not to be started again. Called before the database ends. False,
    /// with a warning line, when the thread hangs: then this object must not be destroyed.
    bool finish();
    server::reader::EkeyLineProcessor &processor() { return m_processor; }

protected:
    void run() override;

private:
    bool trackingStep();
    void addLine(const QByteArray &line);
    void addMessage(const char *message);
    void deliver();
    bool isStopping() const { return m_isStopping.load(std::memory_order_relaxed); }
    void pause(int ms);
    void readLastLines();

    const server::reader::EkeySettings m_settings;
    server::reader::EkeyLineProcessor m_processor;
    server::reader::MainThreadWork m_mainThread;

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::atomic<bool> m_isStopping{false};
    bool m_hasRoom = true;

    // The thread's own.
    std::unique_ptr<server::reader::CsvFollower> m_follower; // only where the settings ask for one
    int m_lastStatus;
    bool m_isInitialRun = true;
    server::reader::EkeyLineProcessor::Entries m_batch;
    qint64 m_batchBytes = 0;
};
