#pragma once

#include "storage/status.h"

class DataBase;

namespace page::office {

/// Makes the page's own tables where they are missing, or brings them up to date: `page_role`, `page_request`. See
/// storage::bringUpToDate().
storage::Status preparePageTables(DataBase &database);

} // namespace page::office
