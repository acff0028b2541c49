#pragma once

#include "storage/status.h"

#include <vector>

class DataBase;

namespace storage {

/// Tables of this product's own in the administration's file. Their version stands in `zuk_schema` under the name; that
/// of the newest is one more than there are upgrades.
struct OwnTables {
    using Statements = std::vector<const char *>;

    const char *name;
    Statements create;                ///< the newest form, each where it is missing
    std::vector<Statements> upgrades; ///< of version 1 to 2, of 2 to 3 and so on

    int version() const { return static_cast<int>(upgrades.size()) + 1; }
};

/// Makes the tables where they are missing, and brings older ones up to date, all or nothing. Before old ones are
/// changed the whole file is copied, beside itself as "<file>.<name>-<version>"; without a good copy nothing is
/// changed. One process at a time does that, another one fails for now. A lasting failure where the file has them of a
/// newer version, or a step fails, which is tried before the copy. On the database's thread, in no transaction; each
/// failure is a warning line.
Status bringUpToDate(DataBase &database, const OwnTables &tables);

} // namespace storage
