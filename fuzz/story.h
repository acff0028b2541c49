#pragma once

#include "calcrows.h"

/// Fills a company with what the text tells: the minutes since the last event and what it is, "420i 480o" for an
/// arrival at 7:00 and a departure at 15:00. "|" is the next midnight, H makes the day a holiday, 2S gives it the
/// shift 2. All else is skipped, so every text tells something.
class Story
{
public:
    /// Begins on the day. The rows are not owned and must outlive this object; employee 1 is in them.
    Story(CalcRows &rows, QDate first) : m_rows(rows), m_day(first), m_time(midnight()) {}

    void tell(const QByteArray &text)
    {
        int number = 0;
        for (const char letter : text) {
            if (letter >= '0' && letter <= '9') {
                number = (number * 10 + letter - '0') % kMostMinutes;
                continue;
            }
            take(letter, number);
            number = 0;
        }
    }

private:
    static constexpr int kMostMinutes = 10000;

    /// What a letter stands for; a capital one is entered by hand.
    struct Tap {
        char letter;
        const char *accessCode;
        const char *type;
    };
    static constexpr Tap kTaps[] = {{'i', "101:Prihod", "EV"}, {'o', "102:Odhod", "EV"}, {'m', "103:Malica", "EV"},
                                    {'s', "104:Pot", "EV"},    {'z', "105", "EV"},       {'d', "102:1:Dopust", "MP"},
                                    {'b', "102:2:Bol", "MP"},  {'t', "102:4", "EV"},     {'w', "102:7:Doma", "ME"},
                                    {'r', "102:9", "EV"},      {'x', "", "EV"},          {'g', "201:Vrata", "EV"},
                                    {'a', "101:Prihod", "MP"}, {'e', "102:3", "AE"}};

    qint64 midnight() const { return m_day.startOfDay().toSecsSinceEpoch(); }
    void take(char letter, int number)
    {
        const QString day = m_day.toString(QStringLiteral("d.M.yyyy"));
        if (letter == 'H')
            return m_rows.holiday(day, QStringLiteral("praznik"));
        if (letter == 'S')
            return m_rows.assign(day, day, QString::number(number % 5)); // off, three shifts, and none of them
        if (letter == '|') {
            m_day = m_day.addDays(1);
            m_time = midnight();
        }
        for (const Tap &tap : kTaps) {
            if (tap.letter == (letter | 0x20))
                add(tap, tap.letter != letter, number);
        }
    }
    void add(const Tap &tap, bool isByHand, int minutes)
    {
        m_time += minutes * 60 + tap.letter % 2 * (minutes % 60); // some of them not on the minute
        calc::rules::Event event;
        event.id = ++m_count;
        event.stored = m_time;
        event.accessCode = QString::fromLatin1(tap.accessCode);
        event.code = calc::rules::AccessCode(event.accessCode);
        event.isMeta = isByHand;
        event.type = QString::fromLatin1(tap.type);
        event.kind = calc::rules::kindOf(event.type);
        m_rows.of(1).events.push_back(event);
    }

    CalcRows &m_rows;
    QDate m_day;
    qint64 m_time;
    qint64 m_count = 0;
};
