#include "calc/input/userfilter.h"

#include <QStringList>

#include <algorithm>

namespace calc::input {

UserFilter::UserFilter(const QAny &user) : m_isOn(user.isValid() && !user.isNull())
{
    if (!m_isOn)
        return;
    const QAny users = user.isList() ? user : QAny::list({user});
    for (int i = 0; i < users.count(); ++i) {
        bool ok = false;
        const qint64 id = users.at(i).toInteger(&ok);
        if (ok)
            m_users.push_back(id);
    }
    sortUsers();
}

UserFilter::UserFilter(std::vector<qint64> users, int terms)
    : m_isOn(true), m_minTerms(users.empty() ? 0 : terms), m_users(std::move(users))
{
    sortUsers();
}

void UserFilter::sortUsers()
{
    std::sort(m_users.begin(), m_users.end());
    m_users.erase(std::unique(m_users.begin(), m_users.end()), m_users.end());
}

bool UserFilter::contains(qint64 user) const
{
    return !m_isOn || std::binary_search(m_users.begin(), m_users.end(), user);
}

int UserFilter::parts() const
{
    const int count = static_cast<int>(m_users.size());
    return std::max(1, (count + kUsersInStatement - 1) / kUsersInStatement);
}

int UserFilter::termsInStatement() const
{
    return std::min(std::max(static_cast<int>(m_users.size()), m_minTerms), kUsersInStatement);
}

QString UserFilter::clause(const QString &column) const
{
    if (!m_isOn)
        return {};
    if (m_minTerms > 0)
        return QStringLiteral(" and %1 in (?").arg(column) + QStringLiteral(",?").repeated(termsInStatement() - 1) +
               QLatin1Char(')');
    QStringList terms;
    for (int i = 0; i < termsInStatement(); ++i)
        terms.append(column + QStringLiteral("=?"));
    return QStringLiteral(" and (") + (terms.isEmpty() ? QStringLiteral("0") : terms.join(QStringLiteral(" or "))) +
           QLatin1Char(')');
}

QVariantList UserFilter::bindings(int part, QVariantList others) const
{
    const int first = part * kUsersInStatement;
    const int last = static_cast<int>(m_users.size()) - 1;
    // The last part names its last employee again, so that one prepared statement serves all parts.
    for (int i = 0; i < termsInStatement(); ++i)
        others.append(m_users[static_cast<size_t>(std::min(first + i, last))]);
    return others;
}

} // namespace calc::input
