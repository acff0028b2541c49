#include "calc/dialogcalc3.h"

#include "calc/calc21.h"
#include "calc/output/calcrecords.h"
#include "calc/output/packedrows.h"
#include "storage/database.h"

#include <QDateTime>
#include <QDebug>
#include <QElapsedTimer>

namespace {

const QString kHeaderKey = QStringLiteral("CALCDAYHDR");
const QString kTotal = QStringLiteral("SKUPAJ");
const QString kNoHours = QStringLiteral("Ni delovnih ur");
const QString kMovedArrival = QStringLiteral("Spremenjen prihod po urniku");
const QString kMovedDeparture = QStringLiteral("Spremenjen odhod po urniku");
const QString kTotalMark = QStringLiteral("SLD_SKU");
const QString kBalanceMark = QStringLiteral("SLD+");

constexpr int kPublicHolidayType = 3;
/// Days behind the period's last one in which departures of night shifts lie.
constexpr int kDaysBehind = 2;

const QAny &listOf(const QAny &result, const char *key)
{
    return result.lookup(QString::fromLatin1(key));
}

/// The clock over the days of a result.
LocalClock clockOf(const QAny &result)
{
    const QAny &days = listOf(result, "DAYS");
    if (days.count() == 0)
        return {};
    const auto dateOf = [&](int row) {
        return QDateTime::fromSecsSinceEpoch(days.at(row).at(DayKey::DATE).toInteger()).date();
    };
    return LocalClock(dateOf(0), dateOf(days.count() - 1).addDays(kDaysBehind));
}

/// The pair table's rows of one employee.
class PairRows
{
public:
    PairRows(const QAny &employee, TimeTexts &texts, PackedCells &cells, QAny &table)
        : m_employee(employee), m_pairs(employee.lookup(QStringLiteral("PAIRS"))),
          m_showEmptyDays(employee.lookup(QStringLiteral("SHOWEMPTYDAYS")).toBool()), m_texts(texts), m_cells(cells),
          m_table(table)
    {
    }

    /// The rows of the next day of the period.
    void addDay(const QAny &day)
    {
        const qint64 date = day.at(DayKey::DATE).toInteger();
        const int first = m_next;
        while (m_next < m_pairs.count() && m_pairs.at(m_next).at(PairKey::DATESTAMP).toInteger() == date)
            ++m_next;
        const bool isEmpty = first == m_next;
        if (isEmpty && !m_showEmptyDays)
            return;
        const int weekday = isEmpty ? QDateTime::fromSecsSinceEpoch(date).date().dayOfWeek()
                                    : static_cast<int>(m_pairs.at(first).at(PairKey::DAYNUM).toInteger());
        chooseColours(isEmpty, weekday, day.at(DayKey::DAYTYPE).toInteger() == kPublicHolidayType);
        if (isEmpty) {
            QAny row = newRow(date, weekday);
            row.slot(PairColumn::REMARK) = kNoHours;
            m_table.append(std::move(row));
        }
        for (int i = first; i < m_next; ++i)
            m_table.append(pairRow(m_pairs.at(i), date, weekday));
    }

private:
    void chooseColours(bool isEmpty, int weekday, bool isHoliday)
    {
        m_isGrey = !m_isGrey;
        m_background = m_isGrey ? Colour::PARI_ALTCOL_LiGr : Colour::PARI_ALTCOL_Cyan;
        m_text = m_isGrey ? Colour::PARI_ALTCOL_LiGr_TXT : Colour::PARI_ALTCOL_Cyan_TXT;
        if (weekday >= 6) {
            m_background = Colour::PARI_SOBNED;
            m_text = Colour::PARI_SOBNED_TXT;
        }
        if (isHoliday) {
            m_background = Colour::PARI_PRAZNIK;
            m_text = Colour::PARI_PRAZNIK_TXT;
        }
        if (isEmpty) {
            m_background = Colour::PARI_PRAZNO;
            m_text = Colour::PARI_PRAZNO_TXT;
        }
    }

