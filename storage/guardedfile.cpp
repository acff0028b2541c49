#include "storage/guardedfile.h"

#include "storage/sideconnection.h"

#include <QDebug>
#include <QFileInfo>

#include <utility>

namespace storage {

GuardedFile::GuardedFile(Connection &connection, Handlers handlers)
    : m_connection(connection), m_handlers(std::move(handlers))
{
    m_retry.setInterval(kRetryIntervalMs);
    QObject::connect(&m_retry, &QTimer::timeout, &m_retry, [this] { look(true); });
}

void GuardedFile::setRetryInterval(int ms)
{
    m_retry.setInterval(ms);
}

void GuardedFile::open()
{
    m_sinceAttempt.start();
    if (openUsable(Access::Create)) {
        noteOpened();
        return;
    }
    m_connection.close();
    // Deliberate: administrators look for this line, although the file has another name.
    qWarning("DataBase::Database() can't open kservermain.db");
    beginOutage();
}

bool GuardedFile::check()
{
    if (!m_connection.isOpen())
        return false;
    if (!isWatched())
        return true;
    const FileState found = FileState::of(m_connection.path());
    const bool isSame = found.isSameFile(m_known);
    const bool isEmptied = isSame && found.size == 0 && m_known.size > 0;
    if (isSame && !isEmptied) {
        m_known = found;
        return true;
    }
    lose(isEmptied);
    return false;
}

bool GuardedFile::look(bool atOnce)
{
    const bool isDue = atOnce || !m_sinceAttempt.isValid() || m_sinceAttempt.hasExpired(m_retry.interval());
    if (check()) {
        // A file that was read-only or gone for a while stays so for this connection.
        if (!m_connection.isAtFault() || !isDue || m_connection.isReading())
            return true;
        m_connection.close();
        if (reopen())
            return true;
        qWarning().noquote() << "DataBase: the file can't be opened again:" << m_connection.path();
        beginOutage();
        return false;
    }
    if (m_connection.isOpen() || (m_sinceAttempt.isValid() && !isDue))
        return false;
    return reopen();
}

void GuardedFile::noteWritten()
{
    const FileState found = isWatched() ? FileState::of(m_connection.path()) : FileState();
    if (!found.isSameFile(m_known) || found.size == 0)
        return;
    m_known = found;
    m_sideFiles.noteMissing();
}

void GuardedFile::lose(bool isEmptied)
{
    m_handlers.lost();
    if (m_connection.isReading())
        return;
    QStringList aside;
    if (isEmptied || !FileState::of(m_realPath).isSameFile(m_known))
        aside = m_sideFiles.setAside();
    m_connection.close();
    // SQLite has written the journal into what was emptied, which does not make it whole.
    m_refused = isEmptied ? FileState::of(m_connection.path()) : FileState();
    qWarning().noquote() << "DataBase: the file was" << (isEmptied ? "emptied:" : "deleted, moved or replaced:")
                         << m_connection.path() << (aside.isEmpty() ? "" : "- its journal is kept as")
                         << aside.join(QLatin1Char(' '));
    beginOutage();
    m_sinceAttempt.invalidate();
}

/// Whether what the path names now may be opened.
bool GuardedFile::isWorthATry(const FileState &found)
{
    // SQLite takes an empty file for an empty database.
    if (!found.isFile || found.size == 0 || (m_refused.isFile && found.isSameContent(m_refused)))
        return false;
    if (!found.isSameFile(m_known) || !m_sideFiles.isAnyAside())
        return true;
    if (found.isSameContent(m_known) && m_sideFiles.takeBack())
        return true;
    // The same file, changed. SQLite shares the journal's index among the connections of a process to one file, and
    // that of the readers which are still open speaks of the journal that was set aside.
    return !SideConnection::isAnyOpen(found);
}

bool GuardedFile::reopen()
{
    m_sinceAttempt.start();
    const FileState found = FileState::of(m_connection.path());
    if (!isWorthATry(found))
        return false;
    if (!openUsable(Access::ReadWrite) || !FileState::of(m_connection.path()).isSameFile(found)) {
        m_connection.close();
        return false;
    }
    noteOpened();
    m_handlers.reopened();
    return true;
}

/// SQLite reads nothing of a file before it must.
bool GuardedFile::openUsable(Access access)
{
    if (!m_connection.open(access))
        return false;
    if (m_isOut)
        m_connection.loseBusyPatience(); // attempt would follow attempt
    const Status readable = m_connection.runCached(nullptr, QStringLiteral("SELECT count(*) FROM sqlite_master"), {},
                                                   [](const QSqlQuery &) {});
    // At the start a file that is only in use is opened, as ever.
    if (!readable && (access != Access::Create || readable.isDamaged() || m_connection.isAtFault()))
        return false;
    m_handlers.prepare();
    return true;
}

void GuardedFile::noteOpened()
{
    const QString path = m_connection.path();
    m_known = FileState::of(path);
    m_refused = FileState();
    m_realPath = QFileInfo(path).canonicalFilePath();
    m_sideFiles.note(m_realPath);
    ++m_generation;
    endOutage();
}

void GuardedFile::beginOutage()
{
    m_isOut = true;
    m_retry.start();
}

void GuardedFile::endOutage()
{
    if (!m_isOut)
        return;
    m_isOut = false;
    m_retry.stop();
    qWarning().noquote() << "DataBase: the file is open again:" << m_connection.path();
}

} // namespace storage
