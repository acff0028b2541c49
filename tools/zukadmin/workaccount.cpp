#include "tools/zukadmin/workaccount.h"

#include "text/texttable.h"
#include "tools/zukadmin/explanationtimes.h"

#include <QHash>
#include <QStringList>

#include <algorithm>
#include <vector>

namespace tools::zukadmin {

namespace {

const QString kWorkTime = QStringLiteral("DC");
const QString kOff = QStringLiteral("off");

struct Unit {
    const char *setting;
    const char *name;
};

/// Of settings that are bare numbers.
constexpr Unit kUnits[] = {{"SALDO/WTROUNDTRH", "min"},    {"OVERTIME/TRHIN", "min"},  {"OVERTIME/TRHOUT", "min"},
                           {"OVERTIME/COMPDELTRH", "min"}, {"SALDO/MAXHOURSLIM", "h"}, {"HOURS/MAXHOURS", "h"},
                           {"HOURS/ADDHOURSNUM", "h"}};

QString textOf(const QAny &value)
{
    return value.isHash() || value.isList() ? value.toJson() : value.toString();
}

QString textOf(const QAny &hash, const char *key)
{
    return textOf(hash.lookup(QLatin1String(key)));
}

/// "SALDO/WTROUNDTRH = 5 min"; empty without a setting.
QString settingText(const QAny &step)
{
    const QString setting = textOf(step, "SETTING");
    const QAny &value = step.lookup(QStringLiteral("VALUE"));
    if (setting.isEmpty() || value.isNull())
        return setting;
    QString text = setting + QStringLiteral(" = ") + textOf(value);
    for (const Unit &unit : kUnits) {
        if (setting == QLatin1String(unit.setting))
            text += QLatin1Char(' ') + QLatin1String(unit.name);
    }
    return text;
}

/// What one rule did: its steps follow one another.
class RuleSteps
{
public:
    RuleSteps(const ExplanationWords &words, const ExplanationTimes &times) : m_words(words), m_times(times) {}

    /// Whether the step is of the same rule as those that are there.
    bool takes(const QAny &step) const { return m_rule.isNull() || m_rule == textOf(step, "RULE"); }
    void add(const QAny &step)
    {
        m_rule = textOf(step, "RULE");
        if (!m_first.isHash())
            m_first = step;
        const QString field = textOf(step, "FIELD");
        if (field.isEmpty())
            m_isWarning = true;
        else if (field == kWorkTime)
            m_changes.append(step);
        else
            addTo(m_moved, moveText(step, field));
        addTo(m_settings, unbroken(settingText(step)));
        addTo(m_remarks, textOf(step, "TEXT"));
    }
    /// The lines of the account. The columns of the change and the value are so wide.
    QString lines(int width) const
    {
        QString text;
        for (int i = 0; i < std::max(m_changes.count(), 1); ++i) {
            QString change;
            QString value;
            if (i < m_changes.count()) {
                const qint64 after = m_changes.at(i).lookup(QStringLiteral("AFTER")).toInteger();
                change = m_times.change(after - m_changes.at(i).lookup(QStringLiteral("BEFORE")).toInteger());
                value = m_times.duration(after);
            }
            const QString prefix = QStringLiteral("%1 %2  ").arg(change, width).arg(value, width);
            text += wrapped(prefix, i == 0 ? reason() : m_words.rule(m_rule));
        }
        return text;
    }

private:
    static void addTo(QStringList &texts, const QString &text)
    {
        if (!text.isEmpty() && !texts.contains(text))
            texts.append(text);
    }

    QString moveText(const QAny &step, const QString &field) const
    {
        const QAny &before = step.lookup(QStringLiteral("BEFORE"));
        const QAny &after = step.lookup(QStringLiteral("AFTER"));
        const auto clock = [this](const QAny &time) { return m_times.clock(time.toInteger()); };
        if (field == QLatin1String("IN"))
            return m_words.text("arrivalMoved").arg(clock(before), clock(after));
        if (field == QLatin1String("OUT"))
            return m_words.text("departureMoved").arg(clock(before), clock(after));
        const auto length = [this](const QAny &value) {
            return value.isInteger() ? m_times.duration(value.asInteger()) : textOf(value);
        };
        return m_words.text("otherMoved").arg(length(before), length(after), m_words.category(field));
    }

