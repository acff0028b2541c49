#include "report/statement.h"

#include "report/remarks.h"

namespace report {

using calc::rules::Category;

namespace {

constexpr Text kTitle = {"Obračun delovnega časa", "Statement of working time"};
constexpr Text kCarried = {"Prenos", "Carried"};
constexpr Text kSum = {"Skupaj", "Sum"};
constexpr Text kNoRecord = {"ni zapisa", "no record"};
constexpr Text kEntered = {"ročni vnos", "entered by hand"};
constexpr Text kRunning = {"v teku", "in progress"};
constexpr Text kHoliday = {"praznik", "public holiday"};
constexpr Text kUpToToday = {"Vsote so do vključno %1.", "The sums are up to and including %1."};
constexpr Text kSigns[] = {{"Zaposleni", "Employee"}, {"Vodja", "Superior"}, {"Datum", "Date"}};

enum Position {
    Date,
    Arrival,
    Departure,
    FirstCategory,
    Holiday = FirstCategory + 11,
    Required,
    Worked,
    Difference,
    Balance,
    Remarks
};

struct CategoryColumn {
    Category category;
    Text heading;
};

/// In the order of the columns.
constexpr CategoryColumn kCategories[] = {
    {Category::Delo, {"Delo", "Work"}},
    {Category::Malica, {"Malica", "Lunch"}},
    {Category::OdDoma, {"Od doma", "At home"}},
    {Category::Teren, {"Teren", "Field"}},
    {Category::Sluzbeno, {"Služb.", "Errand"}},
    {Category::Dopust, {"Dopust", "Leave"}},
    {Category::IzrDopust, {"Izr. dop.", "Special"}},
    {Category::Bolniska, {"Boln.", "Sick"}},
    {Category::SaldoUre, {"Iz ur", "Time off"}},
    {Category::Zasebno, {"Zas.", "Private"}},
    {Category::Drugo, {"Drugo", "Other"}},
};
static_assert(std::size(kCategories) == calc::rules::kCategoryCount &&
                  Holiday == FirstCategory + std::size(kCategories),
              "every category has its column");

/// The name of a public holiday where the calendar tells one; it may mark one by a number alone.
QString holidayName(const QString &holiday, Language language)
{
    bool isNumber = false;
    holiday.toDouble(&isNumber);
    return isNumber ? kHoliday.in(language) : holiday;
}

} // namespace

const Layout &Statement::layout()
{
    static const Layout layout = [] {
        constexpr double kTime = 12.5; // of a duration, in mm
        Layout made;
        made.identity = employeeIdentity();
        made.hasSums = true;
        std::vector<Column> &columns = made.columns;
        columns = {{{"Datum", "Date"}, 24, Column::Left}, {{"Prihod", "Arrived"}, 12}, {{"Odhod", "Left"}, 14}};
        for (const CategoryColumn &each : kCategories)
            columns.push_back({each.heading, kTime, Column::Right, Column::WhereFilled});
        columns[FirstCategory].use = Column::Always;
        columns.push_back({{"Praznik", "Holiday"}, kTime, Column::Right, Column::WhereFilled});
        columns.push_back({{"Obvez.", "Due"}, kTime});
        columns.push_back({{"Skupaj", "Total"}, kTime});
        columns.push_back({{"Razlika", "+/-"}, kTime});
        columns.push_back({{"Saldo", "Balance"}, kTime + 1});
        columns.push_back({{"Opombe", "Remarks"}, 0, Column::Left});
        return made;
    }();
    return layout;
}

void Statement::addDay(Sheet &sheet, const StaffView &view, const DayView &day, qint64 balance) const
{
    const calc::rules::DayResult &result = *day.result;
    const calc::rules::CalcInputs &inputs = view.result().inputs;
    const calc::rules::LocalClock &clock = inputs.period.clock;
    Cell *cells = sheet.addRow(result.facts.isFree ? Sheet::Row::FreeDay : Sheet::Row::Day);
    cells[Date].setDate(day.date);
    const auto setClock = [&](Position column, const std::optional<qint64> &instant) {
        if (instant)
            cells[column].setClock(clock.clockSeconds(*instant, result.day));
    };
    setClock(Arrival, result.totals.firstArrival);
    setClock(Departure, result.totals.lastDeparture);
    QStringList remarks;
    const QString &holiday = inputs.holiday(result.day);
    if (!holiday.isEmpty())
        remarks += holidayName(holiday, m_job.language);
    if (!result.facts.isFuture) {
        const auto &amounts = day.amounts.categories;
        for (size_t i = 0; i < std::size(kCategories); ++i)
            cells[FirstCategory + i].setSome(amounts[static_cast<size_t>(kCategories[i].category)]);
        cells[Holiday].setSome(day.amounts.holiday);
        cells[Required].setSome(day.required);
        cells[Worked].setSome(day.worked);
        if (day.required != 0 || day.worked != 0)
            cells[Difference].setDuration(day.balance);
        cells[Balance].setDuration(balance);
    }
    if (day.state == DayState::Missing)
        remarks += kNoRecord.in(m_job.language);
    if (day.state == DayState::Now)
        remarks += kRunning.in(m_job.language);
    if (result.facts.hasMetaEvents)
        remarks += kEntered.in(m_job.language);
    remarks += remarkTexts(day.faults + day.warnings + day.remarks, m_job.language);
    if (!remarks.isEmpty())
        cells[Remarks].setText(remarks.join(QStringLiteral("; ")));
}

void Statement::addSums(Sheet &sheet, const Totals &sums, qint64 balance) const
{
    Cell *cells = sheet.addRow(Sheet::Row::Sum);
    cells[Date].setText(kSum.in(m_job.language));
    for (size_t i = 0; i < std::size(kCategories); ++i)
        cells[FirstCategory + i].setSome(sums.categories[static_cast<size_t>(kCategories[i].category)]);
    cells[Holiday].setSome(sums.holiday);
    cells[Required].setDuration(sums.required);
    cells[Worked].setDuration(sums.worked);
    cells[Difference].setDuration(sums.balance);
    cells[Balance].setDuration(balance);
}

Sheet Statement::of(const Employee &employee, const StaffView &view, const std::optional<qint64> &carried) const
{
    Sheet sheet(layout());
    introduce(sheet, m_job, kTitle, "statement", employee);
    const qint64 begin = carried.value_or(0);
    if (carried) {
        Cell *cells = sheet.addRow(Sheet::Row::Carried);
        cells[Date].setText(kCarried.in(m_job.language));
        cells[Balance].setDuration(begin);
    }
    Totals sums;
    const int position = view.positionOf(employee.id);
    if (position >= 0) {
        for (const DayView &day : view.daysOf(position)) {
            sums.add(day);
            addDay(sheet, view, day, begin + sums.balance);
        }
    }
    addSums(sheet, sums, begin + sums.balance);
    sheet.notes = remarkTexts(view.faultsOf(employee.id), m_job.language);
    if (m_job.last > m_job.now.today)
        sheet.notes += kUpToToday.in(m_job.language).arg(dateText(m_job.now.today, m_job.language));
    for (const Text &who : kSigns)
        sheet.signatures += who.in(m_job.language);
    return sheet;
}

} // namespace report
