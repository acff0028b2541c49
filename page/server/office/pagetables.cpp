#include "page/server/office/pagetables.h"

#include "storage/database.h"

#include <QDebug>

namespace page::office {

namespace {

const char *const kTables[] = {
    "CREATE TABLE IF NOT EXISTS page_role (ID INTEGER PRIMARY KEY AUTOINCREMENT, IDP INTEGER NOT NULL, "
    "ROLE TEXT NOT NULL, DEPARTMENT TEXT)",
    "CREATE INDEX IF NOT EXISTS page_role_idp ON page_role (IDP)",
    // REVISION is the newest number at each change of a row: what has changed since a look has a higher one. METALOG is
    // a JSON list of ids.
    "CREATE TABLE IF NOT EXISTS page_request (RID INTEGER PRIMARY KEY AUTOINCREMENT, USER INTEGER NOT NULL, "
    "KIND TEXT NOT NULL, CODE TEXT NOT NULL, FROMDATE TEXT NOT NULL, TODATE TEXT NOT NULL, TIME INTEGER, WHY TEXT, "
    "ASKED INTEGER NOT NULL, STATE TEXT NOT NULL, DECIDEDBY INTEGER, DECIDEDAT INTEGER, NOTE TEXT, METALOG TEXT, "
    "REVISION INTEGER NOT NULL)",
    "CREATE INDEX IF NOT EXISTS page_request_user ON page_request (USER, FROMDATE)",
    "CREATE INDEX IF NOT EXISTS page_request_state ON page_request (STATE)",
    "CREATE INDEX IF NOT EXISTS page_request_revision ON page_request (REVISION)",
};

const QString kVersions =
    QStringLiteral("CREATE TABLE IF NOT EXISTS zuk_schema (NAME TEXT PRIMARY KEY, VERSION INTEGER NOT NULL)");
const QString kVersion = QStringLiteral("SELECT VERSION FROM zuk_schema WHERE NAME='page'");
const QString kSetVersion = QStringLiteral("INSERT OR REPLACE INTO zuk_schema (NAME,VERSION) VALUES ('page',?)");

} // namespace

storage::Status preparePageTables(DataBase &database)
{
    Transaction transaction(database);
    storage::Status status = database.execPrepared(kVersions, {});
    int version = 0;
    if (status)
        status = database.forEachRow(kVersion, {}, [&](const QSqlQuery &row) { version = row.value(0).toInt(); });
    if (status && version > kTablesVersion) {
        qWarning("page: the tables of %s are of version %d, this program knows %d", qPrintable(database.filePath()),
                 version, kTablesVersion);
        return storage::Status::Lasting;
    }
    for (const char *sql : kTables) {
        if (status)
            status = database.execPrepared(QString::fromLatin1(sql), {});
    }
    if (status && version != kTablesVersion)
        status = database.execPrepared(kSetVersion, {kTablesVersion});
    if (!status)
        return status;
    return transaction.commit();
}

} // namespace page::office
