#include "jsonparser.h"

#include "JSON_parser.h"
#include "textcache.h"

#include <QDebug>

#include <cstring>

namespace Json {

namespace {

/// A text that has grown beyond this is not written into the log whole when a value of it is refused.
constexpr qint64 kMaxLoggedBytes = 1000;

/// A container gets room at once for as many elements as its predecessor at the same depth had, up to this bound: rows
/// are alike, and what a hostile text can waste stays small.
constexpr int kMostForeseen = 64;

/// Texts of one message behind which repetition is worth looking for.
constexpr int kTextsBeforeCache = 64;

} // namespace

/// Turns the events of the state machine into values.
struct Parser::Events {
    static bool take(void *receiver, JSON_parser::Event event, const JSON_parser::Value &value)
    {
        Parser &parser = *static_cast<Parser *>(receiver);
        switch (event) {
        case JSON_parser::Event::ArrayBegin:
            return parser.open(QAny::List);
        case JSON_parser::Event::ObjectBegin:
            return parser.open(QAny::Hash);
        case JSON_parser::Event::ArrayEnd:
            return parser.close(QAny::List, "mismatched array end");
        case JSON_parser::Event::ObjectEnd:
            return parser.close(QAny::Hash, "mismatched object end");
        case JSON_parser::Event::Integer:
            return parser.attach(QAny(value.integer));
        case JSON_parser::Event::Float:
            return parser.attach(QAny(value.real));
        case JSON_parser::Event::Null:
            return parser.attach(QAny());
        case JSON_parser::Event::True:
            return parser.attach(QAny(true));
        case JSON_parser::Event::False:
            return parser.attach(QAny(false));
        case JSON_parser::Event::String:
            return parser.attach(QAny(parser.text(value.text, value.length)));
        case JSON_parser::Event::Key:
            return parser.takeKey(value.text, value.length);
        }
        parser.complaint() << "internal error - next value type=" << static_cast<int>(event);
        return false;
    }
};

Parser::Parser(Controls controls) : m_controls(controls), m_root(QAny::Invalid) {}

Parser::~Parser() = default;

bool Parser::feed(const char *bytes, qsizetype length)
{
    qsizetype taken = 0;
    return advance(bytes, length, false, &taken) != Rejected;
}

Parser::Feed Parser::feedUntilComplete(const char *bytes, qsizetype length, qsizetype *taken)
{
    *taken = 0;
    return m_machine && isComplete() ? Complete : advance(bytes, length, true, taken);
}

Parser::Feed Parser::advance(const char *bytes, qsizetype length, bool stopWhenComplete, qsizetype *taken)
{
    if (length <= 0)
        return NeedsMore;
    if (!m_machine) {
        reset();
        m_machine = std::make_unique<JSON_parser>(&Events::take, this, m_controls == Controls::AsWritten);
    }
    m_fed += length;
    const JSON_parser::Outcome outcome = m_machine->feed(bytes, length, stopWhenComplete, taken);
    if (outcome == JSON_parser::Outcome::Rejected) {
        reset();
        return Rejected;
    }
    return outcome == JSON_parser::Outcome::Complete ? Complete : NeedsMore;
}

bool Parser::finish()
{
    if (!m_machine)
        return false;
    if (!m_machine->isAccepting() || !isComplete()) {
        reset();
        return false;
    }
    endText();
    return true;
}

void Parser::reset()
{
    endText();
    m_open.clear();
    m_root.clear();
}

/// Drops all but what was read.
void Parser::endText()
{
    m_machine.reset();
    m_textCache.reset();
    clearKey();
    m_texts = 0;
    m_fed = 0;
    m_values = 0;
}

void Parser::clearKey()
{
    m_key.clear();
    m_sharedKey = nullptr;
}

QString Parser::text(const char *utf8, qsizetype length)
{
    if (m_texts < kTextsBeforeCache) {
        ++m_texts;
        return decoded(utf8, length);
    }
    if (!m_textCache)
        m_textCache = std::make_unique<TextCache>();
    return m_textCache->text(utf8, length);
}

bool Parser::attach(QAny &&value)
{
    ++m_values;
    if (m_open.empty()) {
        m_root = std::move(value);
        return true;
    }
    QAny &parent = m_open.back();
    if (parent.isHash() && !pendingKey().isEmpty()) {
        parent.insert(pendingKey(), std::move(value));
        clearKey();
        return true;
    }
    if (parent.isList() && pendingKey().isEmpty()) {
        parent.append(std::move(value));
        return true;
    }
    complaint() << "error key=" << pendingKey();
    return false;
}

bool Parser::open(QAny::Type type)
{
    static_assert(kMaxDepth >= JSON_parser::kMaxDepth, "one count for each depth");
    QAny container = QAny::sized(type, m_usualCount[m_open.size()]);
    if (!attach(QAny(container)))
        return false;
    m_open.push_back(std::move(container));
    return true;
}

bool Parser::close(QAny::Type type, const char *mismatch)
{
    if (m_open.empty() || m_open.back().type() != type) {
        complaint() << mismatch;
        return false;
    }
    const int count = m_open.back().count();
    m_open.pop_back();
    m_usualCount[m_open.size()] = static_cast<quint8>(qMin(count, kMostForeseen));
    return true;
}

bool Parser::takeKey(const char *utf8, qsizetype length)
{
    if (!pendingKey().isEmpty()) {
        complaint() << "key after key=" << pendingKey();
        return false;
    }
    m_sharedKey = m_open.empty() ? nullptr : m_open.back().expectedKey(utf8, static_cast<int>(length));
    if (!m_sharedKey)
        m_key = decoded(utf8, length);
    return true;
}

QDebug Parser::complaint() const
{
    QDebug line = qDebug();
    line << "Parser::parse()";
    if (m_fed <= kMaxLoggedBytes) {
        line << m_root;
    } else {
        line.nospace() << "QAny<" << m_root.typeName() << ">, too long to show ";
        line.setAutoInsertSpaces(true);
    }
    return line;
}

} // namespace Json

QAny QAny::fromJson(const QByteArray &utf8)
{
    Json::Parser parser;
    parser.feed(utf8.constData(), utf8.size());
    parser.finish();
    return parser.result();
}
