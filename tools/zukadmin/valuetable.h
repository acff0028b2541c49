#pragma once

#include "qany.h"

#include <QByteArray>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVector>

/// Texts in rows and columns, made of what the server answers.
struct ValueTable {
    struct Column {
        QString key;
        QString title;
        bool isNumeric; ///< every cell that is not empty
    };
    QVector<Column> columns;
    QVector<QStringList> rows;
    QSet<int> parts; ///< positions of rows that begin a part

    /// Of a List of Hashes. The columns stand in the order in which they first appear; Null is the empty text.
    static ValueTable ofRows(const QAny &rows);
    /// Of a packed table, with all columns that its header names. A row of totals is a part.
    static ValueTable ofPacked(const QAny &packed);

    /// Aligned, with titles, without columns that tell nothing; empty without rows.
    QString toText() const;
    /// The same with all columns.
    QString toFullText() const;
    /// As of RFC 4180, with a line of keys; empty without columns.
    QByteArray toCsv() const;
};
