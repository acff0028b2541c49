#include "calc/rules/calcsettings.h"

#include "storage/database.h"

#include <algorithm>

namespace {

using Settings = CalcSettings;

struct SettingField {
    const char *key;
    bool Settings::*flag;
    qint64 Settings::*number;
};

constexpr SettingField flagField(const char *key, bool Settings::*flag)
{
    return {key, flag, nullptr};
}

constexpr SettingField numberField(const char *key, qint64 Settings::*number)
{
    return {key, nullptr, number};
}

/// In the order in which the record is written.
constexpr SettingField kFields[] = {
    flagField("ISROUND30", &Settings::isRound30),
    flagField("NEAREVENTS", &Settings::nearEvents),
    flagField("AUTOEVENTS", &Settings::autoEvents),
    numberField("STARTOFF", &Settings::startOff),
    numberField("ENDOFF", &Settings::endOff),
    numberField("NEAREVLEN", &Settings::nearEvLen),
    flagField("ISSEC", &Settings::isSec),
    flagField("ISSETT", &Settings::isSett),
    numberField("CALCREM", &Settings::calcRem),
    numberField("SHOWNOEV", &Settings::showNoEv),
    flagField("ISTREE", &Settings::isTree),
    flagField("ISDEBUG", &Settings::isDebug),
    flagField("ISSUMSUM", &Settings::isSumSum),
    flagField("ISAUTOCALC", &Settings::isAutoCalc),
    numberField("EARLYEXIT", &Settings::earlyExit),
    flagField("ISACS", &Settings::isAcs),
    flagField("ISCODES", &Settings::isCodes),
    flagField("ISZUKEV", &Settings::isZukEv),
    flagField("ISSRVCALC", &Settings::isSrvCalc),
    flagField("TIPRERAZ", &Settings::tipRerAz),
    flagField("NOMETASETT", &Settings::noMetaSett),
    flagField("ISTEST", &Settings::isTest),
    flagField("ISTZ", &Settings::isTz),
};

/// Administration clients write a switch as a Bool, a number or its text.
bool readFlag(const QAny &value)
{
    return value.toBool() || value.toInteger() != 0;
}

} // namespace

qint64 CalcSettings::nearSeconds() const
{
    if (!nearEvents)
        return 0;
    const qint64 hours = nearEvLen == 0 ? kDefaultNearHours : std::clamp<qint64>(nearEvLen, 0, kMaxNearHours);
    return hours * 3600;
}

QAny CalcSettings::toHash() const
{
    QAny hash(QAny::Hash);
    for (const SettingField &field : kFields) {
        const QString key = QString::fromLatin1(field.key);
        if (field.flag)
            hash.insert(key, this->*field.flag);
        else
            hash.insert(key, this->*field.number);
    }
    return hash;
}

CalcSettings CalcSettings::fromHash(const QAny &hash)
{
    CalcSettings settings;
    if (!hash.isHash())
        return settings;
    for (const SettingField &field : kFields) {
        const QAny &value = hash.lookup(QString::fromLatin1(field.key));
        if (field.flag)
            settings.*field.flag = readFlag(value);
        else
            settings.*field.number = value.toInteger();
    }
    return settings;
}

CalcSettings CalcSettings::load(DataBase &database)
{
    return fromHash(QAny::fromJson(database.configValue(QLatin1String(kStoredKey))));
}

void CalcSettings::save(DataBase &database, const QAny &hash)
{
    // Deliberately unescaped, like every value in this kind of statement: a text with an apostrophe is not stored.
    database.exec(QStringLiteral("insert or replace into config (key, value) values ('%1','%2')")
                      .arg(QLatin1String(kStoredKey), hash.toJson()));
}

CalcSettings CalcSettings::ofRequest(DataBase &database, const QAny &request)
{
    const QAny &settings = request.lookup(QStringLiteral("SETT"));
    return settings.isHash() ? fromHash(settings) : load(database);
}
