#pragma once

#include "panelctl/Value.h"

#include <string>

class QJsonObject;
struct RegisterRow;

/// Registers as the commands name and show them.
namespace RegisterValue {

/// The register that @p word names or numbers. Throws UsageError when there is none.
const RegisterRow& find(const std::string& word);

/// How many bytes the value of a register takes.
std::size_t byteSize(const RegisterRow& row);

/// "20 language", or the id alone.
std::string label(unsigned id);

/// What the register holds now, without the bits of its neighbours. Throws Failure.
Value::Bytes read(const RegisterRow& row);

/// Changes the register and, when @p notify, tells the runtime. False when nobody hears that.
/// Throws Failure when it cannot be written.
bool write(const RegisterRow& row, const Value::Bytes& value, bool notify);

/// The row of the register table, with the value and its bytes.
QJsonObject jsonOf(const RegisterRow& row, const Value::Bytes& value);

} // namespace RegisterValue
