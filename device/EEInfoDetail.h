#pragma once

#include "fileio/Export.h"

#include <cstddef>
#include <cstdint>

/// The records of the device information image, byte for byte as they lie in it: no padding,
/// little-endian. An IPv4 address is one 32-bit number with its first octet in the least
/// significant byte. Fields named reserved_N (N their offset) mean nothing here and are carried
/// unchanged.
///
/// | Image bytes | Content |
/// |---|---|
/// | 0 to 186 | Flash_WR_1 |
/// | 187 to 255 | not ours |
/// | 256 to 511 | Flash_ROnly |
/// | 512 to 703 | Flash_WR_2 |
/// | 704 to 1023 | not ours |
class PANEL_EXPORT EEInfoDetail
{
public:
    static constexpr std::size_t imageBytes = 1024;
    static constexpr std::size_t wr1Offset = 0;
    static constexpr std::size_t rOnlyOffset = 256;
    static constexpr std::size_t wr2Offset = 512;

    EEInfoDetail() = default;

// The layout is that of the medium, so the compiler may not align the fields.
#pragma pack(push, 1)
    /// Network identity and brightness: bytes 0 to 186 of the image. Writable.
    struct Flash_WR_1
    {
        std::uint32_t reserved_0;
        std::uint16_t reserved_4;
        std::uint16_t reserved_6;
        std::uint16_t reserved_8;
        std::uint8_t reserved_10[16];
        std::uint16_t reserved_26;
        std::uint8_t reserved_28;
        std::uint16_t brightness; ///< Raw backlight value of the level chosen, 76 to 200; 0 while
                                  ///< the backlight is off.
        std::uint16_t reserved_31;
        std::uint8_t eth0_mac[6]; ///< Octets in display order.
        std::uint16_t reserved_39;
        std::uint32_t eth0_ip;
        std::uint32_t eth0_gateway;
        std::uint32_t eth0_mask;
        std::uint16_t reserved_53;
        std::uint16_t reserved_55;
        std::uint32_t reserved_57;
        std::uint8_t reserved_61[16];
        std::uint8_t reserved_77[40];
        std::uint32_t reserved_117;
        std::uint32_t reserved_121;
        std::uint16_t reserved_125;
        std::uint16_t reserved_127;
        std::uint8_t reserved_129[12];
        std::uint8_t reserved_141[16];
        std::uint8_t settings_close_hidden; ///< Non-zero: the settings window has no close button.
        std::uint8_t reserved_158[6];
        std::uint16_t reserved_164;
        std::uint8_t eth1_mac[6]; ///< Octets in display order.
        std::uint16_t reserved_172;
        std::uint32_t eth1_ip;
        std::uint32_t eth1_gateway;
        std::uint32_t eth1_mask;
        std::uint8_t reserved_186;
    };

    /// What the hardware has: bytes 256 to 511 of the image. Nothing writes it.
    struct Flash_ROnly
    {
        std::uint16_t reserved_0;
        std::uint16_t reserved_2;
        std::uint16_t reserved_4;
        std::uint8_t hw_options; ///< Bit 0: there is a second Ethernet adapter.
        std::uint16_t reserved_7;
        std::uint8_t reserved_9;
        std::uint16_t reserved_10;
        std::uint16_t reserved_12;
        std::uint16_t screen_width; ///< Packed; see screenWidth().
        std::uint8_t reserved_16;
        std::uint8_t reserved_17;
        std::uint8_t reserved_18;
        std::uint16_t reserved_19;
        std::uint8_t reserved_21[4];
        std::uint16_t reserved_25;
        std::uint16_t reserved_27;
        std::uint32_t reserved_29;
        std::uint32_t reserved_33;
        std::uint32_t reserved_37;
        std::uint32_t reserved_41;
        std::uint32_t reserved_45;
        std::uint32_t reserved_49;
        std::uint8_t reserved_53;
        std::uint8_t reserved_54[24];
        std::uint8_t reserved_78;
        std::uint8_t reserved_79;
        std::uint8_t reserved_80[45];
        std::uint8_t reserved_125[123];
        std::uint32_t reserved_248;
        std::uint32_t reserved_252;
    };

