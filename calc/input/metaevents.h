#pragma once

#include "qany.h"

class DataBase;

/// A hand-entered event. The time is in Unix seconds; the author is the id of the user who entered it.
struct MetaEvent {
    qint64 author = 0;
    qint64 user = 0;
    qint64 timestamp = 0;
    QString accessCode;
    QString type;
    QString remark;
};

/// On the database's thread. Stores the event in `metalog` and reads it back; the row found, with TABLE "allevents", is
/// appended to the event list (anything but a List becomes one; null for none). True when the read-back finds one row
/// more than before. Texts stand in the statement unescaped.
bool InsertMeta(DataBase &database, const MetaEvent &event, QAny *events = nullptr);
