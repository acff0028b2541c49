#include "tools/zukadmin/explanationtext.h"

#include "text/texttable.h"
#include "tools/zukadmin/daytimeline.h"
#include "tools/zukadmin/explainedday.h"
#include "tools/zukadmin/explanationtimes.h"
#include "tools/zukadmin/workaccount.h"

#include <QLocale>

#include <algorithm>

namespace tools::zukadmin {

namespace {

/// How an event stands in the timeline.
struct EventSign {
    const char *use;
    char sign;
    const char *legend;
};

constexpr EventSign kSigns[] = {{"arrival", '>', "arrivalLegend"},
                                {"departure", '<', "departureLegend"},
                                {"other half missing", '?', "halfLegend"}};
constexpr EventSign kUnusedSign{"", 'x', "unusedLegend"};
constexpr EventSign kUnknownSign{"", 'o', "otherLegend"};

const EventSign &signOf(const QString &use, const ExplanationWords &words)
{
    for (const EventSign &sign : kSigns) {
        if (use == QLatin1String(sign.use))
            return sign;
    }
    return words.knowsUse(use) ? kUnusedSign : kUnknownSign;
}

class Explanation
{
public:
    Explanation(const QAny &explanation, Language language) : m_day(explanation), m_words(language) {}

    QString head() const;
    QString timeline() const;
    QString events() const;
    QString pairs() const;
    QString account() const { return workAccount(m_day, m_words); }
    QString idle() const { return idleRules(m_day, m_words); }
    QString result() const;
    QString faults(const QStringList &faults) const;

private:
    QString dateText() const;
    QString scheduleText() const;
    /// "from … to …", from the texts of both bounds, the first and the last; null without any.
    QString boundsText(const char *first, const char *last, const char *both, const char *from,
                       const char *until) const;
    DayTimeline drawing() const;
    QStringList legend(const QString &lines) const;
    QString categoryText(const QString &category) const;
    QString sourceText(const QString &source) const;
    QString titled(const char *title, const QString &text) const
    {
        return text.isEmpty() ? text : m_words.text(title) + QLatin1Char('\n') + text;
    }
    ExplanationTimes wholeMinutes() const { return {m_words, std::vector<qint64>()}; }

