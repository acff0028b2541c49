#include "tools/zukadmin/explanationwords.h"

#include <QHash>

namespace tools::zukadmin {

namespace {

struct Entry {
    const char *key; ///< with the group of the server's names in front of them
    const char *slovenian;
    const char *english;
};

constexpr Entry kCatalogue[] = {
    {"noSchedule", "Za ta dan ni urnika.", "There is no schedule on this day."},
    {"shift", "Izmena %1", "Shift %1"},
    {"schedule", "Urnik", "Schedule"},
    {"arriveBetween", "prihod od %1 do %2", "arrival from %1 to %2"},
    {"arriveFrom", "prihod od %1", "arrival from %1"},
    {"arriveUntil", "prihod do %1", "arrival until %1"},
    {"leaveBetween", "odhod od %1 do %2", "departure from %1 to %2"},
    {"leaveFrom", "odhod od %1", "departure from %1"},
    {"leaveUntil", "odhod do %1", "departure until %1"},
    {"minimum", "predpisane ure %1", "required hours %1"},
    {"otherZone", "Strežnik je v drugem časovnem pasu: ure dogodkov so po uri tega računalnika.",
     "The server is in another time zone: the times of the events are those of this computer."},
    {"nextDay", "%1 (naslednji dan)", "%1 (next day)"},
    {"previousDay", "%1 (prejšnji dan)", "%1 (previous day)"},
    {"furtherDay", "%1 (dan %2)", "%1 (day %2)"},

    {"timeline", "Dan od ure do ure", "The day hour by hour"},
    {"windowLegend", "urnik: = čas za prihod ali odhod, - obvezna navzočnost",
     "schedule: = time to arrive or leave, - core time"},
    {"plainWindowLegend", "- urnik", "- schedule"},
    {"arrivalLegend", "prihod", "arrival"},
    {"departureLegend", "odhod", "departure"},
    {"halfLegend", "manjka drugi del para", "other half missing"},
    {"unusedLegend", "na ta dan ne šteje", "does not count on this day"},
    {"otherLegend", "glej dogodke", "see the events"},
    {"severalLegend", "več dogodkov", "several events"},
    {"pastEndLegend", "traja še naprej", "goes on"},

    {"events", "Dogodki", "Events"},
    {"noEvents", "Za ta dan ni dogodkov.", "There are no events on this day."},
    {"number", "Št.", "No."},
    {"time", "Čas", "Time"},
    {"code", "Koda", "Code"},
    {"source", "Vir", "Source"},
    {"becameOf", "Kaj je z njim", "What became of it"},
    {"stored", "%1; shranjen ob %2", "%1; stored as %2"},
    {"terminal", "terminal %1", "terminal %1"},
    {"enteredBy", "vnos: %1", "entered by %1"},

    {"pairs", "Pari", "Pairs"},
    {"noPairs", "Za ta dan ni popolnih parov.", "There are no complete pairs on this day."},
    {"from", "Od", "From"},
    {"to", "Do", "To"},
    {"length", "Trajanje", "Length"},
    {"kind", "Vrsta", "Kind"},
    {"made", "%1 (samodejno)", "%1 (automatic)"},
    {"noCategory", "brez vrste", "no kind"},

    {"account", "Kako je nastal delovni čas", "How the working time came about"},
    {"start", "delo po parih", "work as of the pairs"},
    {"unchanged", "delovni čas; nobeno pravilo ga ni spremenilo", "working time; no rule changed it"},
    {"arrivalMoved", "prihod šteje ob %2 namesto ob %1", "the arrival counts at %2 instead of %1"},
    {"departureMoved", "odhod šteje ob %2 namesto ob %1", "the departure counts at %2 instead of %1"},
    {"otherMoved", "%3 je %2 namesto %1", "%3 is %2 instead of %1"},
    {"warning", "opomba: %1", "remark: %1"},

    {"idle", "Pravila, ki niso naredila ničesar", "Rules that did nothing"},
    {"allRules", "vsa pravila", "all rules"},

    {"result", "Rezultat", "Result"},
    {"empty", "prazno", "empty"},
    {"faults", "Napake in opombe", "Faults and remarks"},

    {"rule paidLunch", "plačana malica", "paid lunch"},
    {"rule arrivalWarning", "opozorilo ob prihodu", "arrival warning"},
    {"rule departureWarning", "opozorilo ob odhodu", "departure warning"},
    {"rule arrivalRounding", "zaokroževanje prihoda", "rounding of the arrival"},
    {"rule departureRounding", "zaokroževanje odhoda", "rounding of the departure"},
    {"rule workBeforeWindow", "delo v celoti pred urnikom", "work wholly before the schedule"},
    {"rule workAfterWindow", "delo v celoti po urniku", "work wholly after the schedule"},
    {"rule delayCompensation", "nadomestitev zamude", "compensation of a delay"},
    {"rule earlyArrival", "prihod pred urnikom", "arrival before the schedule"},
    {"rule lateDeparture", "odhod po urniku", "departure after the schedule"},
    {"rule compensatedDelay", "odbitek nadomeščene zamude", "deduction of a compensated delay"},
    {"rule lunch", "predolga malica", "long lunch"},
    {"rule lunchCompensation", "nadomestitev predolge malice", "compensation of a long lunch"},
    {"rule workTimeRounding", "zaokroževanje delovnega časa", "rounding of the working time"},
    {"rule maximumHours", "največ ur na dan", "maximum hours"},
    {"rule dayFactor", "faktor dneva", "day factor"},
    {"rule floorAtZero", "ne manj kot nič", "not below zero"},
    {"rule emptyDay", "dan brez ur", "day without hours"},
    {"rule tooManyHours", "preveč delovnih ur", "too many hours"},
    {"rule tooFewHours", "premalo delovnih ur", "too few hours"},
    {"rule tooManyFreeHours", "preveč prostih ur", "too many free hours"},
    {"rule tooManyOverhours", "preveč nadur", "too much overtime"},
    {"rule addedHours", "dodane ure", "added hours"},

    {"done paidLunch", "malica se prišteje, ker je do dovoljene dolžine plačana",
     "the lunch is added, since it is paid up to the allowed length"},
    {"done arrivalWarning", "prihod ni v času za prihod", "the arrival is not within the time to arrive"},
    {"done arrivalWarning STARTB", "prihod pred začetkom urnika", "arrival before the schedule begins"},
    {"done arrivalWarning STARTE", "prihod po izteku časa za prihod", "arrival after the time to arrive"},
    {"done departureWarning", "odhod ni v času za odhod", "the departure is not within the time to leave"},
    {"done departureWarning ENDB", "odhod pred časom za odhod", "departure before the time to leave"},
    {"done departureWarning ENDE", "odhod po koncu urnika", "departure after the schedule ends"},
    {"done arrivalRounding", "prihod se zaokroži navzgor na cel interval",
     "the arrival is rounded up to a whole interval"},
    {"done departureRounding", "odhod se zaokroži navzdol na cel interval",
     "the departure is rounded down to a whole interval"},
    {"done workBeforeWindow", "delo, ki je v celoti pred urnikom, ne šteje",
     "work that lies wholly before the schedule does not count"},
    {"done workAfterWindow", "delo, ki je v celoti po urniku, ne šteje",
     "work that lies wholly after the schedule does not count"},
    {"done delayCompensation", "zamuda je nadomeščena z delom po koncu urnika",
     "the delay is made up for by work after the schedule's end"},
    {"done earlyArrival", "čas pred začetkom urnika ne šteje", "time before the schedule's start does not count"},
    {"done earlyArrival OVERTIME/TRHIN", "čas pred začetkom urnika šteje le, kolikor dosega prag",
     "time before the schedule's start counts only as far as it reaches the threshold"},
    {"done lateDeparture", "čas po koncu urnika ne šteje", "time after the schedule's end does not count"},
    {"done lateDeparture OVERTIME/TRHOUT", "čas po koncu urnika šteje le, kolikor dosega prag",
     "time after the schedule's end counts only as far as it reaches the threshold"},
    {"done lateDeparture SALDO/NWOUTOUT", "čas po koncu urnika šteje", "time after the schedule's end counts"},
    {"done compensatedDelay", "nadomeščena zamuda se odšteje", "the compensated delay is taken off"},
    {"done lunch", "malica je daljša od dovoljene, presežek se odšteje",
     "the lunch is longer than allowed, the excess is taken off"},
    {"done lunchCompensation", "presežek malice je nadomeščen z delom po koncu urnika",
     "the excess of the lunch is made up for by work after the schedule's end"},
    {"done workTimeRounding", "delovni čas se zaokroži navzdol na cele korake",
     "the working time is rounded down to whole steps"},
    {"done maximumHours", "več od največjega števila ur ne šteje", "more than the maximum does not count"},
    {"done dayFactor", "delovni čas se pomnoži s faktorjem dneva",
     "the working time is multiplied by the day's factor"},
    {"done floorAtZero", "delovni čas ne more biti negativen", "the working time cannot be negative"},
    {"done emptyDay", "delovni dan nima delovnih ur", "a working day without hours"},
    {"done tooManyHours", "delovnih ur je več od meje za opozorilo", "more hours than the limit of the warning"},
    {"done tooFewHours", "ur je manj, kot jih predpisuje urnik", "fewer hours than the schedule asks for"},
    {"done tooManyFreeHours", "zasebne odsotnosti je več, kot je dovoli urnik",
     "more private absence than the schedule allows"},
    {"done tooManyOverhours", "nadur je več, kot jih dovoli urnik", "more overtime than the schedule allows"},
    {"done addedHours", "dnevu z delom se prištejejo dodane ure", "hours are added to a day with work"},

    {"why no settings", "zaposleni nima nastavitev obračuna", "the employee has no calculation settings"},
    {"why rules skipped", "dan je vnesen ročno, pravila zanj ne veljajo",
     "the day was entered by hand, the rules skip it"},
    {"why after today", "dan še ni minil", "the day is still to come"},
    {"why off", "izklopljeno ali brez vrednosti", "switched off or without a value"},
    {"why no schedule", "dan nima urnika", "the day has no schedule"},
    {"why free day", "dan je dela prost", "the day is free"},
    {"why nothing to do", "ni bilo kaj spremeniti", "nothing to change"},
    {"why below its limit", "meja ni bila dosežena", "the limit was not reached"},

    {"use arrival", "prihod", "arrival"},
    {"use departure", "odhod", "departure"},
    {"use other half missing", "manjka drugi del para", "the other half of the pair is missing"},
    {"use second tap", "ponovljena registracija, ne šteje", "second tap of one passage, not counted"},
    {"use doubled", "dvojni vnos, dogodek že obstaja, ne šteje", "entered twice, not counted"},
    {"use deleted by an hour check", "izločen zaradi ure (pozen prihod ali zgoden odhod)",
     "left out for its hour (late arrival or early departure)"},
    {"use no code", "koda ni ne prihod ne odhod, ne šteje", "code of no arrival or departure, not counted"},
    {"use outside the period", "spada k paru drugega dne", "belongs to a pair of another day"},

    {"category DELO", "delo", "work"},
    {"category DOPUST", "dopust", "annual leave"},
    {"category BOLNIŠKA", "bolniška", "sick leave"},
    {"category TEREN", "teren", "field work"},
    {"category SALDOURE", "ure iz salda", "hours from the balance"},
    {"category IZRDOPUST", "izredni dopust", "special leave"},
    {"category ODDOMA", "delo od doma", "work from home"},
    {"category DRUGO", "drugo", "other"},
    {"category MALICA", "malica", "lunch"},
    {"category SLUŽBENO", "službena odsotnost", "business absence"},
    {"category ZASEBNO", "zasebna odsotnost", "private absence"},
    {"letter DELO", "D", "W"},
    {"letter DOPUST", "P", "A"},
    {"letter BOLNIŠKA", "B", "S"},
    {"letter TEREN", "T", "F"},
    {"letter SALDOURE", "U", "B"},
    {"letter IZRDOPUST", "I", "X"},
    {"letter ODDOMA", "O", "H"},
    {"letter DRUGO", "R", "O"},
    {"letter MALICA", "M", "L"},
    {"letter SLUŽBENO", "S", "E"},
    {"letter ZASEBNO", "Z", "P"},

    {"result DELO", "delovni čas", "working time"},
    {"result SKUPAJ", "delovni čas z odsotnostmi, ki štejejo (dopust, bolniška, praznik ...)",
     "working time with the absences that count (leave, sickness, holiday ...)"},
    {"result SALDO", "koliko je to več ali manj od predpisanih ur", "more or less than the required hours"},
    {"result PLUSMINUS", "enako, tudi na dan, ko je SALDO prazen", "the same, also on a day on which SALDO is empty"},
};

} // namespace

QString ExplanationWords::text(const char *key) const
{
    static const QHash<QByteArray, const Entry *> entries = [] {
        QHash<QByteArray, const Entry *> byKey;
        for (const Entry &entry : kCatalogue)
            byKey.insert(entry.key, &entry);
        return byKey;
    }();
    const Entry *entry = entries.value(key);
    if (!entry)
        return {};
    return QString::fromUtf8(m_language == Language::Slovenian ? entry->slovenian : entry->english);
}

QString ExplanationWords::found(const char *group, const QString &name) const
{
    return text(QByteArray(group) + ' ' + name.toUtf8());
}

QString ExplanationWords::named(const char *group, const QString &name) const
{
    const QString known = found(group, name);
    return known.isEmpty() ? name : known;
}

QString ExplanationWords::done(const QString &rule, const QString &setting) const
{
    const QString exact = found("done", rule + QLatin1Char(' ') + setting);
    return exact.isEmpty() ? named("done", rule) : exact;
}

QChar ExplanationWords::letter(const QString &category) const
{
    const QString letter = found("letter", category);
    return letter.isEmpty() ? QLatin1Char('+') : letter.at(0);
}

} // namespace tools::zukadmin
