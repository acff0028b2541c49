#include "server/process/diagnostics.h"

#include <QTest>

/// What peers send must neither steer the operator's terminal nor pretend to be a line of ours.
class TestDiagnostics : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void lines();
};

void TestDiagnostics::lines()
{
    using server::process::kShownCharacters;
    const QString longest(kShownCharacters, QLatin1Char('x'));
    const std::pair<QString, QString> rows[] = {
        {QStringLiteral("Žiga \"a\\b\""), QStringLiteral("Žiga \"a\\b\"")},
        {QStringLiteral("a\nb\r\t"), QStringLiteral("a\\nb\\u000d\\u0009")},
        {QStringLiteral("\u001b[31m\u009b2J\u007f"), QStringLiteral("\\u001b[31m\\u009b2J\\u007f")},
        {QStringLiteral("a\u2028\u202eb"), QStringLiteral("a\\u2028\\u202eb")},
        {QString(QChar::Null), QStringLiteral("\\u0000")},
        {longest, longest},
        {longest + QLatin1Char('y'), longest + QStringLiteral("…")}};
    for (const auto &[line, shown] : rows)
        QCOMPARE(server::process::shownLine(line), shown);
}

QTEST_APPLESS_MAIN(TestDiagnostics)
#include "tst_diagnostics.moc"
