#pragma once

class QJsonArray;
class QJsonObject;
class QJsonValue;
struct RecordField;
struct RegisterRow;

/// Printing JSON to standard output, and the rows of the tables as JSON.
namespace Json {

/// Over several lines.
void print(const QJsonObject& object);
void print(const QJsonArray& array);
/// On one line, passed on at once.
void printLine(const QJsonObject& object);

/// Id, name (absent when it has none), kind, area, file of the area, offset and size with their
/// unit, description.
QJsonObject ofRegister(const RegisterRow& row);

/// Record, name, kind, offset in the record and in the image, size, unit, description, and whether
/// the device takes it back.
QJsonObject ofField(const RecordField& field);

} // namespace Json