    QAny newRow(qint64 date, int weekday)
    {
        QAny row = PairColumn::row(m_background, m_text);
        row.slot(PairColumn::NAME) = m_employee.lookup(QStringLiteral("NAME"));
        row.slot(PairColumn::USER) = m_employee.lookup(QStringLiteral("USER"));
        row.slot(PairColumn::DATESTAMP) = m_texts.date(date);
        row.slot(PairColumn::DAYNUM) = weekday;
        return row;
    }

    QAny pairRow(const QAny &pair, qint64 date, int weekday)
    {
        QAny row = newRow(date, weekday);
        for (int second : {0, 1}) {
            const QAny &time = pair.at(PairKey::TIMESTAMP + second);
            if (time.isInteger())
                row.slot(PairColumn::TIMESTAMP + second) = m_texts.clockTime(time.asInteger());
            row.slot(PairColumn::TYPE + second) = m_cells.kind(pair.at(PairKey::TYPE + second), second == 0);
            row.slot(PairColumn::REMARK + second) = PackedCells::text(pair.at(PairKey::REMARK + second));
            row.slot(PairColumn::PARAM + second) = PackedCells::text(pair.at(PairKey::PARAM + second));
        }
        row.slot(PairColumn::PTIME) = m_cells.duration(pair.at(PairKey::PTIME));
        const auto fillNumber = [&](int column, int key) {
            if (!pair.at(key).isNull())
                row.slot(column) = pair.at(key);
        };
        fillNumber(PairColumn::IDX2, PairKey::IDX2);
        fillNumber(PairColumn::TAG2, PairKey::TAG2);
        return row;
    }

