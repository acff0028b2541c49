#include "qany.h"

#include <QDebug>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTest>
#include <QThread>

#include <atomic>
#include <cmath>
#include <limits>
#include <thread>
#include <vector>

namespace {

QAny numbers(int count)
{
    QAny list(QAny::List);
    for (int i = 0; i < count; ++i)
        list.append(i);
    return list;
}

QAny hashOf(const QString &prefix, int count)
{
    QAny hash(QAny::Hash);
    for (int i = 0; i < count; ++i)
        hash.insert(prefix + QString::number(i), i);
    return hash;
}

} // namespace

/// A service as the dispatcher sees one.
class Peer : public QObject
{
    Q_OBJECT
public:
    QAny m_received;

signals:
    void sent(const QAny &);

public slots:
    QAny answer(const QString &connectionId, const QAny &params)
    {
        m_received = params;
        return QAny{{"id", connectionId}, {"count", params.count()}};
    }
    void take(const QAny &value) { m_received = value; }
};

class tst_QAny : public QObject
{
    Q_OBJECT

private slots:
    void kinds();
    void conversions_data();
    void conversions();
    void truncationTowardZero_data();
    void truncationTowardZero();
    void copiesShareTheRecord();
    void nullGetsItsOwnRecord();
    void deepCopySharesNothing();
    void containersRefuseOtherKinds();
    void listContainsIsInverted();
    void listEditing();
    void valueByIndex();
    void writableIndex();
    void readOnlyIndex();
    void refusedIndexWarns_data();
    void refusedIndexWarns();
    void referencesSurviveGrowth();
    void aliasedArguments();
    void equality_data();
    void equality();
    void fromVariant_data();
    void fromVariant();
    void toVariant();
    void queryRows();
    void debugForm();
    void metaTypeTravels();
    void hashAgreesWithModel_data();
    void hashAgreesWithModel();
    void keySetsBeyondTheirNumber();
    void recordByKeySet();
    void threadsGrowTheSameSets();
};

void tst_QAny::kinds()
{
    const struct {
        QAny::Type type;
        int number;
        const char *name;
    } all[] = {{QAny::Invalid, 0, "Invalid"}, {QAny::Null, 1, "Null"},     {QAny::Bool, 2, "Bool"},
               {QAny::Integer, 3, "Integer"}, {QAny::Double, 4, "Double"}, {QAny::String, 5, "String"},
               {QAny::List, 6, "List"},       {QAny::Hash, 7, "Hash"}};
    for (const auto &one : all) {
        QCOMPARE(static_cast<int>(one.type), one.number);
        const QAny value(one.type);
        QCOMPARE(value.type(), one.type);
        QCOMPARE(value.typeName(), one.name);
        QCOMPARE(value.isValid(), one.type != QAny::Invalid);
        QCOMPARE(value.count(), 0);
        QCOMPARE(value.toBool(), false);
        QCOMPARE(value.toInteger(), qint64(0));
        QCOMPARE(value.toDouble(), 0.0);
    }
    QCOMPARE(QAny::typeName(8), "Unknown");
    QCOMPARE(QAny::typeName(-1), "Unknown");
    QVERIFY(QAny().isNull());
    QAny value(5);
    value.clear();
    QCOMPARE(value.type(), QAny::Invalid);
    QCOMPARE(QAny(QStringList{"a", "b"}), QAny::list({"a", "b"}));
    QCOMPARE(QAny(std::numeric_limits<qint64>::min()).asInteger(), std::numeric_limits<qint64>::min());
}

