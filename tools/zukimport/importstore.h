#pragma once

#include <QHash>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>
#include <QStringList>
#include <QVariant>

namespace tools::zukimport {

/// The attendance tables of a zuknetserver.db, as the importer reads and writes them: everything in one transaction
/// that ends with commit(); without it nothing stays, not even a file that was created. A dry run opens the file for
/// reading only and drops what it is told to write.
///
/// A connection of its own, so that an import can run while the server does: the server's statements wait for the
/// transaction's end as for any other process. One thread; nothing throws; after a failure fault() tells it.
class ImportStore
{
public:
    enum Mode { Write, DryRun };

    ImportStore();
    ~ImportStore();

    /// Opens the file. Creates one that is missing, with the shipped schema, when told to.
    bool open(const QString &path, bool create, Mode mode);
    bool commit();
    QString fault() const { return m_fault; }

    bool hasTable(const QString &table) const;
    /// An executed query, to walk through; inactive when it failed.
    QSqlQuery select(const QString &sql, const QVariantList &bindings = {});
    /// Runs a statement that writes, prepared once per text.
    bool write(const QString &sql, const QVariantList &bindings = {});

private:
    Q_DISABLE_COPY(ImportStore)
    bool fail(const QString &what, const QString &driverText);

    QString m_path;
    Mode m_mode = Write;
    bool m_created = false;
    bool m_committed = false;
    QSqlDatabase m_database;
    QHash<QString, QSqlQuery> m_statements;
    QString m_fault;
};

} // namespace tools::zukimport

/// The statements of the shipped schema of the attendance tables.
QStringList attendanceSchema();
