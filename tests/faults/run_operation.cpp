#include "tests/faults/OperationRun.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace {

/// A system call that nothing else here makes and that does nothing: it shows a tracer where the
/// operation begins and ends.
void mark()
{
    (void)::getpgid(0);
}

/// What may come of a run: of one with a fault what its row says, of one with "none" what comes of
/// a run without fault, and of one whose fault has no name (empty) any of these.
QList<Outcome> documentedOutcomes(const Operation& operation, const QByteArray& fault)
{
    QList<Outcome> documented;
    if (fault.isEmpty() || fault == "none") {
        documented << Outcome{"none", operation.result};
    }
    for (const Outcome& outcome : operation.outcomes) {
        if (fault.isEmpty() || fault == outcome.fault) {
            documented << outcome;
        }
    }
    return documented;
}

/// Prints the result, and a line for each thing that is not as it should be.
void runAndReport(const Operation& operation, const char* fault)
{
    const QList<Outcome> documented = documentedOutcomes(operation, fault);
    QList<OwnRange> besides;
    for (const Outcome& outcome : documented) {
        besides << outcome.besides;
    }
    const Run run = runOnce(operation, besides, mark, mark);
    std::printf("result %d\n", run.result);
    if (std::none_of(documented.begin(), documented.end(),
                     [&](const Outcome& outcome) { return outcome.result == run.result; })) {
        std::puts("wrong: such a result is not documented");
    }
    if (run.heldAfter != run.heldBefore) {
        std::printf("wrong: held %s, then %s\n", qPrintable(run.heldBefore.join(QLatin1Char(','))),
                    qPrintable(run.heldAfter.join(QLatin1Char(','))));
    }
    if (!run.foreignChange.isEmpty()) {
        std::printf("wrong: changed %s\n", qPrintable(run.foreignChange));
    }
}

} // namespace

/// run_operation NAME [FAULT]: runs one operation between two marks and says what came of it, and
/// whether that is documented of a fault.
/// run_operation: lists the operations.
int main(int count, char** words)
{
    for (const Operation& operation : allOperations()) {
        if (count < 2) {
            std::puts(operation.name);
        } else if (std::strcmp(operation.name, words[1]) == 0) {
            runAndReport(operation, count < 3 ? "" : words[2]);
        }
    }
    return 0;
}
