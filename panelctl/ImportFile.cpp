#include "panelctl/ImportFile.h"

#include "device/Latin1.h"
#include "panelctl/Command.h"
#include "panelctl/DeviceCheck.h"
#include "panelctl/JsonMembers.h"
#include "panelctl/RecordFields.h"
#include "panelctl/RegisterValue.h"
#include "panelctl/ResolverLines.h"
#include "panelctl/Value.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <netinet/in.h>
#include <optional>

namespace {

const Setting* findSetting(const QString& place)
{
    const auto* at =
        std::find_if(panelSettings.begin(), panelSettings.end(),
                     [&](const Setting& setting) { return place == QLatin1String(setting.place); });
    return at == panelSettings.end() ? nullptr : at;
}

/// Whether settings lie below the place.
bool isGroup(const QString& place)
{
    return std::any_of(panelSettings.begin(), panelSettings.end(), [&](const Setting& setting) {
        return QString::fromLatin1(setting.place).startsWith(place + QLatin1Char('.'));
    });
}

/// Line and column of a byte, from 1, as editors count.
std::string positionOf(const QByteArray& text, int offset)
{
    const QByteArray before = text.left(offset);
    return "line " + std::to_string(before.count('\n') + 1) + ", column " +
           std::to_string(offset - before.lastIndexOf('\n'));
}

/// Bytes that a value of the setting has in its register or field; those of one server.
std::size_t sizeOf(const Setting& setting)
{
    return setting.home == Home::Field ? fieldNamed(setting.name).size
           : setting.home == Home::Servers
               ? sizeof(in_addr)
               : RegisterValue::byteSize(RegisterValue::find(setting.name));
}

/// The text as the panel shows the value. Throws UsageError when it does not fit.
std::string parsed(const Setting& setting, const std::string& text)
{
    const Value::Bytes empty(sizeOf(setting));
    return Value::show(setting.kind, Value::parse(setting.kind, text, empty));
}

/// A JSON value as it is typed, nothing when it has the wrong type.
std::optional<std::string> typed(const Setting& setting, const QJsonValue& value)
{
    if (setting.kind == Kind::Switch) {
        return value.isBool() ? std::optional<std::string>(value.toBool() ? "on" : "off")
                              : std::nullopt;
    }
    if (setting.kind == Kind::Level) {
        const int number = value.toInt(); // 0 when it is no whole number
        return value.isDouble() && number == value.toDouble() && number >= 0
                   ? std::optional(std::to_string(number))
                   : std::nullopt;
    }
    return value.isString() ? std::optional(value.toString().toStdString()) : std::nullopt;
}

const char* typeOf(const Setting& setting)
{
    return setting.kind == Kind::Switch  ? "it takes true or false"
           : setting.kind == Kind::Level ? "it takes a whole number"
                                         : "it takes a text in quotation marks";
}

/// What some editors put in front of a text.
QByteArray withoutByteOrderMark(const QByteArray& file)
{
    return file.startsWith("\xef\xbb\xbf") ? file.mid(3) : file;
}

/// What the parser says, in words for somebody who has typed the file.
std::string textOf(const QJsonParseError& error)
{
    switch (error.error) {
    case QJsonParseError::IllegalValue:
        return "no value begins like this";
    case QJsonParseError::MissingObject:
        return "a comma has to be followed by one more member";
    case QJsonParseError::UnterminatedObject:
        return "a name in double quotation marks, a comma or } has to stand here";
    case QJsonParseError::GarbageAtEnd:
        return "something follows the last }";
    default:
        return error.errorString().toStdString();
    }
}

ImportError syntaxError(const QByteArray& json, const QJsonParseError& error)
{
    if (json.trimmed().isEmpty()) {
        return {positionOf(json, 0), "the file is empty"};
    }
    // The parser is past the sign that it does not understand already, but for what it never
    // read.
    const bool isRead = error.error != QJsonParseError::GarbageAtEnd;
    const int offset = std::clamp(error.offset - int(isRead), 0, json.size());
    return {positionOf(json, offset), "is no JSON: " + textOf(error)};
}

} // namespace