    QString reason() const
    {
        QString text = m_words.done(m_rule, textOf(m_first, "SETTING"));
        if (m_isWarning && m_changes.count() == 0 && m_moved.isEmpty())
            text = m_words.text("warning").arg(text);
        if (!m_moved.isEmpty())
            text += QStringLiteral(": ") + m_moved.join(QStringLiteral(", "));
        if (!m_settings.isEmpty())
            text += QStringLiteral(" (%1)").arg(m_settings.join(QStringLiteral(", ")));
        for (const QString &remark : m_remarks)
            text += QStringLiteral(" \"%1\"").arg(remark);
        return text;
    }

    const ExplanationWords &m_words;
    const ExplanationTimes &m_times;
    QString m_rule;
    QAny m_first;
    QAny m_changes = QAny::list(); ///< steps that changed the working time
    QStringList m_moved;
    QStringList m_settings;
    QStringList m_remarks;
    bool m_isWarning = false;
};

std::vector<qint64> valuesOf(const QAny &steps)
{
    std::vector<qint64> values;
    for (int i = 0; i < steps.count(); ++i) {
        for (const char *key : {"BEFORE", "AFTER"})
            values.push_back(steps.at(i).lookup(QLatin1String(key)).toInteger());
    }
    return values;
}

/// The first line of the account.
QString startOf(const ExplainedDay &day, const ExplanationWords &words, const ExplanationTimes &times, int width)
{
    const QAny &steps = day.entry.lookup(QStringLiteral("STEPS"));
    qint64 start = day.entry.lookup(QStringLiteral("RESULT")).lookup(QStringLiteral("DELO")).toInteger();
    const char *what = "unchanged";
    for (int i = steps.count() - 1; i >= 0; --i) {
        if (textOf(steps.at(i), "FIELD") == kWorkTime) {
            start = steps.at(i).lookup(QStringLiteral("BEFORE")).toInteger();
            what = "start";
        }
    }
    return wrapped(QStringLiteral("%1 %2  ").arg(QString(), width).arg(times.duration(start), width), words.text(what));
}

} // namespace

QString wrapped(const QString &prefix, const QString &text)
{
    QString lines;
    QString line = prefix;
    bool isEmpty = true;
    const QStringList parts = printable(text).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    for (const QString &word : parts) {
        if (!isEmpty && line.size() + 1 + word.size() > kTextWidth) {
            lines += line + QLatin1Char('\n');
            line = QString(prefix.size(), QLatin1Char(' '));
            isEmpty = true;
        }
        line += (isEmpty ? QString() : QStringLiteral(" ")) + word;
        isEmpty = false;
    }
    return QString(lines + line + QLatin1Char('\n')).replace(QChar::Nbsp, QLatin1Char(' '));
}

QString unbroken(QString text)
{
    return text.replace(QLatin1Char(' '), QChar::Nbsp);
}

QString workAccount(const ExplainedDay &day, const ExplanationWords &words)
{
    const QAny &steps = day.entry.lookup(QStringLiteral("STEPS"));
    std::vector<qint64> values = valuesOf(steps);
    values.push_back(day.entry.lookup(QStringLiteral("RESULT")).lookup(QStringLiteral("DELO")).toInteger());
    const ExplanationTimes times(words, values);
    const int width = times.withSeconds() ? 10 : 7;

    QString text = words.text("account") + QLatin1Char('\n') + startOf(day, words, times, width);
    for (int i = 0; i < steps.count();) {
        RuleSteps rule(words, times);
        for (; i < steps.count() && rule.takes(steps.at(i)); ++i)
            rule.add(steps.at(i));
        text += rule.lines(width);
    }
    return text;
}

QString idleRules(const ExplainedDay &day, const ExplanationWords &words)
{
    const QAny &idle = day.entry.lookup(QStringLiteral("IDLE"));
    QStringList reasons;
    QHash<QString, QStringList> rules;
    for (int i = 0; i < idle.count(); ++i) {
        const QString why = textOf(idle.at(i), "WHY");
        if (!reasons.contains(why))
            reasons.append(why);
        rules[why].append(words.rule(textOf(idle.at(i), "RULE")));
    }
    std::stable_sort(reasons.begin(), reasons.end(),
                     [](const QString &a, const QString &b) { return a != kOff && b == kOff; });
    const bool isAll = reasons.size() == 1 && day.entry.lookup(QStringLiteral("STEPS")).count() == 0;
    QString text;
    for (const QString &why : qAsConst(reasons)) {
        const QString names = isAll ? words.text("allRules") : rules.value(why).join(QStringLiteral(", "));
        text += wrapped(QStringLiteral("  "), words.why(why) + QStringLiteral(": ") + names);
    }
    return text.isEmpty() ? text : words.text("idle") + QLatin1Char('\n') + text;
}

} // namespace tools::zukadmin