    /// Three blocks that no page looks into: bytes 512 to 703 of the image. Writable, whole.
    struct Flash_WR_2
    {
        std::uint8_t block_0[64];
        std::uint8_t block_1[64];
        std::uint8_t block_2[64];
    };
#pragma pack(pop)

    /// Horizontal resolution of the screen in pixels: 12 bits, the low eight in the first byte of
    /// the field and the high four in the upper half of the second.
    static constexpr int screenWidth(const Flash_ROnly& record)
    {
        return (record.screen_width & 0xFF) | (record.screen_width >> 12) << 8;
    }

    /// The field value for a width of up to 4095 pixels; @p others keeps the bits that are not part
    /// of the width.
    static constexpr std::uint16_t packScreenWidth(int width, std::uint16_t others = 0)
    {
        return static_cast<std::uint16_t>((width & 0xFF) | (width >> 8 & 0xF) << 12 |
                                          (others & 0x0F00));
    }

    /// Whether the device has eth1 besides eth0.
    static constexpr bool hasSecondAdapter(const Flash_ROnly& record)
    {
        return (record.hw_options & 1) != 0;
    }
};

static_assert(offsetof(EEInfoDetail::Flash_WR_1, reserved_0) == 0);
static_assert(offsetof(EEInfoDetail::Flash_WR_1, reserved_4) == 4);
static_assert(offsetof(EEInfoDetail::Flash_WR_1, reserved_6) == 6);
static_assert(offsetof(EEInfoDetail::Flash_WR_1, reserved_8) == 8);
static_assert(offsetof(EEInfoDetail::Flash_WR_1, reserved_10) == 10);
static_assert(offsetof(EEInfoDetail::Flash_WR_1, reserved_26) == 26);
static_assert(offsetof(EEInfoDetail::Flash_WR_1, reserved_28) == 28);
static_assert(offsetof(EEInfoDetail::Flash_WR_1, brightness) == 29);
static_assert(offsetof(EEInfoDetail::Flash_WR_1, reserved_31) == 31);
static_assert(offsetof(EEInfoDetail::Flash_WR_1, eth0_mac) == 33);
static_assert(offsetof(EEInfoDetail::Flash_WR_1, reserved_39) == 39);
static_assert(offsetof(EEInfoDetail::Flash_WR_1, eth0_ip) == 41);
static_assert(offsetof(EEInfoDetail::Flash_WR_1, eth0_gateway) == 45);
static_assert(offsetof(EEInfoDetail::Flash_WR_1, eth0_mask) == 49);
static_assert(offsetof(EEInfoDetail::Flash_WR_1, reserved_53) == 53);
static_assert(offsetof(EEInfoDetail::Flash_WR_1, reserved_55) == 55);
static_assert(offsetof(EEInfoDetail::Flash_WR_1, reserved_57) == 57);
static_assert(offsetof(EEInfoDetail::Flash_WR_1, reserved_61) == 61);
static_assert(offsetof(EEInfoDetail::Flash_WR_1, reserved_77) == 77);
static_assert(offsetof(EEInfoDetail::Flash_WR_1, reserved_117) == 117);
static_assert(offsetof(EEInfoDetail::Flash_WR_1, reserved_121) == 121);
static_assert(offsetof(EEInfoDetail::Flash_WR_1, reserved_125) == 125);
static_assert(offsetof(EEInfoDetail::Flash_WR_1, reserved_127) == 127);
static_assert(offsetof(EEInfoDetail::Flash_WR_1, reserved_129) == 129);
static_assert(offsetof(EEInfoDetail::Flash_WR_1, reserved_141) == 141);
static_assert(offsetof(EEInfoDetail::Flash_WR_1, settings_close_hidden) == 157);
static_assert(offsetof(EEInfoDetail::Flash_WR_1, reserved_158) == 158);
static_assert(offsetof(EEInfoDetail::Flash_WR_1, reserved_164) == 164);
static_assert(offsetof(EEInfoDetail::Flash_WR_1, eth1_mac) == 166);
static_assert(offsetof(EEInfoDetail::Flash_WR_1, reserved_172) == 172);
static_assert(offsetof(EEInfoDetail::Flash_WR_1, eth1_ip) == 174);
static_assert(offsetof(EEInfoDetail::Flash_WR_1, eth1_gateway) == 178);
static_assert(offsetof(EEInfoDetail::Flash_WR_1, eth1_mask) == 182);
static_assert(offsetof(EEInfoDetail::Flash_WR_1, reserved_186) == 186);
static_assert(sizeof(EEInfoDetail::Flash_WR_1) == 187);