void tst_QAny::conversions_data()
{
    QTest::addColumn<QAny>("value");
    QTest::addColumn<bool>("boolean");
    QTest::addColumn<bool>("booleanOk");
    QTest::addColumn<qint64>("integer");
    QTest::addColumn<bool>("integerOk");
    QTest::addColumn<double>("real");
    QTest::addColumn<bool>("realOk");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("textOk");
    const auto row = [](const char *name, const QAny &value, bool boolean, bool booleanOk, qint64 integer,
                        bool integerOk, double real, bool realOk, const char *text, bool textOk) {
        QTest::newRow(name) << value << boolean << booleanOk << integer << integerOk << real << realOk
                            << QString::fromUtf8(text) << textOk;
    };
    row("true", true, true, true, 1, true, 1.0, true, "true", true);
    row("false", false, false, true, 0, true, 0.0, true, "false", true);
    row("integer", -42, true, true, -42, true, -42.0, true, "-42", true);
    row("zero", 0, false, true, 0, true, 0.0, true, "0", true);
    row("double 0.1", 0.1, true, true, 0, true, 0.1, true, "0.1", true);
    row("large double", 1e20, true, true, std::numeric_limits<qint64>::max(), true, 1e20, true, "1e+20", true);
    row("14 digits", 3.14159265358979, true, true, 3, true, 3.14159265358979, true, "3.1415926535898", true);
    row("TRUE in any case", "TrUe", true, true, 0, false, 0.0, false, "TrUe", true);
    row("FALSE in any case", "FALSE", false, true, 0, false, 0.0, false, "FALSE", true);
    row("numeric text is no bool", "1", false, false, 1, true, 1.0, true, "1", true);
    row("fraction is no integer text", "2.5", false, false, 0, false, 2.5, true, "2.5", true);
    row("comma is no decimal point", "2,5", false, false, 0, false, 0.0, false, "2,5", true);
    row("base 10 only", "0x10", false, false, 0, false, 0.0, false, "0x10", true);
    row("beyond 64 bits", "9223372036854775808", false, false, 0, false, 9223372036854775808.0, true,
        "9223372036854775808", true);
    row("empty text", "", false, false, 0, false, 0.0, false, "", true);
    row("null", QAny(), false, false, 0, false, 0.0, false, "", false);
    row("invalid", QAny(QAny::Invalid), false, false, 0, false, 0.0, false, "", false);
    row("list", QAny::list({1}), false, false, 0, false, 0.0, false, "", false);
    row("hash", QAny{{"a", 1}}, false, false, 0, false, 0.0, false, "", false);
}

void tst_QAny::conversions()
{
    QFETCH(QAny, value);
    bool ok = false;
    QTEST(value.toBool(&ok), "boolean");
    QTEST(ok, "booleanOk");
    QTEST(value.toInteger(&ok), "integer");
    QTEST(ok, "integerOk");
    QTEST(value.toDouble(&ok), "real");
    QTEST(ok, "realOk");
    QTEST(value.toString(&ok), "text");
    QTEST(ok, "textOk");
}

void tst_QAny::truncationTowardZero_data()
{
    QTest::addColumn<double>("real");
    QTest::addColumn<qint64>("integer");
    QTest::newRow("-2.7") << -2.7 << qint64(-2);
    QTest::newRow("2.7") << 2.7 << qint64(2);
    QTest::newRow("least 64 bit") << -9223372036854775808.0 << std::numeric_limits<qint64>::min();
    QTest::newRow("2^63") << 9223372036854775808.0 << std::numeric_limits<qint64>::max();
    QTest::newRow("-infinite") << -std::numeric_limits<double>::infinity() << std::numeric_limits<qint64>::min();
    QTest::newRow("not a number") << std::numeric_limits<double>::quiet_NaN() << qint64(0);
}

void tst_QAny::truncationTowardZero()
{
    QFETCH(double, real);
    QTEST(QAny(real).toInteger(), "integer");
}

void tst_QAny::copiesShareTheRecord()
{
    QAny hash{{"a", 1}, {"b", 2}};
    QAny other = hash;
    other["a"] = 10;
    other.insert("c", 3);
    QVERIFY(hash.remove("b"));
    QCOMPARE(hash, (QAny{{"a", 10}, {"c", 3}}));
    QVERIFY(hash == other && hash.sharesRecordWith(other));
    const QAny parent{{"child", hash}};
    hash["late"] = true;
    QCOMPARE(parent["child"]["late"], QAny(true));
    // Assigning and clearing rebind one handle only.
    other = QAny(5);
    QCOMPARE(hash.count(), 3);
    hash.clear();
    QCOMPARE(parent["child"].count(), 3);

    QAny list = QAny::list({1});
    QAny sameList = list;
    sameList.append(2);
    QCOMPARE(list, QAny::list({1, 2}));
    QAny text("a");
    const QAny sameText = text;
    text = "b";
    QCOMPARE(sameText.asString(), QStringLiteral("a"));
}

