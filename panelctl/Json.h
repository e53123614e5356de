#pragma once

class QJsonArray;
class QJsonObject;
class QJsonValue;
struct RecordField;
struct RegisterRow;

/// Printing JSON to standard output, and the rows of the tables as JSON.
namespace Json {

/// Prints a value over several lines.
void print(const QJsonObject& object);
void print(const QJsonArray& array);
/// Prints an object on one line and hands it to the reader at once.
void printLine(const QJsonObject& object);

/// The row of a register: id, name (absent when it has none), kind, area, file of the area, offset
/// and size with their unit, description.
QJsonObject ofRegister(const RegisterRow& row);

/// The row of a field: record, name, kind, offset in the record and in the image, size, unit,
/// description, and whether the device takes it back.
QJsonObject ofField(const RecordField& field);

} // namespace Json
