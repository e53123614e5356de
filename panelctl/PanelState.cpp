#include "panelctl/PanelState.h"

#include "adapters/AdapterSwitch.h"
#include "device/Latin1.h"
#include "panelctl/RecordFields.h"
#include "panelctl/RegisterValue.h"
#include "panelctl/ResolverLines.h"
#include "regstore/RegisterNames.h"

#include <QJsonArray>
#include <QSettings>
#include <QStringList>

namespace {

/// Whether the settings file says that the adapter of a setting is switched off.
bool isOffInFile(const Setting& setting)
{
    const QSettings file(QString::fromLatin1(SettingsKeys::file), QSettings::IniFormat);
    return AdapterSwitch::isOff(&file, adapterOf(setting));
}

/// The object with a value put where the members @p path lead, from @p depth on.
QJsonObject with(QJsonObject object, const QStringList& path, int depth, const QJsonValue& value)
{
    const QString& member = path.at(depth);
    object[member] = depth + 1 == path.size()
                         ? value
                         : QJsonValue(with(object[member].toObject(), path, depth + 1, value));
    return object;
}

} // namespace

int adapterOf(const Setting& setting)
{
    return std::string_view(setting.name).substr(0, 4) == "eth1" ? 1 : 0;
}

std::string_view partOf(const Setting& setting)
{
    const std::string_view place = setting.place;
    return place.substr(0, place.find('.'));
}

PanelState::PanelState() : m_image(""), m_resolver(ResolverLines::read())
{
    for (const Setting& setting : panelSettings) {
        if (has(setting)) {
            m_values[setting.place] = read(setting);
        }
    }
}

bool PanelState::has(const Setting& setting) const
{
    const RecordField& options = fieldNamed("hw_options");
    return adapterOf(setting) < 1 || Value::show(Kind::AdapterCount, m_image.field(options)) == "2";
}

std::string PanelState::value(const std::string& place) const
{
    const auto at = m_values.find(place);
    return at == m_values.end() ? std::string() : at->second;
}

std::string PanelState::read(const Setting& setting) const
{
    switch (setting.home) {
    case Home::Field:
        return Value::show(setting.kind, m_image.field(fieldNamed(setting.name)));
    case Home::Register: {
        const RegisterRow& row = RegisterValue::find(setting.name);
        return Value::show(setting.kind, RegisterValue::read(row));
    }
    case Home::Key:
        return isOffInFile(setting) ? "on" : "off";
    case Home::Servers:
        return ResolverLines::servers(m_resolver, adapterOf(setting))
            .join(QLatin1Char(' '))
            .toStdString();
    }
    return {};
}

QJsonValue jsonOf(const Setting& setting, const std::string& text)
{
    const QString shown = QString::fromStdString(text);
    if (setting.home == Home::Servers) {
        return QJsonArray::fromStringList(shown.split(QLatin1Char(' '), Qt::SkipEmptyParts));
    }
    if (setting.kind == Kind::Switch) {
        return text == "on";
    }
    return setting.kind == Kind::Level ? QJsonValue(shown.toInt()) : QJsonValue(shown);
}

QJsonObject exportState(const PanelState& state, bool identity)
{
    QJsonObject object{{"version"_l1, stateVersion}};
    for (const Setting& setting : panelSettings) {
        if (state.has(setting) && (identity || partOf(setting) != identityPart)) {
            const QStringList path = QString::fromLatin1(setting.place).split(QLatin1Char('.'));
            object = with(object, path, 0, jsonOf(setting, state.value(setting)));
        }
    }
    return object;
}