    const QAny &m_employee;
    const QAny &m_pairs;
    bool m_showEmptyDays;
    TimeTexts &m_texts;
    PackedCells &m_cells;
    QAny &m_table;
    int m_next = 0;
    bool m_isGrey = false;
    Colour::Name m_background = Colour::PARI_ALTCOL_LiGr;
    Colour::Name m_text = Colour::PARI_ALTCOL_LiGr_TXT;
};

/// Day and sum rows have their durations under the same names as the tables' columns.
struct DurationColumn {
    int column;
    int key;
};

constexpr DurationColumn kDayDurations[] = {
    {DayColumn::PRISOTNOST, DayKey::PRISOTNOST}, {DayColumn::DELO, DayKey::DELO},
    {DayColumn::DOPUST, DayKey::DOPUST},         {DayColumn::IZRDOPUST, DayKey::IZRDOPUST},
    {DayColumn::BOLNISKA, DayKey::BOLNISKA},     {DayColumn::DRUGO, DayKey::DRUGO},
    {DayColumn::SALDOURE, DayKey::SALDOURE},     {DayColumn::SLUZBENO, DayKey::SLUZBENO},
    {DayColumn::ZASEBNO, DayKey::ZASEBNO},       {DayColumn::MALICA, DayKey::MALICA},
    {DayColumn::ODDOMA, DayKey::ODDOMA},         {DayColumn::TEREN, DayKey::TEREN},
    {DayColumn::NOCNO, DayKey::NOCNO},           {DayColumn::PRAZNIK, DayKey::PRAZNIK},
};

constexpr DurationColumn kSumDurations[] = {
    {SumColumn::DELO, SumKey::DELO},
    {SumColumn::DOPUST, SumKey::DOPUST},
    {SumColumn::IZRDOPUST, SumKey::IZRDOPUST},
    {SumColumn::BOLNISKA, SumKey::BOLNISKA},
    {SumColumn::PRAZNIK, SumKey::PRAZNIK},
    {SumColumn::ZASEBNO, SumKey::ZASEBNO},
    {SumColumn::SLUZBENO, SumKey::SLUZBENO},
    {SumColumn::MALICA, SumKey::MALICA},
    {SumColumn::DRUGO, SumKey::DRUGO},
    {SumColumn::NOCNO, SumKey::NOCNO},
    {SumColumn::TEREN, SumKey::TEREN},
    {SumColumn::ODDOMA, SumKey::ODDOMA},
    {SumColumn::PRISOTNOST, SumKey::PRISOTNOST},
    {SumColumn::DELSOB, SumKey::DELSOB},
    {SumColumn::DELNED, SumKey::DELNED},
    {SumColumn::DELPRA, SumKey::DELPRA},
};

constexpr DurationColumn kSumCounts[] = {
    {SumColumn::DELDAN, SumKey::DELDAN}, {SumColumn::PRERAZ, SumKey::PRERAZ}, {SumColumn::IZM1, SumKey::IZM1},
    {SumColumn::IZM2, SumKey::IZM2},     {SumColumn::IZM3, SumKey::IZM3},
};

/// The category with the most time gives the day its colour; of equal ones the first.
QAny emptyDayRow(const QAny &day)
{
    static constexpr struct {
        int key;
        Colour::Name colour;
    } categories[] = {
        {DayKey::DELO, Colour::DAY_DEL_TXT},     {DayKey::DOPUST, Colour::DAY_DOP_TXT},
        {DayKey::BOLNISKA, Colour::DAY_BOL_TXT}, {DayKey::PRAZNIK, Colour::DAY_PRA_TXT},
        {DayKey::ODDOMA, Colour::DAY_DOM_TXT},   {DayKey::TEREN, Colour::DAY_TER_TXT},
    };
    qint64 most = 0;
    Colour::Name colour = Colour::Count;
    for (const auto &category : categories) {
        const qint64 seconds = day.at(category.key).toInteger();
        if (seconds > most) {
            most = seconds;
            colour = category.colour;
        }
    }
    return colour == Colour::Count ? DayColumn::row() : DayColumn::row("COLOR", colour);
}

QAny dayTableRow(const QAny &day, const QAny &before, TimeTexts &texts, PackedCells &cells)
{
    QAny row = emptyDayRow(day);
    row.slot(DayColumn::NAME) = day.at(DayKey::NAME);
    row.slot(DayColumn::USER) = day.at(DayKey::USER);
    row.slot(DayColumn::DATE) = texts.date(day.at(DayKey::DATE).toInteger());
    const auto fillTime = [&](int column, int key, int judgedKey, Colour::Name colour, const QString &toolTip) {
        const QAny &time = day.at(key);
        if (!time.isInteger())
            return;
        const QString &shown = texts.clockTime(time.asInteger());
        const bool isMoved = day.at(judgedKey) != before.at(judgedKey);
        row.slot(column) = isMoved ? PackedCells::moved(shown, colour, toolTip) : QAny(shown);
    };
    fillTime(DayColumn::INORG, DayKey::INORG, DayKey::IN, Colour::DOG_IN_TXT, kMovedArrival);
    fillTime(DayColumn::OUTORG, DayKey::OUTORG, DayKey::OUT, Colour::DOG_OUT_TXT, kMovedDeparture);
    row.slot(DayColumn::IZMENA) = PackedCells::text(day.at(DayKey::IZMENA));
    row.slot(DayColumn::DELDAN) = day.at(DayKey::DELDAN);
    for (const DurationColumn &column : kDayDurations)
        row.slot(column.column) = cells.duration(day.at(column.key));
    row.slot(DayColumn::PLUSMINUS) = cells.difference(day.at(DayKey::PLUSMINUS));
    row.slot(DayColumn::SALDO) = cells.saldo(day.at(DayKey::SALDO));
    row.slot(DayColumn::PRERAZ) = PackedCells::text(day.at(DayKey::PRERAZ));
    row.slot(DayColumn::OPOMBA) = PackedCells::remarks(day.at(DayKey::OPOMBA));
    return row;
}

/// The row after an employee's days.
QAny dayTotalRow(const QAny &sum, PackedCells &cells)
{
    const auto sumKeyOf = [](int dayKey) { return dayKey - DayKey::DELO + SumKey::DELO; };
    QAny row = DayColumn::row();
    row.slot(DayColumn::NAME) = sum.at(SumKey::NAME);
    row.slot(DayColumn::USER) = sum.at(SumKey::USER);
    row.slot(DayColumn::DATE) = kTotal;
    row.slot(DayColumn::DELDAN) = sum.at(SumKey::DELDAN);
    for (const DurationColumn &column : kDayDurations)
        row.slot(column.column) = cells.duration(sum.at(sumKeyOf(column.key)));
    row.slot(DayColumn::PLUSMINUS) = cells.difference(sum.at(SumKey::PLUSMINUS));
    row.slot(DayColumn::SALDO) = cells.saldo(sum.at(SumKey::SALDO));
    row.slot(DayColumn::PRERAZ) = sum.at(SumKey::PRERAZ);
    return row;
}

QString accessListText(const QAny &list)
{
    QStringList texts;
    for (int i = 0; i < list.count(); ++i) {
        const QString name = list.at(i).at(AcsKey::NAME).toString();
        const QString code = list.at(i).at(AcsKey::AC).toString();
        texts.append(name.isEmpty() ? code : code + QLatin1Char(':') + name);
    }
    return texts.join(QStringLiteral(", ")) + QStringLiteral("");
}

QAny sumTableRow(const QAny &sum, TimeTexts &texts, PackedCells &cells)
{
    QAny row = SumColumn::row();
    row.slot(SumColumn::NAME) = sum.at(SumKey::NAME);
    if (!sum.at(SumKey::USER).isNull())
        row.slot(SumColumn::USER) = sum.at(SumKey::USER);
    row.slot(SumColumn::SDATE) = texts.date(sum.at(SumKey::SDATE).toInteger());
    row.slot(SumColumn::EDATE) = texts.date(sum.at(SumKey::EDATE).toInteger());
    for (const DurationColumn &column : kSumDurations)
        row.slot(column.column) = cells.duration(sum.at(column.key));
    for (const DurationColumn &column : kSumCounts)
        row.slot(column.column) = sum.at(column.key);
    row.slot(SumColumn::SALDO) = cells.saldo(sum.at(SumKey::SALDO));
    row.slot(SumColumn::SKUPAJ) =
        QAny{{QStringLiteral("UWVS"), cells.duration(sum.at(SumKey::SKUPAJ))}, {QStringLiteral("ICON"), kTotalMark}};
    row.slot(SumColumn::PLUSMINUS) = cells.difference(sum.at(SumKey::PLUSMINUS), kBalanceMark);
    row.slot(SumColumn::ACSLIST) = accessListText(sum.at(SumKey::ACSLIST));
    return row;
}

/// A sum record over all employees.
QAny totalOf(const QAny &sums)
{
    QAny total = sums.at(0).deepCopy();
    total.slot(SumKey::USER) = QAny();
    total.slot(SumKey::NAME) = kTotal;
    total.slot(SumKey::ACSLIST) = QAny(QAny::List);
    for (int i = 1; i < sums.count(); ++i) {
        for (int key = SumKey::DELO; key <= SumKey::PRERAZ; ++key)
            total.slot(key) = total.at(key).toInteger() + sums.at(i).at(key).toInteger();
    }
    return total;
}

Colour::Name errorColour(const QString &code)
{
    if (code == QLatin1String("NAP"))
        return Colour::ERR_NAP_TXT;
    if (code == QLatin1String("OPC"))
        return Colour::ERR_OPC_TXT;
    return code == QLatin1String("SPO") ? Colour::ERR_SPO_TXT : Colour::ERR_OPO_TXT;
}

} // namespace