void tst_QAny::nullGetsItsOwnRecord()
{
    const QAny hash(QAny::Hash);
    QAny missing = hash["x"];
    missing["written"] = 1;
    QVERIFY(QAny::sharedNull().isNull());
    QVERIFY(hash["x"].isNull());
    QAny first;
    QAny second = first;
    first["a"] = 1;
    QVERIFY(second.isNull());
}

void tst_QAny::deepCopySharesNothing()
{
    QAny original{{"list", QAny::list({1, QAny{{"deep", "a"}}})}, {"text", "t"}};
    const QAny copy = original.deepCopy();
    QCOMPARE(copy, original);
    QVERIFY(!copy.sharesRecordWith(original));
    original["list"][1]["deep"] = "changed";
    original["list"].append(3);
    original.insert("more", 1);
    QCOMPARE(copy, (QAny{{"list", QAny::list({1, QAny{{"deep", "a"}}})}, {"text", "t"}}));
    QAny large = hashOf("k", 200);
    QAny largeCopy = large.deepCopy();
    QVERIFY(large.remove("k7"));
    QCOMPARE(largeCopy, hashOf("k", 200));
}

void tst_QAny::containersRefuseOtherKinds()
{
    QAny hash{{"a", 1}};
    QAny list = QAny::list({1});
    QAny text("abc");
    QVERIFY(!hash.append(1) && !text.append(1) && !QAny().append(1));
    QVERIFY(!list.insert("a", 1) && !text.insert("a", 1) && !hash.insert(0, 1));
    QVERIFY(!text.remove(0) && !text.remove("a") && !text.contains(0) && !text.contains("a"));
    QVERIFY(hash.toList().isEmpty() && list.toHash().isEmpty() && list.keys().isEmpty());
    QCOMPARE(text.count(), 3);
    QCOMPARE(hash.toHash().value("a"), QAny(1));
    QCOMPARE(list.toList(), QList<QAny>{QAny(1)});
}

void tst_QAny::listContainsIsInverted()
{
    const QAny list = numbers(3);
    QVERIFY(!list.contains(1));
    QVERIFY(!list.contains(3));
    QVERIFY(list.contains(5));
    QVERIFY(list.contains("4"));
    QVERIFY(!list.contains("x"));
    QVERIFY((QAny{{"5", 0}}).contains(5));
    QVERIFY(!(QAny{{"5", 0}}).contains(6));
}

void tst_QAny::listEditing()
{
    QAny list = numbers(20);
    QVERIFY(list.insert(0, "first") && list.insert(21, "last") && list.insert(9, "middle"));
    QVERIFY(!list.insert(24, 0) && !list.insert(-1, 0));
    QCOMPARE(list.at(9), QAny("middle"));
    QVERIFY(list.remove(9) && list.remove("0") && list.remove(20));
    QVERIFY(!list.remove(20) && !list.remove(-1) && !list.remove("x"));
    QCOMPARE(list, numbers(20));
    while (list.count() > 0)
        QVERIFY(list.remove(0));
    QVERIFY(list.append(7));
    QCOMPARE(list, QAny::list({7}));
}

void tst_QAny::valueByIndex()
{
    const QAny list = QAny::list({"x", "y"});
    QCOMPARE(list.value(1), QAny("y"));
    QVERIFY(list.value(2).isNull() && list.value(-1).isNull());
    QCOMPARE(list.value("0", 9), QAny("x"));
    QCOMPARE(list.value("2", 9), QAny(9));
    const QAny hash{{"3", "three"}, {"n", QAny()}};
    QCOMPARE(hash.value(3), QAny("three"));
    QCOMPARE(hash.value("4", "none"), QAny("none"));
    QVERIFY(hash.value("n", "none").isNull()); // present
    QVERIFY(hash.value("4").isNull());
    QCOMPARE(QAny(QStringLiteral("čas")).value(0), QAny(QStringLiteral("č")));
    QVERIFY(QAny("a").value(1).isNull() && QAny(5).value(0).isNull());
}

