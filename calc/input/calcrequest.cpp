#include "calc/input/calcrequest.h"

namespace calc::input {

namespace {

QDate dateOf(const QAny &value)
{
    return QDate::fromString(value.toString().trimmed(), QStringLiteral("d.M.yyyy"));
}

/// 1, true or "desc".
bool isDescendingSort(const QAny &sort)
{
    const QString text = sort.toString();
    return sort.toInteger() == 1 || text.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0 ||
           text.compare(QLatin1String("desc"), Qt::CaseInsensitive) == 0;
}

} // namespace

CalcRequest CalcRequest::of(const QAny &request)
{
    CalcRequest result;
    result.firstDate = dateOf(request.lookup(QStringLiteral("STARTDATE")));
    result.lastDate = dateOf(request.lookup(QStringLiteral("ENDDATE")));
    result.firstNameFirst = request.lookup(QStringLiteral("NAMEFIRST")).toBool();
    result.isDescending = isDescendingSort(request.lookup(QStringLiteral("SORT")));
    result.wantsExplanation = request.lookup(QStringLiteral("EXPLAIN")).toBool();
    result.users = UserFilter(request.lookup(QStringLiteral("USER")));
    return result;
}

} // namespace calc::input
