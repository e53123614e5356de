// What does not compile: CTest hands this file to the compiler once for each mistake, and once
// without any (MISTAKE is 0), which does.

#include "regstore/NamedRegister.h"

#if MISTAKE == 1 // no register has the name
constexpr QuietRegister mistake("date_key");
#elif MISTAKE == 2 // it has eight bytes, not one
constexpr QuietRegister mistake("eth0_ip");
#elif MISTAKE == 3 // it has one byte, not eight
constexpr QuadRegister mistake("date_lock");
#elif MISTAKE == 4 // the runtime waits for a notice
constexpr QuietRegister mistake("language");
#elif MISTAKE == 5 // nobody waits for one
constexpr AnnouncedRegister mistake("date_lock");
#endif

int useRegisters()
{
    const std::uint8_t value = 1;
#if MISTAKE == 6
    Registers::language.write(value);
#elif MISTAKE == 7
    Registers::eth0Off.writeNotify(value);
#elif MISTAKE == 8
    Registers::language.read(value); // into a constant
#endif
    return Registers::language.writeNotify(value) + Registers::eth0Off.write(value);
}
