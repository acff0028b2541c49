#include "calc/rules/rulesettings.h"

#include "qany.h"

#include <algorithm>
#include <cmath>

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

qint64 firstInterval(const Section &saldo)
{
    if (!saldo.isOn("ARRINT"))
        return 0;
    if (saldo.isOn("ARRINT10"))
        return 600;
    if (saldo.isOn("ARRINT15"))
        return 900;
    if (saldo.isOn("ARRINT30"))
        return 1800;
    return saldo.isOn("ARRINT60") ? 3600 : 0;
}

RuleSettings::Weighing weighingOf(const QString &text)
{
    if (text == QLatin1String("METAPERTYPE"))
        return RuleSettings::Weighing::MetaPerType;
    return text == QLatin1String("MIXTYPE") ? RuleSettings::Weighing::MixType : RuleSettings::Weighing::EventType;
}

} // namespace

std::shared_ptr<const RuleSettings> RuleSettings::parse(const QString &text)
{
    const QAny hash = QAny::fromJson(text);
    if (!hash.isHash())
        return nullptr;
    auto rules = std::make_shared<RuleSettings>();
    rules->weighing = weighingOf(hash.lookup(QStringLiteral("TYPE")).toString());

    const Section war(hash, "WAR");
    rules->earlyArrival = war.isOn("EARLYARRWAR");
    rules->lateArrival = war.isOn("LATEARRWAR");
    rules->earlyExit = war.isOn("EARLYEXITWAR");
    rules->lateExit = war.isOn("LATEEXITWAR");

    const Section saldo(hash, "SALDO");
    rules->interval = firstInterval(saldo);
    rules->roundArrival = saldo.isOn("ARRINTIN");
    rules->roundDeparture = saldo.isOn("ARRINTOUT");
    rules->keepWorkBefore = saldo.isOn("NWOUTIN");
    rules->keepWorkAfter = saldo.isOn("NWOUTOUT");
    rules->roundWorkTime = saldo.isOn("WTROUND");
    rules->workTimeStep = saldo.threshold("WTROUNDTRH");
    const QString limit = saldo.value("MAXHOURSLIM").toString();
    rules->limitWorkTime = saldo.isOn("MSXHOURS") && !limit.isEmpty();
    // A decimal comma deliberately reads as 0 hours, which cuts the working time to nothing.
    rules->workTimeLimit = std::llround(saldo.decimal("MAXHOURSLIM") * 3600.0);
    rules->saldoForFree = saldo.isOn("FORFREE");
    rules->emptySaldo = saldo.isOn("EMPTYSALDO");

    const Section overtime(hash, "OVERTIME");
    rules->compensateDelay = overtime.isOn("COMPDELAY");
    rules->compensationLimit = overtime.number("COMPDELTRH") * 60;
    rules->thresholdBefore = overtime.threshold("TRHIN");
    rules->thresholdAfter = overtime.threshold("TRHOUT");
    rules->wholeThresholdsBefore = overtime.isOn("ININT");
    rules->wholeThresholdsAfter = overtime.isOn("OUTINT");
    rules->compensateLunch = overtime.isOn("COMPLUNCH");

    rules->scheduleForFree = Section(hash, "SCHEDULE").isOn("FORFREE");

    const Section factor(hash, "FACTOR");
    rules->factors = factor.isOn("ENABLED");
    rules->saturdayFactor = factor.decimal("SAT");
    rules->sundayFactor = factor.decimal("SUN");
    rules->holidayFactor = factor.decimal("PUBHOL");
    rules->metaFactor = Section(hash, "META").isOn("FACTOR");

    const Section hours(hash, "HOURS");
    rules->maxHours = std::llround(hours.decimal("MAXHOURS") * 3600.0);
    rules->showEmptyDays = hours.isOn("SHOWEMPTYDAYS");
    rules->tooManyHours = hours.isOn("TOOMANYHOURS");
    rules->lowSaldo = hours.isOn("LOWSALDO");
    rules->tooManyFreeHours = hours.isOn("TOOMANYFREEHOURS");
    rules->tooManyOverhours = hours.isOn("TOOMANYOVERHOURS");
    rules->addHours = hours.isOn("ADDHOURS");
    rules->addHoursNumber = hours.decimal("ADDHOURSNUM");
    return rules;
}
