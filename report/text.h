#pragma once

#include "text/language.h"

#include <QString>

namespace report {

/// A text in the languages that reports speak.
struct Text {
    const char *slovenian;
    const char *english;

    QString in(Language language) const
    {
        return QString::fromUtf8(language == Language::English ? english : slovenian);
    }
};

} // namespace report