static_assert(offsetof(EEInfoDetail::Flash_ROnly, reserved_0) == 0);
static_assert(offsetof(EEInfoDetail::Flash_ROnly, reserved_2) == 2);
static_assert(offsetof(EEInfoDetail::Flash_ROnly, reserved_4) == 4);
static_assert(offsetof(EEInfoDetail::Flash_ROnly, hw_options) == 6);
static_assert(offsetof(EEInfoDetail::Flash_ROnly, reserved_7) == 7);
static_assert(offsetof(EEInfoDetail::Flash_ROnly, reserved_9) == 9);
static_assert(offsetof(EEInfoDetail::Flash_ROnly, reserved_10) == 10);
static_assert(offsetof(EEInfoDetail::Flash_ROnly, reserved_12) == 12);
static_assert(offsetof(EEInfoDetail::Flash_ROnly, screen_width) == 14);
static_assert(offsetof(EEInfoDetail::Flash_ROnly, reserved_16) == 16);
static_assert(offsetof(EEInfoDetail::Flash_ROnly, reserved_17) == 17);
static_assert(offsetof(EEInfoDetail::Flash_ROnly, reserved_18) == 18);
static_assert(offsetof(EEInfoDetail::Flash_ROnly, reserved_19) == 19);
static_assert(offsetof(EEInfoDetail::Flash_ROnly, reserved_21) == 21);
static_assert(offsetof(EEInfoDetail::Flash_ROnly, reserved_25) == 25);
static_assert(offsetof(EEInfoDetail::Flash_ROnly, reserved_27) == 27);
static_assert(offsetof(EEInfoDetail::Flash_ROnly, reserved_29) == 29);
static_assert(offsetof(EEInfoDetail::Flash_ROnly, reserved_33) == 33);
static_assert(offsetof(EEInfoDetail::Flash_ROnly, reserved_37) == 37);
static_assert(offsetof(EEInfoDetail::Flash_ROnly, reserved_41) == 41);
static_assert(offsetof(EEInfoDetail::Flash_ROnly, reserved_45) == 45);
static_assert(offsetof(EEInfoDetail::Flash_ROnly, reserved_49) == 49);
static_assert(offsetof(EEInfoDetail::Flash_ROnly, reserved_53) == 53);
static_assert(offsetof(EEInfoDetail::Flash_ROnly, reserved_54) == 54);
static_assert(offsetof(EEInfoDetail::Flash_ROnly, reserved_78) == 78);
static_assert(offsetof(EEInfoDetail::Flash_ROnly, reserved_79) == 79);
static_assert(offsetof(EEInfoDetail::Flash_ROnly, reserved_80) == 80);
static_assert(offsetof(EEInfoDetail::Flash_ROnly, reserved_125) == 125);
static_assert(offsetof(EEInfoDetail::Flash_ROnly, reserved_248) == 248);
static_assert(offsetof(EEInfoDetail::Flash_ROnly, reserved_252) == 252);
static_assert(sizeof(EEInfoDetail::Flash_ROnly) == 256);

static_assert(offsetof(EEInfoDetail::Flash_WR_2, block_0) == 0);
static_assert(offsetof(EEInfoDetail::Flash_WR_2, block_1) == 64);
static_assert(offsetof(EEInfoDetail::Flash_WR_2, block_2) == 128);
static_assert(sizeof(EEInfoDetail::Flash_WR_2) == 192);

// The fields are copied as they lie in the image, which is little-endian.
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__);
