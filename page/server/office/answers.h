#pragma once

#include "qany.h"

#include <QDate>

namespace page::office {

// The form of answers: {"ok": true, …fields} or {"ok": false, "error": code, …what says more}.

constexpr char kNotAllowed[] = "notAllowed";
constexpr char kBadRequest[] = "badRequest";
constexpr char kNotFound[] = "notFound";
constexpr char kDatabase[] = "database";
constexpr char kBusy[] = "busy";
constexpr char kState[] = "state";
constexpr char kOverlap[] = "overlap";

inline QAny refused(const char *code)
{
    return {{QStringLiteral("ok"), false}, {QStringLiteral("error"), QString::fromLatin1(code)}};
}

/// The same with the reason, for the page to tell: "future", "tooLong" and so on.
inline QAny refused(const char *code, const char *reason)
{
    QAny answer = refused(code);
    answer.insert(QStringLiteral("reason"), QString::fromLatin1(reason));
    return answer;
}

/// The fields become part of the answer.
inline QAny done(QAny fields = QAny(QAny::Hash))
{
    fields.insert(QStringLiteral("ok"), true);
    return fields;
}

/// Null of the empty text.
inline QAny orNull(const QString &text)
{
    return text.isEmpty() ? QAny() : QAny(text);
}

inline bool isDone(const QAny &answer)
{
    return answer.lookup(QStringLiteral("ok")).toBool();
}

inline const QString &dateFormat()
{
    static const QString format = QStringLiteral("yyyy-MM-dd");
    return format;
}

inline const QString &monthFormat()
{
    static const QString format = QStringLiteral("yyyy-MM");
    return format;
}

/// Years that the page knows.
constexpr int kFirstYear = 1990;
constexpr int kLastYear = 2199;

/// The date of "YYYY-MM-DD", or of "YYYY-MM" its first day; invalid for what is none.
inline QDate dateOf(const QAny &text, const QString &format)
{
    const QDate date = text.isString() ? QDate::fromString(text.asString(), format) : QDate();
    return date.isValid() && date.year() >= kFirstYear && date.year() <= kLastYear ? date : QDate();
}

} // namespace page::office
