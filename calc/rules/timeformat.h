#pragma once

#include <QDate>
#include <QString>

#include <optional>
#include <vector>

namespace calc::rules {

/// What a text says about a time: what a clock showed, and which clock, if it tells.
struct WrittenTime {
    QDate date;
    int second = 0;            ///< of the day
    std::optional<int> offset; ///< of the clock from UTC in seconds; without a value the text does not tell it

    /// Unix seconds, had the clock shown UTC.
    qint64 asUtc() const;
};

/// A format of QDateTime::fromString(), to read texts with. One of numbers alone is read here, many times faster; the
/// rest, and whatever is odd, is Qt's. A plain value; safe to read from any thread.
class TimeFormat
{
public:
    explicit TimeFormat(const QString &format);

    const QString &text() const { return m_text; }
    /// Whether it has years of two digits, which are those from 1900 on.
    bool hasShortYear() const { return m_hasShortYear; }

    /// Nothing for a text that is not in the format. Whether the local clock ever shows the time is not asked.
    std::optional<WrittenTime> read(const QString &text) const;
    /// The same for 2015-10-25 02:30, with T or a blank, seconds and an offset from UTC as they come.
    static std::optional<WrittenTime> readIso(const QString &text);

private:
    /// A number of the format, or a character between them.
    struct Section {
        enum Kind { Character, Day, Month, Year, Hour, Minute, Second };
        Kind kind;
        int minDigits;
        int maxDigits;
        QChar character;
    };

    static std::vector<Section> numbersOf(const QString &format);
    std::optional<WrittenTime> readNumbers(const QString &text) const;

    QString m_text;
    QString m_withOffset; ///< the same with the offset that read() adds; empty where it has one itself
    bool m_hasShortYear;
    std::vector<Section> m_sections; ///< empty for a format of more than numbers
};

} // namespace calc::rules
