#pragma once

#include "storage/database.h"
#include "tools/demodata/democompany.h"

#include <QMap>
#include <QVector>

#include <algorithm>

/// Both changes of the clock lie inside; the last day is a Friday, on whose evening nights begin.
inline DemoOptions wholeYear()
{
    DemoOptions options;
    options.employees = 40;
    options.start = QDate(2025, 1, 1);
    options.end = QDate(2025, 12, 19);
    options.seed = 7;
    return options;
}

/// An event of the demo as it is stored.
struct Tap {
    qint64 id = 0;
    qint64 time = 0;
    QString code;
    QString terminal; ///< empty of one that was entered by hand
    bool isArrival() const { return code.startsWith("101"); }
};
using Taps = QVector<Tap>;

/// By user, in the order in which the calculation reads them.
inline QMap<qint64, Taps> tapsIn(DataBase &database)
{
    QMap<qint64, Taps> all;
    const QAny rows = database.select("SELECT ID, USER, TIMESTAMP, ACCESS_CODE, TERMINAL FROM allevents UNION ALL "
                                      "SELECT ID, USER, TIMESTAMP, ACCESS_CODE, '' FROM metalog");
    for (int i = 0; i < rows.count(); ++i) {
        const QAny &row = rows.at(i);
        all[row.value("USER").toInteger()].append({row.value("ID").toInteger(), row.value("TIMESTAMP").toInteger(),
                                                   row.value("ACCESS_CODE").toString(),
                                                   row.value("TERMINAL").toString()});
    }
    for (Taps &taps : all) {
        std::stable_sort(taps.begin(), taps.end(), [](const Tap &a, const Tap &b) {
            return a.time != b.time ? a.time < b.time : !a.isArrival() && b.isArrival();
        });
    }
    return all;
}

inline bool isOnePassage(const Tap &tap, const Tap &next)
{
    constexpr qint64 doubleTap = 120;
    return !tap.terminal.isEmpty() && !next.terminal.isEmpty() && tap.code == next.code &&
           next.time - tap.time <= doubleTap;
}

/// What counts of the taps of one passage: the first arrival, the last departure. The others go to `dropped`.
inline Taps passagesOf(const Taps &taps, Taps *dropped = nullptr)
{
    Taps passages;
    for (int i = 0; i < taps.size(); ++i) {
        const Tap &tap = taps[i];
        if (i == 0 || !isOnePassage(taps[i - 1], tap)) {
            passages.append(tap);
            continue;
        }
        if (dropped)
            dropped->append(tap.isArrival() ? tap : passages.last());
        if (!tap.isArrival())
            passages.last() = tap;
    }
    return passages;
}
