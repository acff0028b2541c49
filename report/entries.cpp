#include "report/entries.h"

#include "calc/input/userfilter.h"
#include "qany.h"
#include "storage/reader.h"

#include <QDateTime>

namespace report {

namespace {

const QString kNames =
    QStringLiteral("SELECT ID,trim(coalesce(LASTNAME,'')||' '||coalesce(FIRSTNAME,'')) FROM employees");
const QString kHasRequests = QStringLiteral("SELECT 1 FROM sqlite_master WHERE type='table' AND name='page_request'");
// Days as texts of one form, which sort as they follow.
const QString kRequests = QStringLiteral(
    "SELECT DECIDEDBY,METALOG FROM page_request WHERE STATE='approved' AND FROMDATE<=? AND TODATE>=? ORDER BY RID");
const QString kAuthors = QStringLiteral("SELECT ID,IDLOG FROM metalog WHERE TIMESTAMP>=? AND TIMESTAMP<=?");

/// Nights have their other half beyond the period.
constexpr int kNearDays = 2;

} // namespace

storage::Status Entries::readCommon(storage::Reader &reader, QDate first, QDate last)
{
    bool hasRequests = false;
    storage::Status status = reader.forEachRow(kNames, {}, [this](const QSqlQuery &row) {
        m_names.insert(row.value(0).toLongLong(), row.value(1).toString());
    });
    if (status)
        status = reader.forEachRow(kHasRequests, {}, [&hasRequests](const QSqlQuery &) { hasRequests = true; });
    if (!status || !hasRequests)
        return status;
    const QVariantList days{last.addDays(kNearDays).toString(Qt::ISODate),
                            first.addDays(-kNearDays).toString(Qt::ISODate)};
    return reader.forEachRow(kRequests, days, [this](const QSqlQuery &row) {
        const QAny ids = QAny::fromJson(row.value(1).toString());
        for (int i = 0; i < ids.count(); ++i)
            m_approvers.insert(ids.at(i).toInteger(), row.value(0).toLongLong());
    });
}

storage::Status Entries::read(storage::Reader &reader, const std::vector<qint64> &users, QDate first, QDate last)
{
    m_authors.clear();
    const calc::input::UserFilter filter(users, static_cast<int>(users.size()));
    const QVariantList range{first.addDays(-kNearDays).startOfDay().toSecsSinceEpoch(),
                             last.addDays(kNearDays).startOfDay().toSecsSinceEpoch()};
    storage::Status status;
    for (int part = 0; part < filter.parts() && status; ++part) {
        status = reader.forEachRow(kAuthors + filter.clause(QStringLiteral("USER")), filter.bindings(part, range),
                                   [this](const QSqlQuery &row) {
                                       if (!row.value(1).isNull())
                                           m_authors.insert(row.value(0).toLongLong(), row.value(1).toLongLong());
                                   });
    }
    return status;
}

Entries::Entry Entries::of(qint64 id) const
{
    Entry entry;
    const auto author = m_authors.constFind(id);
    if (author != m_authors.constEnd())
        entry.author = m_names.value(*author, QString::number(*author));
    const auto approver = m_approvers.constFind(id);
    if (approver != m_approvers.constEnd())
        entry.approver = m_names.value(*approver, QString::number(*approver));
    return entry;
}

} // namespace report
