#include "page/server/office/watch.h"

#include <QCryptographicHash>
#include <QSqlRecord>

namespace page::office {

namespace {

/// A table whose rows get ever higher numbers.
struct Watched {
    QString newest; ///< the highest number
    QString users;  ///< of the rows above a number
    bool isRequests;
};

Watched watched(const QString &table, const QString &column, bool isRequests)
{
    // Not max(): see the server's own tables. The sign keeps DISTINCT from reading an index by USER from end to end.
    return {QStringLiteral("SELECT %2 FROM %1 ORDER BY %2 DESC LIMIT 1").arg(table, column),
            QStringLiteral("SELECT DISTINCT +USER FROM %1 WHERE %2>?").arg(table, column), isRequests};
}

const QVector<Watched> &watchedTables()
{
    static const QVector<Watched> tables = {
        watched(QStringLiteral("allevents"), QStringLiteral("ID"), false),
        watched(QStringLiteral("metalog"), QStringLiteral("ID"), false),
        watched(QStringLiteral("page_request"), QStringLiteral("REVISION"), true),
    };
    return tables;
}

const QString kVersion = QStringLiteral("PRAGMA data_version");
const QString kLogIndex = QStringLiteral("SELECT VALUE FROM config WHERE KEY='LastLogIdx'");
const char *const kSettings[] = {
    "SELECT KEY,VALUE FROM config WHERE KEY<>'LastLogIdx'",
    "SELECT * FROM calcset",
    "SELECT * FROM wtimset",
    "SELECT * FROM calendar",
    "SELECT * FROM RAZPOREDC",
    "SELECT * FROM employees",
    "SELECT * FROM freehour",
    "SELECT * FROM USER_ACCESS",
    "SELECT * FROM page_role",
};

} // namespace

Watch::Watch(storage::Reader &reader, int settingsPaceMs) : m_reader(reader), m_settingsPaceMs(settingsPaceMs) {}

Watch::Change Watch::look()
{
    Change fault;
    fault.fault = true;
    qint64 version = -1;
    const auto readVersion = [&version](const QSqlQuery &row) { version = row.value(0).toLongLong(); };
    if (!m_reader.forEachRow(kVersion, {}, readVersion))
        return fault;
    const bool isFirst = m_last.version < 0;
    const bool isWritten = version != m_last.version;
    Change change;
    State state;
    if (isWritten && (!readState(&state) || (!isFirst && !readNewRows(state, &change))))
        return fault;
    const bool isUnexplained = isWritten && !isFirst && !change.isAny() && state.log == m_last.log;
    const bool isDue = (isWritten || m_isSettingsDue) && m_sinceSettings.hasExpired(m_settingsPaceMs);
    QByteArray settings = m_settings;
    if ((isFirst || isUnexplained || isDue) && !readSettings(&settings))
        return fault;
    m_isSettingsDue = !isFirst && !isUnexplained && !isDue && (isWritten || m_isSettingsDue);
    change.all = isUnexplained || (!isFirst && settings != m_settings);
    if (isFirst || isUnexplained || isDue)
        m_sinceSettings.start();
    m_settings = settings;
    if (isWritten)
        m_last = state;
    m_last.version = version;
    return change;
}

bool Watch::readState(State *state)
{
    bool isRead = true;
    for (const Watched &table : watchedTables()) {
        qint64 newest = 0;
        isRead = isRead && m_reader.forEachRow(table.newest, {},
                                               [&newest](const QSqlQuery &row) { newest = row.value(0).toLongLong(); });
        state->newest.append(newest);
    }
    return isRead && m_reader.forEachRow(kLogIndex, {},
                                         [state](const QSqlQuery &row) { state->log = row.value(0).toLongLong(); });
}

bool Watch::readNewRows(const State &state, Change *change)
{
    bool isRead = true;
    for (int i = 0; i < watchedTables().size(); ++i) {
        const Watched &table = watchedTables().at(i);
        if (state.newest.at(i) == m_last.newest.at(i))
            continue;
        change->requests = change->requests || table.isRequests;
        isRead = isRead && m_reader.forEachRow(table.users, {m_last.newest.at(i)}, [change](const QSqlQuery &row) {
            const qint64 user = row.value(0).toLongLong();
            if (!change->employees.contains(user))
                change->employees.append(user);
        });
    }
    return isRead;
}

/// A table that is not there has no rows.
bool Watch::readSettings(QByteArray *digest)
{
    QCryptographicHash hash(QCryptographicHash::Md5);
    const auto addRow = [&hash](const QSqlQuery &row) {
        const int columns = row.record().count();
        for (int column = 0; column < columns; ++column) {
            hash.addData(row.value(column).toString().toUtf8());
            hash.addData("\t");
        }
    };
    for (const char *sql : kSettings) {
        hash.addData("\n");
        if (m_reader.forEachRow(QString::fromLatin1(sql), {}, addRow).mayPass())
            return false;
    }
    *digest = hash.result();
    return true;
}

} // namespace page::office
