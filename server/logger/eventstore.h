#pragma once

#include "qany.h"
#include "storage/database.h"

#include <functional>

/// The journal `allevents`, in which each attendance event of `events` has a row. What is done here is part of the
/// caller's transaction.
namespace server::logger::EventStore {

/// How the user stands in the statement that reads a stored event back. Deliberate: the live events of the logger have
/// it quoted, the offline ones of the catch-up bare, so that of the latter only users with plain numbers are found.
enum class UserText { Quoted, Bare };

/// Inserts the event into `events`; keys that are no columns are left out. An event that brings an ID which is taken
/// gets a new one, unless it is there already.
storage::Status insert(DataBase &database, const QAny &event, UserText form);

/// Fills in the columns of a journal row in which live and offline events differ.
using Complete = std::function<void(QAny &row, const QAny &stored)>;

/// Writes the journal row of an event that was just stored. Lasting, with a warning line, when no row can be written,
/// among others because the event is not found; Passing when another attempt is worth while.
storage::Status addRow(DataBase &database, const QAny &event, UserText form, const Complete &complete);

} // namespace server::logger::EventStore
