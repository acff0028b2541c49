#pragma once

#include "page/server/office/person.h"

#include <QStringList>

#include <vector>

namespace page::office {

/// A kind of request with the codes that it may ask for.
struct RequestKind {
    QString name;
    bool isPunch; ///< of one moment; else whole days of absence
    /// Access code texts as terminals write them ("102:1:Dopust"); of an absence the first is the usual one.
    QStringList accessCodes;

    /// The access code text of a code ("102:1"), of the usual one where the code is empty; empty where it is none of
    /// this kind.
    QString accessCode(const QString &code) const;
};

/// Null for a name that is none.
const RequestKind *requestKind(const QString &name);
/// "102:1" of "102:1:Dopust", and "Dopust".
QString codeOf(const QString &accessCode);
QString nameOfCode(const QString &accessCode);

/// States of a request, as they are stored.
extern const QString kOpen;
extern const QString kApproved;
extern const QString kRefused;
extern const QString kWithdrawn;

/// What somebody asks for, and what became of it.
struct Request {
    qint64 rid = 0;
    Employee user;
    QString kind;
    QString code;               ///< "102:1"
    QDate from;                 ///< of a punch its day
    QDate to;                   ///< included
    std::optional<qint64> time; ///< of a punch, Unix seconds
    QString why;
    qint64 asked = 0;
    QString state;
    QString decidedBy; ///< name; empty while it is not decided
    std::optional<qint64> decidedAt;
    QString note;

    /// As `person` sees it.
    QAny json(const Person &person) const;
};

/// Whether the person may decide it: never their own.
bool mayDecide(const Person &person, const Request &request);

/// Requests of active employees alone; null where there is none with the number.
std::optional<Request> requestOf(CheckedReader &reader, qint64 rid);
/// Of one employee, the newest first.
std::vector<Request> requestsBy(CheckedReader &reader, qint64 user);
/// That are open, the oldest first, or decided, the latest first: of those whose department the person's roles open,
/// without their own.
std::vector<Request> openRequestsFor(CheckedReader &reader, const Person &person);
std::vector<Request> decidedRequestsFor(CheckedReader &reader, const Person &person);
/// Of one employee that touch the days, in the order of their numbers, without those withdrawn.
std::vector<Request> requestsWithin(CheckedReader &reader, qint64 user, QDate from, QDate to);
/// How many are open, by employee.
QHash<qint64, int> openRequestCounts(CheckedReader &reader);

} // namespace page::office
