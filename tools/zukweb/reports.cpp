#include "tools/zukweb/reports.h"

#include "text/texttable.h"
#include "tools/common/packedtext.h"

#include <QDateTime>
#include <QSet>

namespace tools::zukweb {

namespace {

constexpr int kLineWidth = 118;

/// Columns of the day table in the order in which they are shown, as far as the server sends them. The first ones
/// always, the others only where a day has something there.
const char *const kDayColumns[] = {"DATE",   "INORG",    "OUTORG",  "DELO",    "SALDO",    "PLUSMINUS", "IZMENA",
                                   "MALICA", "SLUŽBENO", "ZASEBNO", "DOPUST",  "BOLNIŠKA", "IZRDOPUST", "ODDOMA",
                                   "TEREN",  "SALDOURE", "DRUGO",   "PRAZNIK", "NOČNO"};
constexpr int kFixedDayColumns = 6;

QString titled(const QString &title, const TextTable &table)
{
    return table.isEmpty() ? QString() : QLatin1Char('\n') + title + QLatin1Char('\n') + table.toText();
}

QString days(const QAny &table)
{
    const QAny rows = table.lookup(QStringLiteral("TABLE"));
    const QHash<QString, QString> titles = packedTitles(table);
    QStringList shown;
    TextTable text;
    for (int i = 0; i < int(std::size(kDayColumns)); ++i) {
        const QString key = QString::fromUtf8(kDayColumns[i]);
        bool isShown = i < kFixedDayColumns;
        for (int r = 0; !isShown && r < rows.count(); ++r)
            isShown = !isNothing(packedText(rows.at(r), key));
        if (!isShown)
            continue;
        shown.append(key);
        const bool isWord = key == QLatin1String("DATE") || key == QLatin1String("IZMENA");
        text.addColumn(titles.value(key, key), isWord ? TextTable::Left : TextTable::Right);
    }
    for (int r = 0; r < rows.count(); ++r) {
        if (packedText(rows.at(r), QStringLiteral("DATE")) == QLatin1String("SKUPAJ"))
            text.addRule();
        QStringList cells;
        for (const QString &key : qAsConst(shown))
            cells.append(packedText(rows.at(r), key));
        text.addRow(cells);
    }
    return text.isEmpty() ? QString() : text.toText();
}

/// The period's sums that are not zero, as "name value" items in lines of the terminal's width.
QString sums(const QAny &table)
{
    static const QSet<QString> noSums{QStringLiteral("NAME"), QStringLiteral("USER"), QStringLiteral("SDATE"),
                                      QStringLiteral("EDATE"), QStringLiteral("ACSLIST")};
    const QAny row = table.lookup(QStringLiteral("TABLE")).value(0);
    const QAny header = table.lookup(QStringLiteral("HEADER"));
    QString text;
    QString line;
    for (int i = 0; i < header.count(); ++i) {
        const QString key = packedText(header.at(i), QStringLiteral("KEY"));
        const QString value = packedText(row, key);
        if (noSums.contains(key) || isNothing(value))
            continue;
        const QString item = printable(packedText(header.at(i), QStringLiteral("TXT")) + QLatin1Char(' ') + value);
        if (line.size() + item.size() > kLineWidth) {
            text += line + QLatin1Char('\n');
            line.clear();
        }
        line += (line.isEmpty() ? QLatin1String("  ") : QLatin1String(",  ")) + item;
    }
    return line.isEmpty() ? text : QStringLiteral("\nSums\n") + text + line + QLatin1Char('\n');
}

QString pairs(const QAny &list)
{
    TextTable table;
    for (const char *title : {"Day", "Arrival", "Departure", "Time", "Event", "Remark"})
        table.addColumn(QString::fromLatin1(title), qstrcmp(title, "Time") == 0 ? TextTable::Right : TextTable::Left);
    for (int i = 0; i < list.count(); ++i) {
        const QAny &pair = list.at(i);
        const auto text = [&pair](const char *key) { return packedText(pair, QString::fromLatin1(key)); };
        QStringList remarks{text("REMARK"), text("REMARK2")};
        remarks.removeAll(QString());
        const QString event = text("AC2").isEmpty() ? text("AC") : text("AC2");
        const QString length = text("PTIME");
        table.addRow({text("DATESTAMP"), text("TIMESTAMP"), text("TIMESTAMP2"), isNothing(length) ? QString() : length,
                      event, remarks.join(QStringLiteral("; "))});
    }
    return titled(QStringLiteral("Pairs"), table);
}

QString remarks(const QAny &dayTable)
{
    TextTable table;
    table.addColumn(QStringLiteral("Day"));
    table.addColumn(QStringLiteral("Remark"));
    const QAny rows = dayTable.lookup(QStringLiteral("TABLE"));
    for (int i = 0; i < rows.count(); ++i) {
        const QString remark = packedText(rows.at(i), QStringLiteral("OPOMBA"));
        if (!remark.isEmpty())
            table.addRow({packedText(rows.at(i), QStringLiteral("DATE")), remark});
    }
    return titled(QStringLiteral("Remarks"), table);
}

QString warnings(const QAny &list)
{
    TextTable table;
    for (const char *title : {"Day", "Code", "Warning"})
        table.addColumn(QString::fromLatin1(title));
    for (int i = 0; i < list.count(); ++i) {
        const QAny &entry = list.at(i);
        const qint64 day = entry.lookup(QStringLiteral("DATESTAMP")).toInteger();
        table.addRow({day ? QDateTime::fromSecsSinceEpoch(day).toString(QStringLiteral("d.M.yyyy")) : QString(),
                      packedText(entry, QStringLiteral("CODE")), packedText(entry, QStringLiteral("NAPAKA"))});
    }
    return titled(QStringLiteral("Warnings"), table);
}

} // namespace

QString Reports::workTime(const QAny &data)
{
    const QAny dayTable = data.lookup(QStringLiteral("DAYS"));
    return days(dayTable) + sums(data.lookup(QStringLiteral("SUM"))) + pairs(data.lookup(QStringLiteral("PAIRS"))) +
           remarks(dayTable) + warnings(data.lookup(QStringLiteral("ERR")));
}

QString Reports::presence(const QAny &data)
{
    const QAny list = data.lookup(QStringLiteral("presence"));
    TextTable table;
    for (const char *title : {"Name", "Event", "Remark"})
        table.addColumn(QString::fromLatin1(title));
    for (int i = 0; i < list.count(); ++i) {
        const QAny &row = list.at(i);
        table.addRow({packedText(row, QStringLiteral("NAME")), packedText(row, QStringLiteral("CODE")),
                      packedText(row, QStringLiteral("REMARK"))});
    }
    return table.isEmpty() ? QStringLiteral("Nobody is listed.\n") : table.toText();
}

QString Reports::saldo(const QAny &data)
{
    const struct {
        const char *key, *title;
    } lines[] = {{"NAME", "Name"},
                 {"DEPARTMENT", "Department"},
                 {"STATUS", "Status"},
                 {"HDSUM", "Leave, days of this year"},
                 {"HDLAST", "Leave, days of last year"},
                 {"HDLSPENT", "  of these spent"},
                 {"HDLDATE", "  to be spent by"},
                 {"HDTOT", "Leave, days in all"},
                 {"HDSPENT", "  of these spent"},
                 {"FHOURS", "Free hours"},
                 {"LUPDATE", "Calculated up to"},
                 {"CHGDATE", "Changed"},
                 {"REMARK", "Remark"}};
    const QAny rows = data.lookup(QStringLiteral("saldo"));
    QString text;
    for (int i = 0; i < rows.count(); ++i) {
        if (i > 0)
            text += QLatin1Char('\n');
        TextTable table;
        table.addColumn();
        table.addColumn();
        for (const auto &line : lines)
            table.addRow({QString::fromLatin1(line.title), packedText(rows.at(i), QString::fromLatin1(line.key))});
        text += table.toText();
    }
    return text.isEmpty() ? QStringLiteral("No balance is stored.\n") : text;
}

} // namespace tools::zukweb
