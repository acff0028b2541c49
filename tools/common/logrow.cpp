#include "tools/common/logrow.h"

QAny logRow(int id, qint64 time, const QString &message)
{
    return QAny{{QStringLiteral("ID"), id},    {QStringLiteral("FTIMESTAMP"), time},  {QStringLiteral("LLEVEL"), 0},
                {QStringLiteral("LGROUP"), 0}, {QStringLiteral("FMESSAGE"), message}, {QStringLiteral("DATA"), QAny()}};
}
