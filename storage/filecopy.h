#pragma once

#include <QString>

namespace storage {

// Copies of the file, for keeping. Faults are texts for people, empty when all went well.

/// Writes a consistent copy of a database that others may use and write meanwhile, into an empty or missing file and
/// on to the disk. On any thread, by itself alone. Only reads the source; creates none. The copy needs no -wal file.
/// What is left of a copy that failed is the caller's to remove.
QString copyDatabase(const QString &source, const QString &copy);

/// Reads a database whole: whether it is undamaged, and how many rows the tables hold by which people know it
/// ("employees 50, events 17622"). Changes nothing.
QString checkDatabase(const QString &path, QString *rows);

} // namespace storage
