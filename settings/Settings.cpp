#include "settings/Settings.h"

#include "common/KeyBeep.h"
#include "common/PanelFont.h"
#include "common/Translation.h"
#include "device/DeviceScreen.h"
#include "device/EEInfoHandle.h"
#include "device/Latin1.h"
#include "device/ProcessTable.h"
#include "dialogs/DialogStyle.h"
#include "dialogs/InputDialog.h"
#include "general/GeneralSettings.h"
#include "network/NetworkSettings.h"
#include "regstore/NamedRegister.h"
#include "settings/PageAhead.h"
#include "settings/TitleShadow.h"
#include "ui_Settings.h"

#include <QEvent>
#include <QFont>
#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>

namespace {

constexpr int writeBackIntervalMs = 1000;
constexpr int repaintIntervalMs = 10;

constexpr int titlePointSize = 20;
constexpr int languagePointSize = 12;
constexpr int captionPointSize = 9;
constexpr int statusPointSize = 10;

constexpr QSize languageButtonSize(80, 40);

/// The sizes of the window on one screen, in pixels.
struct WindowSizes
{
    int screenWidth;
    int barButtonHeight; ///< 0 leaves it to the layout.
};
// clang-format off
constexpr WindowSizes screens[] = {
    // screen, bar button height
    {   1920,                90},
    {      0,                 0}, // any other
};
// clang-format on

enum Page { GeneralPage = 0, NetworkPage = 1 };
enum BarButton { GeneralButton = 0, NetworkButton = 1, RestartButton = 2 };
constexpr const char* barCaptions[] = {QT_TRANSLATE_NOOP("Settings", "General"),
                                       QT_TRANSLATE_NOOP("Settings", "Network"),
                                       QT_TRANSLATE_NOOP("Settings", "Restart")};

constexpr QLatin1String frameStyle = "QFrame#settingsFrame{background-color: rgb(163, 198, "
                                     "218);border: 0px solid rgb(163, 198, 218)}"_l1;
constexpr QLatin1String generalPageStyle =
    "QWidget#generalSettingsListWidget{border: 2px;background:rgb(246, 246, 246);"
    "border-top-left-radius: 8px;border-top-right-radius: 8px;}"_l1;
constexpr QLatin1String networkAreaStyle =
    "QWidget#titleobject{background-color:qlineargradient(spread:pad,x1:0,y1:0,x2:0,y2:1,stop:0 "
    "#1cc3ff,stop:1 #2b39ff);color:white;border:0px;}"_l1;
constexpr QLatin1String networkPageStyle =
    "QWidget#networkSettingsListWidget{border-image:url(:/Resources/background.png);border:0px}"_l1;
constexpr QLatin1String buttonBarStyle =
    "QFrame#buttonBarFrame{background-color: rgb(163, 198, 218);border: 0px solid "
    "rgb(163, 198, 218);}"_l1;
constexpr QLatin1String statusBarStyle =
    "QFrame#statusBarFrame{border-image:url(:/Resources/background.png);}"_l1;
constexpr QLatin1String selectedStyle = "border: 0px;background-color:rgb(96, 157, 191);"_l1;
constexpr QLatin1String unselectedStyle = "border: 0px;background-color:rgb(240, 240, 240);"_l1;
constexpr QLatin1String selectedCaptionStyle = "color:white;"_l1;
constexpr QLatin1String unselectedCaptionStyle = "color:black;"_l1;

constexpr QLatin1String settingWhitePicture = ":/Resources/setting_white.png"_l1;
constexpr QLatin1String settingBluePicture = ":/Resources/setting_blue.png"_l1;
constexpr QLatin1String networkPicture = ":/Resources/network.png"_l1;
constexpr QLatin1String networkSelectedPicture = ":/Resources/network1.png"_l1;
constexpr QLatin1String restartPicture = ":/Resources/restart.png"_l1;
constexpr QLatin1String udiskPicture = ":/Resources/udisk.png"_l1;
constexpr QLatin1String sdPicture = ":/Resources/sd.png"_l1;

QString languageFace(const Languages::Language& language, bool selected)
{
    return QString("QPushButton{border-image: url(:/Resources/%1_%2.png); color:white}"_l1)
        .arg(QLatin1String(language.pictures), selected ? "selected"_l1 : "unselected"_l1);
}

/// Gives a widget its style sheet unless it has it: Qt would style it again all the same.
void showStyle(QWidget& widget, const QString& styleSheet)
{
    if (widget.styleSheet() != styleSheet) {
        widget.setStyleSheet(styleSheet);
    }
}

int primaryScreenWidth()
{
    const QScreen* screen = QGuiApplication::primaryScreen();
    return screen ? screen->geometry().width() : 0;
}

} // namespace

