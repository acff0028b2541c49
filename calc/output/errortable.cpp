#include "calc/output/packedrows.h"
#include "calc/output/tables.h"

namespace calc::output {

using rules::CalcErrors;

namespace {

Colour::Name colourOf(CalcErrors::Code code)
{
    switch (code) {
    case CalcErrors::Code::Nap:
        return Colour::ERR_NAP_TXT;
    case CalcErrors::Code::Opc:
        return Colour::ERR_OPC_TXT;
    case CalcErrors::Code::Spo:
        return Colour::ERR_SPO_TXT;
    default:
        return Colour::ERR_OPO_TXT;
    }
}

} // namespace

PackedCells cellsOf(const rules::CalcResult &result)
{
    return PackedCells(result.inputs.settings.isSec, result.inputs.period.clock);
}

QAny errorTable(const CalcErrors &errors)
{
    QAny table(QAny::List);
    table.reserve(static_cast<int>(errors.entries().size()));
    for (const CalcErrors::Entry &entry : errors.entries()) {
        QAny row = ErrorColumn::row("TXTCOLOR", colourOf(entry.code));
        row.slot(ErrorColumn::NAME) = PackedCells::text(entry.name);
        row.slot(ErrorColumn::NAPAKA) = entry.text;
        table.append(std::move(row));
    }
    return packedTable(ErrorColumn::header(), table);
}

} // namespace calc::output
