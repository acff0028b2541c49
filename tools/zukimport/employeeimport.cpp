#include "tools/zukimport/employeeimport.h"

#include "tools/zukimport/csvtable.h"
#include "tools/zukimport/employeeroster.h"
#include "tools/zukimport/importoptions.h"
#include "tools/zukimport/importreport.h"
#include "tools/zukimport/importstore.h"

namespace tools::zukimport {

namespace {

const char *const kWholeNumbers[] = {"ID", "ACTIVE", "TIMEZ"};
/// Columns that name a row of the table of the same name.
const char *const kSettings[] = {"CALCSET", "WTIMSET"};

} // namespace

EmployeeImport::EmployeeImport(const ImportOptions &options, ImportStore &store, EmployeeRoster &roster,
                               ImportReport &report)
    : m_options(options), m_store(store), m_roster(roster), m_report(report)
{
}

QHash<QString, QVariant> EmployeeImport::defaults() const
{
    // Names are joined in queries, and joined with NULL they would be none.
    return {{QStringLiteral("FIRSTNAME"), QLatin1String("")},
            {QStringLiteral("LASTNAME"), QLatin1String("")},
            {QStringLiteral("ACTIVE"), 1},
            {QStringLiteral("TIMEZ"), 0},
            {QStringLiteral("CALCSET"), m_options.calcSet},
            {QStringLiteral("WTIMSET"), m_options.wtimSet}};
}

bool EmployeeImport::hasKey(const QString &table, const QString &key)
{
    const QString name = table + QLatin1Char('/') + key;
    const auto known = m_keys.constFind(name);
    if (known != m_keys.constEnd())
        return *known;
    const bool found = m_store.hasTable(table) &&
                       m_store.select(QStringLiteral("SELECT 1 FROM %1 WHERE KEY=?").arg(table), {key}).next();
    m_keys.insert(name, found);
    return found;
}

QString EmployeeImport::checkSettings()
{
    const QHash<QString, QVariant> columns = defaults();
    for (const char *table : kSettings) {
        const QString key = columns.value(QLatin1String(table)).toString();
        if (!key.isEmpty() && !hasKey(QLatin1String(table), key))
            return QStringLiteral("the database has no %1 %2").arg(QString::fromLatin1(table).toLower(), key);
    }
    return {};
}

QString EmployeeImport::readRow(const CsvTable &table, const QHash<QString, int> &positions,
                                QHash<QString, QVariant> &row)
{
    for (auto it = positions.cbegin(); it != positions.cend(); ++it) {
        const QString text = table.value(it.value());
        if (!text.isEmpty())
            row.insert(it.key(), text);
    }
    for (const char *column : kWholeNumbers) {
        const auto value = row.find(QLatin1String(column));
        bool ok = true;
        if (value != row.end())
            *value = value->toString().toLongLong(&ok);
        if (!ok)
            return QStringLiteral("%1 is not a whole number").arg(QLatin1String(column));
    }
    for (const char *column : kSettings) {
        const QString key = row.value(QLatin1String(column)).toString();
        if (!key.isEmpty() && !hasKey(QLatin1String(column), key))
            return QStringLiteral("unknown %1 \"%2\"").arg(QLatin1String(column), key);
    }
    if (!row.contains(QStringLiteral("EMPLID")))
        return QStringLiteral("no personal number (EMPLID)");
    if (row.value(QStringLiteral("LASTNAME")).toString().isEmpty() &&
        row.value(QStringLiteral("FIRSTNAME")).toString().isEmpty())
        return QStringLiteral("no name");
    return {};
}

QString EmployeeImport::run()
{
    CsvTable table(m_options.employeesFile, m_options.csv, m_report);
    const QString fault = table.open();
    if (!fault.isEmpty())
        return fault;
    QHash<QString, int> positions;
    for (auto it = m_options.employeeColumns.cbegin(); it != m_options.employeeColumns.cend(); ++it) {
        const int position = table.column(it.value());
        const bool isNamed = it.value() != it.key();
        if (position < 0 && (isNamed || it.key() == QLatin1String("EMPLID")))
            return QStringLiteral("%1: no column %2").arg(m_options.employeesFile, it.value());
        if (position >= 0)
            positions.insert(it.key(), position);
    }
    while (table.next()) {
        QHash<QString, QVariant> row = defaults();
        const QString reason = readRow(table, positions, row);
        const QString number = row.value(QStringLiteral("EMPLID")).toString();
        const qint64 id = row.value(QStringLiteral("ID")).toLongLong();
        if (!reason.isEmpty()) {
            table.refuse(reason);
        } else if (m_roster.idOf(number) != EmployeeRoster::kUnknown) {
            ++m_report.employees.skipped;
        } else if (m_roster.hasId(id)) {
            table.refuse(QStringLiteral("the ID %1 belongs to another employee").arg(id));
        } else {
            m_roster.add(row);
            ++m_report.employees.added;
        }
    }
    return {};
}

} // namespace tools::zukimport
