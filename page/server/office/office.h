#pragma once

#include "calc/crew.h"
#include "page/server/office/person.h"
#include "page/server/office/storage.h"
#include "page/server/office/watch.h"

#include <QByteArray>
#include <QUrlQuery>

// What the employees' page asks for, answered from the file. No sockets, no HTTP. For signing in see person.h.

namespace page::office {

/// Whether the ask writes; then write() answers it, all others read().
bool isWriting(const QAny &ask);
/// Whether reading takes long: it is of many employees.
bool isLarge(const QAny &ask);

/// The answer to an ask, a Hash of the caller's with "ok". Any shape of ask gets one. May be called on any thread, by
/// the leader of the crew. What the person may is looked up anew each time.
QAny read(calc::Crew &crew, const Person &person, const QAny &ask, const Now &now);
/// The same on the main thread, in one transaction: what is refused has changed nothing.
QAny write(Storage &storage, const Person &person, const QAny &ask, const Now &now);

struct Export {
    QString fileName;   ///< suggested
    QByteArray content; ///< PDF, or CSV after RFC 4180 in UTF-8 with a byte order mark
};

/// What GET /export/<path> gives: month.csv, department.csv, requests.csv, presence.csv, balance.csv, and the papers,
/// see papers.h. On any thread, by the leader of the crew, with which nothing can be read afterwards. Null where there
/// is no such thing or it is not allowed; `fault` is set to whether the file could not be read.
std::optional<Export> exported(calc::Crew &crew, const Person &person, const QString &path, const QUrlQuery &query,
                               const Now &now, bool *fault);

} // namespace page::office
