#pragma once

#include "regstore/ValueKind.h"

#include <cstdint>
#include <string>
#include <vector>

/// Values as people read and type them, to and from their bytes in a register or record.
namespace Value {

using Bytes = std::vector<std::uint8_t>;

/// The bytes as a value of @p kind, as parse() takes it.
std::string show(Kind kind, const Bytes& bytes);

/// What people want to know beside the value, "level 17 of 32"; empty for most.
std::string note(Kind kind, const Bytes& bytes);

/// The bytes for @p text, as many as @p before has. Bits that are not part of the value are taken
/// from @p before. Throws UsageError, which says what fits, when @p text does not.
Bytes parse(Kind kind, const std::string& text, const Bytes& before);

/// What is wrong with bytes that no such value can have, as the end of a sentence: "is no netmask".
/// Empty when nothing is.
std::string problem(Kind kind, const Bytes& bytes);

/// What parse() takes for a value of @p size bytes: "chinese or english".
std::string fitting(Kind kind, std::size_t size);

/// The words that parse() takes, where those are all.
std::vector<std::string> words(Kind kind);

/// The bytes, at most 8, as an unsigned little-endian number.
std::uint64_t number(const Bytes& bytes);

/// The first four bytes as one number, the first octet in the highest place.
std::uint32_t address(const Bytes& bytes);

/// The bytes as hexadecimal digits: "0a0b0c".
std::string hex(const Bytes& bytes);

} // namespace Value
