#pragma once

#include "text/language.h"

#include <QString>

namespace tools::zukadmin {

/// The catalogue of what `explain` says, in one language.
class ExplanationWords
{
public:
    explicit ExplanationWords(Language language) : m_language(language) {}

    Language language() const { return m_language; }

    /// The text of a key that the catalogue has.
    QString text(const char *key) const;

    // What the server names; a name that the catalogue lacks (of a newer server) stays as it is.

    /// What a rule is about.
    QString rule(const QString &name) const { return named("rule", name); }
    /// What a rule did; more exactly where it has more than one way, which its setting tells.
    QString done(const QString &rule, const QString &setting) const;
    /// Why a rule did nothing.
    QString why(const QString &name) const { return named("why", name); }
    /// What became of an event.
    QString use(const QString &name) const { return named("use", name); }
    bool knowsUse(const QString &name) const { return !found("use", name).isEmpty(); }
    QString category(const QString &name) const { return named("category", name); }
    /// The letter of a category in the timeline; '+' for an unknown one.
    QChar letter(const QString &category) const;
    /// What a value of the result is; empty for an unknown one.
    QString result(const QString &name) const { return found("result", name); }

private:
    QString named(const char *group, const QString &name) const;
    QString found(const char *group, const QString &name) const;

    Language m_language;
};

} // namespace tools::zukadmin
