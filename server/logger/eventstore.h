#pragma once

#include "qany.h"
#include "storage/database.h"

#include <functional>
#include <vector>

/// The attendance events in `events`, each of which has a row in the journal `allevents`. What is done here is part of
/// the caller's transaction.
namespace server::logger::EventStore {

/// How the user stands in the statement that reads a stored event back. Deliberate: the live events of the logger have
/// it quoted, the offline ones of the catch-up bare, so that of the latter only users with plain numbers are found.
enum class UserText { Quoted, Bare };

/// Who hands over an event: a peer, or we ourselves once more.
enum class Sender { Peer, Ourselves };

/// Whether an event was delivered before: a row equals it in every column that it brings. Of a peer's it must bring at
/// least TID, USER, TIMESTAMP and ACCESS_CODE. A row number that it brings counts only while nothing else has taken it.
storage::Status wasDelivered(DataBase &database, const QAny &event, Sender sender, bool *delivered);
/// Which events of a terminal's reply are there already, by TID, USER, TIMESTAMP and ACCESS_CODE; one of a peer's
/// without a TID is not. To be asked before any of them is inserted: equal events of one reply are all stored.
storage::Status alreadyStored(DataBase &database, const QAny &events, Sender sender, std::vector<bool> *stored);

/// Inserts the event into `events`; keys that are no columns are left out. An event that brings an ID which is taken
/// gets a new one.
storage::Status insert(DataBase &database, const QAny &event);

/// Fills in the columns of a journal row in which live and offline events differ.
using Complete = std::function<void(QAny &row, const QAny &stored)>;

/// Writes the journal row of an event that was just stored. Lasting, with a warning line, when no row can be written,
/// among others because the event is not found; Passing when another attempt is worth while.
storage::Status addRow(DataBase &database, const QAny &event, UserText form, const Complete &complete);

} // namespace server::logger::EventStore