Settings::Settings(QWidget* parent)
    : QDialog(parent),
      ui(new Ui_Settings),
      m_fontPath("/hmi/default.ttf"_l1),
      m_wr1{},
      m_wr2{},
      m_rOnly{}
{
    ui->setupUi(this);
    readDataFromEE();
    m_screenWidth = primaryScreenWidth();
    // setupUi() has set the form's texts; this asks for them again, which a host's translator sees.
    ui->retranslateUi(this);
    m_fontId = PanelFont::registerFile(m_fontPath);

    setTitleBar();
    setSettingsFrame();
    setGeneralSettingsList();
    setNetworkSettingsList();
    setButtonBar();
    setStatusBar();
    showTexts();
    setAttribute(Qt::WA_AcceptTouchEvents);
    initSettingTab();
    connectSlots();
    new PageAhead(this, ui->networkPage, [this] { ui->networkSettingsListWidget->placePanes(); });
    m_writeBackTimer.start(writeBackIntervalMs);
}

Settings::~Settings()
{
    // What Qt has looked up for a widget that it never styled, it keeps, and takes for another's
    // that comes to lie in the same place.
    ensurePolished();
    for (QWidget* part : findChildren<QWidget*>()) {
        part->ensurePolished();
    }
    delete ui;
}

void Settings::init()
{
    // Each of them, Chinese last, and the stored one below once more: a host sees all of these
    // language changes.
    for (auto language = Languages::all.rbegin(); language != Languages::all.rend(); ++language) {
        Translation::load(m_translator, language->value);
        Translation::install(m_translator);
    }

    quint32 language = Chinese;
    if (Registers::language.load()) {
        // The register is shorter than the variable: what it does not fill stays 0.
        Registers::language.read(language);
    }
    m_repaintTimerId = startTimer(repaintIntervalMs);
    updateLanguage(static_cast<Language>(language));
}

void Settings::refresh()
{
    setTitleBar();
    showTexts();
}

void Settings::showTexts()
{
    ui->titleText->setText(tr("System Settings"));
    for (std::size_t index = 0; index < m_languageButtons.size(); ++index) {
        m_languageButtons.at(index).setText(tr(Languages::all.at(index).name));
    }
    for (std::size_t index = 0; index < std::size(barCaptions); ++index) {
        m_captionLabels[index].setText(tr(barCaptions[index]));
    }
}

void Settings::updateLanguage(Settings::Language lang)
{
    m_language = lang;
    Translation::load(m_translator, m_language);
    const quint32 value = m_language;
    Registers::language.writeNotify(value);
    Translation::install(m_translator);
    refresh();
    emit changeLanguage(m_language);
}

bool Settings::event(QEvent* event)
{
    return QDialog::event(event);
}

void Settings::timerEvent(QTimerEvent* e)
{
    // A keypad dragged across this window leaves its trace on displays without a compositor.
    if (e->timerId() == m_repaintTimerId && InputDialog::p_move) {
        InputDialog::p_move = false;
        repaint();
    }
}

bool Settings::eventFilter(QObject* watched, QEvent* event)
{
    if (watched && event->type() == QEvent::MouseButtonPress &&
        qobject_cast<QPushButton*>(watched)) {
        KeyBeep::soundIfOn(&m_settings);
    }
    return QDialog::eventFilter(watched, event);
}

void Settings::onUpdateLanguageClicked()
{
    const QString name = sender() ? sender()->objectName() : QString();
    for (const Languages::Language& language : Languages::all) {
        if (name == QLatin1String(language.name)) {
            updateLanguage(static_cast<Language>(language.value));
        }
    }
}

