#pragma once

#include <QHash>
#include <QSet>
#include <QString>
#include <QVariant>

namespace tools::zukimport {

class ImportStore;

/// The employees of the database and those that this import adds.
class EmployeeRoster
{
public:
    static constexpr qint64 kUnknown = 0;
    /// More than one employee has that personal number.
    static constexpr qint64 kAmbiguous = -1;

    /// The store is the caller's and outlives the roster.
    explicit EmployeeRoster(ImportStore &store);

    /// `ID` of the employee with that personal number.
    qint64 idOf(const QString &personalNumber) const { return m_byNumber.value(personalNumber, kUnknown); }
    bool hasId(qint64 id) const { return m_ids.contains(id); }

    /// Adds an employee of these columns of `employees`; an `ID` among them must be free. Without one the personal
    /// number becomes the `ID` where it can. Returns the `ID`.
    qint64 add(QHash<QString, QVariant> columns);

private:
    void remember(qint64 id, const QString &personalNumber);

    ImportStore &m_store;
    QHash<QString, qint64> m_byNumber;
    QSet<qint64> m_ids;
    qint64 m_highestId = 0;
};

} // namespace tools::zukimport
