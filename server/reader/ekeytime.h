#pragma once

#include <QDate>
#include <QDateTime>
#include <QString>
#include <QTime>

#include <vector>

/// Today by the local calendar, kept until the day is over. Used on one thread at a time.
class EkeyToday
{
public:
    QDate date();

private:
    QDate m_date;
    qint64 m_begin = 0; // in ms since 1970 UTC
    qint64 m_end = 0;
};

/// Reads and judges the times of the fingerprint reader's file, which are local ones. Used on one thread at a time.
///
/// A file may have millions of them, so formats of numbers alone are read here and days are looked up once; the rest is
/// Qt's.
class EkeyTime
{
public:
    enum class Fault {
        None,
        NoDate, ///< without a "."
        NoTime, ///< without a ":"
        Wrong,  ///< not in the format, or of a day to come
        TooOld, ///< before the last accepted time
    };
    struct Verdict {
        Fault fault = Fault::None;
        qint64 time = 0; ///< in seconds since 1970 UTC; of an accepted one
    };

    /// The format is one of QDateTime::fromString().
    explicit EkeyTime(const QString &format);

    /// In the autumn hour that comes twice, a time that would be too old is taken for the second one.
    Verdict judge(const QString &field, const QDate &today, qint64 lastAccepted);
    /// A time as the file would have it.
    QString text(qint64 time) const;
    /// Date and time as the field shows them; null when it is not in the format.
    QDateTime read(const QString &field) const;

private:
    /// A number of the format, or a character between them.
    struct Section {
        enum Kind { Character, Day, Month, Year, Hour, Minute, Second };
        Kind kind;
        int minDigits;
        int maxDigits;
        QChar character;
    };

    bool readNumbers(const QString &field, QDate *date, QTime *time) const;
    void lookUp(const QDate &date);

    QString m_format;
    std::vector<Section> m_sections; // empty for a format of more than numbers
    QDate m_lookedUp;
    qint64 m_begin = 0;    // of this day, in seconds since 1970 UTC
    qint64 m_repeated = 0; // seconds by which it is longer than others, or shorter
};