void Settings::onCloseClicked()
{
    const unsigned char zero = 0;
    Registers::settingsWindow.writeNotify(zero);
    close();
}

void Settings::onGeneralSettingsClicked()
{
    markPageButtons(true);
    showPage(GeneralPage, ui->generalSettingsPage);
}

void Settings::onNetworkSettingsClicked()
{
    markPageButtons(false);
    // Shown before that, the page would be laid out with the next events only.
    ui->networkSettingsListWidget->placePanes();
    showPage(NetworkPage, ui->networkPage);
}

void Settings::onWifiSettingsClicked() {}

void Settings::onFileManagerSettingsClicked() {}

void Settings::onVersionSettingsClicked() {}

void Settings::onRestartClicked()
{
    EEInfoHandle::instance()->reboot();
}

void Settings::onUpdateEEData(EEInfoDetail::Flash_WR_1& wr1Data,
                              Settings::FlashWR1DataType wr1DataType)
{
    if (takeOver(wr1Data, wr1DataType)) {
        EEInfoHandle::instance()->write_flash_wr1_info(&m_wr1);
    }
}

bool Settings::takeOver(const EEInfoDetail::Flash_WR_1& record, FlashWR1DataType type)
{
    switch (type) {
    case WR1_ALL:
        m_wr1 = record;
        return true;
    case WR1_BRIGHTNESS:
        m_wr1.brightness = record.brightness;
        m_writeBackPending = true;
        return true;
    case WR1_IP:
        m_wr1.eth0_ip = record.eth0_ip;
        m_wr1.eth1_ip = record.eth1_ip;
        return true;
    case WR1_MASK:
        m_wr1.eth0_mask = record.eth0_mask;
        m_wr1.eth1_mask = record.eth1_mask;
        return true;
    case WR1_GATEWAY:
        m_wr1.eth0_gateway = record.eth0_gateway;
        m_wr1.eth1_gateway = record.eth1_gateway;
        return true;
    }
    return false;
}

void Settings::onWriteEEData()
{
    if (!m_writeBackPending) {
        return;
    }
    EEInfoHandle::instance()->write_flash_wr1_info(&m_wr1);
    m_writeBackPending = false;
}

void Settings::setTitleBar()
{
    ui->titleText->setFont(PanelFont::font(m_fontId, titlePointSize, QFont::Normal));
    ui->titleText->setFixedHeight(80);
    ui->titleText->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    ui->titleText->setObjectName("titleobject"_l1);
    setTitleBarButtons();
    ui->horizontalLayout->setAlignment(Qt::AlignCenter);
    ui->label->setPixmap(QPixmap(settingWhitePicture));
    ui->label->setAlignment(Qt::AlignLeft | Qt::AlignBottom | Qt::AlignVCenter);
    ui->label->setMargin(10);

    if (!ui->widget->graphicsEffect()) {
        auto* shadow = new TitleShadow(this);
        shadow->setOffset(0, 0);
        shadow->setColor(Qt::black);
        shadow->setBlurRadius(5);
        ui->widget->setGraphicsEffect(shadow);
    }

    ui->networkPage->setContentsMargins(0, 20, 0, 0);
    ui->generalSettingsPage->setContentsMargins(0, 20, 0, 0);
}

void Settings::setTitleBarButtons()
{
    setLanguageButtons();
    setLanguageFaces();

    m_closeButton.setParent(ui->settingsFrame);
    m_closeButton.move(m_screenWidth - 55, 15);
    showStyle(m_closeButton, DialogStyle::closeButton);
    m_closeButton.setFixedSize(40, 40);
    m_closeButton.setVisible(m_wr1.settings_close_hidden == 0);

    m_closeButton.installEventFilter(this);
}

void Settings::setLanguageButtons()
{
    QPoint place(50, 45);
    for (std::size_t index = 0; index < m_languageButtons.size(); ++index) {
        QPushButton& button = m_languageButtons.at(index);
        button.setParent(ui->settingsFrame);
        button.move(place);
        button.setObjectName(QLatin1String(Languages::all.at(index).name));
        button.setFont(PanelFont::font(m_fontId, languagePointSize, QFont::Normal));
        button.setFixedSize(languageButtonSize);
        button.setIconSize(languageButtonSize);
        button.installEventFilter(this);
        place.rx() += languageButtonSize.width();
    }
}

