#include "tools/zukadmin/daytimeline.h"

#include <algorithm>

namespace tools::zukadmin {

namespace {

constexpr qint64 kHour = 3600;

/// The cells of one row, each standing for the same part of an hour.
class Row
{
public:
    Row(int hours, int cellsPerHour)
        : m_cellsPerHour(cellsPerHour), m_cells(QString(hours * cellsPerHour, QLatin1Char(' ')))
    {
    }

    int count() const { return m_cells.size(); }
    /// The boundary between cells that is nearest.
    int boundary(qint64 time) const
    {
        const qint64 inside = std::clamp<qint64>(time, 0, count() / m_cellsPerHour * kHour);
        return static_cast<int>((inside * m_cellsPerHour + kHour / 2) / kHour);
    }
    QChar at(int cell) const { return m_cells.at(cell); }
    void put(int cell, QChar sign) { m_cells[cell] = sign; }
    void fill(int from, int to, QChar sign)
    {
        for (int cell = std::max(from, 0); cell < std::min(to, count()); ++cell)
            put(cell, sign);
    }

    void addTo(QStringList &lines) const
    {
        int length = count();
        while (length > 0 && at(length - 1) == QLatin1Char(' '))
            --length;
        if (length > 0)
            lines.append(m_cells.left(length));
    }

private:
    int m_cellsPerHour;
    QString m_cells;
};

void addScale(QStringList &lines, int hours, int cellsPerHour)
{
    const int named = cellsPerHour > 1 ? 2 : 6; // as many hours from one number to the next
    QString numbers;
    QString scale;
    for (int hour = 0; hour <= hours; ++hour) {
        const bool isNamed = hour % named == 0;
        if (isNamed)
            numbers += QStringLiteral("%1").arg(hour % 24, 2, 10, QLatin1Char('0')).leftJustified(named * cellsPerHour);
        if (hour < hours)
            scale += QString(isNamed ? QLatin1Char('|') : QLatin1Char('\'')).leftJustified(cellsPerHour);
    }
    for (QString *line : {&numbers, &scale}) {
        while (line->endsWith(QLatin1Char(' ')))
            line->chop(1);
        lines.append(*line);
    }
}

void addWindow(Row &row, const DayTimeline::Window &window)
{
    const auto &first = window.startB ? window.startB : window.startE;
    const auto &last = window.endE ? window.endE : window.endB;
    if (!first || !last || *last <= *first)
        return;
    const int from = row.boundary(*first);
    const int to = std::max(row.boundary(*last), from + 1);
    row.fill(from, to, QLatin1Char('-'));
    if (window.startB && window.startE)
        row.fill(from, row.boundary(*window.startE), QLatin1Char('='));
    if (window.endB && window.endE)
        row.fill(row.boundary(*window.endB), to, QLatin1Char('='));
}

void addMark(Row &row, const DayTimeline::Mark &mark)
{
    const int cell = row.boundary(mark.at) - (mark.isEnd ? 1 : 0);
    if (mark.at < 0 || cell < 0 || cell >= row.count())
        return;
    const QChar there = row.at(cell);
    row.put(cell, there == QLatin1Char(' ') || there == mark.sign ? mark.sign : QLatin1Char(DayTimeline::kSeveral));
}

void addBars(Row &row, const std::vector<DayTimeline::Bar> &bars, int hours)
{
    // What is shorter than a cell still has one, over its neighbours.
    for (const bool isShort : {false, true}) {
        for (const DayTimeline::Bar &bar : bars) {
            const int from = row.boundary(bar.from);
            const int to = row.boundary(bar.to);
            if (isShort != (to <= from))
                continue;
            row.fill(from, std::max(to, from + 1), bar.letter);
            if (bar.to > hours * kHour && bar.from < hours * kHour)
                row.put(row.count() - 1, QLatin1Char(DayTimeline::kPastEnd));
        }
    }
}

} // namespace

int DayTimeline::hours() const
{
    qint64 end = 24 * kHour;
    for (const Bar &bar : bars)
        end = std::max(end, bar.to);
    for (const Mark &mark : marks)
        end = std::max(end, mark.at + 1);
    for (const auto &time : {window.endB, window.endE})
        end = std::max(end, time.value_or(0));
    return end >= kMaxHours * kHour ? kMaxHours : static_cast<int>((end + kHour - 1) / kHour);
}

QStringList DayTimeline::lines() const
{
    const int shown = hours();
    const int cellsPerHour = kWidth / shown;
    QStringList lines;
    addScale(lines, shown, cellsPerHour);
    Row windowRow(shown, cellsPerHour);
    addWindow(windowRow, window);
    windowRow.addTo(lines);
    Row markRow(shown, cellsPerHour);
    for (const Mark &mark : marks)
        addMark(markRow, mark);
    markRow.addTo(lines);
    Row barRow(shown, cellsPerHour);
    addBars(barRow, bars, shown);
    barRow.addTo(lines);
    return lines;
}

} // namespace tools::zukadmin
