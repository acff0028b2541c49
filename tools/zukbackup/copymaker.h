#pragma once

#include <QString>

namespace tools::zukbackup {

/// Why something went wrong, as a text for people; empty when it went well.
using Fault = QString;

/// Writes a consistent copy of a database that others may use and write meanwhile, into an empty or missing file and
/// on to the disk. Only reads the source; creates none. The copy needs no -wal file. What is left of a copy that
/// failed is the caller's to remove.
Fault copyDatabase(const QString &source, const QString &copy);

/// Reads a database whole: whether it is undamaged, and how many rows the tables hold by which people know it
/// ("employees 50, events 17622"). Changes nothing.
Fault checkDatabase(const QString &path, QString *rows);

} // namespace tools::zukbackup
