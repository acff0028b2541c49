#include "calc/input/settingsstore.h"

#include "storage/database.h"

namespace calc::input {

namespace {

using Settings = rules::CalcSettings;

/// Key of the `config` row that holds the stored settings as JSON text.
const QString kStoredKey = QStringLiteral("CALCWTIMES");
/// Key of the `config` row, and of a request, with the seconds between taps of one passage.
const QString kDoubleTap = QStringLiteral("DOUBLETAP");

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

QAny settingsHash(const rules::CalcSettings &settings)
{
    QAny hash(QAny::Hash);
    for (const SettingField &field : kFields) {
        const QString key = QString::fromLatin1(field.key);
        if (field.flag)
            hash.insert(key, settings.*field.flag);
        else
            hash.insert(key, settings.*field.number);
    }
    return hash;
}

rules::CalcSettings settingsFromHash(const QAny &hash)
{
    rules::CalcSettings settings;
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

rules::CalcSettings loadSettings(storage::Reader &database)
{
    return settingsFromHash(QAny::fromJson(database.configValue(kStoredKey)));
}

void saveSettings(DataBase &database, const QAny &hash)
{
    // Deliberately unescaped, like every value in this kind of statement: a text with an apostrophe is not stored.
    database.exec(
        QStringLiteral("insert or replace into config (key, value) values ('%1','%2')").arg(kStoredKey, hash.toJson()));
}

rules::CalcSettings settingsOf(storage::Reader &database, const QAny &request)
{
    const QAny &settings = request.lookup(QStringLiteral("SETT"));
    return settings.isHash() ? settingsFromHash(settings) : loadSettings(database);
}

qint64 doubleTapSecondsOf(storage::Reader &database, const QAny &request)
{
    const qint64 seconds = request.contains(kDoubleTap) ? request.lookup(kDoubleTap).toInteger()
                                                        : database.configValue(kDoubleTap).trimmed().toLongLong();
    return std::clamp<qint64>(seconds, 0, kMaxDoubleTapSeconds);
}

} // namespace calc::input
