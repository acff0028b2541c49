#pragma once

#include "qany.h"

#include <QHash>
#include <QString>

/// Texts of the server's packed tables, {"HEADER": [{"KEY", "TXT"}], "TABLE": [row]}.

/// Display text of a cell, which may be a text, a number or a Hash with the text in it.
QString packedText(const QAny &cell);
QString packedText(const QAny &row, const QString &key);
/// Whether a display text tells nothing: empty, 0, or no time.
bool isNothing(const QString &text);
/// Titles of the columns by key.
QHash<QString, QString> packedTitles(const QAny &table);
