#pragma once

#include <QString>

namespace server::process {

/// A line of diagnostics as it may be shown to a person: what would steer a terminal or pretend to be another line is
/// escaped, and what is longer than kShownCharacters is cut.
constexpr int kShownCharacters = 1000;
QString shownLine(const QString &line);

/// From here on every line of diagnostics of the process goes through shownLine(), whoever writes it: it may hold texts
/// of peers and of files. Once, at the start.
void guardDiagnostics();

} // namespace server::process
