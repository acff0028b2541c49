#pragma once

#include <QString>

namespace server::web {

/// The longest text of a peer that goes into a statement, in UTF-16 units.
constexpr int kMaxLiteral = 65536;

/// Whether a text that is put between two single quotes of a statement as it is stays between them. It does not when a
/// run of quotes in it has an odd length, which ends the text and makes the rest of it SQL, nor when it holds half of a
/// surrogate pair: SQLite takes the next character, be it the closing quote, for the other half. A NUL would end the
/// statement. For any thread.
bool isLiteral(const QString &text);

} // namespace server::web
