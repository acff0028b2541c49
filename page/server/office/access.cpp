#include "page/server/office/access.h"

#include "page/server/office/answers.h"

namespace page::office {

namespace {

constexpr AskRule kRules[] = {
    {"month", Need::OneselfOrRole},          {"day", Need::OneselfOrRole},
    {"balance", Need::OneselfOrRole},        {"presence", Need::Nothing},
    {"requests:mine", Need::Nothing},        {"requests:open", Need::Role},
    {"requests:decided", Need::Role},        {"department", Need::Role},
    {"request", Need::Oneself, true},        {"withdraw", Need::OwnRequest, true},
    {"decide", Need::RequestOfOthers, true},
};

/// Of an id that is left out or Null, `missing`; 0 for what is no id.
qint64 idOf(const QAny &value, qint64 missing)
{
    if (value.isNull() || !value.isValid())
        return missing;
    return value.isInteger() && value.asInteger() > 0 ? value.asInteger() : 0;
}

bool seesAll(const Person &person)
{
    return std::any_of(person.roles.begin(), person.roles.end(), [](const Role &role) { return role.isHr; });
}

const char *admitSubject(CheckedReader &reader, Need need, const QAny &ask, Admission &admission)
{
    const Person &person = admission.person;
    admission.subject = {person.id, person.name, person.department};
    const qint64 user = idOf(ask.lookup(QStringLiteral("user")), person.id);
    if (user == 0)
        return kBadRequest;
    if (user == person.id)
        return nullptr;
    if (need == Need::Oneself)
        return kNotAllowed;
    // Who may not see somebody is not told either whether there is such a one.
    const std::optional<Employee> other = employeeOf(reader, user);
    if (!other)
        return seesAll(person) ? kNotFound : kNotAllowed;
    admission.subject = *other;
    return overlooks(person, other->department) ? nullptr : kNotAllowed;
}

const char *admitDepartment(const QAny &ask, const Person &person)
{
    if (person.roles.isEmpty())
        return kNotAllowed;
    const QAny &department = ask.lookup(QStringLiteral("department"));
    if (department.isNull() || !department.isValid())
        return nullptr;
    if (!department.isString())
        return kBadRequest;
    return overlooks(person, department.asString()) ? nullptr : kNotAllowed;
}

const char *admitRequest(CheckedReader &reader, Need need, const QAny &ask, Admission &admission)
{
    const qint64 rid = idOf(ask.lookup(QStringLiteral("rid")), 0);
    if (rid == 0)
        return kBadRequest;
    admission.request = requestOf(reader, rid);
    const bool isOwner = admission.request && admission.request->user.id == admission.person.id;
    const bool isAllowed =
        need == Need::OwnRequest ? isOwner : admission.request && mayDecide(admission.person, *admission.request);
    if (!isAllowed)
        return !admission.request && seesAll(admission.person) ? kNotFound : kNotAllowed;
    admission.subject = admission.request->user;
    return nullptr;
}

const char *refusal(CheckedReader &reader, Need need, const QAny &ask, Admission &admission)
{
    switch (need) {
    case Need::Nothing:
        return nullptr;
    case Need::Oneself:
    case Need::OneselfOrRole:
        return admitSubject(reader, need, ask, admission);
    case Need::Role:
        return admitDepartment(ask, admission.person);
    case Need::OwnRequest:
    case Need::RequestOfOthers:
        return admitRequest(reader, need, ask, admission);
    }
    return kNotAllowed;
}

} // namespace

const AskRule *ruleOf(const QAny &ask)
{
    QString name = ask.lookup(QStringLiteral("ask")).toString();
    if (name == QLatin1String("requests"))
        name += QLatin1Char(':') + ask.lookup(QStringLiteral("scope")).toString();
    for (const AskRule &rule : kRules) {
        if (name == QLatin1String(rule.ask))
            return &rule;
    }
    return nullptr;
}

Admission admit(CheckedReader &reader, const Person &person, const QAny &ask)
{
    Admission admission;
    const AskRule *rule = ruleOf(ask);
    const std::optional<Person> again = lookAgain(reader, person);
    if (!rule) {
        admission.error = kBadRequest;
    } else if (!again) {
        admission.error = kNotAllowed;
    } else {
        admission.person = *again;
        admission.error = refusal(reader, rule->need, ask, admission);
    }
    if (reader.hasFailed())
        admission.error = kDatabase;
    return admission;
}

} // namespace page::office
