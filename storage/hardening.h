#pragma once

class QSqlDatabase;

namespace storage {

/// Takes from an open connection what no statement of a site needs and what would let one out of the file: functions
/// that name tokenizers by their address, writing to the schema and to the tables below virtual tables by hand, and the
/// loading of extensions. From here on WorkLimit holds for it. Statements of every other kind go on as before.
///
/// Does nothing where the driver's SQLite is not the one that this program is linked with; on Windows the driver has
/// one of its own.
void harden(const QSqlDatabase &connection);

} // namespace storage
