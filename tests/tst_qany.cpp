#include "qany.h"

#include <QDebug>
#include <QRandomGenerator>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTest>

#include <atomic>
#include <cmath>
#include <limits>
#include <optional>
#include <thread>
#include <utility>
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

class tst_QAny : public QObject
{
    Q_OBJECT

private slots:
    void kinds();
    void conversions();
    void copiesShareTheRecord();
    void deepCopySharesNothing();
    void containersRefuseOtherKinds();
    void listContainsIsInverted();
    void listEditing();
    void readingByIndex();
    void writableIndex();
    void refusedIndexWarns();
    void referencesSurviveGrowth();
    void aliasedArguments();
    void equality();
    void variants();
    void queryRows();
    void hashAgreesWithModel();
    void recordByKeySet();
    void threadsGrowTheSameSets();
};

void tst_QAny::kinds()
{
    const QAny::Type types[] = {QAny::Invalid, QAny::Null,   QAny::Bool, QAny::Integer,
                                QAny::Double,  QAny::String, QAny::List, QAny::Hash};
    const char *const names[] = {"Invalid", "Null", "Bool", "Integer", "Double", "String", "List", "Hash"};
    for (int number = 0; number < 8; ++number) {
        const QAny value(types[number]);
        QCOMPARE(static_cast<int>(value.type()), number);
        QCOMPARE(value.typeName(), names[number]);
        QCOMPARE(value.isValid(), number != 0);
        QVERIFY(value.count() == 0 && !value.toBool() && value.toInteger() == 0 && value.toDouble() == 0.0);
    }
    QString text;
    QDebug(&text).nospace() << QAny{{"a", 1}} << '|' << QAny(QStringLiteral("č\"")) << '|' << QAny(2.0);
    QCOMPARE(text, QStringLiteral("QAny<Hash>({\"a\":1})|QAny<String>(\"č\\\"\")|QAny<Double>(2)"));
    QCOMPARE(QAny::typeName(8), "Unknown");
    QCOMPARE(QAny(QStringList{"a", "b"}), QAny::list({"a", "b"}));
    QCOMPARE(QAny(std::numeric_limits<qint64>::min()).asInteger(), std::numeric_limits<qint64>::min());
}

