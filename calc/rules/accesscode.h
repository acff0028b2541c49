#pragma once

#include <QString>

namespace calc::rules {

/// What time is counted as, named by the code of the departure that ends it.
enum class Category {
    Delo,
    Dopust,
    IzrDopust,
    Bolniska,
    Drugo,
    SaldoUre,
    Sluzbeno,
    Zasebno,
    Malica,
    OdDoma,
    Teren,
    Count,
    None = Count
};

constexpr int kCategoryCount = static_cast<int>(Category::Count);

/// The code of an access code text such as "101:Prihod" or "102:1:Dopust": its first three digits, for "102" with
/// the digit that follows a colon. A plain value.
class AccessCode
{
public:
    AccessCode() = default;
    explicit AccessCode(const QString &text);

    bool isArrival() const { return m_number == 101; }
    bool isDeparture() const { return m_number >= 102 && m_number <= 105; }
    bool isLunch() const { return m_number == 103; }
    /// A departure of which a forgotten arrival can be generated: business or private.
    bool mayLackArrival() const { return m_number == 104 || m_number == 105; }
    /// Closes a time at work: "102" or "102:3".
    bool isPresence() const { return m_number == 102 && (m_digit < 0 || m_digit == 3); }
    Category category() const;
    /// "102:1"; empty when the text had no code.
    QString text() const;

    bool operator==(const AccessCode &other) const { return m_number == other.m_number && m_digit == other.m_digit; }

private:
    qint16 m_number = -1; ///< first three digits; -1 when there are none
    qint8 m_digit = -1;   ///< the reason of a "102:d"; -1 without one
};

} // namespace calc::rules
