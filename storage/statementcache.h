#pragma once

#include <QHash>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>

#include <memory>

namespace storage {

/// The prepared statements of one connection, kept by their text, so that a statement that runs often is compiled once.
///
/// A statement is lent out for one execution and comes back reset, so that no read stays open on the file. A text that
/// is lent out already gets a statement of its own: nested runs of one text do not disturb each other. Lives on the
/// thread of its connection and ends before it.
class StatementCache
{
    struct Entry {
        // A query without a connection would ask for the default one, which is another thread's.
        explicit Entry(const QSqlDatabase &connection) : query(connection) {}
        QSqlQuery query;
        quint64 lastUse = 0;
        bool lent = false;
    };

public:
    /// More than the server's fixed statements; generated texts (one per period or per set of columns) push each other
    /// out instead of growing without bound.
    static constexpr int kCapacity = 64;

    /// One execution of a statement. Resets the statement when it goes out of scope.
    class Lease
    {
    public:
        ~Lease();
        /// Forward-only. When it could not be prepared, exec() fails and lastError() says why.
        QSqlQuery &query() { return m_entry->query; }
        bool isPrepared() const { return m_prepared; }

    private:
        friend class StatementCache;
        Lease(std::shared_ptr<Entry> entry, bool prepared) : m_entry(std::move(entry)), m_prepared(prepared) {}
        Q_DISABLE_COPY(Lease)

        std::shared_ptr<Entry> m_entry;
        bool m_prepared;
    };

    explicit StatementCache(const QSqlDatabase &connection) : m_connection(connection) {}

    Lease lease(const QString &sql);
    /// Forgets all statements; those that are lent out live until they come back.
    void clear() { m_entries.clear(); }
    /// The same, and lets the connection go.
    void end()
    {
        clear();
        m_connection = QSqlDatabase();
    }

private:
    Q_DISABLE_COPY(StatementCache)
    void makeRoom();

    QSqlDatabase m_connection;
    QHash<QString, std::shared_ptr<Entry>> m_entries;
    quint64 m_uses = 0;
};

} // namespace storage
