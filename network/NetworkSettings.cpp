#include "network/NetworkSettings.h"

#include "common/Translation.h"

NetworkSettings::NetworkSettings(QWidget* parent) : QTableView(parent) {}

void NetworkSettings::init(int /*fontId*/, EEInfoDetail::Flash_WR_1& /*record*/,
                           EEInfoDetail::Flash_ROnly& /*hardware*/, QSettings* /*settings*/)
{
}

void NetworkSettings::onChangeLanguage(Settings::Language language)
{
    Translation::load(m_translator, language);
    Translation::install(m_translator);
}
