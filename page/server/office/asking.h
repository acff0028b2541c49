#pragma once

#include "calc/crew.h"
#include "page/server/office/access.h"

namespace page::office {

/// An ask that has been admitted, and what answers it. Nothing is owned.
struct Asking {
    calc::Crew &crew;
    CheckedReader &reader; ///< of the crew; not after a calculation
    const Admission &admission;
    const QAny &ask;
    const Now &now;

    const Person &person() const { return admission.person; }
    const Employee &subject() const { return admission.subject; }
    const QAny &field(const char *name) const { return ask.lookup(QString::fromLatin1(name)); }
};

/// What a calculation reads without saying whether it could: the reader has failed where a table is missing.
void checkCalculable(CheckedReader &reader);

// The answers to what only reads. A reader that has failed makes them void.

QAny monthAnswer(Asking &asking);
QAny dayAnswer(Asking &asking);
QAny presenceAnswer(Asking &asking);
QAny balanceAnswer(Asking &asking);
QAny requestsAnswer(Asking &asking);
QAny departmentAnswer(Asking &asking);

} // namespace page::office
