#pragma once

#include "panelctl/PanelState.h"

#include <QByteArray>

#include <map>
#include <set>
#include <string>
#include <vector>

/// What is wrong at one place of a file that is to be imported.
struct ImportError
{
    std::string place; ///< The members that lead there, "network.eth0.ip"; or line and column.
    std::string text;
};

/// A file of settings, taken apart and checked.
class ImportFile
{
public:
    /// Finds every error of the file at once, also in parts that are not wanted.
    ImportFile(const QByteArray& file, const PanelState& panel);

    const std::vector<ImportError>& errors() const { return m_errors; }

    /// The settings that the file has, as they are typed.
    const std::map<const Setting*, std::string>& values() const { return m_values; }

private:
    void readMembers(const QString& prefix, const QJsonObject& members);
    void readMember(const QString& place, const QJsonValue& value);
    void readSetting(const Setting& setting, const QJsonValue& value);
    void checkVersion(const QJsonObject& object);
    void fail(const QString& place, const std::string& text);

    const PanelState& m_panel;
    std::vector<ImportError> m_errors;
    std::map<const Setting*, std::string> m_values;
};

/// What would become wrong with the panel's addresses when the values are in its image: a gateway
/// in another network, a MAC address that both adapters have. What is wrong already does not count.
std::vector<ImportError> checkTogether(const PanelState& panel,
                                       const std::map<const Setting*, std::string>& values);
