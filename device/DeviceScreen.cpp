#include "device/DeviceScreen.h"

#include "device/EEInfoHandle.h"

int deviceScreenWidth()
{
    EEInfoDetail::Flash_ROnly record{};
    EEInfoHandle::instance()->read_flash_r_info(&record);
    return EEInfoDetail::screenWidth(record);
}