void tst_QAny::writableIndex()
{
    QAny list;
    list[3] = "end";
    QCOMPARE(list, QAny::list({QAny(), QAny(), QAny(), "end"}));
    list["5"] = 1;
    QCOMPARE(list.count(), 6);
    QVERIFY(list[4].isNull());
    QAny invalid(QAny::Invalid);
    invalid["a"]["b"][1] = true;
    QCOMPARE(invalid.toJson(), QStringLiteral("{\"a\":{\"b\":[null,true]}}"));
    QAny fromInvalid(QAny::Invalid);
    fromInvalid[1] = 5;
    QCOMPARE(fromInvalid, QAny::list({QAny(), 5}));
    QAny hash(QAny::Hash);
    hash[7] = 1;
    hash["new"];
    QCOMPARE(hash, (QAny{{"7", 1}, {"new", QAny()}}));
}

void tst_QAny::readOnlyIndex()
{
    const QAny hash{{"a", 1}, {"2", "two"}};
    QVERIFY(hash["x"].isNull());
    QVERIFY(!hash.contains("x"));
    QCOMPARE(hash[2], QAny("two"));
    const QAny list = numbers(2);
    QCOMPARE(list["1"], QAny(1));
    QVERIFY(list[2].isNull() && list["2"].isNull() && list["-1"].isNull() && list["x"].isNull());
    QCOMPARE(list.count(), 2);
}

void tst_QAny::refusedIndexWarns_data()
{
    QTest::addColumn<QAny>("value");
    QTest::addColumn<bool>("byKey");
    QTest::addColumn<bool>("readOnly");
    QTest::addColumn<QString>("warning");
    QTest::newRow("negative index") << numbers(1) << false << false
                                    << "QAny::operator[] invalid index= -1 or type= List";
    QTest::newRow("negative on null") << QAny() << false << false << "QAny::operator[] invalid index= -1 or type= Null";
    QTest::newRow("negative, read only") << numbers(1) << false << true
                                         << "QAny::operator[] invalid index= -1 or type= List";
    QTest::newRow("key on integer") << QAny(1) << true << false << "QAny::operator[] invalid type= Integer";
    QTest::newRow("key on list") << numbers(1) << true << false << "QAny::operator[] invalid type= List";
    QTest::newRow("key, read only") << QAny("t") << true << true
                                    << "QAny::operator[] invalid key= \"-1\" or type= String";
}

void tst_QAny::refusedIndexWarns()
{
    QFETCH(QAny, value);
    QFETCH(bool, byKey);
    QFETCH(bool, readOnly);
    QFETCH(QString, warning);
    const QAny before = value.deepCopy();
    const QAny &constant = value;
    QTest::ignoreMessage(QtWarningMsg, warning.toUtf8().constData());
    const QAny *result = nullptr;
    if (readOnly)
        result = byKey ? &constant["-1"] : &constant[-1];
    else
        result = byKey ? &value["-1"] : &value[-1];
    QCOMPARE(result, readOnly ? &QAny::sharedNull() : &value);
    QCOMPARE(value, before);
    QCOMPARE(value.type(), before.type());
}

void tst_QAny::referencesSurviveGrowth()
{
    for (const int reserved : {0, 1, 3, 100}) {
        QAny list = QAny::sized(QAny::List, reserved);
        std::vector<const QAny *> places;
        for (int i = 0; i < 1000; ++i) {
            list.append(i);
            places.push_back(&list.at(i));
        }
        for (int i = 0; i < 1000; ++i) {
            QCOMPARE(&list.at(i), places[static_cast<size_t>(i)]);
            QCOMPARE(list.at(i).asInteger(), qint64(i));
        }
    }
    QAny hash(QAny::Hash);
    QAny &first = hash["first"];
    for (int i = 0; i < 300; ++i)
        hash[QString::number(i)] = i;
    first = "still here";
    QCOMPARE(hash["first"], QAny("still here"));
}

void tst_QAny::aliasedArguments()
{
    QAny value{{"b", QAny::list({1, 2})}};
    value["a"] = value["b"]; // the left side grows the record that the right side lives in
    QCOMPARE(value["a"], QAny::list({1, 2}));
    const QAny &self = value;
    value = self;
    QCOMPARE(value.count(), 2);
    value = value["b"]; // the source ends with the record that the target leaves
    QCOMPARE(value, QAny::list({1, 2}));
    value = std::move(value[1]);
    QCOMPARE(value, QAny(2));
    QAny list = numbers(4);
    list.append(list.at(0));
    list.insert(0, list.at(3));
    QCOMPARE(list, QAny::list({3, 0, 1, 2, 3, 0}));
    QAny hash{{"k", 1}};
    hash.insert("k", hash["k"]);
    hash.remove(hash.keyAt(0));
    QCOMPARE(hash.count(), 0);
}

