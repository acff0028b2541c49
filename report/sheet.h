#pragma once

#include "report/text.h"

#include <QDate>
#include <QStringList>

#include <vector>

namespace report {

/// A value of a table, not yet a text.
struct Cell {
    enum class Kind : quint8 {
        Empty,
        Text,
        Duration, ///< seconds, shown in whole minutes: "7:30", "-0:30"
        Clock,    ///< seconds since the midnight of the row's day: "07:30", of the next day "06:00+1"
        Date      ///< Julian day
    };

    qint64 number = 0;
    QString text;
    Kind kind = Kind::Empty;

    void setText(const QString &value)
    {
        text = value;
        kind = Kind::Text;
    }
    void setDuration(qint64 seconds) { set(Kind::Duration, seconds); }
    /// Nothing where there is none.
    void setSome(qint64 seconds)
    {
        if (seconds != 0)
            setDuration(seconds);
    }
    void setClock(qint64 seconds) { set(Kind::Clock, seconds); }
    void setDate(QDate date) { set(Kind::Date, date.toJulianDay()); }

    bool isEmpty() const { return kind == Kind::Empty || (kind == Kind::Text && text.isEmpty()); }
    /// As people read it: the date with its weekday, without control characters.
    QString shown(Language language) const;
    /// What is no text, as programs read it: the date as 2026-10-05. How many characters were written, at most
    /// kMaxLength.
    int write(char *buffer) const;
    static constexpr int kMaxLength = 32;

private:
    void set(Kind what, qint64 value)
    {
        kind = what;
        number = value;
    }
};

/// A column of a table.
struct Column {
    enum Align : quint8 { Left, Right };
    enum Use : quint8 {
        Always,
        WhereFilled, ///< left out for people where no row of the sheet has anything in it
        ForPrograms  ///< in CSV alone
    };

    Text heading;
    double millimetres; ///< on paper; 0 takes what the others leave, its lines wrapped
    Align align = Right;
    Use use = Always;
};

/// The form of all sheets of one report.
struct Layout {
    std::vector<Text> identity; ///< headings of Sheet::identity, for CSV
    std::vector<Column> columns;
    bool hasSums = false; ///< not every row is a day's: CSV tells which
};

/// One paper: the statement of one employee and so on. A plain value that knows no form of file.
struct Sheet {
    enum class Row : quint8 { Day, FreeDay, Sum, Carried };
    struct Fact {
        QString label;
        QString value;
    };

    explicit Sheet(const Layout &form) : layout(&form) {}

    const Layout *layout; ///< not owned
    QString fileName;     ///< suggested, without folder and suffix
    QString title;
    QString subject; ///< whom it is about
    std::vector<Fact> facts;
    QStringList identity; ///< what CSV repeats in each row
    std::vector<Row> rows;
    std::vector<Cell> cells; ///< row by row
    QStringList notes;
    QStringList signatures; ///< who signs

    /// The row's cells, valid until the next one.
    Cell *addRow(Row row);
    const Cell *row(size_t number) const { return &cells[number * layout->columns.size()]; }
    /// Positions of the columns that people are shown.
    std::vector<size_t> shownColumns() const;
};

/// "Oktober 2026" of a whole month, else "1. 10. 2026 – 15. 10. 2026"; in English "October 2026" and so on.
QString periodText(QDate first, QDate last, Language language);
/// The date as people write it: "5. 10. 2026", "5 October 2026".
QString dateText(QDate date, Language language);
/// A part of a file's name: letters, digits and dashes of the text, and not too long for any file system.
QString fileNamePart(const QString &text);

} // namespace report
