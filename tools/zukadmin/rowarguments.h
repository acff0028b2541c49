#pragma once

#include "qany.h"

#include <QString>
#include <QStringList>
#include <QVector>

/// Rows as the command line gives them: one JSON object, a JSON array of objects, the same on standard input ("-"), or
/// one word NAME=TEXT or NAME:=JSON for each value. The fault is empty when all is well; there is then at least one
/// row.
QString readRows(const QStringList &words, QVector<QAny> *rows);
/// The same where only one row makes sense.
QString readRow(const QStringList &words, QAny *row);

/// A word, or all of standard input for "-".
QString wordOrInput(const QString &word);
