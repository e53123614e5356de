#include "adapters/AdapterTable.h"
#include "device/EEInfoDetail.h"
#include "device/LanguageTable.h"
#include "device/Latin1.h"
#include "device/ResolverFile.h"
#include "device/SettingsKeys.h"
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
    return {{"area"_l1, static_cast<int>(area.area)},
            {"file"_l1, QString::fromLatin1(area.path)},
            {"unit"_l1, isBitArea(area.area) ? "bits"_l1 : "bytes"_l1},
            {"stored"_l1, area.stored},
            {"synchronised"_l1, area.synchronised},
            {"bytes"_l1, static_cast<int>(newAreaBytes)}};
}

QJsonObject ofRecord(const RecordRow& record)
{
    return {{"name"_l1, QString::fromLatin1(record.name)},
            {"offset"_l1, static_cast<int>(record.offset)},
            {"size"_l1, static_cast<int>(record.size)},
            {"writable"_l1, record.writable}};
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
    return {{"field"_l1, fieldAt(quad.recordOffset)},
            {"register"_l1, static_cast<int>(quad.mirror.id())}};
}

QJsonObject ofAdapter(const AdapterRow& adapter)
{
    return {{"name"_l1, QString::fromLatin1(adapter.interfaceName)},
            {"pidFile"_l1, QString::fromLatin1(adapter.pidFile)},
            {"enableKey"_l1, QString::fromLatin1(adapter.enableKey)},
            {"mac"_l1, fieldAt(adapter.macOffset)},
            {"ip"_l1, ofQuad(adapter.ip)},
            {"mask"_l1, ofQuad(adapter.mask)},
            {"gateway"_l1, ofQuad(adapter.gateway)},
            {"off"_l1, static_cast<int>(adapter.disabledRegister.id())},
            {"dhcp"_l1, static_cast<int>(adapter.dhcpRegister.id())}};
}

QJsonObject ofLanguage(const Languages::Language& language)
{
    return {{"value"_l1, static_cast<int>(language.value)},
            {"name"_l1, QString::fromLatin1(language.name)},
            {"word"_l1, QString::fromLatin1(language.word)},
            {"fallback"_l1, &language == &Languages::fallback}};
}

QJsonObject files()
{
    return {{"settings"_l1, QString::fromLatin1(SettingsKeys::file)},
            {"resolver"_l1, QString::fromLatin1(ResolverFile::path)},
            {"resolverBackup"_l1, QString::fromLatin1(ResolverFile::backupPath)}};
}

QJsonObject ofSetting(const Setting& setting)
{
    return {{"place"_l1, QString::fromLatin1(setting.place)},
            {"kind"_l1, QString::fromLatin1(kindName(setting.kind))}};
}

} // namespace

void Commands::tables(const Arguments& /*given*/)
{
    Json::print(QJsonObject{
        {"imageBytes"_l1, static_cast<int>(EEInfoDetail::imageBytes)},
        {"records"_l1, arrayOf(recordRows, ofRecord)},
        {"fields"_l1, arrayOf(recordFields, Json::ofField)},
        {"areas"_l1, arrayOf(areaFiles, ofArea)},
        {"registers"_l1, arrayOf(registerTable, Json::ofRegister)},
        {"adapters"_l1, arrayOf(adapterTable, ofAdapter)},
        {"languages"_l1, arrayOf(Languages::all, ofLanguage)},
        {"settings"_l1, arrayOf(panelSettings, ofSetting)},
        {"files"_l1, files()},
        {"buzzerKey"_l1, QString::fromLatin1(SettingsKeys::buzzer)},
        {"pipes"_l1, QJsonObject{{"registers"_l1, QString::fromLatin1(registerPipe)},
                                 {"areas"_l1, QString::fromLatin1(areaPipe)}}},
        {"noticeBytes"_l1,
         QJsonObject{{"registers"_l1, static_cast<int>(sizeof(NoticeBytes<RegisterNotice>))},
                     {"areas"_l1, static_cast<int>(sizeof(NoticeBytes<AreaNotice>))}}},
    });
}
