#pragma once

#include <QRegularExpression>
#include <QStringList>
#include <QTest>

#include <condition_variable>
#include <cstdio>
#include <mutex>

/// Expects a warning that the pattern matches.
inline void expectWarning(const char *pattern)
{
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(pattern));
}

/// Collects the warning lines of its life, which then do not appear; if asked, the debug lines, too.
class Warnings
{
public:
    explicit Warnings(bool withDebug = false)
    {
        m_debugIsCollected = withDebug;
        lines.clear();
        m_former = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &text) {
            if (type == QtFatalMsg || type == QtCriticalMsg)
                fprintf(stderr, "%s\n", qPrintable(text));
            if (type != QtWarningMsg && !m_debugIsCollected)
                return;
            const std::lock_guard<std::mutex> lock(m_mutex);
            lines.append(text);
            m_lineCame.notify_all();
        });
    }
    ~Warnings() { qInstallMessageHandler(m_former); }
    inline static QStringList lines;

    /// What has come from all threads.
    static QStringList taken()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return lines;
    }
    /// Without running the event loop.
    static bool waitForLine(const QString &line)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_lineCame.wait_for(lock, std::chrono::seconds(5), [&] { return lines.contains(line); });
    }

private:
    inline static bool m_debugIsCollected = false;
    inline static std::mutex m_mutex;
    inline static std::condition_variable m_lineCame;
    QtMessageHandler m_former;
};
