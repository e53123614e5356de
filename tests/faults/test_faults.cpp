#include "tests/faults/FailingCalls.h"
#include "tests/faults/OperationRun.h"
#include "tests/support/PanelWorld.h"
#include "tests/support/Text.h"

#include <QTest>

#include <algorithm>
#include <unistd.h>

namespace {

/// What came of a run with a fault, or with none.
struct FaultyRun : Run
{
    bool faultHappened = false;
    QList<FailingCalls::Fault> possible;
    QList<FailingCalls::Fault> interruptions;
};

FaultyRun runWith(const Operation& operation, const Outcome& outcome = {})
{
    FaultyRun run;
    static_cast<Run&>(run) = runOnce(
        operation, {outcome.besides}, [&] { FailingCalls::start(outcome.fault); },
        [&] { run.possible = FailingCalls::stop(); });
    run.interruptions = FailingCalls::interruptions();
    run.faultHappened = FailingCalls::hasHappened();
    return run;
}

/// Takes what a fault is documented to leave open out of what a run holds, and closes it.
QStringList withoutLeftOpen(QStringList held, const char* file)
{
    for (int at = 0; file && at < held.size(); ++at) {
        const QStringList words = held.at(at).split(QLatin1Char(' '));
        if (words.last() == QLatin1String(file)) {
            ::close(words.first().toInt());
            held.removeAt(at);
            return held;
        }
    }
    return file ? QStringList("it is not open"_s) : held;
}

/// A driver of flash finishes the units that it has begun.
bool canHappen(const Operation& operation, const FailingCalls::Fault& interruption)
{
    return !QByteArray(operation.name).startsWith("mtd_") || !interruption.endsWith("cut");
}

bool saysWhatIsMoved(const Outcome& outcome)
{
    return outcome.moved != unsaid;
}

} // namespace

/// Walks the tables of operations: each is run once for every way in which each of its calls can
/// fail.
class TestFaults : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void withoutFault_worksAndLeavesNothing_data();
    void withoutFault_worksAndLeavesNothing();
    void everyCallThatCanFail_isInTheTable_data();
    void everyCallThatCanFail_isInTheTable();
    void fault_hasItsDocumentedResult_andLeavesNothing_data();
    void fault_hasItsDocumentedResult_andLeavesNothing();
    void interrupted_goesOnWhereItWas_data();
    void interrupted_goesOnWhereItWas();
};

void TestFaults::initTestCase()
{
    QVERIFY2(PanelWorld::image().size() == 1024, "runs inside the simulated panel only");
}

void TestFaults::withoutFault_worksAndLeavesNothing_data()
{
    QTest::addColumn<int>("operation");
    for (int at = 0; at < allOperations().size(); ++at) {
        QTest::newRow(allOperations().at(at).name) << at;
    }
}

void TestFaults::withoutFault_worksAndLeavesNothing()
{
    QFETCH(int, operation);
    const QList<Outcome>& outcomes = allOperations().at(operation).outcomes;
    const FaultyRun run = runWith(allOperations().at(operation));
    QCOMPARE(run.result, allOperations().at(operation).result);
    QCOMPARE(run.heldAfter, run.heldBefore);
    QCOMPARE(run.foreignChange, QString());
    if (std::any_of(outcomes.begin(), outcomes.end(), saysWhatIsMoved)) {
        const int half = run.ownBefore.size() / 2; // all of Moved must be told from each other
        QVERIFY(half == 0 || run.ownAfter.left(half) != run.ownBefore.left(half));
        QVERIFY(run.ownAfter.mid(half) != run.ownBefore.mid(half));
    }
}

void TestFaults::everyCallThatCanFail_isInTheTable_data()
{
    withoutFault_worksAndLeavesNothing_data();
}

void TestFaults::everyCallThatCanFail_isInTheTable()
{
    QFETCH(int, operation);
    QByteArrayList listed;
    for (const Outcome& outcome : allOperations().at(operation).outcomes) {
        listed << outcome.fault;
    }
    const QByteArray found = runWith(allOperations().at(operation)).possible.join('\n');
    QCOMPARE(found, listed.join('\n'));
}

void TestFaults::fault_hasItsDocumentedResult_andLeavesNothing_data()
{
    QTest::addColumn<int>("operation");
    QTest::addColumn<int>("outcome");
    for (int at = 0; at < allOperations().size(); ++at) {
        const QList<Outcome>& outcomes = allOperations().at(at).outcomes;
        for (int row = 0; row < outcomes.size(); ++row) {
            QTest::addRow("%s: %s", allOperations().at(at).name, outcomes.at(row).fault)
                << at << row;
        }
    }
}

void TestFaults::fault_hasItsDocumentedResult_andLeavesNothing()
{
    QFETCH(int, operation);
    QFETCH(int, outcome);
    const Outcome expected = allOperations().at(operation).outcomes.at(outcome);
    const FaultyRun run = runWith(allOperations().at(operation), expected);
    QVERIFY(run.faultHappened);
    QCOMPARE(run.result, expected.result);
    QCOMPARE(withoutLeftOpen(run.heldAfter, expected.leavesOpen), run.heldBefore);
    QCOMPARE(run.foreignChange, QString());
    QVERIFY2(*expected.message ? run.messages.startsWith(expected.message) : run.messages.isEmpty(),
             run.messages.constData());
    QVERIFY2(run.messages.endsWith(expected.ending), run.messages.constData());
    if (saysWhatIsMoved(expected)) {
        const QByteArray whenWhole = runWith(allOperations().at(operation)).ownAfter;
        QCOMPARE(run.ownAfter, ownBytesAfter(expected.moved, run.ownBefore, whenWhole));
    }
}

void TestFaults::interrupted_goesOnWhereItWas_data()
{
    withoutFault_worksAndLeavesNothing_data();
}

void TestFaults::interrupted_goesOnWhereItWas()
{
    QFETCH(int, operation);
    const Operation& interrupted = allOperations().at(operation);
    const FaultyRun undisturbed = runWith(interrupted);
    for (const FailingCalls::Fault& fault : undisturbed.interruptions) {
        if (!canHappen(interrupted, fault)) {
            continue;
        }
        const FaultyRun run = runWith(interrupted, {fault.constData(), 0});
        QVERIFY2(run.faultHappened, fault.constData());
        QVERIFY2(run.result == undisturbed.result, fault.constData());
        QVERIFY2(run.ownAfter == undisturbed.ownAfter, fault.constData());
        QVERIFY2(run.messages == undisturbed.messages, run.messages.constData());
        QCOMPARE(run.heldAfter, run.heldBefore);
        QCOMPARE(run.foreignChange, QString());
    }
}

QTEST_GUILESS_MAIN(TestFaults)
#include "test_faults.moc"
