#include "calc/recalctext.h"

#include "calc/crew.h"
#include "calc/dialogcalc3.h"
#include "calc/input/calcrequest.h"

namespace calc {

namespace {

/// Beyond a month by what clients show of the weeks around it.
constexpr qint64 kMaxSmallDays = 45;

} // namespace

std::vector<QByteArray> recalcText(Crew &crew, const QAny &request, QDate today)
{
    return {DialogCalc3(crew.reader(), today).recalc(request).toJsonUtf8()};
}

bool isSmallRecalc(const QAny &request)
{
    const auto asked = input::CalcRequest::of(request);
    return asked.users.count() == 1 && asked.firstDate.daysTo(asked.lastDate) < kMaxSmallDays;
}

} // namespace calc
