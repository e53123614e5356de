#pragma once

#include "device/EEInfoDetail.h"
#include "settings/Settings.h"

#include <QTableView>
#include <QTranslator>

class QSettings;

/// The Network page of the settings window. It is empty so far: it shows nothing and changes
/// nothing on the panel.
class NetworkSettings : public QTableView
{
    Q_OBJECT

public:
    explicit NetworkSettings(QWidget* parent = nullptr);

    /// Called once by the window with the application font, the device records and the settings
    /// file. Nothing is kept while the page is empty.
    void init(int fontId, EEInfoDetail::Flash_WR_1& record, EEInfoDetail::Flash_ROnly& hardware,
              QSettings* settings);

signals:
    /// The fields that @p wr1DataType names hold new values in the page's record.
    void updateEEData(EEInfoDetail::Flash_WR_1& wr1Data, Settings::FlashWR1DataType wr1DataType);

public slots:
    /// Loads and installs the page's translator.
    void onChangeLanguage(Settings::Language language);

private:
    QTranslator m_translator;
};
