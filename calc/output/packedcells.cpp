#include "calc/output/packedcells.h"

namespace calc::output {

namespace {

const QString kColor = QStringLiteral("COLOR");
const QString kTxtColor = QStringLiteral("TXTCOLOR");
const QString kToolTip = QStringLiteral("TOOLTIP");
const QString kIcon = QStringLiteral("ICON");
const QString kDisplay = QStringLiteral("UWVS");
const QString kEmpty = QStringLiteral("");

const struct {
    QLatin1String name;
    Colour::Name background;
    Colour::Name text;
} kKinds[] = {{QLatin1String("MP"), Colour::PARI_MP, Colour::PARI_MP_TXT},
              {QLatin1String("ME"), Colour::PARI_ME, Colour::PARI_ME_TXT},
              {QLatin1String("EV"), Colour::PARI_EV, Colour::PARI_EV_TXT},
              {QLatin1String("AE"), Colour::PARI_AE, Colour::PARI_AE_TXT}};

} // namespace

QAny PackedCells::kind(const QString &type, bool mayBeGenerated)
{
    if (!mayBeGenerated && type == QLatin1String("AE"))
        return type;
    const auto known = m_kinds.constFind(type);
    if (known != m_kinds.constEnd())
        return *known;
    for (const auto &kind : kKinds) {
        if (type == kind.name) {
            const QAny cell{
                {kDisplay, type}, {kColor, Colour::text(kind.background)}, {kTxtColor, Colour::text(kind.text)}};
            return *m_kinds.insert(type, cell);
        }
    }
    return type;
}

QAny PackedCells::saldo(const std::optional<qint64> &seconds)
{
    if (!seconds)
        return kEmpty;
    QAny &cell = m_saldos[*seconds];
    if (cell.isNull()) {
        cell = QAny{{kDisplay, duration(*seconds)},
                    {kTxtColor, Colour::text(*seconds < 0 ? Colour::SLD_NEG_TXT : Colour::SLD_POS_TXT)}};
    }
    return cell;
}

QAny PackedCells::difference(qint64 seconds)
{
    if (seconds == 0)
        return duration(seconds);
    QAny &cell = m_differences[seconds];
    if (cell.isNull()) {
        cell = QAny{{kDisplay, duration(seconds)},
                    {kTxtColor, Colour::text(seconds < 0 ? Colour::DIF_NEG_TXT : Colour::DIF_POS_TXT)}};
    }
    return cell;
}

QAny PackedCells::markedDifference(qint64 seconds, const QString &icon)
{
    QAny cell{{kDisplay, duration(seconds)}};
    if (seconds != 0)
        cell.insert(kTxtColor, Colour::text(seconds < 0 ? Colour::DIF_NEG_TXT : Colour::DIF_POS_TXT));
    cell.insert(kIcon, icon);
    return cell;
}

QAny PackedCells::markedDuration(qint64 seconds, const QString &icon)
{
    return QAny{{kDisplay, duration(seconds)}, {kIcon, icon}};
}

QAny PackedCells::text(const QString &text)
{
    return text.isNull() ? kEmpty : text;
}

QAny PackedCells::remarks(const QStringList &remarks)
{
    return remarks.isEmpty() ? kEmpty : remarks.join(QStringLiteral("; "));
}

QAny PackedCells::moved(const QString &shown, Colour::Name colour, const QString &toolTip)
{
    return QAny{{kDisplay, shown}, {kTxtColor, Colour::text(colour)}, {kToolTip, toolTip}};
}

} // namespace calc::output
