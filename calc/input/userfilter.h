#pragma once

#include "qany.h"

#include <QString>
#include <QVariantList>

#include <vector>

namespace calc::input {

/// The employees that a request asks for, as clauses of statements. A plain value.
class UserFilter
{
public:
    /// A statement's condition has a bounded depth: longer lists are asked for in parts of so many.
    static constexpr int kUsersInStatement = 500;

    /// Everybody.
    UserFilter() = default;
    /// One id or a list of ids, as numbers or numeric texts; Null or Invalid asks for everybody.
    explicit UserFilter(const QAny &user);

    /// These. Their statement has so many terms, or as many as are needed: of whatever number it is one text.
    UserFilter(std::vector<qint64> users, int terms);

    bool contains(qint64 user) const;
    /// How many employees it names; -1 for everybody.
    int count() const { return m_isOn ? static_cast<int>(m_users.size()) : -1; }
    /// How many statements it takes to read everything that was asked for.
    int parts() const;
    /// The clause of a part, " and (…)" of "column=?" terms joined by " or "; empty for everybody.
    QString clause(const QString &column) const;
    /// What the terms of a part are bound to, behind other bindings.
    QVariantList bindings(int part, QVariantList others) const;

private:
    void sortUsers();
    int termsInStatement() const;

    bool m_isOn = false;
    int m_minTerms = 0;
    std::vector<qint64> m_users; ///< sorted
};

} // namespace calc::input
