#include "calc/input/eventreader.h"

#include "calc/input/storedvalues.h"
#include "storage/reader.h"

#include <QSqlQuery>

namespace calc::input {

namespace {

// Name and zone of the employee are known already: no look at the employees for each row.
const QString kSelectEvents = QStringLiteral("select ID,USER,TYPE,REMARK,TIMESTAMP,ACCESS_CODE,PTIME,IDX,TAG,PARAM"
                                             " from allevents where timestamp >=? and timestamp<=?");
const QString kSelectTerminals =
    QStringLiteral("select ID,TERMINAL from allevents where timestamp >=? and timestamp<=?");
const QString kSelectHandEntered = QStringLiteral(
    "select id,USER,TYPE,REMARK,TIMESTAMP,ACCESS_CODE,IDLOG from metalog where timestamp >=? and timestamp<=?");
const QString kSelectAny = QStringLiteral("select 1 from %1 where timestamp >=? and timestamp<=?%2 limit 1");
const QString kSelectAuthors = QStringLiteral("select ID,%1 as NAME from employees");
const QString kUser = QStringLiteral("USER");
const QString kHandEntered = QStringLiteral("ME");

rules::StoredValue cell(const QSqlQuery &query, int column)
{
    const QVariant value = query.value(column);
    if (value.isNull())
        return std::monostate();
    return value.type() == QVariant::LongLong ? value.toLongLong() : storedValue(QAny::fromVariant(value));
}

} // namespace

EventReader::EventReader(storage::Reader &database, const ReadRange &range, std::vector<rules::Employee> &employees,
                         const QHash<qint64, int> &employeeOf)
    : m_database(database), m_range(range), m_employees(employees), m_employeeOf(employeeOf)
{
}

int EventReader::read(rules::Share share, int terms, const QString *authorNames)
{
    std::vector<qint64> users;
    for (size_t i = share.first; i < share.end; ++i) {
        const qint64 user = m_employees[i].user;
        if (m_employeeOf.value(user) == static_cast<int>(i))
            users.push_back(user);
    }
    m_users = UserFilter(std::move(users), terms);
    m_withSources = authorNames != nullptr;
    if (authorNames) {
        readTerminals();
        readAuthors(*authorNames);
    }
    m_lastEmployee = m_employeeOf.value(m_lastUser, -1);
    const int rows = readJournal();
    return rows + readHandEntered();
}

int EventReader::forEachRow(const QString &sql, const std::function<void(const QSqlQuery &)> &reader)
{
    int rows = 0;
    const QVariantList bindings = m_users.bindings(0, {m_range.firstEvent, m_range.lastEvent});
    m_database.forEachRow(sql + m_users.clause(kUser), bindings, [&](const QSqlQuery &query) {
        ++rows;
        reader(query);
    });
    return rows;
}

int EventReader::readJournal()
{
    enum { Id, User, Type, Remark, Timestamp, AccessCodeText, PTime, Idx, Tag, Param };
    return forEachRow(kSelectEvents, [this](const QSqlQuery &query) {
        rules::Event event;
        event.id = query.value(Id).toLongLong();
        event.stored = query.value(Timestamp).toLongLong();
        event.accessCode = shared(query.value(AccessCodeText).toString());
        event.type = shared(query.value(Type).toString());
        event.remark = shared(query.value(Remark).toString());
        event.param = shared(query.value(Param).toString());
        event.idx = cell(query, Idx);
        event.tag = cell(query, Tag);
        event.pTime = cell(query, PTime);
        if (m_withSources)
            event.source = shared((QStringLiteral("terminal ") + m_terminals.value(event.id)).trimmed());
        add(query.value(User).toLongLong(), std::move(event));
    });
}

int EventReader::readHandEntered()
{
    enum { Id, User, Type, Remark, Timestamp, AccessCodeText, Author };
    return forEachRow(kSelectHandEntered, [this](const QSqlQuery &query) {
        rules::Event event;
        event.isMeta = true;
        event.id = query.value(Id).toLongLong();
        event.stored = query.value(Timestamp).toLongLong();
        event.accessCode = shared(query.value(AccessCodeText).toString());
        const QString type = query.value(Type).toString();
        event.type = rules::kindOf(type) == rules::EventKind::Other ? kHandEntered : shared(type);
        event.remark = query.value(Remark).toString();
        event.idx = event.id;
        if (m_withSources) {
            const QString author = query.value(Author).toString();
            event.source = (QStringLiteral("entered by ") + m_authors.value(author, author)).trimmed();
        }
        add(query.value(User).toLongLong(), std::move(event));
    });
}

void EventReader::readTerminals()
{
    forEachRow(kSelectTerminals, [this](const QSqlQuery &query) {
        m_terminals.insert(query.value(0).toLongLong(), shared(query.value(1).toString()));
    });
}

void EventReader::readAuthors(const QString &names)
{
    m_database.forEachRow(kSelectAuthors.arg(names), {}, [this](const QSqlQuery &query) {
        m_authors.insert(query.value(0).toString(), query.value(1).toString());
    });
}

const QString &EventReader::shared(const QString &text)
{
    constexpr int maxTexts = 4096; // remarks of a company are few; a file full of different ones is not kept twice
    if (text.isEmpty())
        return m_empty;
    const auto known = m_texts.constFind(text);
    if (known != m_texts.constEnd())
        return *known;
    return m_texts.size() < maxTexts ? *m_texts.insert(text, text) : text;
}

void EventReader::add(qint64 user, rules::Event event)
{
    // Events of one employee come together.
    if (user != m_lastUser) {
        m_lastUser = user;
        m_lastEmployee = m_employeeOf.value(user, -1);
    }
    if (m_lastEmployee < 0)
        return;
    event.code = rules::AccessCode(event.accessCode);
    event.kind = rules::kindOf(event.type);
    m_employees[static_cast<size_t>(m_lastEmployee)].events.push_back(std::move(event));
}

bool hasEventsOfOthers(storage::Reader &database, const UserFilter &users, const ReadRange &range)
{
    bool any = false;
    for (const QString &table : {QStringLiteral("allevents"), QStringLiteral("metalog")}) {
        const QString sql = kSelectAny.arg(table, users.clause(kUser));
        for (int part = 0; part < users.parts() && !any; ++part) {
            database.forEachRow(sql, users.bindings(part, {range.firstEvent, range.lastEvent}),
                                [&any](const QSqlQuery &) { any = true; });
        }
    }
    return any;
}

} // namespace calc::input