void Settings::setLanguageFaces()
{
    const Languages::Language& shown = Languages::shown(m_language);
    for (std::size_t index = 0; index < m_languageButtons.size(); ++index) {
        const Languages::Language& language = Languages::all.at(index);
        showStyle(m_languageButtons.at(index), languageFace(language, &language == &shown));
    }
}

void Settings::setSettingsFrame()
{
    // From the outside in, and before the pages fill: a sheet that is set later, and a page with a
    // sheet that moves, make Qt style everything below it again.
    ui->settingsFrame->setStyleSheet(frameStyle);
    ui->generalSettingsListWidget->setStyleSheet(generalPageStyle);
    ui->networkPage->setStyleSheet(networkAreaStyle);
    ui->networkSettingsListWidget->setStyleSheet(networkPageStyle);
}

void Settings::setGeneralSettingsList()
{
    ui->generalSettingsListWidget->init(m_fontId, m_wr1, &m_settings);
}

void Settings::setNetworkSettingsList()
{
    ui->networkSettingsListWidget->init(m_fontId, m_wr1, m_rOnly, &m_settings);
}

void Settings::setButtonBar()
{
    setButton(ui->generalPushButton, GeneralButton, settingBluePicture,
              tr(barCaptions[GeneralButton]));
    setButton(ui->networkPushButton, NetworkButton, networkPicture, tr(barCaptions[NetworkButton]));
    setButton(ui->restartPushButton, RestartButton, restartPicture, tr(barCaptions[RestartButton]));

    setButtonClicked(ui->generalPushButton, true);
    setButtonClicked(ui->networkPushButton, false);
    setButtonClicked(ui->restartPushButton, false);
    m_captionLabels[GeneralButton].setStyleSheet(selectedCaptionStyle);
    m_iconLabels[GeneralButton].setPixmap(QPixmap(settingWhitePicture));

    m_buttons << ui->generalPushButton << ui->networkPushButton << ui->restartPushButton;

    ui->buttonBarFrame->setStyleSheet(buttonBarStyle);

    for (QPushButton* button :
         {ui->generalPushButton, ui->networkPushButton, ui->wifiPushButton,
          ui->fileManagerPushButton, ui->versionPushButton, ui->restartPushButton}) {
        button->installEventFilter(this);
    }
    for (QPushButton* button :
         {ui->wifiPushButton, ui->fileManagerPushButton, ui->versionPushButton}) {
        button->setVisible(false);
    }
}

void Settings::setButton(QPushButton* button, int index, QString imagePath, QString text)
{
    QLabel& icon = m_iconLabels[index];
    icon.setPixmap(QPixmap(imagePath));
    icon.setFixedSize(27, 27);

    QLabel& caption = m_captionLabels[index];
    caption.setText(text);

    auto* column = new QVBoxLayout(button);
    column->addWidget(&icon, 1, Qt::AlignCenter);
    column->addWidget(&caption, 1, Qt::AlignCenter);
    column->setContentsMargins(0, 10, 0, 10);

    const int height = forScreen(screens, m_screenWidth).barButtonHeight;
    if (height > 0) {
        button->setFixedHeight(height);
    }
    const QFont font = PanelFont::font(m_fontId, captionPointSize, QFont::Bold);
    button->setFont(font);
    caption.setFont(font); // a style sheet keeps the label from inheriting it
}

void Settings::setButtonClicked(QPushButton* button, bool clicked)
{
    button->setStyleSheet(clicked ? selectedStyle : unselectedStyle);
}

void Settings::setStatusBar()
{
    ui->udisk1Image->setPixmap(QPixmap(udiskPicture));
    ui->udisk2Image->setPixmap(QPixmap(udiskPicture));
    ui->SDImage->setPixmap(QPixmap(sdPicture));
    ui->statusBarFrame->setStyleSheet(statusBarStyle);

    const QFont font = PanelFont::font(m_fontId, statusPointSize, QFont::Bold);
    for (QLabel* label : {ui->statusText, ui->uDisk1Text, ui->uDisk2Text, ui->SDText}) {
        label->setFont(font);
    }
    ui->statusBarFrame->setVisible(false);
}

