#include "tools/zukadmin/transferprogress.h"

#include "tools/common/console.h"
#include "tools/common/texttable.h"

#include <utility>

namespace {

constexpr int kBarWidth = 30;

QString megabytes(qint64 bytes)
{
    return QString::number(static_cast<double>(bytes) / 1e6, 'f', 1);
}

} // namespace

TransferProgress::TransferProgress(const QString &what, std::function<State()> state)
    : m_what(what), m_state(std::move(state))
{
    connect(&m_timer, &QTimer::timeout, this, [this] { show(line(m_what, m_state())); });
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

void TransferProgress::show(const QString &line)
{
    const QString text = QLatin1Char('\r') + printable(line).leftJustified(m_shown);
    m_shown = line.size();
    std::fputs(text.toUtf8().constData(), stderr);
    std::fflush(stderr);
}