DialogCalc3::DialogCalc3(DataBase &database, QDate today) : m_database(database), m_today(today) {}

const CalcSettings &DialogCalc3::settings()
{
    if (!m_settings)
        m_settings = CalcSettings::load(m_database);
    return *m_settings;
}

QAny DialogCalc3::recalc(const QAny &request)
{
    qDebug() << "DialogCalc3::recalc() START";
    QElapsedTimer timer;
    timer.start();
    m_settings = CalcSettings::ofRequest(m_database, request);
    Calc21 calculation(m_database, m_today);
    const QAny calc = calculation.calcAll(request);
    QAny pack(QAny::Hash);
    pack.insert(QStringLiteral("PAIRS"), refPairs(calc));
    pack.insert(QStringLiteral("DAYS"), showSumDays(calc));
    pack.insert(QStringLiteral("SUM"), packSum(calc));
    pack.insert(QStringLiteral("ERR"), packErrors(calc));
    m_settings.reset();
    QAny result = request.lookup(QStringLiteral("CALC21")).toBool() ? calculation.packed() : QAny(QAny::Hash);
    result.insert(QStringLiteral("CALC"), calc);
    result.insert(QStringLiteral("PACK"), pack);
    result.insert(QStringLiteral("TIME"), timer.elapsed());
    qDebug() << "CheckService::recalc() END"; // deliberate: the line names the service that logs are searched by
    return result;
}

