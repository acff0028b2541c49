#pragma once

#include <QString>

/// A language that programs speak.
enum class Language { English, Slovenian };

/// Reads "sl" and "en"; false for every other text, which leaves *language alone.
bool readLanguage(const QString &text, Language *language);
/// That of the messages as the environment has it (LC_ALL, LC_MESSAGES, LANG), otherwise of the system. English for
/// every language but Slovenian.
Language languageOfLocale();