    const ExplainedDay m_day;
    const ExplanationWords m_words;
};

QString Explanation::dateText() const
{
    const bool isSlovenian = m_words.language() == Language::Slovenian;
    const QLocale locale(isSlovenian ? QLocale::Slovenian : QLocale::English);
    return locale.toString(m_day.date,
                           isSlovenian ? QStringLiteral("dddd, d. M. yyyy") : QStringLiteral("dddd, d MMMM yyyy"));
}

QString Explanation::boundsText(const char *first, const char *last, const char *both, const char *from,
                                const char *until) const
{
    const auto begin = m_day.scheduled(first);
    const auto end = m_day.scheduled(last);
    const ExplanationTimes times = wholeMinutes();
    if (begin && end)
        return m_words.text(both).arg(times.clock(*begin), times.clock(*end));
    if (begin)
        return m_words.text(from).arg(times.clock(*begin));
    return end ? m_words.text(until).arg(times.clock(*end)) : QString();
}

QString Explanation::scheduleText() const
{
    if (!m_day.entry.lookup(QStringLiteral("SCHEDULE")).isHash())
        return m_words.text("noSchedule");
    QStringList parts{boundsText("STARTB", "STARTE", "arriveBetween", "arriveFrom", "arriveUntil"),
                      boundsText("ENDB", "ENDE", "leaveBetween", "leaveFrom", "leaveUntil")};
    if (const auto minimum = m_day.scheduled("MINHOURS"))
        parts.append(m_words.text("minimum").arg(wholeMinutes().duration(*minimum)));
    parts.removeAll(QString());
    for (QString &part : parts)
        part = unbroken(part);
    const auto shift = m_day.scheduled("SHIFT");
    const QString title = shift ? m_words.text("shift").arg(*shift) : m_words.text("schedule");
    return parts.isEmpty() ? title : title + QStringLiteral(": ") + parts.join(QStringLiteral(", "));
}

QString Explanation::head() const
{
    const QString name = m_day.entry.lookup(QStringLiteral("NAME")).toString();
    const QString user = m_day.entry.lookup(QStringLiteral("USER")).toString();
    QString text = wrapped({}, QStringLiteral("%1 (%2), %3").arg(name, user, dateText()));
    text += wrapped({}, scheduleText());
    if (m_day.isOtherZone)
        text += wrapped({}, m_words.text("otherZone"));
    return text;
}

DayTimeline Explanation::drawing() const
{
    DayTimeline drawing;
    drawing.window = {m_day.scheduled("STARTB"), m_day.scheduled("STARTE"), m_day.scheduled("ENDB"),
                      m_day.scheduled("ENDE")};
    for (const ExplainedDay::Event &event : m_day.events) {
        const QChar sign = QLatin1Char(signOf(event.use, m_words).sign);
        drawing.marks.push_back({event.clock, sign, event.use == QLatin1String("departure")});
    }
    for (const ExplainedDay::Pair &pair : m_day.pairs) {
        if (pair.from && pair.to)
            drawing.bars.push_back({*pair.from, *pair.to, m_words.letter(pair.category)});
    }
    return drawing;
}

/// Of what the lines show.
QStringList Explanation::legend(const QString &lines) const
{
    QStringList texts;
    const auto add = [&](char sign, const char *key) {
        if (lines.contains(QLatin1Char(sign)))
            texts.append(QStringLiteral("%1 %2").arg(QLatin1Char(sign)).arg(m_words.text(key)));
    };
    for (const EventSign &sign : kSigns)
        add(sign.sign, sign.legend);
    add(kUnusedSign.sign, kUnusedSign.legend);
    add(kUnknownSign.sign, kUnknownSign.legend);
    add(DayTimeline::kSeveral, "severalLegend");
    for (const ExplainedDay::Pair &pair : m_day.pairs) {
        const QString text =
            QStringLiteral("%1 %2").arg(m_words.letter(pair.category)).arg(categoryText(pair.category));
        if (!texts.contains(text))
            texts.append(text);
    }
    add(DayTimeline::kPastEnd, "pastEndLegend");
    return texts;
}

QString Explanation::timeline() const
{
    const QString margin = QStringLiteral("  ");
    const QStringList lines = drawing().lines();
    const QString drawn = lines.mid(DayTimeline::kScaleLines).join(QLatin1Char('\n'));
    if (drawn.isEmpty())
        return {};
    QString text;
    for (const QString &line : lines)
        text += margin + line + QLatin1Char('\n');
    if (drawn.contains(QLatin1Char('=')))
        text += wrapped(margin, m_words.text("windowLegend"));
    else if (drawn.contains(QLatin1Char('-')))
        text += wrapped(margin, m_words.text("plainWindowLegend"));
    const QStringList signs = legend(drawn);
    if (!signs.isEmpty())
        text += wrapped(margin, signs.join(QStringLiteral(", ")));
    return titled("timeline", text);
}

QString Explanation::sourceText(const QString &source) const
{
    const auto translated = [&](const char *begin, const char *key) {
        const QLatin1String prefix(begin);
        return source.startsWith(prefix) ? m_words.text(key).arg(source.mid(prefix.size())) : QString();
    };
    const QString text = translated("terminal ", "terminal") + translated("entered by ", "enteredBy");
    return text.isEmpty() ? source : text;
}

QString Explanation::events() const
{
    if (m_day.events.empty())
        return wrapped({}, m_words.text("noEvents"));
    std::vector<qint64> values;
    for (const ExplainedDay::Event &event : m_day.events) {
        values.push_back(event.clock);
        values.push_back(event.storedClock.value_or(0));
    }
    const ExplanationTimes times(m_words, values);
    TextTable table;
    table.addColumn(m_words.text("number"), TextTable::Right);
    for (const char *title : {"time", "code", "source", "becameOf"})
        table.addColumn(m_words.text(title));
    for (const ExplainedDay::Event &event : m_day.events) {
        QString use = m_words.use(event.use);
        if (event.storedClock)
            use = m_words.text("stored").arg(use, times.clock(*event.storedClock));
        table.addRow(
            {QString::number(event.number), times.clock(event.clock), event.code, sourceText(event.source), use});
    }
    return titled("events", table.toText());
}

QString Explanation::categoryText(const QString &category) const
{
    return category.isEmpty() ? m_words.text("noCategory") : m_words.category(category);
}

QString Explanation::pairs() const
{
    if (m_day.pairs.empty())
        return wrapped({}, m_words.text("noPairs"));
    std::vector<qint64> values;
    for (const ExplainedDay::Pair &pair : m_day.pairs) {
        for (const qint64 value : {pair.from.value_or(0), pair.to.value_or(0), pair.seconds})
            values.push_back(value);
    }
    const ExplanationTimes times(m_words, values);
    const auto end = [&](const std::optional<qint64> &clock, bool isMade) {
        const QString text = clock ? times.clock(*clock) : QStringLiteral("?");
        return isMade ? m_words.text("made").arg(text) : text;
    };
    TextTable table;
    table.addColumn(m_words.text("from"));
    table.addColumn(m_words.text("to"));
    table.addColumn(m_words.text("length"), TextTable::Right);
    table.addColumn(m_words.text("kind"));
    for (const ExplainedDay::Pair &pair : m_day.pairs)
        table.addRow({end(pair.from, pair.isFromMade), end(pair.to, pair.isToMade), times.duration(pair.seconds),
                      categoryText(pair.category)});
    return titled("pairs", table.toText());
}

QString Explanation::result() const
{
    const QAny &result = m_day.entry.lookup(QStringLiteral("RESULT"));
    std::vector<qint64> values;
    int keyWidth = 0;
    for (int i = 0; i < result.count(); ++i) {
        values.push_back(result.at(i).toInteger());
        keyWidth = std::max(keyWidth, result.keyAt(i).size());
    }
    const ExplanationTimes times(m_words, values);
    QString text;
    for (int i = 0; i < result.count(); ++i) {
        const QString &key = result.keyAt(i);
        const bool isDifference = key == QLatin1String("SALDO") || key == QLatin1String("PLUSMINUS");
        QString value = result.at(i).isNull() ? m_words.text("empty") : result.at(i).toString();
        if (result.at(i).isInteger())
            value = isDifference ? times.change(result.at(i).asInteger()) : times.duration(result.at(i).asInteger());
        const QString prefix = QStringLiteral("  %1 %2  ").arg(printable(key), -keyWidth).arg(printable(value), 9);
        text += wrapped(prefix, m_words.result(key));
    }
    return titled("result", text);
}

QString Explanation::faults(const QStringList &faults) const
{
    QString text;
    for (const QString &fault : faults)
        text += wrapped(QStringLiteral("  "), fault);
    return titled("faults", text);
}

} // namespace

QString explanationText(const QAny &explanation, const QStringList &faults, Language language)
{
    const Explanation told(explanation, language);
    QStringList parts{told.head(),    told.timeline(), told.events(), told.pairs(),
                      told.account(), told.idle(),     told.result(), told.faults(faults)};
    parts.removeAll(QString());
    return parts.join(QLatin1Char('\n'));
}

} // namespace tools::zukadmin
