#include "calc/input/rulesettingstext.h"

#include "calc/input/storedvalues.h"
#include "qany.h"

#include <algorithm>
#include <cmath>

namespace calc::input {

using rules::RuleSettings;

namespace {

/// No number of hours or minutes of a setting is larger; keeps sums of hostile texts in range.
constexpr qint64 kMaxNumber = 1000000;

class Section
{
public:
    Section(const QAny &settings, const char *name) : m_rules(settings.lookup(QString::fromLatin1(name))) {}

    const QAny &value(const char *key) const
    {
        return m_rules.isHash() ? m_rules.lookup(QString::fromLatin1(key)) : QAny::sharedNull();
    }
    bool isOn(const char *key) const { return value(key).toInteger() != 0; }
    qint64 number(const char *key) const { return std::clamp(value(key).toInteger(), -kMaxNumber, kMaxNumber); }
    double decimal(const char *key) const
    {
        const double number = value(key).toDouble();
        constexpr auto limit = static_cast<double>(kMaxNumber);
        return std::isnan(number) ? 0.0 : std::clamp(number, -limit, limit);
    }
    /// Minutes as seconds, where 0 is taken as one second.
    qint64 threshold(const char *key) const
    {
        const qint64 seconds = number(key) * 60;
        return seconds > 0 ? seconds : 1;
    }

private:
    const QAny &m_rules;
};

void readInterval(const Section &saldo, RuleSettings &settings)
{
    static constexpr struct {
        const char *key;
        const char *name;
        qint64 seconds;
    } intervals[] = {{"ARRINT10", "SALDO/ARRINT10", 600},
                     {"ARRINT15", "SALDO/ARRINT15", 900},
                     {"ARRINT30", "SALDO/ARRINT30", 1800},
                     {"ARRINT60", "SALDO/ARRINT60", 3600}};
    if (!saldo.isOn("ARRINT"))
        return;
    for (const auto &interval : intervals) {
        if (saldo.isOn(interval.key)) {
            settings.interval = interval.seconds;
            settings.intervalKey = interval.name;
            return;
        }
    }
}

/// Everything of the text, so that an explanation can show a setting as it is stored.
QHash<QString, rules::StoredValue> storedValuesOf(const QAny &settings)
{
    QHash<QString, rules::StoredValue> values;
    for (int i = 0; i < settings.count(); ++i) {
        const QAny &section = settings.at(i);
        for (int k = 0; section.isHash() && k < section.count(); ++k)
            values.insert(settings.keyAt(i) + QLatin1Char('/') + section.keyAt(k), storedValue(section.at(k)));
    }
    return values;
}

RuleSettings::Weighing weighingOf(const QString &text)
{
    if (text == QLatin1String("METAPERTYPE"))
        return RuleSettings::Weighing::MetaPerType;
    return text == QLatin1String("MIXTYPE") ? RuleSettings::Weighing::MixType : RuleSettings::Weighing::EventType;
}

void readWarnings(const Section &war, RuleSettings &settings)
{
    settings.earlyArrival = war.isOn("EARLYARRWAR");
    settings.lateArrival = war.isOn("LATEARRWAR");
    settings.earlyExit = war.isOn("EARLYEXITWAR");
    settings.lateExit = war.isOn("LATEEXITWAR");
}

void readSaldo(const Section &saldo, RuleSettings &settings)
{
    readInterval(saldo, settings);
    settings.roundArrival = saldo.isOn("ARRINTIN");
    settings.roundDeparture = saldo.isOn("ARRINTOUT");
    settings.keepWorkBefore = saldo.isOn("NWOUTIN");
    settings.keepWorkAfter = saldo.isOn("NWOUTOUT");
    settings.roundWorkTime = saldo.isOn("WTROUND");
    settings.workTimeStep = saldo.threshold("WTROUNDTRH");
    settings.limitWorkTime = saldo.isOn("MSXHOURS") && !saldo.value("MAXHOURSLIM").toString().isEmpty();
    // A decimal comma deliberately reads as 0 hours, which cuts the working time to nothing.
    settings.workTimeLimit = std::llround(saldo.decimal("MAXHOURSLIM") * 3600.0);
    settings.saldoForFree = saldo.isOn("FORFREE");
    settings.emptySaldo = saldo.isOn("EMPTYSALDO");
}

void readOvertime(const Section &overtime, RuleSettings &settings)
{
    settings.compensateDelay = overtime.isOn("COMPDELAY");
    settings.compensationLimit = overtime.number("COMPDELTRH") * 60;
    settings.thresholdBefore = overtime.threshold("TRHIN");
    settings.thresholdAfter = overtime.threshold("TRHOUT");
    settings.wholeThresholdsBefore = overtime.isOn("ININT");
    settings.wholeThresholdsAfter = overtime.isOn("OUTINT");
    settings.compensateLunch = overtime.isOn("COMPLUNCH");
}

void readFactors(const Section &factor, RuleSettings &settings)
{
    settings.factors = factor.isOn("ENABLED");
    settings.saturdayFactor = factor.decimal("SAT");
    settings.sundayFactor = factor.decimal("SUN");
    settings.holidayFactor = factor.decimal("PUBHOL");
}

void readHours(const Section &hours, RuleSettings &settings)
{
    settings.maxHours = std::llround(hours.decimal("MAXHOURS") * 3600.0);
    settings.showEmptyDays = hours.isOn("SHOWEMPTYDAYS");
    settings.tooManyHours = hours.isOn("TOOMANYHOURS");
    settings.lowSaldo = hours.isOn("LOWSALDO");
    settings.tooManyFreeHours = hours.isOn("TOOMANYFREEHOURS");
    settings.tooManyOverhours = hours.isOn("TOOMANYOVERHOURS");
    settings.addHours = hours.isOn("ADDHOURS");
    settings.addHoursNumber = hours.decimal("ADDHOURSNUM");
}

} // namespace

std::shared_ptr<const RuleSettings> readRuleSettings(const QString &text)
{
    const QAny hash = QAny::fromJson(text);
    if (!hash.isHash())
        return nullptr;
    auto settings = std::make_shared<RuleSettings>();
    settings->stored = storedValuesOf(hash);
    settings->weighing = weighingOf(hash.lookup(QStringLiteral("TYPE")).toString());
    readWarnings(Section(hash, "WAR"), *settings);
    readSaldo(Section(hash, "SALDO"), *settings);
    readOvertime(Section(hash, "OVERTIME"), *settings);
    settings->scheduleForFree = Section(hash, "SCHEDULE").isOn("FORFREE");
    readFactors(Section(hash, "FACTOR"), *settings);
    settings->metaFactor = Section(hash, "META").isOn("FACTOR");
    readHours(Section(hash, "HOURS"), *settings);
    return settings;
}

} // namespace calc::input
