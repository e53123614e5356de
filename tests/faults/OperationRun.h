#pragma once

#include "tests/faults/Operation.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

/// The operations of all rooms.
const QList<Operation>& allOperations();

/// What came of one run of an operation.
struct Run
{
    int result = 0;
    QByteArray messages;
    /// Descriptors, locks, children and blocked signals of this process.
    QStringList heldBefore, heldAfter;
    /// The first bit of a file that changed and is not the operation's own; empty when there is
    /// none.
    QString foreignChange;
    /// The bytes that hold the operation's own bits, and what it fills in memory.
    QByteArray ownBefore, ownAfter;
};

/// What the own bytes hold after a run that moved so much of what one without fault moves.
QByteArray ownBytesAfter(Moved moved, const QByteArray& before, const QByteArray& whenWhole);

using Hook = std::function<void()>;

/// Puts the world into order and runs an operation in it, with @p before and @p after around the
/// operation alone. Changes of @p besides are not foreign either.
Run runOnce(const Operation& operation, const QList<OwnRange>& besides, const Hook& before,
            const Hook& after);
