#include "text/language.h"

#include <QLocale>

bool readLanguage(const QString &text, Language *language)
{
    if (text == QLatin1String("sl"))
        *language = Language::Slovenian;
    else if (text == QLatin1String("en"))
        *language = Language::English;
    else
        return false;
    return true;
}

Language languageOfLocale()
{
    QString name;
    for (const char *variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        if (name.isEmpty())
            name = qEnvironmentVariable(variable);
    }
    if (name.isEmpty())
        name = QLocale::system().name(); // Windows has none of them
    return name.startsWith(QLatin1String("sl")) ? Language::Slovenian : Language::English;
}
