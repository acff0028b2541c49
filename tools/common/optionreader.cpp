#include "tools/common/optionreader.h"

#include <climits>

qint64 OptionReader::number(const QCommandLineOption &option, qint64 least, qint64 most)
{
    bool ok = false;
    const qint64 value = m_parser.value(option).toLongLong(&ok);
    if (ok && value >= least && value <= most)
        return value;
    blameValue(option, QStringLiteral("is not a fitting number"));
    return least;
}

int OptionReader::seconds(const QCommandLineOption &option)
{
    bool ok = false;
    const double value = m_parser.value(option).toDouble(&ok);
    if (ok && value >= 0 && value < INT_MAX / 1000)
        return static_cast<int>(value * 1000);
    blameValue(option, QStringLiteral("is not a number of seconds"));
    return 1;
}

void OptionReader::blame(const QString &fault)
{
    if (m_fault.isEmpty())
        m_fault = fault;
}

void OptionReader::blameValue(const QCommandLineOption &option, const QString &why)
{
    blame(QStringLiteral("--%1 \"%2\" ").arg(option.names().constLast(), m_parser.value(option)) + why);
}
