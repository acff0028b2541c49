#include "tools/zukterm/runlog.h"

#include "text/texttable.h"

#include <QTime>

#include <cstdio>

namespace tools::zukterm {

RunLog::RunLog(bool quiet, QObject *parent) : QObject(parent), m_isQuiet(quiet)
{
    m_flush.setSingleShot(true);
    m_flush.setInterval(kFlushMs);
    connect(&m_flush, &QTimer::timeout, this, [] { std::fflush(stdout); });
}

RunLog::~RunLog()
{
    std::fflush(stdout);
}

void RunLog::say(int terminal, const QString &text)
{
    if (!m_isQuiet)
        print(QStringLiteral("%1  %2  %3\n")
                  .arg(QTime::currentTime().toString(QStringLiteral("HH:mm:ss.zzz")))
                  .arg(terminal, 5)
                  .arg(printable(text)));
}

void RunLog::print(const QString &text)
{
    std::fputs(text.toUtf8().constData(), stdout);
    if (!m_flush.isActive())
        m_flush.start();
}

} // namespace tools::zukterm
