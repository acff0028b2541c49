#pragma once

#include "qany.h"

#include <vector>

/// The fault list of one calculation, in the order in which the faults were found. A plain value.
class CalcErrors
{
public:
    /// Kinds of entries; each is shown in a colour of its own.
    enum class Code {
        Nap, ///< errors
        Atp, ///< missing arrivals
        Opc, ///< pairing remarks
        Opo, ///< other pairing faults and the warnings of the day rules
        Spo  ///< employees without events
    };

    /// A fault of the run.
    void add(Code code, const QString &text) { add(code, text, 0, QString(), 0); }
    /// A fault of an employee on a day; `date` is the Unix seconds of local midnight, 0 when it is of no day.
    void add(Code code, const QString &text, qint64 user, const QString &name, qint64 date)
    {
        m_entries.push_back({code, text, user, name, date});
    }

    /// A List of {CODE, NAPAKA, USER, NAME, DATESTAMP}; what does not apply is Null.
    QAny toList() const;

private:
    struct Entry {
        Code code;
        QString text;
        qint64 user;
        QString name;
        qint64 date;
    };

    std::vector<Entry> m_entries;
};
