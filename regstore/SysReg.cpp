#include "regstore/SysReg.h"

#include "regstore/AreaFiles.h"
#include "regstore/Notice.h"
#include "regstore/RegisterArea.h"

namespace {

int resultOf(unsigned areaStatus)
{
    return areaStatus == areaDone ? 0 : -1;
}

} // namespace

SysReg::SysReg()
{
    for (std::size_t id = 0; id < m_registers.size(); ++id) {
        m_registers[id].area = registerTable[id].area;
        m_registers[id].offset = registerTable[id].offset;
        m_registers[id].size = registerTable[id].size;
    }
}

SysReg& SysReg::Instance()
{
    static SysReg store;
    return store;
}

RegisterDescriptor* SysReg::loadReg(unsigned id)
{
    return id < m_registers.size() ? &m_registers[id] : nullptr;
}

int SysReg::read(unsigned id, void* buf)
{
    const RegisterDescriptor* reg = loadReg(id);
    return reg ? resultOf(ReadLocal(reg->area, reg->offset, reg->size,
                                    static_cast<unsigned char*>(buf), ""))
               : -1;
}

int SysReg::write(unsigned id, const void* buf, unsigned /*len*/)
{
    const RegisterDescriptor* reg = loadReg(id);
    return reg ? resultOf(WriteLocal(reg->area, reg->offset, reg->size,
                                     static_cast<const unsigned char*>(buf), ""))
               : -1;
}

int SysReg::writeNotify(unsigned id, const void* buf, unsigned len)
{
    if (write(id, buf, len) != 0) {
        return -1;
    }
    return sendNotice(registerPipe, RegisterNotice{id}) ? 0 : -1;
}

RegisterDescriptor* SysReg_LoadReg(unsigned id)
{
    return SysReg::Instance().loadReg(id);
}

int SysReg_Read(unsigned id, void* buf)
{
    return SysReg::Instance().read(id, buf);
}

int SysReg_Write(unsigned id, const void* buf, unsigned len)
{
    return SysReg::Instance().write(id, buf, len);
}

int SysReg_WriteNotify(unsigned id, const void* buf, unsigned len)
{
    return SysReg::Instance().writeNotify(id, buf, len);
}