void tst_QAny::equality_data()
{
    QTest::addColumn<QAny>("left");
    QTest::addColumn<QAny>("right");
    QTest::addColumn<bool>("equal");
    const QAny invalid(QAny::Invalid);
    const QAny shorter = numbers(2);
    QTest::newRow("invalid") << invalid << QAny(QAny::Invalid) << true;
    QTest::newRow("null is not invalid") << QAny() << invalid << false;
    QTest::newRow("null is not empty") << QAny() << QAny("") << false;
    QTest::newRow("true and TRUE") << QAny(true) << QAny("TRUE") << true;
    QTest::newRow("TRUE and true") << QAny("TRUE") << QAny(true) << false;
    QTest::newRow("true and 5") << QAny(true) << QAny(5) << true;
    QTest::newRow("5 and true") << QAny(5) << QAny(true) << false;
    QTest::newRow("false and text") << QAny(false) << QAny("no") << false;
    QTest::newRow("1 and text 1") << QAny(1) << QAny("1") << true;
    QTest::newRow("text 01 and 1") << QAny("01") << QAny(1) << false;
    QTest::newRow("0 and text") << QAny(0) << QAny("x") << false;
    QTest::newRow("0 and null") << QAny(0) << QAny() << false;
    QTest::newRow("2 and 2.9") << QAny(2) << QAny(2.9) << true;
    QTest::newRow("2.9 and 2") << QAny(2.9) << QAny(2) << false;
    QTest::newRow("0.5 and text") << QAny(0.5) << QAny("5e-1") << true;
    QTest::newRow("lists") << QAny::list({1, "a"}) << QAny::list({"1", "a"}) << true;
    QTest::newRow("list lengths") << shorter << numbers(3) << false;
    QTest::newRow("list and hash") << QAny(QAny::List) << QAny(QAny::Hash) << false;
    QTest::newRow("hash order") << QAny{{"a", 1}, {"b", 2}} << QAny{{"b", 2}, {"a", 1}} << true;
    QTest::newRow("hash key") << QAny{{"a", QAny()}} << QAny{{"b", QAny()}} << false;
    QTest::newRow("hash value") << QAny{{"a", 1}} << QAny{{"a", 2}} << false;
    QTest::newRow("hash size") << QAny{{"a", 1}} << QAny{{"a", 1}, {"b", 2}} << false;
}

void tst_QAny::equality()
{
    QFETCH(QAny, left);
    QFETCH(QAny, right);
    QTEST(left == right, "equal");
    QTEST(!(left != right), "equal");
}

void tst_QAny::fromVariant_data()
{
    QTest::addColumn<QVariant>("variant");
    QTest::addColumn<QString>("debug"); // kind and text
    const auto row = [](const char *name, const QVariant &variant, const char *debug) {
        QTest::newRow(name) << variant << QString::fromUtf8(debug);
    };
    row("invalid", QVariant(), "QAny<Invalid>(\"Invalid\")");
    row("null of a type", QVariant(QVariant::Int), "QAny<Null>(null)");
    row("null text", QVariant(QString()), "QAny<Null>(null)");
    row("empty text", QVariant(QString("")), "QAny<String>(\"\")");
    row("bool", true, "QAny<Bool>(true)");
    row("int", -3, "QAny<Integer>(-3)");
    row("uint", 4000000000u, "QAny<Integer>(4000000000)");
    row("qlonglong", Q_INT64_C(-9223372036854775807), "QAny<Integer>(-9223372036854775807)");
    row("qulonglong", Q_UINT64_C(5), "QAny<Integer>(5)");
    row("double", 0.5, "QAny<Double>(0.5)");
    row("QChar", QChar(0x10d), "QAny<String>(\"č\")");
    row("QByteArray is UTF-8", QByteArray("\xc4\x8d"), "QAny<String>(\"č\")");
    row("QStringList", QStringList{"a", "b"}, "QAny<List>([\"a\",\"b\"])");
    row("QVariantList", QVariantList{1, QVariantList{true}}, "QAny<List>([1,[true]])");
    row("QVariantMap", QVariantMap{{"m", QVariantList{QVariant()}}}, "QAny<Hash>({\"m\":[\"Invalid\"]})");
    row("QVariantHash", QVariantHash{{"h", QVariantMap{}}}, "QAny<Hash>({\"h\":{}})");
    row("another type", QDate(2024, 1, 1), "QAny<Invalid>(\"Invalid\")");
}

