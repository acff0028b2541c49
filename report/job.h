#pragma once

#include "report/sheet.h"
#include "report/staff.h"
#include "report/staffview.h"

namespace report {

enum class Kind { Statement, Register, Exceptions };

/// What is wanted.
struct Job {
    Kind kind = Kind::Statement;
    QDate first;
    QDate last;
    StaffFilter staff;
    Language language = Language::English;
    Now now;
};

// What all papers have in common.

/// Title, subject, facts and file name of a paper about an employee.
void introduce(Sheet &sheet, const Job &job, const Text &title, const char *fileName, const Employee &employee);
/// The employee's name, or the number where there is none.
QString nameOf(const Employee &employee);
/// The columns by which CSV knows the employee.
std::vector<Text> employeeIdentity();

} // namespace report
