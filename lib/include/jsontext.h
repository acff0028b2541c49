#pragma once

#include "qany.h"

#include <QByteArray>

#include <memory>

/// Compact JSON text in UTF-8 that grows value by value: for texts that are made in parts, and of values that shall not
/// all be there at once. On one thread at a time.
class JsonText
{
public:
    JsonText();
    JsonText(JsonText &&) noexcept;
    JsonText &operator=(JsonText &&) noexcept;
    ~JsonText();

    /// Makes room for so many bytes in all.
    void reserve(int bytes);
    /// Appends the text of the value, as QAny::toJsonUtf8() has it.
    void add(const QAny &value);
    /// Appends ASCII text as it is.
    void add(QLatin1String text);
    /// Appends the bytes of another text from one position up to another.
    void add(const JsonText &other, int from, int end);
    /// Appends the text of a Hash without the last brace of this text and its own first one: the entries come behind
    /// those of the Hash that this text ends with. Neither of them is empty.
    void extendHash(const QAny &more);
    int size() const;
    /// The text, which then begins anew. Null when it grew longer than the type can hold.
    QByteArray taken();

private:
    class Private;
    std::unique_ptr<Private> d;
};
