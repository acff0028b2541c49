#include "tools/zukadmin/transferprogress.h"

#include "text/texttable.h"
#include "tools/common/console.h"

#include <QElapsedTimer>

#include <utility>

namespace {

constexpr int kBarWidth = 30;

QString megabytes(qint64 bytes)
{
    return QString::number(static_cast<double>(bytes) / 1e6, 'f', 1);
}

QElapsedTimer startedTimer()
{
    QElapsedTimer timer;
    timer.start();
    return timer;
}

} // namespace

TransferProgress::TransferProgress(const QString &what, std::function<State()> state)
    : TransferProgress([what, state = std::move(state)] { return line(what, state()); })
{
}

TransferProgress::TransferProgress(const QString &what, std::function<qint64()> received)
    : TransferProgress([what, received = std::move(received), start = startedTimer()] {
          return waitingLine(what, start.elapsed(), received());
      })
{
}

TransferProgress::TransferProgress(std::function<QString()> text) : m_text(std::move(text))
{
    connect(&m_timer, &QTimer::timeout, this, [this] { show(m_text()); });
    if (Console::isTerminal(stderr))
        m_timer.start(kIntervalMs);
}

TransferProgress::~TransferProgress()
{
    if (m_shown > 0) {
        show(QString());
        show(QString());
    }
}

QString TransferProgress::line(const QString &what, const State &state)
{
    if (state.total < 0 && state.done == 0)
        return QStringLiteral("%1  waiting for the server").arg(what);
    if (state.total < 0)
        return QStringLiteral("%1  %2 MB").arg(what, megabytes(state.done));
    const qint64 done = qBound<qint64>(0, state.done, state.total);
    if (done == state.total)
        return QStringLiteral("%1  %2 MB, waiting for the server").arg(what, megabytes(done));
    const int filled = static_cast<int>(done * kBarWidth / state.total);
    return QStringLiteral("%1  [%2%3] %4 %  %5 of %6 MB")
        .arg(what, QString(filled, QLatin1Char('#')), QString(kBarWidth - filled, QLatin1Char('-')),
             QString::number(done * 100 / state.total).rightJustified(3), megabytes(done), megabytes(state.total));
}

QString TransferProgress::waitingLine(const QString &what, qint64 waitedMs, qint64 received)
{
    constexpr qint64 kMinute = 60;
    const qint64 seconds = waitedMs / 1000;
    QString time = QStringLiteral("%1 s").arg(seconds % kMinute);
    if (seconds >= kMinute)
        time = QStringLiteral("%1 min %2").arg(QString::number(seconds / kMinute), time);
    if (received == 0)
        return QStringLiteral("%1  waiting for the server, %2").arg(what, time);
    return QStringLiteral("%1  %2 MB, %3").arg(what, megabytes(received), time);
}

void TransferProgress::show(const QString &line)
{
    const QString text = QLatin1Char('\r') + printable(line).leftJustified(m_shown);
    m_shown = line.size();
    std::fputs(text.toUtf8().constData(), stderr);
    std::fflush(stderr);
}
