#include "adapters/AdapterTable.h"
#include "device/EEInfoDetail.h"
#include "panelctl/Commands.h"
#include "panelctl/Json.h"
#include "panelctl/PanelState.h"
#include "panelctl/RecordFields.h"
#include "regstore/AreaFiles.h"
#include "regstore/Notice.h"
#include "regstore/RegisterTable.h"

#include <QJsonArray>
#include <QJsonObject>

namespace {

template <typename Rows, typename ToObject>
QJsonArray arrayOf(const Rows& rows, ToObject toObject)
{
    QJsonArray array;
    for (const auto& row : rows) {
        array.append(toObject(row));
    }
    return array;
}

QJsonObject ofArea(const AreaFile& area)
{
    return {{"area", static_cast<int>(area.area)},
            {"file", QString::fromLatin1(area.path)},
            {"unit", isBitArea(area.area) ? "bits" : "bytes"},
            {"stored", area.stored},
            {"synchronised", area.synchronised},
            {"bytes", static_cast<int>(newAreaBytes)}};
}

QJsonObject ofRecord(const RecordRow& record)
{
    return {{"name", QString::fromLatin1(record.name)},
            {"offset", static_cast<int>(record.offset)},
            {"size", static_cast<int>(record.size)},
            {"writable", record.writable}};
}

/// The name of the field of Flash_WR_1 that lies at an offset.
QString fieldAt(std::size_t offset)
{
    for (const RecordField& field : recordFields) {
        if (field.record == std::string_view("Flash_WR_1") && field.offset == offset) {
            return QString::fromLatin1(field.name);
        }
    }
    return {};
}

QJsonObject ofQuad(const StoredQuad& quad)
{
    return {{"field", fieldAt(quad.recordOffset)},
            {"register", static_cast<int>(quad.mirror.id())}};
}

QJsonObject ofAdapter(const AdapterRow& adapter)
{
    return {{"name", QString::fromLatin1(adapter.interfaceName)},
            {"pidFile", QString::fromLatin1(adapter.pidFile)},
            {"mac", fieldAt(adapter.macOffset)},
            {"ip", ofQuad(adapter.ip)},
            {"mask", ofQuad(adapter.mask)},
            {"gateway", ofQuad(adapter.gateway)},
            {"off", static_cast<int>(adapter.disabledRegister.id())},
            {"dhcp", static_cast<int>(adapter.dhcpRegister.id())}};
}

QJsonObject ofSetting(const Setting& setting)
{
    return {{"place", QString::fromLatin1(setting.place)},
            {"kind", QString::fromLatin1(kindName(setting.kind))}};
}

} // namespace

void Commands::tables(const Arguments& /*given*/)
{
    Json::print(QJsonObject{
        {"imageBytes", static_cast<int>(EEInfoDetail::imageBytes)},
        {"records", arrayOf(recordRows, ofRecord)},
        {"fields", arrayOf(recordFields, Json::ofField)},
        {"areas", arrayOf(areaFiles, ofArea)},
        {"registers", arrayOf(registerTable, Json::ofRegister)},
        {"adapters", arrayOf(adapterTable, ofAdapter)},
        {"settings", arrayOf(panelSettings, ofSetting)},
        {"pipes", QJsonObject{{"registers", QString::fromLatin1(registerPipe)},
                              {"areas", QString::fromLatin1(areaPipe)}}},
        {"noticeBytes",
         QJsonObject{{"registers", static_cast<int>(sizeof(NoticeBytes<RegisterNotice>))},
                     {"areas", static_cast<int>(sizeof(NoticeBytes<AreaNotice>))}}},
    });
}
