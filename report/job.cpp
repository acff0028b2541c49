#include "report/job.h"

namespace report {

namespace {

constexpr Text kNumber = {"Kadrovska številka", "Personnel number"};
constexpr Text kDepartment = {"Oddelek", "Department"};
constexpr Text kPeriod = {"Obdobje", "Period"};
constexpr Text kState = {"Stanje", "State"};
constexpr Text kHasLeft = {"ni več zaposlen", "has left"};

} // namespace

QString nameOf(const Employee &employee)
{
    return employee.name.isEmpty() ? QStringLiteral("#%1").arg(employee.id) : employee.name;
}

void introduce(Sheet &sheet, const Job &job, const Text &title, const char *fileName, const Employee &employee)
{
    const Language language = job.language;
    sheet.title = title.in(language);
    sheet.subject = nameOf(employee);
    sheet.facts.push_back({kPeriod.in(language), periodText(job.first, job.last, language)});
    sheet.facts.push_back({kNumber.in(language), employee.emplId});
    sheet.facts.push_back({kDepartment.in(language), employee.department});
    if (employee.hasLeft)
        sheet.facts.push_back({kState.in(language), kHasLeft.in(language)});
    sheet.identity = QStringList{QString::number(employee.id), employee.emplId, nameOf(employee), employee.department};
    // The id makes it the only one of its kind.
    sheet.fileName = QStringLiteral("%1-%2-%3-%4")
                         .arg(QLatin1String(fileName), job.first.toString(QStringLiteral("yyyy-MM-dd")))
                         .arg(employee.id)
                         .arg(fileNamePart(employee.name));
}

std::vector<Text> employeeIdentity()
{
    return {{"ID", "ID"}, kNumber, {"Ime", "Name"}, kDepartment};
}

} // namespace report
