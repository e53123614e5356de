#include "device/EEInfoDetail.h"
#include "panelctl/Commands.h"
#include "panelctl/Json.h"
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

} // namespace

void Commands::tables(const Arguments& /*given*/)
{
    Json::print(QJsonObject{
        {"imageBytes", static_cast<int>(EEInfoDetail::imageBytes)},
        {"records", arrayOf(recordRows, ofRecord)},
        {"fields", arrayOf(recordFields, Json::ofField)},
        {"areas", arrayOf(areaFiles, ofArea)},
        {"registers", arrayOf(registerTable, Json::ofRegister)},
        {"pipes", QJsonObject{{"registers", QString::fromLatin1(registerPipe)},
                              {"areas", QString::fromLatin1(areaPipe)}}},
        {"noticeBytes",
         QJsonObject{{"registers", static_cast<int>(sizeof(NoticeBytes<RegisterNotice>))},
                     {"areas", static_cast<int>(sizeof(NoticeBytes<AreaNotice>))}}},
    });
}
