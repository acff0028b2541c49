#pragma once

#include "qany.h"

#include <QString>

namespace tools::doctor {

/// Why a question has no answer.
struct Fault {
    QString text;          ///< empty when it has one
    bool isDamage = false; ///< the database itself says that it is damaged
};

/// Who answers the questions of an examination: a file, or a server. Nothing throws.
class Rows
{
public:
    virtual ~Rows() = default;

    /// Rows as a List of Hashes; an empty List when there is no answer.
    QAny select(const QString &sql);
    /// Of one row; Null without a row.
    QAny first(const QString &sql);

    /// Why the first question without an answer had none; empty while all had one. A server does not tell a statement
    /// that failed from one without rows.
    const QString &fault() const { return m_fault.text; }
    /// Whether that was damage of the database. Otherwise nothing is known of it.
    bool isDamaged() const { return m_fault.isDamage; }
    /// Whether the rows may be of no one moment, so that nothing follows from them.
    virtual bool wasDisturbed() const { return false; }

protected:
    Rows() = default;

    virtual QAny ask(const QString &sql, Fault *fault) = 0;

private:
    Q_DISABLE_COPY(Rows)
    Fault m_fault;
};

/// A column for a select, under its own name: as hexadecimal digits, for a stored text may hold control characters,
/// which no answer of a server can carry.
QString hexed(const QString &column);
/// What a row has under that name, as text again. NULL reads as empty.
QString textOf(const QAny &row, const QString &name);

} // namespace tools::doctor
