#include "storage/transactions.h"

#include <QDateTime>
#include <QDebug>
#include <QObject>

namespace storage {

Transactions::Transactions(Connection &connection, GuardedFile &file, QObject *owner)
    : m_connection(connection), m_file(file), m_owner(owner)
{
    m_connection.setObserver(this);
}

Transactions::~Transactions()
{
    while (m_depth > 0)
        end(false);
    commitForeign();
    m_connection.setObserver(nullptr);
}

Status Transactions::begin()
{
    Status begun = m_lost;
    if (m_depth == 0) {
        commitForeign();
        // The write lock is taken here, where waiting for another process is safe.
        begun = m_file.look() ? run(QStringLiteral("BEGIN IMMEDIATE")) : Status::Passing;
    } else if (begun) {
        begun = run(savepoint(m_depth).begin);
    }
    m_lost = begun;
    ++m_depth;
    return begun;
}

Status Transactions::end(bool store)
{
    if (m_depth == 0) {
        if (m_connection.isOpen())
            qWarning("DataBase::transaction() no transaction is open");
        return Status::Lasting;
    }
    // The level ends whatever SQLite answers.
    --m_depth;
    if (m_lost && store && m_depth == 0 && !m_file.check())
        m_lost = Status::Passing;
    Status ended = m_lost;
    if (ended && store)
        ended = run(m_depth == 0 ? QStringLiteral("COMMIT") : savepoint(m_depth).release);
    if (!ended || !store)
        undo();
    if (m_depth == 0) {
        if (ended && store)
            m_lastCommitMs = QDateTime::currentMSecsSinceEpoch();
        m_lost = Status::Done;
        m_file.noteWritten();
    }
    return ended;
}

/// Rolls back the level that has just ended.
void Transactions::undo()
{
    if (m_depth == 0) {
        if (m_connection.isInTransaction())
            run(QStringLiteral("ROLLBACK"));
    } else if (m_lost) {
        Status undone = run(savepoint(m_depth).rollback);
        if (undone)
            undone = run(savepoint(m_depth).release);
        if (!undone)
            m_lost = undone;
    }
}

/// The texts of the savepoint at a level, 1 and up.
const Transactions::Savepoint &Transactions::savepoint(int level)
{
    const auto count = static_cast<size_t>(level);
    while (m_savepoints.size() < count) {
        const QString name = QStringLiteral("level%1").arg(m_savepoints.size() + 1);
        m_savepoints.push_back({QStringLiteral("SAVEPOINT ") + name, QStringLiteral("RELEASE ") + name,
                                QStringLiteral("ROLLBACK TO ") + name});
    }
    return m_savepoints[count - 1];
}

Status Transactions::writable()
{
    if (m_depth == 0 && !isFileThere())
        return Status::Passing;
    return m_connection.isOpen() ? m_lost : Status::Passing;
}

void Transactions::lose()
{
    if (m_depth > 0)
        m_lost = Status::Passing;
    m_foreignOpen = false;
}

void Transactions::statementFailed(Status failure)
{
    if (m_depth == 0 || !m_lost)
        return;
    // SQLite refuses every further write of a transaction that has met with damage, and its commit.
    if (failure.isDamaged())
        qWarning("DataBase::transaction() nothing can be stored in it any more, the file is damaged");
    else if (!m_connection.isInTransaction())
        qWarning("DataBase::transaction() SQLite has rolled the transaction back");
    else
        return;
    m_lost = failure;
}

/// A statement that came from outside may have begun a transaction that is not ours.
void Transactions::textRan()
{
    if (m_depth > 0)
        return;
    const bool wasOpen = m_foreignOpen;
    m_foreignOpen = m_connection.isInTransaction();
    if (m_foreignOpen && !wasOpen) {
        QMetaObject::invokeMethod(
            m_owner, [this] { commitForeign(); }, Qt::QueuedConnection);
    }
}

void Transactions::commitForeign()
{
    if (!m_foreignOpen)
        return;
    m_foreignOpen = false;
    qWarning("DataBase::exec() a transaction was left open and is committed");
    if (!m_file.check())
        return;
    if (!run(QStringLiteral("COMMIT")))
        run(QStringLiteral("ROLLBACK"));
}

} // namespace storage
