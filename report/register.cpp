#include "report/register.h"

namespace report {

using calc::rules::Category;
using calc::rules::Event;
using calc::rules::EventKind;
using calc::rules::Pair;
using calc::rules::PairEnd;

namespace {

constexpr Text kTitle = {"Evidenca o izrabi delovnega časa", "Record of working time"};
constexpr Text kSum = {"Skupaj", "Sum"};
constexpr Text kNoRecord = {"ni zapisa", "no record"};
constexpr Text kNoArrival = {"prihod ni zabeležen", "arrival not recorded"};
constexpr Text kNoDeparture = {"odhod ni zabeležen", "departure not recorded"};
constexpr Text kEntered = {"ročni vnos", "entered by hand"};
constexpr Text kEnteredBy = {"vnesel(a) %1", "entered by %1"};
constexpr Text kApprovedBy = {"odobril(a) %1", "approved by %1"};
constexpr Text kMadeFrom = {
    "Izdelano iz dogodkov, kakor so bili zabeleženi na terminalih in vneseni ročno: na minuto, brez zaokroževanja in "
    "brez pravil obračuna. Ročni vnosi so označeni.",
    "Made from the events as they were recorded at terminals and entered by hand: to the minute, without rounding and "
    "without the rules of the statement. What was entered by hand is marked."};
constexpr Text kMeanings = {
    "Ure: delo skupaj, tudi službeno, na terenu in od doma, z odmorom do dolžine, ki jo urnik plačuje. Nad urnikom: "
    "kar presega ure po urniku, ob sobotah, nedeljah in praznikih vse. Nočne: med 23.00 in 6.00. Nedeljske in "
    "praznične: po koledarskem dnevu.",
    "Hours: work in all, errands, field and home included, with the break up to the length that the schedule pays. "
    "Beyond: what exceeds the schedule's hours, on Saturdays, Sundays and holidays all. Night: between 23:00 and 6:00. "
    "Sunday and holiday: by the calendar day."};
constexpr Text kNoSchedule = {"Brez urnika: ure niso razdeljene na redne in nad urnikom.",
                              "No schedule: the hours are not divided into regular ones and those beyond."};

enum Position {
    Date,
    Arrival,
    Departure,
    Break,
    Hours,
    Regular,
    Beyond,
    Night,
    Sunday,
    Holiday,
    FirstKind,
    FreeHoliday = FirstKind + 9,
    Remarks,
    Events
};

struct KindColumn {
    Category category;
    Text heading;
};

/// Kinds of work that are part of the hours, then absences.
constexpr KindColumn kKinds[] = {
    {Category::Sluzbeno, {"Služb.", "Errand"}},
    {Category::Teren, {"Teren", "Field"}},
    {Category::OdDoma, {"Od doma", "At home"}},
    {Category::Dopust, {"Dopust", "Leave"}},
    {Category::IzrDopust, {"Izr. dopust", "Special leave"}},
    {Category::Bolniska, {"Boln.", "Sick"}},
    {Category::SaldoUre, {"Iz ur", "Time off"}},
    {Category::Zasebno, {"Zas.", "Private"}},
    {Category::Drugo, {"Drugo", "Other"}},
};
static_assert(FreeHoliday == FirstKind + std::size(kKinds), "every kind has its column");

} // namespace

const Layout &Register::layout()
{
    static const Layout layout = [] {
        Layout made;
        made.identity = employeeIdentity();
        made.hasSums = true;
        made.columns = {{{"Datum", "Date"}, 24, Column::Left},
                        {{"Prihod", "Arrived"}, 12},
                        {{"Odhod", "Left"}, 14},
                        {{"Odmor", "Break"}, 12, Column::Right, Column::WhereFilled},
                        {{"Ure", "Hours"}, 12.5},
                        {{"Redne", "Regular"}, 12.5},
                        {{"Nad urnikom", "Beyond schedule"}, 14},
                        {{"Nočne", "Night"}, 12},
                        {{"Ned.", "Sunday"}, 12},
                        {{"Prazn.", "Holiday"}, 12}};
        for (const KindColumn &kind : kKinds)
            made.columns.push_back({kind.heading, 12, Column::Right, Column::WhereFilled});
        made.columns.push_back({{"Prost praznik", "Holiday off"}, 13, Column::Right, Column::WhereFilled});
        made.columns.push_back({{"Opombe", "Remarks"}, 0, Column::Left});
        made.columns.push_back({{"Dogodki", "Events"}, 0, Column::Left, Column::ForPrograms});
        return made;
    }();
    return layout;
}

void Register::fill(Cell *cells, const WorkRecord &record)
{
    cells[Break].setSome(record.breaks);
    cells[Hours].setSome(record.hours);
    cells[Regular].setSome(record.regular.value_or(0));
    cells[Beyond].setSome(record.beyond.value_or(0));
    cells[Night].setSome(record.night);
    cells[Sunday].setSome(record.sunday);
    cells[Holiday].setSome(record.holiday);
    for (size_t i = 0; i < std::size(kKinds); ++i)
        cells[FirstKind + i].setSome(record.of(kKinds[i].category));
    cells[FreeHoliday].setSome(record.freeHoliday);
}

QString Register::clockText(const Subject &subject, qint64 instant, int day)
{
    Cell cell;
    cell.setClock(subject.inputs.period.clock.clockSeconds(instant, day));
    return cell.shown(Language::English);
}

QString Register::eventsText(const Subject &subject, int day, const DayPairs &pairs)
{
    QStringList texts;
    for (const Pair &pair : pairs) {
        for (const PairEnd *end : {&pair.arrival, &pair.departure}) {
            if (!end->isStored())
                continue;
            const Event &event = subject.employee.events[static_cast<size_t>(end->event)];
            texts += clockText(subject, event.timestamp, day) + QLatin1Char(' ') + event.accessCode;
        }
    }
    return texts.join(QStringLiteral("; "));
}

/// Who entered the event and who approved it; empty for what a terminal recorded.
QString Register::whoEntered(const Subject &subject, const PairEnd &end) const
{
    if (!end.isStored())
        return {};
    const std::vector<Event> &events = subject.employee.events;
    const Event &event = events[static_cast<size_t>(end.event)];
    const bool isByHand = event.isMeta || event.kind == EventKind::HandMade || event.kind == EventKind::MetaPeriod;
    if (!isByHand)
        return {};
    // The administration copies hand-entered events into the journal; who made them stands beside the original.
    const Event *original = &event;
    for (const Event &other : events) {
        if (!event.isMeta && other.isMeta && other.stored == event.stored && other.code == event.code)
            original = &other;
    }
    const Entries::Entry entry = original->isMeta ? m_entries.of(original->id) : Entries::Entry();
    QStringList texts;
    texts += entry.author.isEmpty() ? kEntered.in(m_job.language) : kEnteredBy.in(m_job.language).arg(entry.author);
    if (!entry.approver.isEmpty())
        texts += kApprovedBy.in(m_job.language).arg(entry.approver);
    return texts.join(QStringLiteral(", "));
}

QString Register::handEntered(const Subject &subject, const DayPairs &pairs) const
{
    QStringList texts;
    for (const Pair &pair : pairs) {
        const QString arrival = whoEntered(subject, pair.arrival);
        const QString departure = whoEntered(subject, pair.departure);
        const auto clock = [&](const PairEnd &end) { return clockText(subject, end.timestamp, pair.day); };
        if (!arrival.isEmpty() && arrival == departure) {
            texts += QStringLiteral("%1–%2 %3").arg(clock(pair.arrival), clock(pair.departure), arrival);
            continue;
        }
        if (!arrival.isEmpty())
            texts += clock(pair.arrival) + QLatin1Char(' ') + arrival;
        if (!departure.isEmpty())
            texts += clock(pair.departure) + QLatin1Char(' ') + departure;
    }
    return texts.join(QStringLiteral("; "));
}

QStringList Register::remarksOf(const Subject &subject, const DayView &day, const DayPairs &pairs,
                                const WorkRecord &record) const
{
    QStringList remarks;
    if (day.state == DayState::Missing)
        remarks += kNoRecord.in(m_job.language);
    if (record.isHalf && day.state != DayState::Now) {
        for (const Pair &pair : pairs) {
            if (!pair.arrival.isPresent())
                remarks += clockText(subject, pair.departure.timestamp, pair.day) + QStringLiteral(": ") +
                           kNoArrival.in(m_job.language);
            else if (!pair.departure.isPresent())
                remarks += clockText(subject, pair.arrival.timestamp, pair.day) + QStringLiteral(": ") +
                           kNoDeparture.in(m_job.language);
        }
    }
    const QString byHand = handEntered(subject, pairs);
    if (!byHand.isEmpty())
        remarks += byHand;
    return remarks;
}

void Register::addDay(Sheet &sheet, const Subject &subject, const DayView &day, const DayPairs &pairs,
                      const WorkRecord &record) const
{
    Cell *cells = sheet.addRow(day.result->facts.isFree ? Sheet::Row::FreeDay : Sheet::Row::Day);
    cells[Date].setDate(day.date);
    if (record.arrival)
        cells[Arrival].setClock(*record.arrival);
    if (record.departure)
        cells[Departure].setClock(*record.departure);
    fill(cells, record);
    const QStringList remarks = remarksOf(subject, day, pairs, record);
    if (!remarks.isEmpty())
        cells[Remarks].setText(remarks.join(QStringLiteral("; ")));
    if (!pairs.empty())
        cells[Events].setText(eventsText(subject, day.result->day, pairs));
}

Sheet Register::of(const Employee &employee, const StaffView &view) const
{
    Sheet sheet(layout());
    introduce(sheet, m_job, kTitle, "register", employee);
    WorkRecord sums;
    const int position = view.positionOf(employee.id);
    bool hasSchedule = true;
    if (position >= 0) {
        const auto index = static_cast<size_t>(position);
        const Subject subject{view.result().inputs, view.result().inputs.employees[index]};
        hasSchedule = subject.employee.schedule != nullptr;
        const std::vector<DayPairs> pairs =
            pairsByDay(subject.inputs, subject.employee, view.result().employees[index].pairing.pairs);
        size_t number = 0;
        for (const DayView &day : view.daysOf(position)) {
            const DayPairs &ofDay = pairs[number++];
            if (day.result->facts.isFuture && ofDay.empty())
                continue;
            const WorkRecord record = workRecordOf(subject.inputs, subject.employee, *day.result, ofDay);
            sums += record;
            addDay(sheet, subject, day, ofDay, record);
        }
    }
    Cell *cells = sheet.addRow(Sheet::Row::Sum);
    cells[Date].setText(kSum.in(m_job.language));
    fill(cells, sums);
    sheet.notes = QStringList{kMadeFrom.in(m_job.language), kMeanings.in(m_job.language)};
    if (!hasSchedule)
        sheet.notes += kNoSchedule.in(m_job.language);
    return sheet;
}

} // namespace report
