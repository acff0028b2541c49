#pragma once

#include "text/language.h"

#include <QStringList>

namespace report {

/// What the calculation says of a day, for people: in the language, without the seconds that it appends, each once.
/// What it does not say itself, as of an event that was entered, stays as it is.
QStringList remarkTexts(const QStringList &remarks, Language language);

} // namespace report
