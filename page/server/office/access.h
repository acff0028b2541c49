#pragma once

#include "page/server/office/request.h"

namespace page::office {

/// What an ask takes of who asks.
enum class Need {
    Nothing,         ///< beyond being signed in
    Oneself,         ///< only one's own affairs
    OneselfOrRole,   ///< one's own, or a role over the employee's department
    Role,            ///< any; where a department is named, one over it
    OwnRequest,      ///< a request of one's own
    RequestOfOthers, ///< a role over the department of who asks, who is somebody else
};

struct AskRule {
    const char *ask;
    Need need;
    bool writes = false;
};

/// The rule of an ask; null for one that is unknown. The list of requests has a rule for each of its scopes.
const AskRule *ruleOf(const QAny &ask);

/// Whether somebody may ask something, and what was looked up to know it.
struct Admission {
    const char *error = nullptr; ///< code of the refusal; null where it is allowed
    Person person;               ///< as of now
    Employee subject;            ///< whom the ask is about
    std::optional<Request> request;
};

/// The one place that decides: every ask goes through it, whatever it then reads or writes.
Admission admit(CheckedReader &reader, const Person &person, const QAny &ask);

} // namespace page::office
