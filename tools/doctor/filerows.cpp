#include "tools/doctor/filerows.h"

#include <QFile>
#include <QFileInfo>
#include <QSqlError>

namespace tools::doctor {

namespace {

const QString kConnection = QStringLiteral("doctor");
const QString kLogSuffix = QStringLiteral("-wal");

// How a file of SQLite begins, and the byte of that head which is 2 with a write-ahead log.
constexpr char kTitle[] = "SQLite format 3"; // and its zero
constexpr int kHeadSize = 100;
constexpr int kWriteVersionAt = 18;
constexpr char kWithLog = 2;

} // namespace

FileRows::FileRows(const QString &path)
    : m_path(path), m_state(storage::FileState::of(path)), m_connection(kConnection, path)
{
    // Before SQLite opens it: a second look at an open file would drop its locks.
    m_refusal = readHead();
    if (!m_refusal.isEmpty())
        return;
    // With a log that is not there, nobody has the file open. To read it in the usual way would make one.
    m_isAlone = m_isWal && !QFileInfo::exists(path + kLogSuffix);
    if (!m_connection.open(m_isAlone ? storage::Access::Unshared : storage::Access::ReadOnly))
        m_refusal = m_connection.lastFault();
    if (m_refusal.isEmpty())
        m_refusal = tryToRead();
}

bool FileRows::wasDisturbed() const
{
    const storage::FileState state = storage::FileState::of(m_path);
    if (!m_isAlone)
        return !state.isSameFile(m_state);
    // Who closes the file as the last one takes the log away: that it is not there now tells nothing. Without locks the
    // file may be looked into.
    return !state.isSameContent(m_state) || head() != m_head || QFileInfo::exists(m_path + kLogSuffix);
}

QAny FileRows::ask(const QString &sql, Fault *fault)
{
    QAny rows(QAny::List);
    if (!m_connection.runText(nullptr, sql, [&rows](QSqlQuery &query) { rows = QAny::fromQuery(query); }))
        *fault = {m_connection.lastFault(), m_connection.lastFaultIsDamage()};
    return rows;
}

/// Why nothing can be read of it. Damage is no reason: that is what the examination looks for.
QString FileRows::tryToRead()
{
    Fault fault;
    ask(QStringLiteral("SELECT count(*) FROM sqlite_master"), &fault);
    return fault.isDamage ? QString() : fault.text;
}

/// Why it is no database that can be read.
QString FileRows::readHead()
{
    const QFileInfo info(m_path);
    if (info.isDir())
        return QStringLiteral("is a folder; the database in it is named zuknetserver.db");
    if (!info.exists())
        return QStringLiteral("no such file");
    if (!info.isFile())
        return QStringLiteral("is no file");
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly))
        return QStringLiteral("cannot be read: ") + file.errorString();
    m_head = file.read(kHeadSize);
    // An empty file is a database without tables.
    if (!m_head.isEmpty() && (m_head.size() < kHeadSize || !m_head.startsWith(QByteArray(kTitle, sizeof kTitle))))
        return QStringLiteral("is no SQLite database");
    m_isWal = !m_head.isEmpty() && m_head.at(kWriteVersionAt) == kWithLog;
    return {};
}

/// It counts the changes, among other things. Empty when it cannot be read.
QByteArray FileRows::head() const
{
    QFile file(m_path);
    return file.open(QIODevice::ReadOnly) ? file.read(kHeadSize) : QByteArray();
}

} // namespace tools::doctor
