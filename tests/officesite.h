#pragma once

#include "calcsite.h"
#include "page/server/office/office.h"

constexpr int kAna = 1;   // of development
constexpr int kBor = 2;   // its supervisor
constexpr int kCene = 3;  // supervisor of sales
constexpr int kDana = 4;  // personnel officer
constexpr int kEva = 5;   // has left
constexpr int kFilip = 6; // user switched off, of no department

/// A company whose employees ask their page: two departments with a supervisor each, a personnel officer, one who has
/// left, one whose user is switched off. The schedule asks for 8 hours from Monday to Friday, and it is Wednesday noon.
class OfficeSite : public CalcSite
{
public:
    static const QString kNoon; ///< of today, "4.3.2026 12:00"

    OfficeSite();

    static page::office::Now now(const QString &time = kNoon);
    static page::office::Person person(qint64 id) { return {id, id, {}, {}, {}}; }

    page::office::Storage &storage() { return m_storage; }
    /// The ask as JSON with single quotes.
    QAny ask(qint64 who, const QString &json, const QString &time = kNoon);
    /// Code and reason of the refusal; empty when there is none.
    QString errorOf(qint64 who, const QString &json);
    /// Ana asks for it and Bor approves it; the refusal of the latter.
    QString approve(const QString &json);
    /// A day ("3.3.2026") of the month's answer.
    QAny dayOf(qint64 who, const QString &text, const QString &time = kNoon);
    /// The cells of each row of a query, joined by "|".
    QStringList rows(const QString &sql);

private:
    page::office::Storage m_storage;
};

/// A cell of a table; "-" is an empty one.
QString cell(const TableRow &row, int number);
/// As JSON with single quotes.
QString oneLine(const QAny &value);
