#pragma once

#include "page/server/office/office.h"

namespace page::office {

/// More people's papers are not printed at once; whoever needs more has zukreport.
constexpr size_t kMostPrinted = 1000;

/// What GET /export/<path> gives of papers: statement, register and exceptions, each with .csv and .pdf, of the query's
/// "month" and "lang"; of the query's "user" (oneself without one), or with a "department" of that, with an empty one
/// of all whom the person oversees. Null and `fault` as of exported().
std::optional<Export> paper(calc::Crew &crew, const Person &person, const QString &path, const QUrlQuery &query,
                            const Now &now, bool *fault);
/// Whether the path names one.
bool isPaper(const QString &path);

} // namespace page::office
