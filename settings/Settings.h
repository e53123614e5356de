#pragma once

#include "common/SettingsFile.h"
#include "device/EEInfoDetail.h"
#include "device/LanguageTable.h"

#include <QDialog>
#include <QLabel>
#include <QList>
#include <QPushButton>
#include <QString>
#include <QTimer>
#include <QTranslator>
#include <QVBoxLayout>

#include <array>

class Ui_Settings;

/// The settings window of the panel: title bar with the two language buttons and the close button,
/// the General and the Network page, and the button bar that switches between them or restarts
/// the panel.
///
/// It is the one owner of the device records: pages get copies, hand a changed record back with
/// updateEEData, and the window writes it to the device. Closing only hides it; the host owns and
/// deletes it. GUI thread only.
class Settings : public QDialog
{
    Q_OBJECT

public:
    /// Value of system register 20. A value that is neither is shown as English and kept as it is.
    enum Language : quint32 { Chinese = Languages::Chinese, English = Languages::English };

    /// Which fields of a page's Flash_WR_1 onUpdateEEData takes over. Other values are ignored.
    enum FlashWR1DataType : quint32 {
        WR1_ALL = 0,        ///< the whole record, 187 bytes
        WR1_BRIGHTNESS = 1, ///< brightness; written once more at the next write-back tick
        WR1_IP = 2,         ///< eth0_ip and eth1_ip
        WR1_MASK = 3,       ///< eth0_mask and eth1_mask
        WR1_GATEWAY = 4     ///< eth0_gateway and eth1_gateway
    };

    /// Builds the window, reads the three device records and fills both pages. Shows nothing yet;
    /// init() has to follow.
    explicit Settings(QWidget* parent);
    ~Settings() override;

    /// Takes the language from system register 20 (Chinese when there is no such register), starts
    /// the repaint timer and applies the language. Called once by the plugin after construction.
    void init();

    /// Re-applies the texts of the title bar and of the button bar, and whether the close button
    /// is shown. Called after every change of language.
    void refresh();

    /// Switches every text to @p lang and writes it to register 20 with a notice, also when it is
    /// the language already shown.
    void updateLanguage(Settings::Language lang);

signals:
    /// The language was applied, at start-up or by a button; both pages follow it.
    void changeLanguage(Settings::Language language);
    /// Brings the backlight back to the level set. Never emitted here: it is the host's, for
    /// example on the first touch of a dark screen.
    void backLightOn();

protected:
    /// Only forwards: the window's list of virtual functions is an interface.
    bool event(QEvent* event) override;
    void timerEvent(QTimerEvent* e) override;

private slots:
    /// Sounds the key click for a press on a title or bar button. Never consumes the event.
    bool eventFilter(QObject* watched, QEvent* event) override;
    /// Switches to the language whose button sent the signal, found by its object name.
    void onUpdateLanguageClicked();
    /// Tells the runtime through register 86 that the window is closed, and hides it.
    void onCloseClicked();
    /// Show a page and mark its button.
    void onGeneralSettingsClicked();
    void onNetworkSettingsClicked();
    // Pages that this window does not have; these do nothing.
    void onWifiSettingsClicked();
    void onFileManagerSettingsClicked();
    void onVersionSettingsClicked();
    /// Restarts the panel at once, without asking.
    void onRestartClicked();
    /// Takes the named fields of a page's record over and writes the record to the device.
    void onUpdateEEData(EEInfoDetail::Flash_WR_1& wr1Data, Settings::FlashWR1DataType wr1DataType);
    /// A write-back tick: writes the record once more when that is pending.
    void onWriteEEData();

private:
    /// Sets every text in the current language.
    void showTexts();
    void setTitleBar();
    void setTitleBarButtons();
    void setLanguageButtons();
    void setLanguageFaces();
    void setSettingsFrame();
    void setGeneralSettingsList();
    void setNetworkSettingsList();
    void setButtonBar();
    void setButton(QPushButton* button, int index, QString imagePath, QString text);
    void setButtonClicked(QPushButton* button, bool clicked);
    void setStatusBar();
    void initSettingTab();
    void connectSlots();
    void readDataFromEE();
    int detect_process(const char* name);

    /// Colours the captions and icons of the two page buttons for the page shown.
    void markPageButtons(bool generalShown);
    void showPage(int index, QWidget* page);
    /// Copies the fields @p type names into the cache. False when it names none.
    bool takeOver(const EEInfoDetail::Flash_WR_1& record, FlashWR1DataType type);

    Ui_Settings* ui;
    QString m_fontPath;
    int m_fontId = -1;
    Language m_language = Chinese;
    QTranslator m_translator;
    QTimer m_writeBackTimer;
    QList<QPushButton*> m_buttons; ///< The page and restart buttons in bar order.
    QLabel m_iconLabels[3];
    QLabel m_captionLabels[3];
    std::array<QPushButton, Languages::all.size()> m_languageButtons; ///< As in the table.
    QPushButton m_closeButton;
    QVBoxLayout m_spareLayouts[3]; ///< Not used; nothing is known of their purpose.
    SettingsFile m_settings;
    int m_pageIndex = 0;
    EEInfoDetail::Flash_WR_1 m_wr1;
    EEInfoDetail::Flash_WR_2 m_wr2;
    EEInfoDetail::Flash_ROnly m_rOnly;
    bool m_writeBackPending = false;
    int m_screenWidth = 0; ///< Pixels.
    int m_repaintTimerId = 0;
};
