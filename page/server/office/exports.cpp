#include "page/server/office/answers.h"
#include "page/server/office/papers.h"
#include "text/csv.h"

#include <QDateTime>

namespace page::office {

namespace {

/// How a value of an answer is shown in a cell.
enum class Cell {
    Text,     ///< of the file; a list of them is joined
    Own,      ///< a date or a code of ours, a number
    Duration, ///< seconds as "7:30"
    Clock,    ///< an instant as "07:30"
    Moment,   ///< the same with its date
    Word      ///< one of our words, in the language
};

struct Text {
    const char *slovenian;
    const char *english;

    QString in(bool isEnglish) const { return QString::fromUtf8(isEnglish ? english : slovenian); }
};

struct Column {
    const char *path; ///< keys of the answer's row, by dots
    Text heading;
    Cell cell;
};

struct Word {
    const char *word;
    Text text;
};

struct ExportKind {
    const char *path;
    const char *ask;
    const char *rows; ///< key of the answer's list
    QVector<Column> columns;
};

constexpr Word kWords[] = {
    {"complete", {"popoln", "complete"}},
    {"half", {"nepopoln", "incomplete"}},
    {"missing", {"manjka", "missing"}},
    {"free", {"prosto", "free"}},
    {"future", {"prihodnji", "future"}},
    {"now", {"v teku", "in progress"}},
    {"in", {"tu", "here"}},
    {"out", {"ni tu", "not here"}},
    {"away", {"odsotnost", "away"}},
    {"punch", {"pozabljena registracija", "forgotten punch"}},
    {"leave", {"dopust", "leave"}},
    {"sickness", {"bolniška", "sickness"}},
    {"errand", {"službena pot", "business errand"}},
    {"fieldwork", {"teren", "field work"}},
    {"home", {"delo od doma", "work from home"}},
    {"open", {"odprta", "open"}},
    {"approved", {"odobrena", "approved"}},
    {"refused", {"zavrnjena", "refused"}},
    {"withdrawn", {"umaknjena", "withdrawn"}},
};

const QVector<ExportKind> &exportKinds()
{
    static const QVector<ExportKind> kinds = {
        {"month.csv",
         "month",
         "days",
         {{"date", {"Datum", "Date"}, Cell::Own},
          {"holiday", {"Praznik", "Holiday"}, Cell::Text},
          {"state", {"Stanje", "State"}, Cell::Word},
          {"arrival", {"Prihod", "Arrival"}, Cell::Clock},
          {"departure", {"Odhod", "Departure"}, Cell::Clock},
          {"required", {"Obveza", "Required"}, Cell::Duration},
          {"worked", {"Opravljeno", "Worked"}, Cell::Duration},
          {"balance", {"Razlika", "Balance"}, Cell::Duration},
          {"running", {"Saldo", "Running balance"}, Cell::Duration},
          {"remarks", {"Opombe", "Remarks"}, Cell::Text},
          {"warnings", {"Opozorila", "Warnings"}, Cell::Text}}},
        {"department.csv",
         "department",
         "people",
         {{"name", {"Ime", "Name"}, Cell::Text},
          {"department", {"Oddelek", "Department"}, Cell::Text},
          {"worked", {"Opravljeno", "Worked"}, Cell::Duration},
          {"required", {"Obveza", "Required"}, Cell::Duration},
          {"balance", {"Razlika", "Balance"}, Cell::Duration},
          {"half", {"Nepopolni dnevi", "Incomplete days"}, Cell::Own},
          {"missing", {"Dnevi brez ur", "Days without hours"}, Cell::Own},
          {"faults", {"Napake in opozorila", "Faults and warnings"}, Cell::Own},
          {"openRequests", {"Odprte prošnje", "Open requests"}, Cell::Own}}},
        {"requests.csv",
         "requests",
         "requests",
         {{"user.name", {"Ime", "Name"}, Cell::Text},
          {"user.department", {"Oddelek", "Department"}, Cell::Text},
          {"kind", {"Vrsta", "Kind"}, Cell::Word},
          {"code", {"Šifra", "Code"}, Cell::Own},
          {"from", {"Od", "From"}, Cell::Own},
          {"to", {"Do", "To"}, Cell::Own},
          {"time", {"Ura", "Time"}, Cell::Clock},
          {"why", {"Razlog", "Reason"}, Cell::Text},
          {"asked", {"Oddana", "Asked"}, Cell::Moment},
          {"state", {"Stanje", "State"}, Cell::Word},
          {"decidedBy", {"O prošnji odločil/-a", "Decided by"}, Cell::Text},
          {"decidedAt", {"Odločeno", "Decided"}, Cell::Moment},
          {"note", {"Opomba", "Note"}, Cell::Text}}},
        {"presence.csv",
         "presence",
         "people",
         {{"name", {"Ime", "Name"}, Cell::Text},
          {"department", {"Oddelek", "Department"}, Cell::Text},
          {"state", {"Stanje", "State"}, Cell::Word},
          {"since", {"Od", "Since"}, Cell::Clock},
          {"text", {"Razlog", "Reason"}, Cell::Text}}},
        {"balance.csv",
         "balance",
         "months",
         {{"month", {"Mesec", "Month"}, Cell::Own},
          {"worked", {"Opravljeno", "Worked"}, Cell::Duration},
          {"required", {"Obveza", "Required"}, Cell::Duration},
          {"balance", {"Razlika", "Balance"}, Cell::Duration}}},
    };
    return kinds;
}

QString durationText(qint64 seconds)
{
    const qint64 minutes = qAbs(seconds) / 60;
    return QStringLiteral("%1%2:%3")
        .arg(seconds < 0 && minutes > 0 ? QStringLiteral("-") : QString())
        .arg(minutes / 60)
        .arg(minutes % 60, 2, 10, QLatin1Char('0'));
}

QString timeText(qint64 seconds, const QString &format)
{
    return QDateTime::fromSecsSinceEpoch(seconds).toString(format);
}

QString wordIn(const QString &word, bool isEnglish)
{
    for (const Word &known : kWords) {
        if (word == QLatin1String(known.word))
            return known.text.in(isEnglish);
    }
    return word;
}

QString joined(const QAny &value)
{
    QStringList texts;
    for (int i = 0; i < value.count(); ++i)
        texts += value.at(i).toString();
    return texts.join(QStringLiteral("; "));
}

QString cellText(const QAny &row, const Column &column, bool isEnglish)
{
    QAny value = row;
    const QStringList keys = QString::fromLatin1(column.path).split(QLatin1Char('.'));
    for (const QString &key : keys)
        value = value.value(key);
    if (value.isNull())
        return {};
    switch (column.cell) {
    case Cell::Text:
        return harmlessCell(value.isList() ? joined(value) : value.toString());
    case Cell::Own:
        return value.toString();
    case Cell::Duration:
        return durationText(value.toInteger());
    case Cell::Clock:
        return timeText(value.toInteger(), QStringLiteral("HH:mm"));
    case Cell::Moment:
        return timeText(value.toInteger(), QStringLiteral("yyyy-MM-dd HH:mm"));
    case Cell::Word:
        return wordIn(value.toString(), isEnglish);
    }
    return {};
}

QByteArray contentOf(const ExportKind &kind, const QAny &rows, bool isEnglish)
{
    CsvTable table(isEnglish ? ',' : ';');
    QStringList cells;
    for (const Column &column : kind.columns)
        cells += column.heading.in(isEnglish);
    table.addRow(cells);
    for (int i = 0; i < rows.count(); ++i) {
        cells.clear();
        for (const Column &column : kind.columns)
            cells += cellText(rows.at(i), column, isEnglish);
        table.addRow(cells);
    }
    return table.content();
}

/// The ask that the query stands for. What is no number as a user is refused as an ask of that kind is.
QAny askOf(const ExportKind &kind, const QUrlQuery &query)
{
    QAny ask{{QStringLiteral("ask"), QString::fromLatin1(kind.ask)}, {QStringLiteral("scope"), QStringLiteral("mine")}};
    const auto items = query.queryItems(QUrl::FullyDecoded);
    for (const auto &[key, value] : items) {
        bool isNumber = false;
        const qint64 number = value.toLongLong(&isNumber);
        if (key == QLatin1String("user"))
            ask.insert(key, isNumber ? QAny(number) : QAny(value));
        else if (key == QLatin1String("month") || key == QLatin1String("department") || key == QLatin1String("scope"))
            ask.insert(key, value);
    }
    return ask;
}

/// "month-2026-03-Novak Ana.csv", so that the files of several months and people lie side by side.
QString fileName(const QString &path, const QAny &answer)
{
    QStringList parts{path.section(QLatin1Char('.'), 0, 0)};
    for (const QString &part : {answer.value(QStringLiteral("month")).toString(),
                                answer.value(QStringLiteral("user")).value(QStringLiteral("name")).toString()}) {
        if (!part.isEmpty())
            parts += part;
    }
    return parts.join(QLatin1Char('-')) + QStringLiteral(".csv");
}

} // namespace

std::optional<Export> exported(calc::Crew &crew, const Person &person, const QString &path, const QUrlQuery &query,
                               const Now &now, bool *fault)
{
    *fault = false;
    if (isPaper(path))
        return paper(crew, person, path, query, now, fault);
    for (const ExportKind &kind : exportKinds()) {
        if (path != QLatin1String(kind.path))
            continue;
        const QAny answer = read(crew, person, askOf(kind, query), now);
        if (!isDone(answer)) {
            *fault = answer.lookup(QStringLiteral("error")).toString() == QLatin1String(kDatabase);
            return {};
        }
        const bool isEnglish = query.queryItemValue(QStringLiteral("lang")) == QLatin1String("en");
        return Export{fileName(path, answer),
                      contentOf(kind, answer.lookup(QString::fromLatin1(kind.rows)), isEnglish)};
    }
    return {};
}

} // namespace page::office
