#include "server/reader/ekeyeventhandler.h"

#include "server/reader/ekeyline.h"
#include "server/reader/ekeylog.h"

#include <QDeadlineTimer>
#include <QDebug>

#include <chrono>

using server::reader::CsvFollower;
using server::reader::EkeyLine;
using server::reader::EkeyLineProcessor;
using server::reader::ekeyLog;
using server::reader::EkeySettings;

namespace {

// Statuses besides the follower's results.
constexpr int kNoStatus = 2;
constexpr int kNoFollower = -999;

const char *const kMissing = "Logger::EKEY_CSV_TRACKER Missing CVS file";
const char *const kSizeError = "Logger::EKEY_CSV_TRACKER CVS file size error";
const char *const kIoError = "Logger::EKEY_CSV_TRACKER CVS io error";
const char *const kInitialRunEnded = "Logger::EKEY_CSV_TRACKER Initial run ended";

} // namespace

EkeyEventHandler::EkeyEventHandler(const EkeySettings &settings, QObject *parent)
    : QThread(parent), m_settings(settings), m_processor(settings,
                                                         [this] {
                                                             const std::lock_guard<std::mutex> lock(m_mutex);
                                                             m_hasRoom = true;
                                                             m_wake.notify_all();
                                                         }),
      m_lastStatus(kNoStatus)
{
    if (isEnabled())
        m_follower = std::make_unique<CsvFollower>(settings.file);
}

EkeyEventHandler::~EkeyEventHandler()
{
    finish();
}

bool EkeyEventHandler::finish()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isStopping = true;
        m_wake.notify_all();
    }
    const bool wasStarted = isRunning() || isFinished();
    const bool hasEnded = !wasStarted || m_mainThread.serve(std::chrono::milliseconds(kPatienceMs));
    if (hasEnded)
        wait();
    else
        qWarning().noquote() << "EkeyEventHandler::finish given up, the system does not let go of" << m_settings.file;
    m_processor.flush();
    return hasEnded;
}

void EkeyEventHandler::run()
{
    qCDebug(ekeyLog, "Start ULKAcsv thread execute");
    while (!isStopping()) {
        // While lines are waiting, steps follow one another.
        if (!trackingStep())
            pause(m_isInitialRun ? kInitialStepMs : kStepMs);
    }
    deliver(); // before the file is touched again, which may hang
    readLastLines();
    deliver();
    qCDebug(ekeyLog, "End ULKAcsv thread  execute");
    m_mainThread.end();
}

/// False, after a pause, when there was no line.
bool EkeyEventHandler::trackingStep()
{
    const int status = m_follower ? m_follower->poll() : kNoFollower;
    const bool isChange = status != m_lastStatus;
    switch (status) {
    case kNoFollower:
        qCDebug(ekeyLog, "no csv_tracker");
        break;
    case CsvFollower::Missing:
        if (isChange)
            addMessage(kMissing);
        break;
    case CsvFollower::Shrunk:
        if (isChange)
            addMessage(kSizeError);
        m_follower->reset();
        m_isInitialRun = true;
        break;
    case CsvFollower::Failed:
        if (isChange)
            addMessage(kIoError);
        break;
    case CsvFollower::NothingNew:
        if (m_isInitialRun)
            addMessage(kInitialRunEnded);
        m_isInitialRun = false;
        break;
    case CsvFollower::NewLine:
        addLine(m_follower->line());
        break;
    }
    m_lastStatus = status;
    if (status == CsvFollower::NewLine)
        return true;
    deliver();
    pause(kIdleMs);
    return false;
}

/// After the next start they would be old ones.
void EkeyEventHandler::readLastLines()
{
    const QDeadlineTimer deadline(kLastLinesMs);
    while (!m_isInitialRun && m_follower && m_follower->poll() == CsvFollower::NewLine) {
        if (deadline.hasExpired()) {
            qWarning().noquote() << "EkeyEventHandler::readLastLines left without events, from this line on:"
                                 << EkeyLine::textOf(m_follower->line());
            return;
        }
        addLine(m_follower->line());
    }
}

void EkeyEventHandler::addLine(const QByteArray &line)
{
    qCDebug(ekeyLog).noquote() << "NEW_LINE" << EkeyLine::textOf(line);
    if (m_isInitialRun) {
        m_processor.skip(line);
        return;
    }
    m_batch.push_back({line, {}});
    m_batchBytes += line.size();
    if (m_batch.size() >= kBatchLines || m_batchBytes >= kBatchBytes)
        deliver();
}

void EkeyEventHandler::addMessage(const char *message)
{
    m_batch.push_back({{}, QString::fromLatin1(message)});
}

/// Hands over what has gathered. Where it is refused, the thread reads no further: what comes waits in the file.
void EkeyEventHandler::deliver()
{
    while (!m_batch.empty()) {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_hasRoom = false;
        }
        auto taken = EkeyLineProcessor::Taken::All;
        if (!m_mainThread.run([this, &taken] { taken = m_processor.take(&m_batch, isStopping()); }))
            break;
        if (taken == EkeyLineProcessor::Taken::NoRoom) {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_wake.wait(lock, [this] { return m_hasRoom || isStopping(); });
        } else if (taken == EkeyLineProcessor::Taken::NotReadable) {
            pause(kRetryMs);
        }
    }
    m_batch.clear();
    m_batchBytes = 0;
}

/// Ends early when the thread is to end.
void EkeyEventHandler::pause(int ms)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_wake.wait_for(lock, std::chrono::milliseconds(ms), [this] { return isStopping(); });
}
