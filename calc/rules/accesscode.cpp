#include "calc/rules/accesscode.h"

namespace calc::rules {

namespace {

int digitAt(const QString &text, int position)
{
    const int digit = position < text.size() ? text.at(position).unicode() - '0' : -1;
    return digit >= 0 && digit <= 9 ? digit : -1;
}

} // namespace

AccessCode::AccessCode(const QString &text)
{
    const int hundreds = digitAt(text, 0);
    const int tens = digitAt(text, 1);
    const int ones = digitAt(text, 2);
    if (hundreds < 0 || tens < 0 || ones < 0)
        return;
    m_number = static_cast<qint16>(hundreds * 100 + tens * 10 + ones);
    if (m_number == 102 && text.size() > 4 && text.at(3) == QLatin1Char(':') && digitAt(text, 5) < 0)
        m_digit = static_cast<qint8>(digitAt(text, 4));
}

Category AccessCode::category() const
{
    switch (m_number) {
    case 105:
        return Category::Zasebno;
    case 104:
        return Category::Sluzbeno;
    case 103:
        return Category::Malica;
    case 102:
        break;
    default:
        return Category::None;
    }
    switch (m_digit) {
    case -1:
    case 3:
        return Category::Delo;
    case 1:
        return Category::Dopust;
    case 2:
        return Category::Bolniska;
    case 4:
        return Category::Teren;
    case 5:
        return Category::SaldoUre;
    case 6:
        return Category::IzrDopust;
    case 7:
        return Category::OdDoma;
    case 8:
        return Category::Drugo;
    default:
        return Category::None;
    }
}

QString AccessCode::text() const
{
    if (m_number < 0)
        return {};
    const QString number = QStringLiteral("%1").arg(m_number, 3, 10, QLatin1Char('0'));
    return m_digit < 0 ? number : QStringLiteral("%1:%2").arg(number).arg(m_digit);
}

} // namespace calc::rules
