#include "tools/zukterm/terminalrows.h"

#include <QDateTime>

#include <atomic>

namespace tools::zukterm {

namespace {

/// Tells the events of this run from those of others.
QString runName()
{
    static const QString name = QString::number(QDateTime::currentMSecsSinceEpoch(), 36);
    return name;
}

QString nextDescription()
{
    static std::atomic<quint64> number{0};
    return QStringLiteral("zukterm %1-%2").arg(runName()).arg(++number);
}

bool isTime(const QAny &value)
{
    bool ok = false;
    return (value.isInteger() || value.isString()) && value.toInteger(&ok) > 0 && ok;
}

QString quoted(QString text)
{
    return QLatin1Char('\'') + text.replace(QLatin1Char('\''), QLatin1String("''")) + QLatin1Char('\'');
}

} // namespace

QString arrivalCode()
{
    return QStringLiteral("101:Prihod");
}

QString departureCode()
{
    return QStringLiteral("102:Odhod");
}

QAny eventRow(const QString &user, const QString &code, qint64 time, const QString &remark)
{
    QAny row{{QStringLiteral("USER"), user},
             {QStringLiteral("FINGER"), 1},
             {QStringLiteral("TIMESTAMP"), time},
             {QStringLiteral("ACCESS_CODE"), code},
             {QStringLiteral("ID_TYPE"), QStringLiteral("FING")},
             {QStringLiteral("UID"), user.toLongLong()},
             {QStringLiteral("NAME"), QStringLiteral("n.n.")}};
    if (!remark.isEmpty())
        row.insert(QStringLiteral("ALLEVREMARK"), remark);
    return row;
}

QAny withLowerCaseKeys(const QAny &row)
{
    QAny lower = QAny::sized(QAny::Hash, row.count());
    for (int i = 0; i < row.count(); ++i)
        lower.insert(row.keyAt(i).toLower(), row.at(i));
    return lower;
}

QAny stampEvent(const QAny &row, int terminal)
{
    QAny event = row.deepCopy();
    event.insert(QStringLiteral("TID"), terminal);
    if (!event.contains(QStringLiteral("TERMINAL")))
        event.insert(QStringLiteral("TERMINAL"), QString::number(terminal));
    if (event.lookup(QStringLiteral("DESCRIPTION")).toString().isEmpty())
        event.insert(QStringLiteral("DESCRIPTION"), nextDescription());
    return event;
}

QString faultOfEvent(const QAny &row)
{
    if (row.lookup(QStringLiteral("USER")).toString().isEmpty())
        return QStringLiteral("no USER");
    if (!isTime(row.lookup(QStringLiteral("TIMESTAMP"))))
        return QStringLiteral("TIMESTAMP is not a time in Unix seconds");
    if (row.lookup(QStringLiteral("ACCESS_CODE")).toString().isEmpty())
        return QStringLiteral("no ACCESS_CODE");
    return {};
}

QString faultOfLog(const QAny &row)
{
    if (!isTime(row.lookup(QStringLiteral("FTIMESTAMP"))))
        return QStringLiteral("FTIMESTAMP is not a time in ms since 1970");
    if (!row.lookup(QStringLiteral("FMESSAGE")).isString())
        return QStringLiteral("FMESSAGE is not a text");
    return {};
}

QString eventQuery(const QAny &event)
{
    const auto text = [&event](const QString &key) { return quoted(event.lookup(key).toString()); };
    return QStringLiteral("SELECT id AS ID FROM events WHERE user=%1 AND timestamp=%2 AND tid=%3 AND access_code=%4 "
                          "AND description=%5")
        .arg(text(QStringLiteral("USER")), QString::number(event.lookup(QStringLiteral("TIMESTAMP")).toInteger()),
             QString::number(event.lookup(QStringLiteral("TID")).toInteger()), text(QStringLiteral("ACCESS_CODE")),
             text(QStringLiteral("DESCRIPTION")));
}

QString eventText(const QAny &event)
{
    const qint64 time = event.lookup(QStringLiteral("TIMESTAMP")).toInteger();
    return QStringLiteral("event of user %1, %2, %3")
        .arg(event.lookup(QStringLiteral("USER")).toString(), event.lookup(QStringLiteral("ACCESS_CODE")).toString(),
             QDateTime::fromSecsSinceEpoch(time).toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")));
}

qint64 readEventTime(const QString &text)
{
    bool isNumber = false;
    const qint64 number = text.toLongLong(&isNumber);
    if (isNumber)
        return number;
    for (const QString &form : {QStringLiteral("yyyy-MM-dd HH:mm"), QStringLiteral("yyyy-MM-dd HH:mm:ss")}) {
        const QDateTime time = QDateTime::fromString(text, form);
        if (time.isValid())
            return time.toSecsSinceEpoch();
    }
    return 0;
}

} // namespace tools::zukterm
