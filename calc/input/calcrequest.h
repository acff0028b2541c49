#pragma once

#include "calc/input/userfilter.h"
#include "qany.h"

#include <QDate>

namespace calc::input {

/// What a calculation is asked for.
struct CalcRequest {
    QDate firstDate; ///< invalid when there is none
    QDate lastDate;  ///< likewise
    bool firstNameFirst = false;
    bool isDescending = false;
    bool wantsExplanation = false;
    bool withLeft = false; ///< also employees who are not active any more; nobody asks for it in words
    UserFilter users;

    /// STARTDATE and ENDDATE ("d.M.yyyy"), NAMEFIRST, SORT, USER (one id or a list of ids), EXPLAIN.
    static CalcRequest of(const QAny &request);
};

} // namespace calc::input
