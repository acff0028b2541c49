#pragma once

#include "storage/status.h"

class DataBase;

namespace page::office {

/// Of the page's tables, kept in `zuk_schema` under the name "page".
constexpr int kTablesVersion = 1;

/// Makes the page's own tables where they are missing: `page_role`, `page_request`, and `zuk_schema` for their version.
/// A lasting failure, and nothing changed, where the file has them of a newer version. On the database's thread.
storage::Status preparePageTables(DataBase &database);

} // namespace page::office
