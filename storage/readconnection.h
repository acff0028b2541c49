#pragma once

#include "storage/reader.h"
#include "storage/sideconnection.h"

namespace storage {

/// A connection that only reads, for work on a thread beside that of the server's DataBase.
///
/// Made, used and destroyed on one thread; any number may read one file. It opens the file read-only and creates none:
/// where none can be read it is not open, and its answers are empty. It ends before the DataBase does, so that the
/// DataBase is the one that writes the journal back into the file. Once the path names another file, this one is of no
/// more use: let it go soon, and make another. Nothing throws.
class ReadConnection final : public Reader
{
public:
    /// To this file only, if the path names it; without it to any that is there.
    explicit ReadConnection(const QString &path, const std::optional<FileState> &only = {});
    ~ReadConnection();

    bool isOpen() const override { return m_connection.isOpen(); }
    QString filePath() const override { return m_connection.path(); }

    /// Whether the path still names the open file.
    bool isCurrent() const { return m_connection.isCurrent(); }

    /// Until endRead() all reads see the file as it is now, whatever is written meanwhile. A failure when they would
    /// not: nothing is open, the path names another file by now, or a read has begun already.
    Status beginRead();
    /// A failure when no read had begun.
    Status endRead();

    QString configValue(const QString &key) override;
    QAny select(const QString &sql) override;
    Status forEachRow(const QString &sql, const QVariantList &bindings,
                      const std::function<void(const QSqlQuery &)> &reader) override;

private:
    SideConnection m_connection;
    bool m_isReading = false;
};

} // namespace storage