void tst_QAny::conversions()
{
    constexpr qint64 most = std::numeric_limits<qint64>::max();
    constexpr qint64 least = std::numeric_limits<qint64>::min();
    bool ok = false;
    const auto is = [&ok](const auto &result, const auto &expected) {
        return ok == expected.has_value() && result == expected.value_or(std::decay_t<decltype(result)>());
    };
    const auto check = [&](const QAny &value, std::optional<bool> boolean, std::optional<qint64> integer,
                           std::optional<double> real, std::optional<QString> text) {
        return is(value.toBool(&ok), boolean) && is(value.toInteger(&ok), integer) && is(value.toDouble(&ok), real) &&
               is(value.toString(&ok), text);
    };
    QVERIFY(check(true, true, 1, 1.0, "true"));
    QVERIFY(check(false, false, 0, 0.0, "false"));
    QVERIFY(check(-42, true, -42, -42.0, "-42"));
    QVERIFY(check(0, false, 0, 0.0, "0"));
    QVERIFY(check(0.1, true, 0, 0.1, "0.1"));
    QVERIFY(check(1e20, true, most, 1e20, "1e+20"));
    QVERIFY(check(3.14159265358979, true, 3, 3.14159265358979, "3.1415926535898"));
    QVERIFY(check("TrUe", true, {}, {}, "TrUe"));
    QVERIFY(check("FALSE", false, {}, {}, "FALSE"));
    QVERIFY(check("1", {}, 1, 1.0, "1"));
    QVERIFY(check("2.5", {}, {}, 2.5, "2.5"));
    QVERIFY(check("2,5", {}, {}, {}, "2,5"));
    QVERIFY(check("0x10", {}, {}, {}, "0x10"));
    QVERIFY(check("9223372036854775808", {}, {}, 9223372036854775808.0, "9223372036854775808"));
    QVERIFY(check("", {}, {}, {}, ""));
    for (const QAny &value : {QAny(), QAny(QAny::Invalid), QAny::list({1}), QAny{{"a", 1}}})
        QVERIFY2(check(value, {}, {}, {}, {}), value.typeName());
    // Toward zero, and held at the ends.
    QCOMPARE(QAny(-2.7).toInteger(), qint64(-2));
    QCOMPARE(QAny(2.7).toInteger(), qint64(2));
    QCOMPARE(QAny(-9223372036854775808.0).toInteger(), least);
    QCOMPARE(QAny(9223372036854775808.0).toInteger(), most);
    QCOMPARE(QAny(-std::numeric_limits<double>::infinity()).toInteger(), least);
    QCOMPARE(QAny(std::numeric_limits<double>::quiet_NaN()).toInteger(), qint64(0));
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

    // Null gets a record of its own.
    QAny missing = parent["x"];
    missing["written"] = 1;
    QVERIFY(QAny::sharedNull().isNull());
    QAny first;
    const QAny second = first;
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

void tst_QAny::readingByIndex()
{
    const QAny list = QAny::list({"x", "y"});
    QCOMPARE(list.value(1), QAny("y"));
    QCOMPARE(list["1"], QAny("y"));
    QVERIFY(list.value(2).isNull() && list.value(-1).isNull());
    QVERIFY(list[2].isNull() && list["2"].isNull() && list["-1"].isNull() && list["x"].isNull());
    QCOMPARE(list.value("0", 9), QAny("x"));
    QCOMPARE(list.value("2", 9), QAny(9));
    const QAny hash{{"3", "three"}, {"n", QAny()}};
    QCOMPARE(hash.value(3), QAny("three"));
    QCOMPARE(hash[3], QAny("three"));
    QCOMPARE(hash.value("4", "none"), QAny("none"));
    QVERIFY(hash.value("n", "none").isNull()); // present
    QVERIFY(hash.value("4").isNull() && hash["4"].isNull());
    QVERIFY(list.count() == 2 && hash.count() == 2);
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

void tst_QAny::refusedIndexWarns()
{
    QAny list = numbers(1);
    QAny null;
    QAny integer(1);
    const QAny text("t");
    const auto refused = [](auto &value, auto index, const char *reason) {
        const QByteArray warning = QByteArray("QAny::operator[] invalid ") + reason;
        QTest::ignoreMessage(QtWarningMsg, warning.constData());
        return &value[index];
    };
    QCOMPARE(refused(list, -1, "index= -1 or type= List"), &list);
    QCOMPARE(refused(null, -1, "index= -1 or type= Null"), &null);
    QCOMPARE(refused(list, "-1", "type= List"), &list);
    QCOMPARE(refused(integer, "-1", "type= Integer"), &integer);
    QCOMPARE(refused(qAsConst(list), -1, "index= -1 or type= List"), &QAny::sharedNull());
    QCOMPARE(refused(text, "-1", "key= \"-1\" or type= String"), &QAny::sharedNull());
    QVERIFY(list == numbers(1) && null.isNull() && integer.isInteger() && integer == QAny(1));
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

void tst_QAny::equality()
{
    // The kind on the left decides.
    const auto compare = [](const QByteArray &pair) {
        const QAny both = QAny::fromJson("[" + pair + "]");
        return both.count() == 2 && (both[0] == both[1]) != (both[0] != both[1]) ? int(both[0] == both[1]) : -1;
    };
    for (const char *pair : {R"(true,"TRUE")", "true,5", R"(1,"1")", "2,2.9", R"(0.5,"5e-1")", R"([1,"a"],["1","a"])",
                             R"({"a":1,"b":2},{"b":2,"a":1})"})
        QVERIFY2(compare(pair) == 1, pair);
    for (const char *pair :
         {R"(null,"")", R"("TRUE",true)", "5,true", R"(false,"no")", R"("01",1)", R"(0,"x")", "0,null", "2.9,2",
          "[0,1],[0,1,2]", "[],{}", R"({"a":null},{"b":null})", R"({"a":1},{"a":2})", R"({"a":1},{"a":1,"b":2})"})
        QVERIFY2(compare(pair) == 0, pair);
    QVERIFY(QAny(QAny::Invalid) == QAny(QAny::Invalid) && QAny() != QAny(QAny::Invalid));
}

void tst_QAny::variants()
{
    const auto variants = QVariantList() << QVariant(QVariant::Int) << QVariant(QString()) << QString("") << true << -3
                                         << 4000000000u << Q_INT64_C(-9223372036854775807) << Q_UINT64_C(5) << 0.5
                                         << QChar(0x10d) << QByteArray("\xc4\x8d") << QStringList{"a", "b"}
                                         << QVariant(QVariantList{1, QVariantList{true}})
                                         << QVariantMap{{"m", QVariantList{QVariant()}}}
                                         << QVariantHash{{"h", QVariantMap{}}};
    QAny values(QAny::List);
    for (const QVariant &variant : variants)
        values.append(QAny::fromVariant(variant));
    const QString expected =
        R"([null,null,"",true,-3,4000000000,-9223372036854775807,5,0.5,"č","č",["a","b"],[1,[true]],)"
        R"({"m":["Invalid"]},{"h":{}}])";
    QCOMPARE(values.toJson(), expected);
    QCOMPARE(QAny::fromVariant(variants).toJson(), expected);
    QCOMPARE(QAny::fromVariant(QVariant()).type(), QAny::Invalid);
    QCOMPARE(QAny::fromVariant(QDate(2024, 1, 1)).type(), QAny::Invalid);

    const QAny value{{"b", true}, {"i", 5}, {"d", 0.5}, {"s", "t"}, {"l", QAny::list({QAny(), 1})}, {"n", QAny()}};
    const QVariantHash hash{
        {"b", true},      {"i", Q_INT64_C(5)}, {"d", 0.5}, {"s", "t"}, {"l", QVariantList{QVariant(), Q_INT64_C(1)}},
        {"n", QVariant()}};
    QCOMPARE(value.toVariant(), QVariant(hash));
    QCOMPARE(QAny(5).toVariant().userType(), int(QMetaType::LongLong));
    QVERIFY(!QAny(QAny::Invalid).toVariant().isValid());
    // A text stays a text when a statement binds it.
    QVERIFY(!QAny(QAny::String).toVariant().isNull() && !QAny(QString()).toVariant().isNull());
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
        QCOMPARE(rows.toJson(), QStringLiteral(R"([{"ID":1,"NAME":"ž","NOTE":null,"F":0.5,"EMPTY":""},)"
                                               R"({"ID":9000000000,"NAME":"b","NOTE":2,"F":1.5,"EMPTY":"x"}])"));
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

void tst_QAny::hashAgreesWithModel()
{
    // Few keys, searched in a row; indexed ones; more than shared sets hold; too long to share.
    for (const auto &[keys, keyLength] : {std::pair(6, 0), std::pair(60, 0), std::pair(400, 0), std::pair(30, 80)}) {
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
}

void tst_QAny::recordByKeySet()
{
    // More different first keys than sets may be shared: later hashes own their keys and behave alike.
    for (int i = 0; i < 10000; ++i) {
        const QString prefix = "peer" + QString::number(i) + '_';
        QCOMPARE(hashOf(prefix, 2).keys(), (QStringList{prefix + '0', prefix + '1'}));
    }
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
