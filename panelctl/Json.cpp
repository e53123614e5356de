#include "panelctl/Json.h"

#include "device/Latin1.h"
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
        {"id"_l1, row.id},
        {"area"_l1, row.area},
        {"file"_l1, text(areaFile(row.area).path)},
        {"offset"_l1, static_cast<int>(row.offset)},
        {"size"_l1, static_cast<int>(row.size)},
        {"unit"_l1, isBitArea(row.area) ? "bits"_l1 : "bytes"_l1},
        {"kind"_l1, text(kindName(kindOf(row)))},
    };
    if (const RegisterName* name = findRegisterName(row.id)) {
        object["name"_l1] = text(name->name);
        object["description"_l1] = text(name->description);
        object["announced"_l1] = name->announced == Announced::Yes;
    }
    return object;
}

QJsonObject ofField(const RecordField& field)
{
    return {
        {"record"_l1, text(field.record)},
        {"name"_l1, text(field.name)},
        {"kind"_l1, text(kindName(field.kind))},
        {"offset"_l1, static_cast<int>(field.offset)},
        {"imageOffset"_l1, static_cast<int>(imageOffset(field))},
        {"size"_l1, static_cast<int>(field.size)},
        {"unit"_l1, text(field.unit)},
        {"description"_l1, text(field.description)},
        {"writable"_l1, recordOf(field).writable && field.kind != Kind::Reserved},
    };
}

} // namespace Json
