#include "tools/demodata/demoworker.h"

#include "tools/demodata/demoshifts.h"

#include <algorithm>

namespace tools::demodata {

namespace {

const QString kArrival = QStringLiteral("101:Prihod");
const QString kDeparture = QStringLiteral("102:Odhod");
const QString kLunch = QStringLiteral("103:Malica");
const QString kBusiness = QStringLiteral("104:Službeno");
const QString kPrivate = QStringLiteral("105:Zasebno");
const QString kLeave = QStringLiteral("102:1:Dopust");
const QString kSick = QStringLiteral("102:2:Bolniška");
const QString kFieldWork = QStringLiteral("102:4:Teren");
const QString kSpecialLeave = QStringLiteral("102:6:Izredni dopust");
const QString kHomeOffice = QStringLiteral("102:7:Delo od doma");

constexpr int kMinute = 60;
constexpr int kHour = 60 * kMinute;
constexpr int kWorkday = 8 * kHour;
constexpr int kNightShift = 3;

constexpr double kLeaveBegins = 0.018;
constexpr double kSummerLeaveBegins = 0.07;
constexpr double kSickBegins = 0.006;
constexpr double kSpecialLeaveBegins = 0.001;
constexpr double kFreeDayDuty = 0.3;
constexpr double kCollectiveLeaveTaken = 0.9;
constexpr double kLate = 0.04;
constexpr double kOvertime = 0.08;
constexpr double kLunchNotStamped = 0.1;
constexpr double kPrivateExit = 0.06;
constexpr double kBusinessExit = 0.05;
constexpr double kForgotten = 0.008;
constexpr double kForgottenForGood = 0.25;
constexpr double kDoubled = 0.006;

std::vector<DemoPunch> wholeDay(int from, const QString &code, DemoPunch::Source source, const QString &remark)
{
    return {{from, kArrival, source, remark}, {from + kWorkday, code, source, remark}};
}

} // namespace

DemoWorker::DemoWorker(const DemoEmployee &employee, quint64 seed)
    : m_employee(employee), m_random(seed, static_cast<quint64>(employee.id)), m_secondTaps(seed, employee.id),
      m_usualStart(employee.job.startMinute * kMinute)
{
    if (employee.job.rhythm == Rhythm::Flexible)
        m_usualStart += m_random.around(0, 40) * kMinute;
}

int DemoWorker::leaveTaken(int year) const
{
    const auto taken = m_leaveTaken.find(year);
    return taken == m_leaveTaken.end() ? 0 : taken->second;
}

std::vector<DemoPunch> DemoWorker::dayOf(const DemoDay &day)
{
    if (day.date < m_employee.firstDay || (m_employee.lastDay.isValid() && day.date > m_employee.lastDay))
        return {};
    const int shift = shiftToday(day);
    if (shift == 0)
        return {};
    maybeFallAbsent(day);
    const int start = m_employee.job.startMinute * kMinute + (shift - 1) * kWorkday;
    if (m_absence.daysLeft > 0) {
        --m_absence.daysLeft;
        if (m_absence.code == kLeave)
            ++m_leaveTaken[day.date.year()];
        return wholeDay(start, m_absence.code, DemoPunch::Source::Planned, m_absence.remark);
    }
    if (m_random.happens(m_employee.job.fieldWork))
        return wholeDay(start, kFieldWork, DemoPunch::Source::Planned, QStringLiteral("Teren"));
    if (m_random.happens(m_employee.job.homeOffice))
        return wholeDay(start, kHomeOffice, DemoPunch::Source::Web, QStringLiteral("Delo od doma"));

    std::vector<DemoPunch> punches;
    for (const Span &span : workday(shift)) {
        punches.push_back({span.from, kArrival, DemoPunch::Source::Terminal, {}});
        punches.push_back({span.to, span.code, DemoPunch::Source::Terminal, {}});
    }
    makeMistakes(punches, shift);
    return m_secondTaps.addedTo(punches);
}

/// 0 on a day off.
int DemoWorker::shiftToday(const DemoDay &day)
{
    const bool worksInShifts = m_employee.group >= 0;
    const int shift = worksInShifts ? shiftOf(demoShiftGroups().at(m_employee.group), day.date) : 1;
    const bool isContinuous = m_employee.job.rhythm == Rhythm::Continuous;
    if (isContinuous || (day.date.dayOfWeek() <= Qt::Friday && !day.isHoliday))
        return shift;
    return day.hasDuty && m_random.happens(kFreeDayDuty) ? shift : 0;
}

void DemoWorker::maybeFallAbsent(const DemoDay &day)
{
    if (m_absence.daysLeft > 0)
        return;
    const int leaveLeft = m_employee.leaveDays - leaveTaken(day.date.year());
    const bool isSummer = day.date.month() == 7 || day.date.month() == 8;
    if (m_random.happens(kSickBegins)) {
        m_absence = {kSick, QStringLiteral("Bolniška"), m_random.between(2, 8)};
    } else if (m_random.happens(kSpecialLeaveBegins)) {
        m_absence = {kSpecialLeave, QStringLiteral("Izredni dopust"), m_random.between(1, 3)};
    } else if (leaveLeft > 0) {
        const bool leavesTogether = day.isCollectiveLeave && m_random.happens(kCollectiveLeaveTaken);
        const bool leaves = m_random.happens(isSummer ? kSummerLeaveBegins : kLeaveBegins);
        const int wanted = isSummer ? m_random.between(3, 12) : m_random.between(1, 4);
        if (leavesTogether)
            m_absence = {kLeave, QStringLiteral("Dopust"), 1};
        else if (leaves)
            m_absence = {kLeave, QStringLiteral("Dopust"), std::min(wanted, leaveLeft)};
    }
}

/// The spans of a day at work, one after the other without a gap.
std::vector<DemoWorker::Span> DemoWorker::workday(int shift)
{
    const bool isFlexible = m_employee.job.rhythm == Rhythm::Flexible;
    const int start = m_usualStart + (shift - 1) * kWorkday;
    int arrival = start;
    int leaving = start + kWorkday;
    if (isFlexible) {
        arrival += secondsOf(m_random.around(0, 12));
        leaving = arrival + kWorkday + secondsOf(m_random.around(8, 25));
    } else {
        const bool isLate = m_random.happens(kLate);
        arrival += isLate ? secondsOf(m_random.between(1, 25)) : -secondsOf(m_random.between(2, 18));
        leaving += secondsOf(m_random.between(0, 12));
    }
    if (m_random.happens(kOvertime))
        leaving += m_random.between(40, 110) * kMinute;

    std::vector<Span> spans{{arrival, leaving, kDeparture}};
    const bool eats = !m_employee.job.automaticLunch || !m_random.happens(kLunchNotStamped);
    // The night's meal ends before midnight, so that the whole night counts on the day on which it began.
    const int lunch = shift == kNightShift ? start + secondsOf(m_random.between(75, 84))
                                           : start + secondsOf(m_random.between(220, 270));
    const int afterLunch = lunch + secondsOf(m_random.between(20, 33));
    if (eats) {
        spans = {{arrival, lunch, kDeparture}, {lunch, afterLunch, kLunch}, {afterLunch, leaving, kDeparture}};
    }
    if (shift == 1)
        addExit(spans, afterLunch, leaving);
    return spans;
}

/// Breaks the last span for an errand.
void DemoWorker::addExit(std::vector<Span> &spans, int earliest, int leaving)
{
    QString code;
    if (m_random.happens(kPrivateExit))
        code = kPrivate;
    else if (m_random.happens(kBusinessExit))
        code = kBusiness;
    const int out = earliest + secondsOf(m_random.between(20, 60));
    const int back = out + secondsOf(m_random.between(20, 75));
    if (code.isEmpty() || back + 10 * kMinute > leaving)
        return;
    spans.back().to = out;
    spans.push_back({out, back, code});
    spans.push_back({back, leaving, kDeparture});
}

void DemoWorker::makeMistakes(std::vector<DemoPunch> &punches, int shift)
{
    const bool atArrival = m_random.happens(0.5);
    const size_t index = atArrival ? 0 : punches.size() - 1;
    if (m_random.happens(kForgotten)) {
        // The foreman of the night writes down who forgot; by day some are never found out.
        const bool forGood = shift != kNightShift && m_random.happens(kForgottenForGood);
        if (forGood) {
            punches.erase(punches.begin() + static_cast<std::ptrdiff_t>(index));
        } else {
            DemoPunch &punch = punches[index];
            punch.second -= punch.second % kMinute;
            punch.source = DemoPunch::Source::Correction;
            punch.remark = atArrival ? QStringLiteral("Pozabljen prihod") : QStringLiteral("Pozabljen odhod");
        }
    } else if (m_random.happens(kDoubled)) {
        const DemoPunch again = otherTapOf(punches[index], m_random.between(3, 20));
        punches.insert(atArrival ? punches.begin() + 1 : punches.end() - 1, again);
    }
}

} // namespace tools::demodata
