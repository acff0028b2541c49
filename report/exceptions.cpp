#include "report/exceptions.h"

#include "report/remarks.h"

namespace report {

namespace {

constexpr Text kTitle = {"Kar je treba pogledati", "What must be looked at"};
constexpr Text kNoDepartment = {"(brez oddelka)", "(no department)"};
constexpr Text kPeriod = {"Obdobje", "Period"};
constexpr Text kNothing = {"Ničesar ni treba pogledati.", "There is nothing to look at."};
/// By Exception::What.
constexpr Text kWhat[] = {
    {"nepopoln par", "half pair"}, {"dan brez ur", "day without hours"}, {"napaka", "fault"}, {"opozorilo", "warning"}};

enum Position { Name, Id, EmplId, Date, What, Description };

} // namespace

const Layout &Exceptions::layout()
{
    static const Layout layout = [] {
        Layout made;
        made.identity = {{"Oddelek", "Department"}};
        made.columns = {
            {{"Ime", "Name"}, 55, Column::Left},         {{"ID", "ID"}, 14, Column::Right, Column::ForPrograms},
            {{"Kadr. št.", "Number"}, 22, Column::Left}, {{"Datum", "Date"}, 27, Column::Left},
            {{"Kaj", "What"}, 33, Column::Left},         {{"Opis", "Description"}, 0, Column::Left}};
        return made;
    }();
    return layout;
}

Sheet Exceptions::ofDepartment(const QString &department) const
{
    Sheet sheet(layout());
    sheet.title = kTitle.in(m_job.language);
    sheet.subject = department.isEmpty() ? kNoDepartment.in(m_job.language) : department;
    sheet.facts.push_back({kPeriod.in(m_job.language), periodText(m_job.first, m_job.last, m_job.language)});
    sheet.identity = QStringList{department};
    sheet.fileName = QStringLiteral("exceptions-%1-%2")
                         .arg(m_job.first.toString(QStringLiteral("yyyy-MM-dd")), fileNamePart(sheet.subject));
    return sheet;
}

void Exceptions::add(Sheet &sheet, const Employee &employee, const StaffView &view) const
{
    const int position = view.positionOf(employee.id);
    const std::vector<DayView> days = position < 0 ? std::vector<DayView>() : view.daysOf(position);
    for (const Exception &exception : view.exceptionsOf(employee.id, days)) {
        Cell *cells = sheet.addRow(Sheet::Row::Day);
        cells[Name].setText(nameOf(employee));
        cells[Id].setText(QString::number(employee.id));
        cells[EmplId].setText(employee.emplId);
        if (exception.date.isValid())
            cells[Date].setDate(exception.date);
        cells[What].setText(kWhat[exception.what].in(m_job.language));
        cells[Description].setText(remarkTexts({exception.text}, m_job.language).constFirst());
    }
}

void Exceptions::conclude(Sheet &sheet) const
{
    if (sheet.rows.empty())
        sheet.notes += kNothing.in(m_job.language);
}

} // namespace report
