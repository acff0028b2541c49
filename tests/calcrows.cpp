#include "calcrows.h"

#include "calc/input/readrange.h"
#include "calc/input/rulesettingstext.h"
#include "calc/input/scheduletext.h"
#include "calc/input/settingsstore.h"
#include "calc/rules/summaries.h"

#include <QDateTime>
#include <QRegularExpression>

#include <algorithm>

using namespace calc::rules;
using calc::input::ReadRange;

namespace {

QAny scalar(const QString &text)
{
    if (text.startsWith('\''))
        return text.mid(1, text.size() - 2);
    bool ok = false;
    if (const qint64 number = text.toLongLong(&ok); ok)
        return number;
    if (const double number = text.toDouble(&ok); ok)
        return number;
    return text;
}

QAny scheduleHash(const QString &script)
{
    QAny shifts(QAny::Hash);
    for (const QString &part : script.split('|', Qt::SkipEmptyParts)) {
        static const QRegularExpression head("^\\s*(IZM\\d)?\\s*(?:(\\d)-(\\d))?\\s*(.*)$");
        const auto match = head.match(part);
        const QString shift = match.captured(1).isEmpty() ? "IZM1" : match.captured(1);
        const int first = match.captured(2).isEmpty() ? 1 : match.captured(2).toInt();
        const int last = match.captured(3).isEmpty() ? 7 : match.captured(3).toInt();
        for (int day = first; day <= last; ++day)
            shifts[shift][QString::number(day)] = keyValues(match.captured(4), true);
    }
    return shifts;
}

bool isStoredAsItIs(const QString &script)
{
    return script.isEmpty() || script.startsWith('{') || script.startsWith('[');
}

} // namespace

std::vector<TableRow> tableRows(const char *table)
{
    std::vector<TableRow> rows;
    std::vector<std::pair<QString, QString>> words{
        {"$day", kDay}, {"$night", kNight}, {"$lunch", kLunchAt11}, {"$warnings", kWarnings}};
    TableRow row;
    for (QString line : QString::fromUtf8(table).replace("\\\n", " ").split('\n', Qt::SkipEmptyParts)) {
        if (line.startsWith("//"))
            continue;
        for (const auto &[word, text] : words)
            line.replace(word, text);
        QStringList cells = line.split(line.startsWith("$") ? " = " : " | ");
        for (QString &cell : cells)
            cell = cell.simplified();
        const QString first = cells.takeFirst();
        if (first.startsWith('$')) {
            words.emplace_back(first, cells.value(0));
        } else if (first.startsWith("# ")) {
            row.group = first.mid(2);
            row.common = cells.value(0);
        } else {
            row.name = first;
            row.cells = cells;
            rows.push_back(row);
        }
    }
    return rows;
}

void addTable(const char *table)
{
    columns<TableRow>("row");
    for (const TableRow &row : tableRows(table))
        addRow(qPrintable(row.group.isEmpty() ? row.name : row.group + ": " + row.name), row);
}

qint64 seconds(const QString &text)
{
    const bool negative = text.startsWith('-');
    const QStringList parts = text.mid(negative ? 1 : 0).split(':');
    const qint64 value =
        parts.value(0).toLongLong() * 3600 + parts.value(1).toLongLong() * 60 + parts.value(2).toLongLong();
    return negative ? -value : value;
}

QDate date(const QString &text)
{
    return QDate::fromString(text, "d.M.yyyy");
}

qint64 midnight(const QString &text)
{
    return date(text).startOfDay().toSecsSinceEpoch();
}

qint64 instant(const QString &text)
{
    const QString time = text.section(' ', 1);
    return midnight(text.section(' ', 0, 0)) + (time.isEmpty() ? 0 : seconds(time));
}

QString dayOf(const QString &script)
{
    const QString first = script.section(' ', 0, 0);
    return date(first).isValid() ? first : "2.3.2026";
}

QAny keyValues(const QString &script, bool asTexts)
{
    QAny hash(QAny::Hash);
    for (const QString &item : script.split(' ', Qt::SkipEmptyParts)) {
        const QString name = item.section('=', 0, 0);
        const QAny value = asTexts ? QAny(item.section('=', 1)) : scalar(item.section('=', 1));
        if (!name.contains('/'))
            hash[name] = value;
        else
            hash[name.section('/', 0, 0)][name.section('/', 1)] = value;
    }
    return hash;
}

QString settingsText(const QString &script)
{
    return isStoredAsItIs(script) ? script : keyValues(script).toJson();
}

QString scheduleText(const QString &script)
{
    return isStoredAsItIs(script) ? script : scheduleHash(script).toJson();
}

