#pragma once

#include "storage/connection.h"
#include "storage/guardedfile.h"

#include <functional>
#include <vector>

class QObject;

namespace storage {

/// The transactions of a connection that writes. They nest: inner ones are savepoints.
///
/// A transaction that cannot begin, that SQLite has ended by itself, or that has met with damage, is lost: up to its
/// outermost end nothing is to be written, and its commit fails for the reason for which it was lost. A transaction
/// that a text from outside began and left open is committed, with a warning line, when control returns to the event
/// loop.
class Transactions final : private Connection::Observer
{
public:
    /// The owner is told of the event loop's turns; it outlives this, as the others do.
    Transactions(Connection &connection, GuardedFile &file, QObject *owner);
    ~Transactions();

    /// A failure when the transaction is lost; it is open either way.
    Status begin();
    /// A failure when nothing was stored; the transaction is over either way. A lasting one without any.
    Status end(bool store);
    /// Of the open ones, 0 for none.
    int depth() const { return m_depth; }

    /// A failure when writes must not be tried: nothing is open, or what is around them cannot be stored any more.
    Status writable();
    /// The file went, and with it what is open.
    void lose();
    /// When the last one was committed, in ms since 1970; 0 when none was.
    qint64 lastCommit() const { return m_lastCommitMs; }
    /// Commits what a text from outside left open.
    void commitForeign();

private:
    struct Savepoint {
        QString begin;
        QString release;
        QString rollback;
    };

    bool openForUse() override { return m_file.look(); }
    void statementFailed(Status failure) override;
    void textRan() override;
    Status run(const QString &sql) { return m_connection.runCached("DataBase::transaction()", sql); }
    bool isFileThere() { return m_foreignOpen ? m_file.check() : m_file.look(); }
    void undo();
    const Savepoint &savepoint(int level);

    Connection &m_connection;
    GuardedFile &m_file;
    QObject *m_owner;
    int m_depth = 0;
    qint64 m_lastCommitMs = 0;
    std::vector<Savepoint> m_savepoints;
    /// Why the open transaction can no longer be stored; done while it can.
    Status m_lost;
    bool m_foreignOpen = false;
};

} // namespace storage
