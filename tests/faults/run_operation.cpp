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

bool isDocumented(const Operation& operation, int result)
{
    return result == operation.result ||
           std::any_of(operation.outcomes.begin(), operation.outcomes.end(),
                       [=](const Outcome& outcome) { return outcome.result == result; });
}

/// Prints the result, and a line for each thing that is not as it should be.
void runAndReport(const Operation& operation)
{
    QList<OwnRange> besides;
    for (const Outcome& outcome : operation.outcomes) {
        besides << outcome.besides;
    }
    const Run run = runOnce(operation, besides, mark, mark);
    std::printf("result %d\n", run.result);
    if (!isDocumented(operation, run.result)) {
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

/// run_operation NAME: runs one operation between two marks and says what came of it.
/// run_operation: lists the operations.
int main(int count, char** words)
{
    for (const Operation& operation : allOperations()) {
        if (count < 2) {
            std::puts(operation.name);
        } else if (std::strcmp(operation.name, words[1]) == 0) {
            runAndReport(operation);
        }
    }
    return 0;
}