std::vector<ScriptedEvent> scriptedEvents(const QString &script)
{
    const QDate monday(2026, 3, 2);
    std::vector<ScriptedEvent> events;
    QDate day = monday;
    bool isMeta = false;
    const auto add = [&](QDate on, QString time, const QString &code, const QString &type) {
        const Qt::TimeSpec zone = time.endsWith('Z') ? Qt::UTC : Qt::LocalTime;
        const QTime ofDay = QTime(0, 0).addSecs(static_cast<int>(seconds(time.remove('Z'))));
        events.push_back({QDateTime(on, ofDay, zone).toSecsSinceEpoch(),
                          code.startsWith('=') ? code.mid(1) : code + ":Ime", type.isEmpty() ? "EV" : type, isMeta});
    };
    for (const QString &item : QString(script).replace("+", ";+;").split(';', Qt::SkipEmptyParts)) {
        QStringList words = item.split(' ', Qt::SkipEmptyParts);
        if (item == "+") {
            isMeta = true;
            day = monday;
            continue;
        }
        if (words.value(0).count('.') == 2)
            day = date(words.takeFirst());
        if (words.isEmpty())
            continue;
        const QString code = words.value(1).section('/', 0, 0);
        const QString type = words.value(1).section('/', 1);
        const QString from = words[0].section('-', 0, 0);
        const QString to = words[0].section('-', 1);
        add(day, from, to.isEmpty() ? code : "101", type);
        if (!to.isEmpty())
            add(day.addDays(seconds(to) > seconds(from) ? 0 : 1), to, code.isEmpty() ? "102" : code, type);
    }
    return events;
}

CalcRows::CalcRows(const QString &script, const QString &schedule, const QString &settings)
{
    employee(1, "Novak Ana", schedule, settings);
    events(1, script);
}

void CalcRows::employee(qint64 id, const QString &name, const QString &schedule, const QString &settings)
{
    Employee employee;
    employee.user = id;
    employee.name = name;
    employee.emplId = QString("E%1").arg(id);
    employee.group = "A";
    employee.rules = calc::input::readRuleSettings(settingsText(settings));
    employee.schedule = calc::input::readSchedule(scheduleText(schedule)).schedule;
    m_employees.push_back(employee);
}

Employee &CalcRows::of(qint64 user)
{
    const auto found = std::find_if(m_employees.begin(), m_employees.end(),
                                    [user](const Employee &employee) { return employee.user == user; });
    if (found == m_employees.end())
        qFatal("CalcRows: no employee %lld", user);
    return *found;
}

void CalcRows::events(qint64 user, const QString &script)
{
    for (const ScriptedEvent &scripted : scriptedEvents(script)) {
        Event event;
        event.id = ++m_lastId;
        event.stored = scripted.timestamp;
        event.isMeta = scripted.isMeta;
        event.accessCode = scripted.accessCode;
        event.code = AccessCode(event.accessCode);
        event.type = event.isMeta && kindOf(scripted.type) == EventKind::Other ? "ME" : scripted.type;
        event.kind = kindOf(event.type);
        event.remark = "opomba";
        of(user).events.push_back(event);
    }
}

void CalcRows::holiday(const QString &day, const QString &text)
{
    m_holidays.emplace_back(date(day), text);
}

void CalcRows::assign(const QString &from, const QString &to, const QString &shift, const QString &columns)
{
    const QAny extra = keyValues(columns, true);
    Assignment row;
    row.id = extra.contains("ID") ? extra.lookup("ID").toInteger() : ++m_lastId;
    row.hasHour = extra.contains("FHOUR");
    row.group = extra.contains("RGROUP") ? extra.lookup("RGROUP").toString() : "A";
    row.emplId = extra.lookup("EMPLID").toString();
    row.preraz = shift;
    m_shifts.push_back({date(from), date(to), row});
}

CalcInputs CalcRows::inputs(const QString &from, const QString &to, const QString &settings) const
{
    CalcInputs inputs;
    inputs.settings = calc::input::settingsFromHash(keyValues(settings));
    inputs.period = ReadRange::periodOf(date(from), date(to), inputs.settings);
    inputs.doubleTapSeconds = doubleTapSeconds;
    const LocalClock &clock = inputs.period.clock;
    inputs.today = clock.dayOf(today);
    const ReadRange range = ReadRange::of(inputs.period, inputs.settings);
    const int firstPlanned = clock.dayOf(range.firstPlanned);
    const int lastPlanned = clock.dayOf(range.lastPlanned);

    std::vector<Assignment> assignments;
    for (const Shift &shift : m_shifts) {
        Assignment row = shift.assignment;
        row.firstDay = clock.dayOf(shift.from);
        row.lastDay = clock.dayOf(shift.to);
        if (row.firstDay <= lastPlanned && row.lastDay >= firstPlanned)
            assignments.push_back(row);
    }
    inputs.plan = ShiftPlan(assignments, clock.dayCount());
    inputs.holidays.resize(static_cast<size_t>(clock.dayCount()));
    for (const auto &[day, text] : m_holidays) {
        if (const int number = clock.dayOf(day); number >= firstPlanned && number <= lastPlanned)
            inputs.holidays[static_cast<size_t>(number)] = text;
    }
    inputs.employees = m_employees;
    for (Employee &employee : inputs.employees) {
        const auto isUnread = [&range](const Event &event) {
            return event.stored < range.firstEvent || event.stored > range.lastEvent;
        };
        employee.events.erase(std::remove_if(employee.events.begin(), employee.events.end(), isUnread),
                              employee.events.end());
    }
    return inputs;
}

CalcRun CalcRows::run(const QString &from, const QString &to, const QString &settings, bool isExplained) const
{
    CalcInputs given = inputs(from, to, settings);
    CalcErrors errors;
    completeEvents(given, {0, given.employees.size()});
    checkEvents(given, errors);
    CalcParse21::prepackPreraz(given);
    return CalcRun(calculate(std::move(given), std::move(errors), isExplained));
}
