#include "calc/input/userfilter.h"
#include "calcsite.h"

using namespace calc;

namespace {

const QString kMonday = "2.3.2026";
const QString kShiftPair = "2.3. 07:00-15:00 102 8:00";

/// Name | what the request holds beside the period | ids in their order.
constexpr char kWanted[] = R"(
all, by last name, equal names by id | {} | 3 2 4 1
one as a number              | {"USER":2}              | 2
one as a text                | {"USER":"2"}            | 2
a list of both               | {"USER":[1,"3"]}        | 3 1
an inactive one among them   | {"USER":[1,9]}          | 1
a condition is no id         | {"USER":[2,"0 or 1=1"]} | 2
by first name                | {"NAMEFIRST":true}      | 1 3 2 4
0 is ascending               | {"SORT":0}              | 3 2 4 1
another text is ascending    | {"SORT":"asc"}          | 3 2 4 1
descending by a number       | {"SORT":1}              | 1 2 4 3
descending by a truth        | {"SORT":true}           | 1 2 4 3
descending by a text         | {"SORT":"DESC"}         | 1 2 4 3
descending by first name     | {"NAMEFIRST":true,"SORT":"desc"} | 2 4 3 1
)";

QAny numbers(int first, int last)
{
    QAny list(QAny::List);
    for (int number = first; number <= last; ++number)
        list.append(number);
    return list;
}

} // namespace

/// Whom a calculation is of: the employees that the request asks for, and their order.
class TestCalcUsers : public QObject
{
    Q_OBJECT
private slots:
    void theChosenAreCalculatedInOrder_data();
    void theChosenAreCalculatedInOrder();
    void manyUsersAreAskedForInParts_data();
    void manyUsersAreAskedForInParts();
    void ofManyUsersOnlyTheChosenAreRead();

private:
    std::unique_ptr<CalcSite> m_site; ///< of the rows of a function
};

void TestCalcUsers::theChosenAreCalculatedInOrder_data()
{
    m_site = std::make_unique<CalcSite>();
    m_site->employee(4, "Novak Cene");
    m_site->employee(1, "Zupan Ana");
    m_site->employee(2, "Novak Cene");
    m_site->employee(3, "Kos Bine");
    m_site->employee(9, "Hribar Dane", kDay, kNoRules, "ACTIVE=0");
    for (const qint64 id : {1, 2, 3, 4, 9})
        m_site->events(id, "7-15");
    addTable(kWanted);
}

void TestCalcUsers::theChosenAreCalculatedInOrder()
{
    QFETCH(TableRow, row);
    const QAny wanted = QAny::fromJson(row[0]);
    QList<qint64> calculated;
    for (const QString &id : row[1].split(' '))
        calculated += id.toLongLong();
    QAny request = CalcSite::request(kMonday, "3.3.2026");
    for (const QString &key : wanted.keys())
        request[key] = wanted.value(key);
    const Outcome outcome = m_site->run(request);
    QCOMPARE(outcome.users(), calculated);
    QCOMPARE(outcome.users("CALCsum"), calculated);
    QCOMPARE(outcome.answer.value("DAYS").count(), 2 * calculated.count());
    for (const qint64 id : calculated)
        QCOMPARE(outcome.pairs(id), kShiftPair);
    const qint64 first = calculated.first();
    QString name = QStringList{"Zupan Ana", "Novak Cene", "Kos Bine"}.at(int(first) - 1);
    if (wanted.contains("NAMEFIRST"))
        name = name.section(' ', 1) + ' ' + name.section(' ', 0, 0);
    for (const QAny &named :
         {outcome.row("CALC", first), outcome.row("CALCsum", first), outcome.row("CALC", first).value("PAIRS")[0]})
        QCOMPARE(named.value("NAME"), QAny(name));
}

void TestCalcUsers::manyUsersAreAskedForInParts_data()
{
    columns<QAny, int, QList<int>>("user", "terms", "distinct"); // terms of a statement, distinct ids of each part
    using Ids = QList<int>;
    addRow("everybody", QAny(), 0, Ids{0});
    addRow("nobody", QAny::list(), 0, Ids{0});
    addRow("no id at all", QAny("nihče"), 0, Ids{0});
    addRow("one", QAny(5), 1, Ids{1});
    addRow("twice the same, once as a text", QAny::list({5, "5", 5, "x"}), 1, Ids{1});
    addRow("as many as a statement takes", numbers(1, 500), 500, Ids{500});
    addRow("one more", numbers(1, 501), 500, Ids{500, 1});
    addRow("two statements and one", numbers(1, 1001), 500, Ids{500, 500, 1});
}

void TestCalcUsers::manyUsersAreAskedForInParts()
{
    QFETCH(QAny, user);
    QFETCH(int, terms);
    QFETCH(QList<int>, distinct);
    const input::UserFilter filter(user);
    QCOMPARE(filter.parts(), distinct.count());
    // Nobody is another thing than everybody.
    QCOMPARE(filter.clause("U"), user.isNull() ? QString()
                                 : terms == 0  ? QString(" and (0)")
                                               : " and (U=?" + QString(" or U=?").repeated(terms - 1) + ')');
    QSet<qint64> all;
    for (int part = 0; part < filter.parts(); ++part) {
        const QVariantList bound = filter.bindings(part, {"before"});
        QCOMPARE(bound.count(), 1 + terms);
        QCOMPARE(bound.first(), QVariant("before"));
        QSet<qint64> ids;
        for (int term = 1; term <= terms; ++term)
            ids.insert(bound[term].toLongLong());
        QCOMPARE(ids.count(), distinct[part]);
        QVERIFY(!all.intersects(ids)); // nobody is read twice
        all += ids;
    }
    for (const qint64 id : qAsConst(all))
        QVERIFY(filter.contains(id));
    QCOMPARE(filter.contains(7777), user.isNull());
}

void TestCalcUsers::ofManyUsersOnlyTheChosenAreRead()
{
    CalcSite site;
    const QList<qint64> chosen{1, 700, 701}; // 701 is the last one of the second statement
    for (const qint64 id : {1, 2, 700, 701}) {
        site.employee(id);
        site.events(id, QString("7 101 + %1 102/ME").arg(10 + id % 5));
    }
    QAny request = CalcSite::request(kMonday, kMonday);
    QAny many = numbers(3, 500);
    for (const qint64 id : chosen)
        many.append(id);
    QCOMPARE(many.count(), 501);
    request["USER"] = many;
    const Outcome together = site.run(request);
    QCOMPARE(together.users(), chosen);
    QCOMPARE(together.answer.value("DAYS").count(), 3);
    for (const qint64 id : chosen) {
        request["USER"] = id;
        const Outcome alone = site.run(request);
        QCOMPARE(together.pairs(id), alone.pairs(id));
        for (const char *list : {"CALCsum", "DAYS"})
            QCOMPARE(together.row(list, id).toJson(), alone.row(list, id).toJson());
    }
    QCOMPARE(together.pairs(701), QString("2.3. 07:00-11:00 102 4:00"));
}

QTEST_GUILESS_MAIN(TestCalcUsers)
#include "tst_calc_users.moc"