ImportFile::ImportFile(const QByteArray& file, const PanelState& panel) : m_panel(panel)
{
    const QByteArray json = withoutByteOrderMark(file);
    QJsonParseError error = {};
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (document.isNull()) {
        m_errors.push_back(syntaxError(json, error));
    } else if (!document.isObject()) {
        m_errors.push_back({positionOf(json, 0), "has to be an object, { ... }"});
    } else {
        for (const RepeatedMember& member : repeatedMembers(json)) {
            fail(member.place, "is given twice, again at " + positionOf(json, member.offset));
        }
        QJsonObject members = document.object();
        checkVersion(members);
        members.remove("version"_l1);
        readMembers({}, members);
    }
}

void ImportFile::fail(const QString& place, const std::string& text)
{
    m_errors.push_back({place.toStdString(), text});
}

void ImportFile::checkVersion(const QJsonObject& object)
{
    const QString member = "version"_l1;
    if (object[member].toDouble() != stateVersion) {
        fail(member, object.contains(member)
                         ? "this panelctl knows version " + std::to_string(stateVersion) + " only"
                         : "is missing; it has to be " + std::to_string(stateVersion));
    }
}

void ImportFile::readMember(const QString& place, const QJsonValue& value)
{
    if (const Setting* setting = findSetting(place)) {
        return readSetting(*setting, value);
    }
    if (!isGroup(place)) {
        return fail(place, "there is no such setting");
    }
    if (!value.isObject()) {
        return fail(place, "has to be an object, { ... }");
    }
    readMembers(place + QLatin1Char('.'), value.toObject());
}

void ImportFile::readMembers(const QString& prefix, const QJsonObject& members)
{
    for (auto at = members.begin(); at != members.end(); ++at) {
        // A place as a name would be a second way to the same setting.
        if (at.key().contains(QLatin1Char('.'))) {
            fail(prefix + at.key(), "a name has no dot; put an object into an object, { ... }");
        } else {
            readMember(prefix + at.key(), at.value());
        }
    }
}

void ImportFile::readSetting(const Setting& setting, const QJsonValue& value)
{
    const QString place = QString::fromLatin1(setting.place);
    if (!m_panel.has(setting)) {
        return fail(place, "this panel has one adapter, eth0");
    }
    const bool isList = setting.home == Home::Servers;
    if (isList && (!value.isArray() || value.toArray().size() > ResolverLines::mostServers)) {
        return fail(place, "it takes a list of two addresses at most");
    }
    const QJsonArray items = isList ? value.toArray() : QJsonArray{value};
    std::string all;
    for (int at = 0; at < items.size(); ++at) {
        const QString itemPlace = isList ? place + QString("[%1]"_l1).arg(at) : place;
        const std::optional<std::string> text = typed(setting, items.at(at));
        try {
            if (!text) {
                throw UsageError(typeOf(setting));
            }
            all += (at > 0 ? " " : "") + parsed(setting, *text);
        } catch (const UsageError& error) {
            fail(itemPlace, error.what());
        }
    }
    if (isList && (" " + all + " ").find(" 0.0.0.0 ") != std::string::npos) {
        fail(place, "0.0.0.0 is no server; leave it out");
    }
    m_values[&setting] = all;
}

std::vector<ImportError> checkTogether(const PanelState& panel,
                                       const std::map<const Setting*, std::string>& values)
{
    DeviceImage after = panel.image();
    for (const auto& [setting, text] : values) {
        if (setting->home == Home::Field) {
            const RecordField& field = fieldNamed(setting->name);
            after.setField(field, Value::parse(field.kind, text, after.field(field)));
        }
    }
    const std::vector<Problem> before = checkImage(panel.image());
    std::vector<ImportError> errors;
    for (const Problem& problem : checkImage(after)) {
        const bool isNew = std::none_of(before.begin(), before.end(), [&](const Problem& old) {
            return old.field == problem.field && old.text == problem.text;
        });
        for (const Setting& setting : panelSettings) {
            if (isNew && setting.home == Home::Field && setting.name == problem.field) {
                errors.push_back({setting.place, problem.text});
            }
        }
    }
    return errors;
}
