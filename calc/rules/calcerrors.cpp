#include "calc/rules/calcerrors.h"

#include "calc/output/calcrecords.h"

namespace {

const QString &codeText(CalcErrors::Code code)
{
    static const QString texts[] = {QStringLiteral("NAP"), QStringLiteral("ATP"), QStringLiteral("OPC"),
                                    QStringLiteral("OPO"), QStringLiteral("SPO")};
    return texts[static_cast<int>(code)];
}

} // namespace

QAny CalcErrors::toList() const
{
    QAny list(QAny::List);
    list.reserve(static_cast<int>(m_entries.size()));
    for (const Entry &entry : m_entries) {
        QAny record = QAny::record(ErrorKey::keys());
        record.slot(ErrorKey::CODE) = codeText(entry.code);
        record.slot(ErrorKey::NAPAKA) = entry.text;
        if (entry.user != 0 || !entry.name.isEmpty()) {
            record.slot(ErrorKey::USER) = entry.user;
            record.slot(ErrorKey::NAME) = entry.name;
        }
        if (entry.date != 0)
            record.slot(ErrorKey::DATESTAMP) = entry.date;
        list.append(std::move(record));
    }
    return list;
}
