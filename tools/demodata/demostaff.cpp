#include "tools/demodata/demostaff.h"

#include "tools/demodata/demorandom.h"
#include "tools/demodata/demoshifts.h"

#include <map>

namespace tools::demodata {

namespace {

constexpr const char *kWomen[] = {
    "Ana",   "Marija", "Maja",    "Nataša",  "Špela",  "Nina", "Irena", "Mojca",  "Katja",  "Petra", "Tjaša", "Živa",
    "Urška", "Sara",   "Barbara", "Andreja", "Lucija", "Nuša", "Zala",  "Jožica", "Polona", "Saša",  "Metka", "Branka",
};
constexpr const char *kMen[] = {
    "Franc", "Marko",   "Andrej", "Luka", "Matej", "Žiga", "Jože",   "Gašper", "Rok",   "Janez", "Tomaž", "Aljaž",
    "Miha",  "Boštjan", "Peter",  "Uroš", "Blaž",  "Jure", "Matjaž", "Dušan",  "Simon", "Anže",  "Nejc",  "Črt",
};
constexpr const char *kFamilies[] = {
    "Novak",     "Horvat",   "Kovačič", "Krajnc",   "Zupančič",  "Potočnik", "Kovač",  "Mlakar",  "Kos",    "Vidmar",
    "Golob",     "Turk",     "Božič",   "Kralj",    "Korošec",   "Zupan",    "Bizjak", "Hribar",  "Kotnik", "Kavčič",
    "Rozman",    "Kastelic", "Oblak",   "Žagar",    "Petek",     "Hočevar",  "Kolar",  "Košir",   "Koren",  "Zajc",
    "Klemenčič", "Knez",     "Medved",  "Zupanc",   "Petrič",    "Pirc",     "Hrovat", "Lah",     "Kuhar",  "Pavlič",
    "Zorko",     "Uršič",    "Tomažič", "Sever",    "Babič",     "Erjavec",  "Jereb",  "Jerman",  "Majcen", "Kranjc",
    "Breznik",   "Rupnik",   "Pušnik",  "Lesjak",   "Perko",     "Dolenc",   "Pečnik", "Močnik",  "Furlan", "Pavlin",
    "Vidic",     "Logar",    "Kobal",   "Jenko",    "Žnidaršič", "Ribič",    "Tomšič", "Žibert",  "Jelen",  "Marolt",
    "Černe",     "Štrukelj", "Mrak",    "Gregorič", "Zadravec",  "Šuštar",   "Dežman", "Ogrizek", "Čeh",    "Škof",
};

constexpr double kCameInPeriod = 0.05;
constexpr double kLeftInPeriod = 0.06;
constexpr int kFirstPersonalNumber = 1000;

template <int N> QString pick(const char *const (&texts)[N], DemoRandom &random)
{
    return QString::fromUtf8(texts[random.between(0, N - 1)]);
}

/// Every hundred in a row are spread over the jobs by their shares, a small company too.
const DemoJob &jobOf(int index)
{
    constexpr int stride = 37; // no divisor of 100: walks through all the hundredths
    int hundredth = index * stride % 100;
    for (const DemoJob &job : demoJobs()) {
        if (hundredth < job.share)
            return job;
        hundredth -= job.share;
    }
    return demoJobs().last();
}

int groupOf(Rhythm rhythm, int index)
{
    const QVector<DemoShiftGroup> &groups = demoShiftGroups();
    QVector<int> fitting;
    for (int i = 0; i < groups.size(); ++i) {
        if (groups.at(i).rhythm == rhythm)
            fitting.append(i);
    }
    return fitting.isEmpty() ? -1 : fitting.at(index % fitting.size());
}

QDate dayBetween(QDate start, QDate end, DemoRandom &random)
{
    return start.addDays(random.between(0, static_cast<int>(start.daysTo(end))));
}

} // namespace

QString plainName(const QString &name)
{
    const QString decomposed = name.toLower().normalized(QString::NormalizationForm_D);
    QString plain;
    // Each caron is a character of its own now.
    for (const QChar letter : decomposed) {
        if (letter.isLetter())
            plain += letter;
    }
    return plain;
}

QVector<DemoEmployee> demoStaff(int count, QDate start, QDate end, DemoRandom &random)
{
    QVector<DemoEmployee> staff;
    staff.reserve(count);
    std::map<Rhythm, int> seats;
    for (int i = 0; i < count; ++i) {
        DemoEmployee employee;
        employee.id = i + 1;
        employee.firstName = random.happens(0.45) ? pick(kWomen, random) : pick(kMen, random);
        employee.lastName = pick(kFamilies, random);
        employee.personalNumber = QString::number(kFirstPersonalNumber + employee.id);
        employee.job = jobOf(i);
        employee.leaveDays = random.between(20, 32);
        employee.firstDay = random.happens(kCameInPeriod) ? dayBetween(start, end, random) : start;
        if (random.happens(kLeftInPeriod))
            employee.lastDay = dayBetween(employee.firstDay, end, random);
        if (i == 0) {
            employee.firstName = QStringLiteral("Ana");
            employee.lastName = QStringLiteral("Novak");
            employee.job = demoJobs().at(2);
            employee.firstDay = start;
            employee.lastDay = QDate();
        }
        employee.group = groupOf(employee.job.rhythm, seats[employee.job.rhythm]++);
        employee.email = QStringLiteral("%1.%2.%3@podjetje.example")
                             .arg(plainName(employee.firstName), plainName(employee.lastName))
                             .arg(employee.id);
        staff.append(employee);
    }
    return staff;
}

} // namespace tools::demodata
