#pragma once

#include "calc/output/colours.h"
#include "calc/output/timetexts.h"
#include "qany.h"

#include <QHash>
#include <QStringList>

#include <optional>

namespace calc::output {

/// Makes the cells of one packing run; equal ones are one handle.
class PackedCells
{
public:
    /// Durations and times with seconds or without; the days are those in which the times lie.
    PackedCells(bool withSeconds, const rules::LocalClock &clock) : m_texts(withSeconds, clock) {}

    TimeTexts &texts() { return m_texts; }

    QAny duration(qint64 seconds) { return m_texts.duration(seconds); }
    /// The event kind with its colours; AE has some only where allowed.
    QAny kind(const QString &type, bool mayBeGenerated);
    /// A balance in its colour; the empty text where there is none.
    QAny saldo(const std::optional<qint64> &seconds);
    /// A difference in its colour; plain when there is nothing to tell.
    QAny difference(qint64 seconds);
    /// The same with a mark.
    QAny markedDifference(qint64 seconds, const QString &icon);
    /// A duration with a mark.
    QAny markedDuration(qint64 seconds, const QString &icon);
    /// The text itself; the empty text for a null one.
    static QAny text(const QString &text);
    /// Remarks joined to one text.
    static QAny remarks(const QStringList &remarks);
    /// A time that the rules moved.
    static QAny moved(const QString &shown, Colour::Name colour, const QString &toolTip);

private:
    TimeTexts m_texts;
    QHash<QString, QAny> m_kinds;
    QHash<qint64, QAny> m_saldos;
    QHash<qint64, QAny> m_differences;
};

} // namespace calc::output