void tst_QAny::fromVariant()
{
    QFETCH(QVariant, variant);
    QString debug;
    QDebug(&debug) << QAny::fromVariant(variant);
    QTEST(debug.trimmed(), "debug");
}

void tst_QAny::toVariant()
{
    const QAny value{{"b", true}, {"i", 5}, {"d", 0.5}, {"s", "t"}, {"l", QAny::list({QAny(), 1})}, {"n", QAny()}};
    const QVariantHash expected{{"b", true},
                                {"i", QVariant(qlonglong(5))},
                                {"d", 0.5},
                                {"s", "t"},
                                {"l", QVariantList{QVariant(), QVariant(qlonglong(1))}},
                                {"n", QVariant()}};
    QCOMPARE(value.toVariant(), QVariant(expected));
    QCOMPARE(QAny(5).toVariant().userType(), int(QMetaType::LongLong));
    QVERIFY(!QAny(QAny::Invalid).toVariant().isValid());
    // A text stays a text when a statement binds it.
    QVERIFY(!QAny(QAny::String).toVariant().isNull());
    QVERIFY(!QAny(QString()).toVariant().isNull());
}

void tst_QAny::queryRows()
{
    {
        QSqlDatabase database = QSqlDatabase::addDatabase("QSQLITE", "rows");
        database.setDatabaseName(":memory:");
        QVERIFY(database.open());
        QSqlQuery query(database);
        QVERIFY(query.exec("SELECT 1 AS ID, 'ž' AS NAME, NULL AS NOTE, 0.5 AS F, '' AS EMPTY UNION ALL "
                           "SELECT 9000000000, 'b', 2, 1.5, 'x'"));
        const QAny rows = QAny::fromQuery(query);
        QCOMPARE(rows.toJson(), QStringLiteral("[{\"ID\":1,\"NAME\":\"ž\",\"NOTE\":null,\"F\":0.5,\"EMPTY\":\"\"},"
                                               "{\"ID\":9000000000,\"NAME\":\"b\",\"NOTE\":2,\"F\":1.5,"
                                               "\"EMPTY\":\"x\"}]"));
        QVERIFY(query.exec("SELECT 1 AS A, 2 AS A"));
        QCOMPARE(QAny::fromQuery(query), QAny::list({QAny{{"A", 2}}}));
        QVERIFY(query.exec("SELECT 1 WHERE 0"));
        QCOMPARE(QAny::fromQuery(query), QAny(QAny::List));
        QVERIFY(query.exec("SELECT x'9EE8' AS T, 7 AS N, NULL AS Z"));
        const QAny decoded = QAny::fromQuery(query, "windows-1250");
        QCOMPARE(decoded.toJson(), QStringLiteral("[{\"T\":\"žč\",\"N\":\"7\",\"Z\":\"\"}]"));
    }
    QSqlDatabase::removeDatabase("rows");
}

void tst_QAny::debugForm()
{
    QString text;
    QDebug(&text).nospace() << QAny{{"a", 1}} << '|' << QAny(QStringLiteral("č\"")) << '|' << QAny(2.0);
    QCOMPARE(text, QStringLiteral("QAny<Hash>({\"a\":1})|QAny<String>(\"č\\\"\")|QAny<Double>(2)"));
}

