#include "storage/hardening.h"

#include "storage/worklimit.h"

#include <QSqlDatabase>
#include <QSqlDriver>
#include <QSqlQuery>
#include <QVariant>

#include <sqlite3.h>

#include <cstring>

namespace storage {

namespace {

/// Between two looks at the limit: some tenths of a millisecond.
constexpr int kStepsPerLook = 10000;

/// Null when it is not known to be of the library that is linked here: another one's must not be touched.
sqlite3 *handleOf(const QSqlDatabase &connection)
{
    QSqlQuery query(connection);
    if (!query.exec(QStringLiteral("SELECT sqlite_source_id()")) || !query.next() ||
        query.value(0).toString() != QLatin1String(sqlite3_sourceid()))
        return nullptr;
    const QVariant handle = connection.driver()->handle();
    if (!handle.isValid() || std::strcmp(handle.typeName(), "sqlite3*") != 0)
        return nullptr;
    return *static_cast<sqlite3 *const *>(handle.constData());
}

} // namespace

void harden(const QSqlDatabase &connection)
{
    sqlite3 *handle = handleOf(connection);
    if (!handle)
        return;
    sqlite3_db_config(handle, SQLITE_DBCONFIG_ENABLE_FTS3_TOKENIZER, 0, nullptr);
    sqlite3_db_config(handle, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(handle, SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 0, nullptr);
    sqlite3_progress_handler(
        handle, kStepsPerLook, [](void *) { return WorkLimit::spend(kStepsPerLook) ? 1 : 0; }, nullptr);
}

} // namespace storage
