// Prints what the inspector has to know about the device: the fields of the image and the registers
// of the runtime, as JSON. Offsets and sizes are those of the code; this file only adds names.
//
//   inspect-tables

#include "device/EEInfoDetail.h"
#include "regstore/RegisterTable.h"

#include <array>
#include <cstddef>
#include <cstdio>

namespace {

/// One field of the image, by its absolute offset.
struct Field
{
    const char* record;
    const char* name;
    const char* kind; ///< How its bytes are shown: "number", "ipv4", "mac" or "bytes".
    std::size_t offset;
    std::size_t size;
};

#define FIELD(record, base, member, kind)                                                          \
    Field                                                                                          \
    {                                                                                              \
#record, #member, kind, EEInfoDetail::base + offsetof(EEInfoDetail::record, member),       \
            sizeof(EEInfoDetail::record::member)                                                   \
    }

/// The fields with a meaning; every other byte of a record is reserved.
constexpr std::array fields{
    FIELD(Flash_WR_1, wr1Offset, brightness, "number"),
    FIELD(Flash_WR_1, wr1Offset, eth0_mac, "mac"),
    FIELD(Flash_WR_1, wr1Offset, eth0_ip, "ipv4"),
    FIELD(Flash_WR_1, wr1Offset, eth0_gateway, "ipv4"),
    FIELD(Flash_WR_1, wr1Offset, eth0_mask, "ipv4"),
    FIELD(Flash_WR_1, wr1Offset, settings_close_hidden, "number"),
    FIELD(Flash_WR_1, wr1Offset, eth1_mac, "mac"),
    FIELD(Flash_WR_1, wr1Offset, eth1_ip, "ipv4"),
    FIELD(Flash_WR_1, wr1Offset, eth1_gateway, "ipv4"),
    FIELD(Flash_WR_1, wr1Offset, eth1_mask, "ipv4"),
    FIELD(Flash_ROnly, rOnlyOffset, hw_options, "number"),
    FIELD(Flash_ROnly, rOnlyOffset, screen_width, "bytes"),
    FIELD(Flash_WR_2, wr2Offset, block_0, "bytes"),
    FIELD(Flash_WR_2, wr2Offset, block_1, "bytes"),
    FIELD(Flash_WR_2, wr2Offset, block_2, "bytes"),
};

struct Record
{
    const char* name;
    std::size_t offset;
    std::size_t size;
};

constexpr std::array records{
    Record{"Flash_WR_1", EEInfoDetail::wr1Offset, sizeof(EEInfoDetail::Flash_WR_1)},
    Record{"Flash_ROnly", EEInfoDetail::rOnlyOffset, sizeof(EEInfoDetail::Flash_ROnly)},
    Record{"Flash_WR_2", EEInfoDetail::wr2Offset, sizeof(EEInfoDetail::Flash_WR_2)},
};

/// A register that the settings use.
struct Use
{
    unsigned id;
    const char* name;
    const char* kind; ///< "adapter", "switch", "language" or "ipv4".
};

constexpr std::array uses{
    Use{20, "language", "language"},
    Use{60, "eth0 address", "ipv4"},
    Use{62, "eth0 netmask", "ipv4"},
    Use{63, "eth0 gateway", "ipv4"},
    Use{66, "eth0 switched off", "switch"},
    Use{67, "eth0 DHCP", "switch"},
    Use{69, "eth1 address", "ipv4"},
    Use{71, "eth1 netmask", "ipv4"},
    Use{72, "eth1 gateway", "ipv4"},
    Use{75, "eth1 switched off", "switch"},
    Use{76, "eth1 DHCP", "switch"},
    Use{78, "default adapter", "adapter"},
    Use{79, "buzzer", "switch"},
    Use{80, "date dialog lock", "switch"},
    Use{86, "settings window", "switch"},
};

const Use* findUse(unsigned id)
{
    for (const Use& use : uses) {
        if (use.id == id) {
            return &use;
        }
    }
    return nullptr;
}

const char* comma(bool first)
{
    return first ? "" : ",";
}

void printImage()
{
    std::printf("\"imageBytes\":%zu,\n\"records\":[", EEInfoDetail::imageBytes);
    for (const Record& record : records) {
        std::printf(R"(%s{"name":"%s","offset":%zu,"size":%zu})", comma(&record == records.data()),
                    record.name, record.offset, record.size);
    }
    std::printf("],\n\"fields\":[");
    for (const Field& field : fields) {
        std::printf(R"(%s{"record":"%s","name":"%s","kind":"%s","offset":%zu,"size":%zu})",
                    comma(&field == fields.data()), field.record, field.name, field.kind,
                    field.offset, field.size);
    }
    std::printf("],\n");
}

void printRegisters()
{
    std::printf("\"registers\":[");
    for (const RegisterRow& row : registerTable) {
        const Use* use = findUse(row.id);
        std::printf(R"(%s{"id":%u,"area":%u,"offset":%u,"size":%u,"name":"%s","kind":"%s"})",
                    comma(&row == registerTable.data()), row.id, row.area, row.offset, row.size,
                    use ? use->name : "", use ? use->kind : "bytes");
    }
    std::printf("]\n");
}

} // namespace

int main()
{
    std::printf("{");
    printImage();
    printRegisters();
    std::printf("}\n");
    return 0;
}
