#include "page/server/office/pagetables.h"

#include "storage/owntables.h"

namespace page::office {

storage::Status preparePageTables(DataBase &database)
{
    static const storage::OwnTables tables{
        "page",
        {
            "CREATE TABLE IF NOT EXISTS page_role (ID INTEGER PRIMARY KEY AUTOINCREMENT, IDP INTEGER NOT NULL, "
            "ROLE TEXT NOT NULL, DEPARTMENT TEXT)",
            "CREATE INDEX IF NOT EXISTS page_role_idp ON page_role (IDP)",
            // REVISION is the newest number at each change of a row: what has changed since a look has a higher one.
            // METALOG is a JSON list of ids.
            "CREATE TABLE IF NOT EXISTS page_request (RID INTEGER PRIMARY KEY AUTOINCREMENT, USER INTEGER NOT NULL, "
            "KIND TEXT NOT NULL, CODE TEXT NOT NULL, FROMDATE TEXT NOT NULL, TODATE TEXT NOT NULL, TIME INTEGER, "
            "WHY TEXT, ASKED INTEGER NOT NULL, STATE TEXT NOT NULL, DECIDEDBY INTEGER, DECIDEDAT INTEGER, NOTE TEXT, "
            "METALOG TEXT, REVISION INTEGER NOT NULL)",
            "CREATE INDEX IF NOT EXISTS page_request_user ON page_request (USER, FROMDATE)",
            "CREATE INDEX IF NOT EXISTS page_request_state ON page_request (STATE)",
            "CREATE INDEX IF NOT EXISTS page_request_revision ON page_request (REVISION)",
        },
        {},
    };
    return storage::bringUpToDate(database, tables);
}

} // namespace page::office
