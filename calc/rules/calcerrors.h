#pragma once

#include <QString>

#include <iterator>
#include <vector>

namespace calc::rules {

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

    struct Entry {
        Code code;
        QString text;
        qint64 user;  ///< 0 when it is of no employee
        QString name; ///< of the employee
        qint64 date;  ///< Unix seconds of local midnight; 0 when it is of no day
    };

    /// A fault of the run.
    void add(Code code, const QString &text) { add(code, text, 0, QString(), 0); }
    /// A fault of an employee on a day.
    void add(Code code, const QString &text, qint64 user, const QString &name, qint64 date)
    {
        m_entries.push_back({code, text, user, name, date});
    }

    /// The others come behind those that are there.
    void append(CalcErrors &&others)
    {
        m_entries.insert(m_entries.end(), std::make_move_iterator(others.m_entries.begin()),
                         std::make_move_iterator(others.m_entries.end()));
    }

    const std::vector<Entry> &entries() const { return m_entries; }

private:
    std::vector<Entry> m_entries;
};

} // namespace calc::rules
