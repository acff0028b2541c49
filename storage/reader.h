#pragma once

#include "qany.h"
#include "storage/status.h"

#include <QSqlQuery>
#include <QString>
#include <QVariantList>

#include <functional>

namespace storage {

/// Who can be asked for what a file holds: the server's database, or a connection of another thread that only reads.
/// Used on the thread that made it. A file that cannot be read gives empty answers. Nothing throws.
class Reader
{
public:
    virtual bool isOpen() const = 0;
    virtual QString filePath() const = 0;

    /// Value text of a configuration key, inserted in the statement as is; empty when there is no row.
    virtual QString configValue(const QString &key) = 0;
    /// Rows as a List of Hashes keyed by the reported column names; an empty List when the statement fails.
    virtual QAny select(const QString &sql) = 0;
    /// Runs a query, prepared once and kept for the next call with the same text, and hands each row to the reader.
    /// A failure when the statement could not be prepared or executed, or its rows not read to the end. A null or
    /// invalid variant binds NULL, a QByteArray a blob. The reader may use the database, also with the same text.
    virtual Status forEachRow(const QString &sql, const QVariantList &bindings,
                              const std::function<void(const QSqlQuery &)> &reader) = 0;

protected:
    Reader() = default;
    ~Reader() = default;

private:
    Q_DISABLE_COPY(Reader)
};

} // namespace storage