void tst_QAny::metaTypeTravels()
{
    Peer peer;
    QAny answer;
    QVERIFY(QMetaObject::invokeMethod(&peer, "answer", Qt::DirectConnection, Q_RETURN_ARG(QAny, answer),
                                      Q_ARG(QString, "7"), Q_ARG(QAny, numbers(3))));
    QCOMPARE(answer, (QAny{{"id", "7"}, {"count", 3}}));
    QVERIFY(QMetaObject::invokeMethod(&peer, "take", Qt::QueuedConnection, Q_ARG(QAny, QAny("by name"))));
    QTRY_COMPARE(peer.m_received, QAny("by name"));

    // Into another thread, whole.
    QThread thread;
    Peer receiver;
    receiver.moveToThread(&thread);
    connect(&peer, &Peer::sent, &receiver, &Peer::take, Qt::QueuedConnection);
    connect(
        &peer, &Peer::sent, &receiver, [&thread] { thread.quit(); }, Qt::QueuedConnection);
    thread.start();
    emit peer.sent(QAny{{"rows", numbers(1000)}});
    QVERIFY(thread.wait(10000));
    QCOMPARE(receiver.m_received["rows"], numbers(1000));
}

void tst_QAny::hashAgreesWithModel_data()
{
    QTest::addColumn<int>("keys");
    QTest::addColumn<int>("keyLength");
    QTest::newRow("few keys, searched in a row") << 6 << 0;
    QTest::newRow("indexed keys") << 60 << 0;
    QTest::newRow("more keys than shared sets hold") << 400 << 0;
    QTest::newRow("keys too long to share") << 30 << 80;
}

/// Random edits, so that removal meets every state of the index.
void tst_QAny::hashAgreesWithModel()
{
    QFETCH(int, keys);
    QFETCH(int, keyLength);
    QRandomGenerator random(20240101);
    QHash<QString, QAny> model;
    QAny hash(QAny::Hash);
    for (int step = 0; step < 6000; ++step) {
        const QString key = QString::number(random.bounded(keys)).rightJustified(keyLength, QLatin1Char('k'));
        // In turns mostly growing and mostly shrinking.
        if (random.bounded(10) < (step / 1000 % 2 == 0 ? 7 : 3)) {
            hash.insert(key, step);
            model.insert(key, step);
        } else {
            QCOMPARE(hash.remove(key), model.remove(key) > 0);
        }
        QCOMPARE(hash.count(), model.count());
        const QString probe = QString::number(random.bounded(keys)).rightJustified(keyLength, QLatin1Char('k'));
        QCOMPARE(hash.contains(probe), model.contains(probe));
        QCOMPARE(hash.lookup(probe), model.value(probe));
    }
    QCOMPARE(hash.toHash(), model);
}

void tst_QAny::keySetsBeyondTheirNumber()
{
    // More different first keys than sets may be shared: later hashes own their keys and behave alike.
    for (int i = 0; i < 10000; ++i) {
        QAny hash(QAny::Hash);
        hash.insert("peer" + QString::number(i), i);
        hash.insert("x", 1);
        QCOMPARE(hash.lookup("peer" + QString::number(i)).asInteger(), qint64(i));
        QCOMPARE(hash.keys(), (QStringList{"peer" + QString::number(i), "x"}));
    }
    QCOMPARE(hashOf("z", 150), hashOf("z", 150));
}

void tst_QAny::recordByKeySet()
{
    for (const int columns : {1, 12, 200}) {
        const QStringList names = hashOf("C", columns).keys();
        const QAny::KeySet keys(names);
        QCOMPARE(keys.count(), columns);
        QCOMPARE(keys.indexOf("none"), -1);
        QAny row = QAny::record(keys);
        QCOMPARE(row.keys(), names);
        QVERIFY(row["C0"].isNull());
        for (int i = 0; i < columns; ++i)
            row.slot(keys.indexOf("C" + QString::number(i))) = i;
        row.insert("more", true);
        QCOMPARE(QAny::record(keys).count(), columns);
        QVERIFY(row.remove("more"));
        QCOMPARE(row, hashOf("C", columns));
    }
}

void tst_QAny::threadsGrowTheSameSets()
{
    const QAny expected = hashOf("shared", 90);
    const QAny frozen = expected; // handles may be copied by all
    std::atomic<int> faults{0};
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < 50; ++round) {
                QAny handle(QAny::Invalid);
                handle = frozen;
                const QAny same = hashOf("shared", 90);
                const QAny own = hashOf(QString::number(t * 100 + round) + '_', 20);
                faults += same.keys() != handle.keys() || own.count() != 20 || same != handle;
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    QCOMPARE(faults.load(), 0);
}

QTEST_GUILESS_MAIN(tst_QAny)
#include "tst_qany.moc"
