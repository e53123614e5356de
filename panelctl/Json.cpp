#include "panelctl/Json.h"

#include "panelctl/RecordFields.h"
#include "regstore/AreaFiles.h"
#include "regstore/RegisterNames.h"
#include "regstore/RegisterTable.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <iostream>

namespace {

QString text(const char* latin)
{
    return QString::fromLatin1(latin);
}

void printDocument(const QJsonDocument& document)
{
    std::cout << document.toJson().constData();
}

} // namespace

namespace Json {

void print(const QJsonObject& object)
{
    printDocument(QJsonDocument(object));
}

void print(const QJsonArray& array)
{
    printDocument(QJsonDocument(array));
}

void printLine(const QJsonObject& object)
{
    std::cout << QJsonDocument(object).toJson(QJsonDocument::Compact).constData() << std::endl;
}

QJsonObject ofRegister(const RegisterRow& row)
{
    QJsonObject object{
        {"id", row.id},
        {"area", row.area},
        {"file", text(areaFile(row.area).path)},
        {"offset", static_cast<int>(row.offset)},
        {"size", static_cast<int>(row.size)},
        {"unit", isBitArea(row.area) ? "bits" : "bytes"},
        {"kind", kindName(kindOf(row))},
    };
    if (const RegisterName* name = findRegisterName(row.id)) {
        object["name"] = text(name->name);
        object["description"] = text(name->description);
        object["announced"] = name->announced == Announced::Yes;
    }
    return object;
}

QJsonObject ofField(const RecordField& field)
{
    return {
        {"record", text(field.record)},
        {"name", text(field.name)},
        {"kind", text(kindName(field.kind))},
        {"offset", static_cast<int>(field.offset)},
        {"imageOffset", static_cast<int>(imageOffset(field))},
        {"size", static_cast<int>(field.size)},
        {"unit", text(field.unit)},
        {"description", text(field.description)},
        {"writable", recordOf(field).writable && field.kind != Kind::Reserved},
    };
}

} // namespace Json
