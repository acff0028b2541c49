#include "tools/zukimport/eventbuilder.h"

#include "tools/zukimport/wordtable.h"

namespace tools::zukimport {

namespace {

QString arrival()
{
    return QStringLiteral("101:Prihod");
}

QString departure()
{
    return QStringLiteral("102:Odhod");
}

} // namespace

EventBuilder::EventBuilder(qint64 maxAbsenceSeconds, Store store, NoReturn noReturn)
    : m_maxAbsenceSeconds(maxAbsenceSeconds), m_store(std::move(store)), m_noReturn(std::move(noReturn))
{
}

void EventBuilder::punch(qint64 seconds, const WordMeaning &meaning, int line)
{
    if (m_whereabouts == Whereabouts::Away && seconds - m_since > m_maxAbsenceSeconds)
        giveUpAbsence();

    if (meaning.goesOut) {
        leaveFor(seconds, meaning, line);
    } else if (meaning.code.isArrival()) {
        if (m_whereabouts == Whereabouts::Away)
            endAbsence(seconds, m_awayFor);
        m_store(seconds, meaning.text);
        m_whereabouts = Whereabouts::In;
        m_since = seconds;
    } else {
        // A plain departure out of an absence ends the day: the absence lasted until then. Another one names it.
        if (m_whereabouts == Whereabouts::Away && (seconds > m_since || m_awayFromWork))
            endAbsence(seconds, meaning.code == calc::rules::AccessCode(departure()) ? m_awayFor : meaning.text);
        else
            m_store(seconds, meaning.text);
        m_whereabouts = Whereabouts::Out;
    }
}

void EventBuilder::leaveFor(qint64 seconds, const WordMeaning &meaning, int line)
{
    if (m_whereabouts == Whereabouts::Away) {
        endAbsence(seconds, m_awayFor);
        m_awayFromWork = m_awayFromWork || seconds > m_since;
        m_awayOpened = m_awayOpened && seconds == m_since;
    } else {
        const bool isIn = m_whereabouts == Whereabouts::In && seconds - m_since <= kLongestPresenceSeconds;
        // Events at equal times are read departures first, so an arrival in this very second opens the absence.
        m_awayOpened = isIn && seconds == m_since;
        // A day may begin with an errand, but nobody goes to lunch from home: there an arrival is missing, and the
        // departure without one lets the calculation say so.
        m_awayFromWork = !m_awayOpened && (isIn || meaning.code.isLunch());
        if (m_awayFromWork)
            m_store(seconds, departure());
    }
    m_whereabouts = Whereabouts::Away;
    m_since = seconds;
    m_awayFor = meaning.text;
    m_awayLine = line;
}

void EventBuilder::endAbsence(qint64 seconds, const QString &closingCode)
{
    // Out and back in one second is no absence, and its events would be read in another order.
    if (seconds == m_since)
        return;
    if (!m_awayOpened)
        m_store(m_since, arrival());
    m_store(seconds, closingCode);
}

void EventBuilder::giveUpAbsence()
{
    if (!m_awayFromWork)
        m_store(m_since, departure());
    m_whereabouts = Whereabouts::Out;
    m_noReturn(m_awayLine);
}

void EventBuilder::finish()
{
    if (m_whereabouts == Whereabouts::Away)
        giveUpAbsence();
    m_whereabouts = Whereabouts::Out;
}

} // namespace tools::zukimport
