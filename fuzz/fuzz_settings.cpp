// Whatever the administration has stored: a schedule, an employee's settings and the rows of `config` are read, and a
// calculation by them comes to an end, adds up, and can be shown. Each line of the input is one text: the schedule, the
// settings, CALCWTIMES, DOUBLETAP and CALCDAYHDR.

#include "calc/input/rulesettingstext.h"
#include "calc/input/scheduletext.h"
#include "calc/input/settingsstore.h"
#include "calc/output/tables.h"
#include "driver.h"
#include "soundrun.h"
#include "storage/reader.h"

namespace {

/// A file that holds these rows of `config` alone.
class ConfigFile final : public storage::Reader
{
public:
    QHash<QString, QString> rows;

    bool isOpen() const override { return true; }
    QString filePath() const override { return {}; }
    QString configValue(const QString &key) override { return rows.value(key); }
    QAny select(const QString &) override { return QAny(QAny::List); }
    storage::Status forEachRow(const QString &, const QVariantList &,
                               const std::function<void(const QSqlQuery &)> &) override
    {
        return storage::Status::Lasting;
    }
};

/// A day, a night over a change of the clock, a day of halves and second taps, an absence entered by hand.
CalcRows weekOfEvents()
{
    CalcRows rows("27.3.2026 7:03 101; 11 103; 11:29 101; 15:40 102; 28.3.2026 21:50 101; 29.3.2026 06:10 102; "
                  "30.3.2026 8 102; 9 101; 9:00:30 101; 12 104; 13-14 105; 31.3.2026 5-18 + 1.4.2026 7-15 102:1/MP");
    rows.assign("30.3.2026", "31.3.2026", "2");
    rows.holiday("30.3.2026", "praznik");
    return rows;
}

/// As a script of the tests.
QString switches(const calc::rules::CalcSettings &settings)
{
    const QAny hash = calc::input::settingsHash(settings);
    QString script;
    for (int i = 0; i < hash.count(); ++i)
        script += hash.keyAt(i) + '=' + QString::number(hash.at(i).toInteger()) + ' ';
    return script;
}

} // namespace

void check(const QByteArray &input)
{
    const QByteArrayList lines = input.split('\n');
    const auto text = [&lines](int line) { return QString::fromUtf8(lines.value(line)); };
    ConfigFile config;
    config.rows = {{QStringLiteral("CALCWTIMES"), text(2)}, {QStringLiteral("DOUBLETAP"), text(3)}};

    static const CalcRows week = weekOfEvents();
    CalcRows rows = week;
    rows.of(1).schedule = calc::input::readSchedule(text(0)).schedule;
    rows.of(1).rules = calc::input::readRuleSettings(text(1));
    rows.doubleTapSeconds = calc::input::doubleTapSecondsOf(config, {});
    const CalcRun run = soundRun(rows, QStringLiteral("27.3.2026"), QStringLiteral("1.4.2026"),
                                 switches(calc::input::loadSettings(config)));
    calc::output::PackedCells cells = calc::output::cellsOf(run.result);
    calc::output::dayTable(run.result, QAny::fromJson(text(4)), cells);
}