QAny DialogCalc3::refPairs(const QAny &result)
{
    qDebug() << "DialogCalc3::refPairs START";
    qDebug() << "1";
    TimeTexts texts(settings().isSec, clockOf(result));
    PackedCells cells(texts);
    const QAny &employees = listOf(result, "CALC");
    const QAny &days = listOf(result, "DAYS");
    const int daysEach = employees.count() > 0 ? days.count() / employees.count() : 0;
    qDebug() << "2.1";
    QAny table(QAny::List);
    qDebug() << "2.2";
    for (int i = 0; i < employees.count(); ++i) {
        PairRows rows(employees.at(i), texts, cells, table);
        for (int day = 0; day < daysEach; ++day)
            rows.addDay(days.at(i * daysEach + day));
    }
    qDebug() << "2.3";
    qDebug() << "3";
    const QAny packed = packedTable(PairColumn::header(), table);
    qDebug() << "4";
    return packed;
}

QAny DialogCalc3::dayHeader()
{
    const QAny stored = QAny::fromJson(m_database.configValue(kHeaderKey));
    return stored.isList() ? stored : DayColumn::header();
}

QAny DialogCalc3::showSumDays(const QAny &result)
{
    qDebug() << "DialogCalc3::showSumDays() START";
    TimeTexts texts(settings().isSec, clockOf(result));
    PackedCells cells(texts);
    const QAny &days = listOf(result, "DAYS");
    const QAny &daysBefore = listOf(result, "DAYSorg");
    const QAny &sums = listOf(result, "CALCsum");
    const int daysEach = sums.count() > 0 ? days.count() / sums.count() : 0;
    QAny table(QAny::List);
    table.reserve(days.count() + sums.count());
    for (int i = 0; i < sums.count(); ++i) {
        for (int day = i * daysEach; day < (i + 1) * daysEach; ++day)
            table.append(dayTableRow(days.at(day), daysBefore.at(day), texts, cells));
        table.append(dayTotalRow(sums.at(i), cells));
    }
    const QAny packed = packedTable(dayHeader(), table);
    qDebug() << "DialogCalc3::showSumDays() END";
    return packed;
}

QAny DialogCalc3::packSum(const QAny &result)
{
    qDebug() << "packSum() START";
    TimeTexts texts(settings().isSec);
    PackedCells cells(texts);
    const QAny &sums = listOf(result, "CALCsum");
    QAny table(QAny::List);
    table.reserve(sums.count() + 1);
    for (int i = 0; i < sums.count(); ++i)
        table.append(sumTableRow(sums.at(i), texts, cells));
    qDebug() << "packSum() 3.0";
    if (settings().isSumSum && sums.count() > 0)
        table.append(sumTableRow(totalOf(sums), texts, cells));
    const QAny packed = packedTable(SumColumn::header(), table);
    qDebug() << "packSum() END7";
    return packed;
}

QAny DialogCalc3::packErrors(const QAny &result)
{
    const QAny &errors = listOf(result, "ERR");
    QAny table(QAny::List);
    table.reserve(errors.count());
    for (int i = 0; i < errors.count(); ++i) {
        const QAny &error = errors.at(i);
        QAny row = ErrorColumn::row("TXTCOLOR", errorColour(error.at(ErrorKey::CODE).toString()));
        row.slot(ErrorColumn::NAME) = PackedCells::text(error.at(ErrorKey::NAME));
        row.slot(ErrorColumn::NAPAKA) = error.at(ErrorKey::NAPAKA);
        table.append(std::move(row));
    }
    return packedTable(ErrorColumn::header(), table);
}
