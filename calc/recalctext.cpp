#include "calc/recalctext.h"

#include "calc/calc21.h"
#include "calc/input/calcrequest.h"
#include "calc/output/employeerecords.h"
#include "calc/output/explanation.h"
#include "calc/output/records.h"
#include "calc/output/sharetexts.h"
#include "calc/output/tables.h"
#include "calc/recalctrace.h"
#include "storage/reader.h"

#include <QElapsedTimer>

#include <memory>
#include <utility>

namespace calc {

namespace {

using output::ListName;
using output::ShareTexts;

/// One employee's period of a month and the weeks around it is small.
constexpr qint64 kMaxSmallDays = 45;

bool isOn(const QAny &request, const char *key)
{
    return request.lookup(QString::fromLatin1(key)).toBool();
}

/// Puts the pieces of an answer one behind the other.
class Pieces
{
public:
    explicit Pieces(std::vector<ShareTexts> shares) : m_shares(std::move(shares)) {}

    void add(const QByteArray &text) { m_pieces.push_back(text); }

    /// All of a list: what the shares have of it, and more elements, each with a comma in front.
    void addList(ListName name, const QByteArray &more = {})
    {
        bool isFirst = true;
        for (ShareTexts &share : m_shares)
            addElements(std::move(share[static_cast<size_t>(name)]), isFirst);
        addElements(more, isFirst);
        add(isFirst ? "[]" : "]");
    }

    std::vector<QByteArray> taken() { return std::move(m_pieces); }

private:
    void addElements(QByteArray elements, bool &isFirst)
    {
        if (elements.isEmpty())
            return;
        if (std::exchange(isFirst, false))
            elements[0] = '[';
        m_pieces.push_back(std::move(elements));
    }

    std::vector<ShareTexts> m_shares;
    std::vector<QByteArray> m_pieces;
};

void addClientForm(Pieces &pieces, const output::ReadRows &rows)
{
    pieces.add("\"CALC21\":{\"PAIRS\":");
    pieces.addList(ListName::ClientPairs);
    pieces.add(",\"EMPLO\":");
    pieces.addList(ListName::ClientEmployees);
    pieces.add(",\"DATA\":");
    pieces.addList(ListName::ClientEvents);
    pieces.add(",\"PRERAZ\":" + rows.assignments.toJsonUtf8() + "},");
}

/// The last row of the sum table, where there is one, with a comma in front.
QByteArray sumTotal(const rules::CalcResult &result)
{
    output::PackedCells cells = output::cellsOf(result);
    QAny rows(QAny::List);
    output::addSumTotal(result, cells, rows);
    return rows.count() == 0 ? QByteArray() : ',' + rows.at(0).toJsonUtf8();
}

/// Every share on the member that comes to it; of a cancelled calculation the rest is missing.
std::vector<ShareTexts> shareTexts(Crew &crew, const std::vector<rules::Share> &shares, rules::CalcResult &result,
                                   const output::ReadRows *rows)
{
    std::vector<ShareTexts> texts(shares.size());
    std::vector<std::unique_ptr<output::ShareWriter>> writers(static_cast<size_t>(crew.size()));
    crew.run(static_cast<int>(shares.size()), [&](int number, int member) {
        auto &writer = writers[static_cast<size_t>(member)];
        if (!writer)
            writer = std::make_unique<output::ShareWriter>(result, rows);
        texts[static_cast<size_t>(number)] = writer->take(shares[static_cast<size_t>(number)]);
    });
    return texts;
}

void addRecords(Pieces &pieces, const rules::CalcResult &result)
{
    pieces.add("\"CALC\":{");
    if (!result.isFatal) {
        pieces.add("\"CALC\":");
        pieces.addList(ListName::Calc);
        pieces.add(",\"CALCsum\":");
        pieces.addList(ListName::CalcSum);
        pieces.add(",\"DAYS\":");
        pieces.addList(ListName::Days);
        pieces.add(",\"CALCorg\":");
        pieces.addList(ListName::CalcOrg);
        pieces.add(",\"DAYSorg\":");
        pieces.addList(ListName::DaysOrg);
        pieces.add(",\"ACSLIST\":" + output::codeList(result.codes).toJsonUtf8() + ',');
    }
    pieces.add("\"ERR\":" + output::errorRecords(result.errors).toJsonUtf8());
    pieces.add("},");
}

void addTables(Pieces &pieces, const rules::CalcResult &result, const QAny &dayHeader, const QByteArray &total)
{
    const auto addTable = [&](const char *name, const QAny &header, ListName rows, const QByteArray &more) {
        pieces.add(QByteArray(name) + ":{\"HEADER\":" + header.toJsonUtf8() + ",\"TABLE\":");
        pieces.addList(rows, more);
        pieces.add("},");
    };
    pieces.add("\"PACK\":{");
    addTable("\"PAIRS\"", output::pairHeader(), ListName::PairRows, {});
    addTable("\"DAYS\"", dayHeader, ListName::DayRows, {});
    addTable("\"SUM\"", output::sumHeader(), ListName::SumRows, total);
    pieces.add("\"ERR\":" + output::errorTable(result.errors).toJsonUtf8() + "},");
}

/// The tables are packed together; their lines stand in the order in which one thread would write them.
void traceTables()
{
    tracePairTableStart();
    tracePairTableEnd();
    traceDayTableStart();
    traceDayTableEnd();
    traceSumTableStart();
    traceSumTableEnd();
}

} // namespace

std::vector<QByteArray> recalcText(Crew &crew, const QAny &request, QDate today)
{
    traceRecalcStart();
    QElapsedTimer timer;
    timer.start();
    const QAny dayHeader = output::dayHeader(QAny::fromJson(crew.reader().configValue(output::kDayHeaderKey)));
    Calc21 calculation(crew, today);
    const rules::CalcResult &calculated = calculation.calculate(request);
    if (crew.isCancelled())
        return {};
    QByteArray begin = "{";
    if (isOn(request, "EXPLAIN"))
        begin += "\"EXPLAIN\":" + output::explanationOf(calculated).toJsonUtf8() + ',';
    const QByteArray total = sumTotal(calculated);
    const bool wantsClientForm = isOn(request, "CALC21");
    rules::CalcResult result = calculation.takeResult();
    traceTables();
    Pieces pieces(shareTexts(crew, calculation.shares(), result, wantsClientForm ? &calculation.rows() : nullptr));
    if (crew.isCancelled())
        return {};
    pieces.add(begin);
    if (wantsClientForm)
        addClientForm(pieces, calculation.rows());
    addRecords(pieces, result);
    addTables(pieces, result, dayHeader, total);
    pieces.add("\"TIME\":" + QByteArray::number(timer.elapsed()) + '}');
    traceRecalcEnd();
    return pieces.taken();
}

bool isSmallRecalc(const QAny &request)
{
    const auto asked = input::CalcRequest::of(request);
    return asked.users.count() == 1 && asked.firstDate.daysTo(asked.lastDate) < kMaxSmallDays;
}

} // namespace calc
