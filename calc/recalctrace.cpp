#include "calc/recalctrace.h"

#include <QDebug>

namespace calc {

void traceRecalcStart()
{
    qDebug() << "DialogCalc3::recalc() START";
}

void tracePairTableStart()
{
    qDebug() << "DialogCalc3::refPairs START";
    for (const char *step : {"1", "2.1", "2.2"})
        qDebug() << step;
}

void tracePairTableEnd()
{
    for (const char *step : {"2.3", "3", "4"})
        qDebug() << step;
}

void traceDayTableStart()
{
    qDebug() << "DialogCalc3::showSumDays() START";
}

void traceDayTableEnd()
{
    qDebug() << "DialogCalc3::showSumDays() END";
}

void traceSumTableStart()
{
    qDebug() << "packSum() START";
    qDebug() << "packSum() 3.0";
}

void traceSumTableEnd()
{
    qDebug() << "packSum() END7";
}

void traceRecalcEnd()
{
    qDebug() << "CheckService::recalc() END"; // deliberate: the line names the service that logs are searched by
}

} // namespace calc