void Settings::initSettingTab()
{
    ui->stackedWidget->setCurrentWidget(ui->generalSettingsPage);
}

void Settings::connectSlots()
{
    for (const QPushButton& button : m_languageButtons) {
        connect(&button, SIGNAL(clicked()), this, SLOT(onUpdateLanguageClicked()));
    }
    connect(&m_closeButton, SIGNAL(clicked()), this, SLOT(onCloseClicked()));
    connect(ui->generalPushButton, SIGNAL(clicked()), this, SLOT(onGeneralSettingsClicked()));
    connect(ui->networkPushButton, SIGNAL(clicked()), this, SLOT(onNetworkSettingsClicked()));
    connect(ui->wifiPushButton, SIGNAL(clicked()), this, SLOT(onWifiSettingsClicked()));
    connect(ui->fileManagerPushButton, SIGNAL(clicked()), this,
            SLOT(onFileManagerSettingsClicked()));
    connect(ui->versionPushButton, SIGNAL(clicked()), this, SLOT(onVersionSettingsClicked()));
    connect(ui->restartPushButton, SIGNAL(clicked()), this, SLOT(onRestartClicked()));
    connect(this, SIGNAL(changeLanguage(Settings::Language)), ui->generalSettingsListWidget,
            SLOT(onChangeLanguage(Settings::Language)));
    connect(this, SIGNAL(changeLanguage(Settings::Language)), ui->networkSettingsListWidget,
            SLOT(onChangeLanguage(Settings::Language)));
    connect(this, SIGNAL(backLightOn()), ui->generalSettingsListWidget, SLOT(onBacklightOn()));
    connect(ui->generalSettingsListWidget,
            SIGNAL(updateEEData(EEInfoDetail::Flash_WR_1&, Settings::FlashWR1DataType)), this,
            SLOT(onUpdateEEData(EEInfoDetail::Flash_WR_1&, Settings::FlashWR1DataType)));
    connect(ui->networkSettingsListWidget,
            SIGNAL(updateEEData(EEInfoDetail::Flash_WR_1&, Settings::FlashWR1DataType)), this,
            SLOT(onUpdateEEData(EEInfoDetail::Flash_WR_1&, Settings::FlashWR1DataType)));
    connect(&m_writeBackTimer, SIGNAL(timeout()), this, SLOT(onWriteEEData()));
}

void Settings::readDataFromEE()
{
    EEInfoHandle* device = EEInfoHandle::instance();
    device->read_flash_wr1_info(&m_wr1);
    device->read_flash_wr2_info(&m_wr2);
    device->read_flash_r_info(&m_rOnly);
}

int Settings::detect_process(const char* name)
{
    return detectProcess(name);
}

void Settings::markPageButtons(bool generalShown)
{
    QLabel* captions = m_captionLabels;
    captions[GeneralButton].setStyleSheet(generalShown ? selectedCaptionStyle
                                                       : unselectedCaptionStyle);
    captions[NetworkButton].setStyleSheet(generalShown ? unselectedCaptionStyle
                                                       : selectedCaptionStyle);
    m_iconLabels[GeneralButton].setPixmap(
        QPixmap(generalShown ? settingWhitePicture : settingBluePicture));
    m_iconLabels[NetworkButton].setPixmap(
        QPixmap(generalShown ? networkPicture : networkSelectedPicture));
}

void Settings::showPage(int index, QWidget* page)
{
    if (m_pageIndex == index) {
        return;
    }
    setButtonClicked(m_buttons.at(m_pageIndex), false);
    m_pageIndex = index;
    setButtonClicked(m_buttons.at(m_pageIndex), true);
    // Its place is to be painted then. The stack alone makes each widget of the new page ask for it
    // as well, and Qt paints what is on an opaque one twice.
    ui->stackedWidget->currentWidget()->hide();
    ui->stackedWidget->setCurrentWidget(page);
}
