#pragma once

#include <QByteArray>
#include <QString>

#include <vector>

/// A member that an object of a JSON text has already.
struct RepeatedMember
{
    QString place; ///< The members that lead to it, "network.eth0.ip".
    int offset;    ///< Of its name in the text, in bytes.
};

/// All of them, in the order of the text, which is one that QJsonDocument understands: it keeps the
/// last member of a name and says nothing of the others.
std::vector<RepeatedMember> repeatedMembers(const QByteArray& json);
