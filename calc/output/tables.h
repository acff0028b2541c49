#pragma once

#include "calc/output/packedcells.h"
#include "calc/rules/calcresult.h"
#include "qany.h"

namespace calc::output {

// The packed tables of a result: {"HEADER": List of {"KEY", "TXT"}, "TABLE": List of rows}; after a fatal error the
// first three have no rows. A row is a Hash keyed by column. A cell is its display text, an Integer for ids and counts,
// or a Hash with the text under UWVS and its COLOR, TXTCOLOR, TOOLTIP or ICON. Equal coloured cells are one shared
// handle.

/// Key of the `config` row that holds the header of the day table as JSON text.
const QString kDayHeaderKey = QStringLiteral("CALCDAYHDR");

/// What the cells of a result's tables are made with.
PackedCells cellsOf(const rules::CalcResult &result);

QAny pairTable(const rules::CalcResult &result, PackedCells &cells);
/// A total row follows each employee's days. Of a header that is no List the table's own columns are taken.
QAny dayTable(const rules::CalcResult &result, const QAny &header, PackedCells &cells);
QAny sumTable(const rules::CalcResult &result, PackedCells &cells);
QAny errorTable(const rules::CalcErrors &errors);

// The same in parts: the rows of one employee, by position in the result, are appended to a List.

void addPairRows(const rules::CalcResult &result, size_t employee, PackedCells &cells, QAny &rows);
void addDayRows(const rules::CalcResult &result, size_t employee, PackedCells &cells, QAny &rows);
void addSumRow(const rules::CalcResult &result, size_t employee, PackedCells &cells, QAny &rows);
/// What follows the last employee's row where the settings ask for it.
void addSumTotal(const rules::CalcResult &result, PackedCells &cells, QAny &rows);

QAny pairHeader();
/// The one that is handed in, if it is a List.
QAny dayHeader(const QAny &header);
QAny sumHeader();

} // namespace calc::output
