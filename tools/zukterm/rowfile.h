#pragma once

#include "qany.h"

#include <QString>
#include <QVector>

namespace tools::zukterm {

/// A row of a JSON file and the line in which it begins, from 1.
struct FileRow {
    QAny value; ///< a Hash
    int line = 0;
};

/// Reads a UTF-8 file that holds an array of objects, or one object per line (empty lines are skipped). The fault names
/// file and line; it is empty when all is well.
QString readRowFile(const QString &fileName, QVector<FileRow> *rows);

} // namespace tools::zukterm
