#include "dialogs/InputDialog.h"
#include "general/GeneralSettings.h"
#include "network/NetworkSettings.h"
#include "settings/PageAhead.h"
#include "settings/Settings.h"
#include "settings/TitleShadow.h"
#include "tests/support/Hands.h"
#include "tests/support/NoticeListener.h"
#include "tests/support/PanelWorld.h"
#include "tests/support/Text.h"
#include "tests/support/TimerLog.h"

#include <QAbstractEventDispatcher>
#include <QDeadlineTimer>
#include <QDir>
#include <QFontDatabase>
#include <QGraphicsDropShadowEffect>
#include <QGuiApplication>
#include <QLayout>
#include <QPaintEngine>
#include <QPaintEvent>
#include <QPainter>
#include <QScreen>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QTabWidget>
#include <QTest>

#include <array>
#include <memory>
#include <vector>

namespace {

const QString settingsFile = "/hmi/Config/system_settings.ini"_s;
const QString longBeep = "/root/plat-intf/setbeep long"_s;
const QString readImage = "/root/plat-intf/readee"_s;
const QString writeImage = "/root/plat-intf/writeee count=16"_s;
const QString noticePipe = "/tmp/fifo_sysreg"_s;

const QString languageArea = "/hmi_data/sfw.dat"_s;
constexpr int languageByte = 169;

/// The buttons of the languages, from the left.
const char* const languageButtons[] = {"Chinese", "English"};
constexpr int preferenceByte = 180;
const QString dhcpArea = "/hmi_data/sfb.dat"_s;
constexpr std::array<int, 2> dhcpBits = {20, 21};
constexpr int hardwareByte = 256 + 6;
const QString clientStart = "udhcpc -i "_s;
const QString resolver = "/etc/resolv.conf"_s;
const QString resolverBackup = "/etc/resolvbak.conf"_s;
const QString closeArea = "/tmp/smb.dat"_s;
constexpr int closeBit = 16;
constexpr int closeHiddenByte = 157;
constexpr int brightnessByte = 29;

/// Commands of every dialog that is made, until the Network page has read the screen's width: the
/// window's three records, then the width and the brightness for the General page.
QStringList commandsOfEach()
{
    return {readImage, readImage, readImage, readImage, "/root/plat-intf/getbright"_s};
}

const QString selectedButton = "border: 0px;background-color:rgb(96, 157, 191);"_s;
const QString unselectedButton = "border: 0px;background-color:rgb(240, 240, 240);"_s;

void setKeyClick(const char* value)
{
    QSettings settings(settingsFile, QSettings::IniFormat);
    settings.setValue("General/buzzer"_s, QString::fromLatin1(value));
}

void setLanguageRegister(char value)
{
    PanelWorld::patchFile(languageArea, languageByte, QByteArray(1, value));
}

int languageRegister()
{
    return uchar(PanelWorld::fileContent(languageArea).at(languageByte));
}

/// A dialog as the plugin hands it out.
std::unique_ptr<Settings> makeDialog()
{
    auto dialog = std::make_unique<Settings>(nullptr);
    dialog->init();
    return dialog;
}

bool samePicture(const QLabel* label, const char* path)
{
    return label->pixmap(Qt::ReturnByValue).toImage() ==
           QPixmap(QString::fromLatin1(path)).toImage();
}

enum Adapter { Static, Dynamic, Off, OffAndDynamic };
using Adapters = QList<Adapter>;

/// What is stored when a dialog is made. The settings file has a switch for each adapter.
void storeAdapters(const Adapters& adapters, int preference)
{
    PanelWorld::patchImage(hardwareByte, QByteArray(1, char(adapters.size() - 1)));
    PanelWorld::patchFile(languageArea, preferenceByte, QByteArray(1, char(preference)));
    QSettings settings(settingsFile, QSettings::IniFormat);
    for (int at = 0; at < adapters.size(); ++at) {
        const Adapter adapter = adapters.at(at);
        settings.setValue("Network%1/enable"_s.arg(at), adapter == Static || adapter == Dynamic);
        PanelWorld::setAreaBit(dhcpArea, dhcpBits.at(std::size_t(at)),
                               adapter == Dynamic || adapter == OffAndDynamic);
    }
}

QStringList comesUp(int adapter)
{
    return {"ifconfig eth%1 192.168.%2.10 up"_s.arg(adapter).arg(adapter + 1)};
}

/// Both routes. An adapter that is not filled yet, or dynamic, has no gateway.
QStringList routes(const char* gateway0, const char* gateway1, int preferred = 0)
{
    const auto route = [preferred](const char* gateway, int adapter) {
        return "route add default gw %1 dev eth%2 metric %3"_s.arg(QString::fromLatin1(gateway))
            .arg(adapter)
            .arg(preferred == adapter + 1 ? 0 : 1);
    };
    const QString remove = "route del default"_s;
    return {remove, remove, route(gateway0, 0), route(gateway1, 1)};
}

/// DHCP clients that were started. Those run in the background, so each line comes when it likes.
QStringList clientsStarted()
{
    QStringList adapters;
    for (const QString& command : PanelWorld::commands().filter(clientStart)) {
        adapters << command.mid(clientStart.size()).section(QLatin1Char(' '), 0, 0);
    }
    adapters.sort();
    return adapters;
}

QStringList commandsWithoutClients()
{
    QStringList others;
    for (const QString& command : PanelWorld::commands()) {
        if (!command.startsWith(clientStart)) {
            others << command;
        }
    }
    return others;
}

/// Icon (0) or caption (1) of a bar button.
QLabel* inside(const QWidget* button, int index)
{
    return qobject_cast<QLabel*>(button->layout()->itemAt(index)->widget());
}

QPushButton* closeButton(const Settings& dialog)
{
    for (auto* button : dialog.findChildren<QPushButton*>()) {
        if (button->styleSheet().contains("close.png"_s)) {
            return button;
        }
    }
    return nullptr;
}

/// Watches whether something had happened when the widget was hidden.
class HideWatch : public QObject
{
public:
    explicit HideWatch(NoticeListener& listener) : m_listener(listener) {}

    QList<quint32> noticesBeforeHiding;
    bool hidden = false;

    bool eventFilter(QObject* /*watched*/, QEvent* event) override
    {
        if (event->type() == QEvent::Hide) {
            hidden = true;
            noticesBeforeHiding = m_listener.takeNumbers();
        }
        return false;
    }

private:
    NoticeListener& m_listener;
};

/// Counts how often the whole of a widget is painted, and how often it gets another size.
class PaintCount : public QObject
{
public:
    int paints = 0;
    int resizes = 0;

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        const auto* widget = qobject_cast<QWidget*>(watched);
        if (event->type() == QEvent::Paint &&
            static_cast<QPaintEvent*>(event)->rect() == widget->rect()) {
            ++paints;
        }
        resizes += event->type() == QEvent::Resize ? 1 : 0;
        return false;
    }
};

/// Counts how often letters are drawn ahead while it lives.
class PauseCount : public QObject
{
public:
    int pauses = 0;

    PauseCount() { qApp->installEventFilter(this); }
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        pauses += event->type() == QEvent::Timer && dynamic_cast<PageAhead*>(watched) ? 1 : 0;
        return false;
    }
};

constexpr int patienceMs = 60000;

/// Returns when nothing else is to be done, and what waits for that has had its turn.
void waitForPause()
{
    constexpr int turns = 3; // of a timer that has its turn with the others
    int seen = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &timer, [&seen] { ++seen; });
    timer.start(0);
    QTRY_VERIFY_WITH_TIMEOUT(seen >= turns, patienceMs);
}

/// Counts the parts of each adapter's tab that Qt gives their style while it lives.
class StyledParts : public QObject
{
public:
    std::array<int, 2> counts{};

    explicit StyledParts(const QWidget& window)
    {
        const auto* tabs = window.findChild<QTabWidget*>();
        const auto* page = window.findChild<QWidget*>("networkSettingsListWidget"_s);
        for (const QWidget* content : page->findChildren<QWidget*>("content"_s)) {
            // One that has no tab is the last.
            m_contents.insert(tabs->isAncestorOf(content) ? 0 : int(m_contents.size()), content);
        }
        qApp->installEventFilter(this);
    }
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        const auto* widget = qobject_cast<QWidget*>(watched);
        for (int tab = 0; widget && event->type() == QEvent::Polish && tab < m_contents.size();
             ++tab) {
            counts.at(std::size_t(tab)) += m_contents.at(tab)->isAncestorOf(widget) ? 1 : 0;
        }
        return false;
    }

private:
    QList<const QWidget*> m_contents;
};

enum class Opening { AfterThePause, AtOnce, ByTheStack };

/// The window, or the page alone, with a tab of the Network page that is opened for the first time,
/// where no letter was drawn before.
QImage openedNetworkPage(Opening opening, int tab, bool isWhole)
{
    QFontDatabase::removeAllApplicationFonts(); // Qt forgets all shapes with them
    const auto dialog = makeDialog();
    dialog->show();
    if (opening == Opening::AfterThePause) {
        waitForPause();
    }
    auto* page = dialog->findChild<QWidget*>("networkPage"_s);
    if (opening == Opening::ByTheStack) {
        dialog->findChild<QStackedWidget*>("stackedWidget"_s)->setCurrentWidget(page);
    } else {
        dialog->findChild<QPushButton*>("networkPushButton"_s)->click();
    }
    dialog->findChild<QTabWidget*>()->setCurrentIndex(tab);
    if (opening == Opening::ByTheStack) {
        waitForPause(); // a layout asks for its turn
    }
    // Who has the focus is marked in an active window only, which this one becomes in its own time.
    if (QWidget* marked = dialog->focusWidget()) {
        marked->clearFocus();
    }
    return (isWhole ? dialog.get() : page)->grab().toImage();
}

} // namespace

Q_DECLARE_METATYPE(Adapter)
Q_DECLARE_METATYPE(Opening)

class TestSettings : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void pause_drawsLettersOnceForEachLanguage();
    void pause_stylesTheNetworkPage_data();
    void pause_stylesTheNetworkPage();
    void pause_changesNoPixel_data();
    void pause_changesNoPixel();
    void making_theFirst_readsOnceMore();
    void making_runsTheseCommandsAndNoOther_data();
    void making_runsTheseCommandsAndNoOther();
    void making_withAPreferredAdapter_rebuildsTheRoutesTwiceMore();
    void making_withoutResolverFiles_makesThemOnce();
    void construction_withoutTools_isStillAWindow();
    void widgetTree_isComplete_data();
    void widgetTree_isComplete();
    void form_hasItsSizeAndMargins();
    void titleBar_looksAsDocumented();
    void titleShadow_looksLikeQts_data();
    void titleShadow_looksLikeQts();
    void titleShadow_isBlurredOnceWhereItCan_data();
    void titleShadow_isBlurredOnceWhereItCan();
    void titleShadow_isTheSameAfterARefresh();
    void titleButtons_standAtTheirPlaces();
    void languageFaces_followTheLanguage_data();
    void languageFaces_followTheLanguage();
    void closeButton_isHiddenByTheRecord_data();
    void closeButton_isHiddenByTheRecord();
    void barButtons_haveIconAndCaption_data();
    void barButtons_haveIconAndCaption();
    void barButtons_heightFollowsTheScreen();
    void barButtons_ofLaterPagesAreHiddenAndDoNothing();
    void fonts_areThePanelsWithTheirSizes();
    void pages_switchWithTheBar();
    void pages_areLaidOutAndPaintedOnceWhenOpened();
    void generalPressedOnGeneral_changesNothingButColours();
    void press_beepsByTheSettingsFile_data();
    void press_beepsByTheSettingsFile();
    void close_writesRegisterBeforeHiding();
    void close_withoutRuntime_stillHides();
    void restart_rebootsWithoutAsking();
    void connections_areTheDescribedOnes_data();
    void connections_areTheDescribedOnes();
    void refresh_replacesNothingTwice();
    void touchEvents_areAccepted();
    void repaintTimer_repaintsOnceAfterADrag();
    void statusBar_isBuiltAndTakesNoSpace();
    void updateEEData_copiesOnlyTheSelectedFields_data();
    void updateEEData_copiesOnlyTheSelectedFields();
    void updateEEData_unknownSelector_writesNothing();
    void updateEEData_comesFromBothPages();
    void brightness_isWrittenOnceMoreAtTheNextTick();
    void writeBack_happensByItsTimer();
    void writeBack_runsWhileHidden();
    void networkFields_areWrittenOnce();
    void language_isTakenFromTheRegister_data();
    void language_isTakenFromTheRegister();
    void language_withoutRegisterFile_isChinese();
    void language_isAnnouncedOnceAtStart();
    void language_buttonsSwitchAndStore();
    void language_shownAlready_isSwitchedAgain();
    void language_renamedButton_switchesNothing();
    void language_lastsForTheNextDialog();
    void dialogs_areIndependent();
    void dialogs_leaveNothingBehind();
    void dialogs_leaveNoStyleBehind_data();
    void dialogs_leaveNoStyleBehind();

private:
    QStringList m_commandsOfTheFirst;
};

void TestSettings::initTestCase()
{
    QVERIFY2(PanelWorld::image().size() == 1024, "runs inside the simulated panel only");
    init();
    const auto first = makeDialog();
    m_commandsOfTheFirst = PanelWorld::commands();
}

void TestSettings::init()
{
    PanelWorld::restoreTools();
    PanelWorld::patchImage(closeHiddenByte, QByteArray(1, '\0'));
    setLanguageRegister(0);
    storeAdapters({Static}, 0);
    PanelWorld::writeFile(resolver, QByteArray());
    PanelWorld::writeFile(resolverBackup, QByteArray());
    QFile::remove(noticePipe);
    PanelWorld::clearCommands();
}

void TestSettings::pause_drawsLettersOnceForEachLanguage()
{
    const auto dialog = makeDialog();
    const PauseCount count;
    waitForPause();
    QCOMPARE(count.pauses, 0); // not before the window is painted
    dialog->show();
    waitForPause();
    QCOMPARE(count.pauses, 1);
    dialog->repaint();
    waitForPause();
    QCOMPARE(count.pauses, 1);
    dialog->updateLanguage(Settings::English);
    waitForPause();
    QCOMPARE(count.pauses, 2);
}

void TestSettings::pause_stylesTheNetworkPage_data()
{
    QTest::addColumn<Adapters>("adapters");
    QTest::newRow("one adapter") << Adapters{Static};
    QTest::newRow("two adapters") << Adapters{Static, Static};
}

void TestSettings::pause_stylesTheNetworkPage()
{
    constexpr int groupAndItsTexts = 3; // the group needs its style for its title
    constexpr int fields = 20;
    QFETCH(Adapters, adapters);
    storeAdapters(adapters, 0);
    const auto dialog = makeDialog();
    const StyledParts parts(*dialog);
    const PauseCount count;
    dialog->show();
    const QDeadlineTimer patience(patienceMs);
    while (count.pauses == 0) {
        QVERIFY2(!patience.hasExpired(), "no pause came");
        QVERIFY(parts.counts.at(0) <= groupAndItsTexts);
        QVERIFY(parts.counts.at(1) <= groupAndItsTexts);
        QCoreApplication::processEvents();
    }
    QVERIFY(parts.counts.at(0) > fields);
    QVERIFY(parts.counts.at(1) > fields);
    const std::array<int, 2> once = parts.counts;
    dialog->findChild<QPushButton*>("networkPushButton"_s)->click();
    waitForPause();
    QCOMPARE(parts.counts, once);
}

void TestSettings::pause_changesNoPixel_data()
{
    QTest::addColumn<Opening>("opening");
    QTest::addColumn<Adapters>("adapters");
    QTest::addColumn<int>("tab");
    const Adapters one = {Static};
    const Adapters two = {Static, Static};
    QTest::newRow("at once, one adapter") << Opening::AtOnce << one << 0;
    QTest::newRow("at once, first of two") << Opening::AtOnce << two << 0;
    QTest::newRow("at once, second of two") << Opening::AtOnce << two << 1;
    QTest::newRow("by the stack, one adapter") << Opening::ByTheStack << one << 0;
    QTest::newRow("by the stack, first of two") << Opening::ByTheStack << two << 0;
    QTest::newRow("by the stack, second of two") << Opening::ByTheStack << two << 1;
}

void TestSettings::pause_changesNoPixel()
{
    QFETCH(Opening, opening);
    QFETCH(Adapters, adapters);
    QFETCH(int, tab);
    storeAdapters(adapters, 0);
    const bool isWhole = opening != Opening::ByTheStack; // of which the button bar knows nothing
    const QImage ahead = openedNetworkPage(Opening::AfterThePause, tab, isWhole);
    QVERIFY(!ahead.isNull());
    QVERIFY(ahead == openedNetworkPage(opening, tab, isWhole));
}

void TestSettings::making_theFirst_readsOnceMore()
{
    QStringList expected = commandsOfEach();
    expected << readImage; // for the date dialog, whose width depends on the screen's
    QCOMPARE(m_commandsOfTheFirst,
             expected + QStringList(readImage) + comesUp(0) + routes("192.168.1.1", "0.0.0.0"));
}

void TestSettings::making_runsTheseCommandsAndNoOther_data()
{
    QTest::addColumn<Adapters>("adapters");
    QTest::addColumn<QStringList>("commands");
    QTest::addColumn<QStringList>("clients");
    const QStringList none;
    const QStringList eth0 = comesUp(0) + routes("192.168.1.1", "0.0.0.0");
    const QStringList eth1 = comesUp(1) + routes("192.168.1.1", "192.168.2.1");
    const QStringList eth1Alone = comesUp(1) + routes("0.0.0.0", "192.168.2.1");
    const auto row = [](const char* name, const Adapters& adapters, const QStringList& commands,
                        const QStringList& clients) {
        QTest::newRow(name) << adapters << commands << clients;
    };
    // clang-format off
    row("one, static",            {Static},               eth0,        none);
    row("one, dynamic",           {Dynamic},              none,        {"eth0"});
    row("one, off",               {Off},                  none,        none);
    row("static, static",         {Static, Static},       eth0 + eth1, none);
    row("static, dynamic",        {Static, Dynamic},      eth0,        {"eth1"});
    row("static, off",            {Static, Off},          eth0,        none);
    row("dynamic, static",        {Dynamic, Static},      eth1Alone,   {"eth0"});
    row("dynamic, dynamic",       {Dynamic, Dynamic},     none,        {"eth0", "eth1"});
    row("off, static",            {Off, Static},          eth1Alone,   none);
    row("off, off",               {Off, Off},             none,        none);
    // The list of the modes follows its register as if somebody had chosen. Of eth1 that starts a
    // client.
    row("one, off and dynamic",    {OffAndDynamic},         {longBeep},             none);
    row("static, off and dynamic", {Static, OffAndDynamic}, eth0 + QStringList(longBeep), {"eth1"});
    // clang-format on
}

void TestSettings::making_runsTheseCommandsAndNoOther()
{
    QFETCH(Adapters, adapters);
    QFETCH(QStringList, commands);
    QFETCH(QStringList, clients);
    storeAdapters(adapters, 0);
    setKeyClick("on");
    PanelWorld::clearCommands();
    const auto dialog = makeDialog();
    QTRY_COMPARE(clientsStarted(), clients);
    QCOMPARE(commandsWithoutClients(), commandsOfEach() + QStringList(readImage) + commands);
}

void TestSettings::making_withAPreferredAdapter_rebuildsTheRoutesTwiceMore()
{
    storeAdapters({Static, Static}, 2);
    setKeyClick("on");
    PanelWorld::clearCommands();
    const auto dialog = makeDialog();
    // The list of the adapters follows the register, and that of the other tab follows the list.
    const QStringList both = routes("192.168.1.1", "192.168.2.1", 2);
    QCOMPARE(PanelWorld::commands(), commandsOfEach() + QStringList(readImage) + comesUp(0) +
                                         routes("192.168.1.1", "0.0.0.0", 2) + comesUp(1) + both +
                                         QStringList(longBeep) + both + both);
}

void TestSettings::making_withoutResolverFiles_makesThemOnce()
{
    QFile::remove(resolver);
    QFile::remove(resolverBackup);
    PanelWorld::clearCommands();
    const auto dialog = makeDialog();
    QStringList expected = commandsOfEach();
    expected << readImage << "touch " + resolverBackup << "cp " + resolverBackup + ' ' + resolver;
    QCOMPARE(PanelWorld::commands(), expected + comesUp(0) + routes("192.168.1.1", "0.0.0.0"));
}

void TestSettings::construction_withoutTools_isStillAWindow()
{
    for (const char* tool : {"readee", "writeee", "getbright", "setbeep", "setbright"}) {
        PanelWorld::replaceTool(QString::fromLatin1(tool), QByteArray());
    }
    const auto dialog = makeDialog();
    dialog->show();
    QVERIFY(dialog->isVisible());
    QCOMPARE(dialog->findChild<QLineEdit*>("brightnessLineEdit"_s)->text(), "00"_s);
}

void TestSettings::widgetTree_isComplete_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("parent");

    const char* const rows[][3] = {
        {"settingsFrame", "QFrame", "Settings"},
        {"widget", "QWidget", "settingsFrame"},
        {"titleobject", "QLabel", "widget"},
        {"label", "QLabel", "widget"},
        {"stackedWidget", "QStackedWidget", "settingsFrame"},
        {"generalSettingsPage", "QWidget", "stackedWidget"},
        {"generalSettingsListWidget", "GeneralSettings", "generalSettingsPage"},
        {"networkPage", "QWidget", "stackedWidget"},
        {"networkSettingsListWidget", "NetworkSettings", "networkPage"},
        {"buttonBarFrame", "QFrame", "Settings"},
        {"generalPushButton", "QPushButton", "buttonBarFrame"},
        {"networkPushButton", "QPushButton", "buttonBarFrame"},
        {"wifiPushButton", "QPushButton", "buttonBarFrame"},
        {"fileManagerPushButton", "QPushButton", "buttonBarFrame"},
        {"versionPushButton", "QPushButton", "buttonBarFrame"},
        {"restartPushButton", "QPushButton", "buttonBarFrame"},
        {"statusBarFrame", "QFrame", "Settings"},
        {"statusText", "QLabel", "statusBarFrame"},
        {"udisk1Image", "QLabel", "statusBarFrame"},
        {"uDisk1Text", "QLabel", "statusBarFrame"},
        {"udisk2Image", "QLabel", "statusBarFrame"},
        {"uDisk2Text", "QLabel", "statusBarFrame"},
        {"SDImage", "QLabel", "statusBarFrame"},
        {"SDText", "QLabel", "statusBarFrame"},
    };
    for (const auto& row : rows) {
        QTest::newRow(row[0]) << row[0] << row[1] << row[2];
    }
    for (const char* button : languageButtons) {
        QTest::newRow(button) << button << "QPushButton"
                              << "settingsFrame";
    }
}

void TestSettings::widgetTree_isComplete()
{
    QFETCH(QString, name);
    QFETCH(QString, type);
    QFETCH(QString, parent);
    const auto dialog = makeDialog();
    const QList<QWidget*> found = dialog->findChildren<QWidget*>(name);
    QCOMPARE(found.size(), 1);
    QCOMPARE(QString::fromLatin1(found.first()->metaObject()->className()), type);
    QCOMPARE(found.first()->parentWidget()->objectName(), parent);
}

void TestSettings::form_hasItsSizeAndMargins()
{
    const Settings dialog(nullptr);
    QCOMPARE(dialog.objectName(), "Settings"_s);
    QCOMPARE(dialog.size(), QSize(1158, 734));
    QCOMPARE(dialog.layout()->contentsMargins(), QMargins());
    QCOMPARE(dialog.layout()->spacing(), 0);
    QVERIFY(!dialog.testAttribute(Qt::WA_DeleteOnClose));

    for (const char* name : {"generalSettingsPage", "networkPage"}) {
        const auto* page = dialog.findChild<QWidget*>(QString::fromLatin1(name));
        QCOMPARE(page->contentsMargins(), QMargins(0, 20, 0, 0));
        QCOMPARE(page->layout()->contentsMargins(), QMargins(50, 0, 50, 30));
    }
    const auto* bar = dialog.findChild<QFrame*>("buttonBarFrame"_s);
    QCOMPARE(bar->layout()->contentsMargins(), QMargins(50, 0, 50, 0));
    QCOMPARE(bar->layout()->spacing(), 0);

    const auto* frame = dialog.findChild<QFrame*>("settingsFrame"_s);
    QCOMPARE(frame->frameShape(), QFrame::StyledPanel);
    QCOMPARE(frame->frameShadow(), QFrame::Raised);
    QCOMPARE(frame->styleSheet(),
             "QFrame#settingsFrame{background-color: rgb(163, 198, 218);border: 0px "
             "solid rgb(163, 198, 218)}"_s);
    QCOMPARE(bar->styleSheet(),
             "QFrame#buttonBarFrame{background-color: rgb(163, 198, 218);border: "
             "0px solid rgb(163, 198, 218);}"_s);
    const auto* general = dialog.findChild<GeneralSettings*>("generalSettingsListWidget"_s);
    QCOMPARE(general->styleSheet(),
             "QWidget#generalSettingsListWidget{border: 2px;background:rgb(246, "
             "246, 246);border-top-left-radius: 8px;border-top-right-radius: 8px;}"_s);
    QCOMPARE(general->property("isWrapping"), QVariant(false));
    QCOMPARE(dialog.findChild<NetworkSettings*>()->styleSheet(),
             "QWidget#networkSettingsListWidget{border-image:url(:/Resources/"
             "background.png);border:0px}"_s);
    QCOMPARE(dialog.findChild<QWidget*>("networkPage"_s)->styleSheet(),
             "QWidget#titleobject{background-color:qlineargradient(spread:pad,x1:0,y1:0,x2:0,"
             "y2:1,stop:0 #1cc3ff,stop:1 #2b39ff);color:white;border:0px;}"_s);
}

void TestSettings::titleBar_looksAsDocumented()
{
    const auto dialog = makeDialog();
    const auto* title = dialog->findChild<QLabel*>("titleobject"_s);
    QCOMPARE(title->text(), QString::fromUtf8("系统设置"));
    QCOMPARE(title->minimumHeight(), 80);
    QCOMPARE(title->maximumHeight(), 80);
    QCOMPARE(int(title->alignment()), int(Qt::AlignRight | Qt::AlignVCenter));

    const auto* icon = dialog->findChild<QLabel*>("label"_s);
    QVERIFY(samePicture(icon, ":/Resources/setting_white.png"));
    QCOMPARE(int(icon->alignment()), 0xC1);
    QCOMPARE(icon->margin(), 10);

    const auto* bar = dialog->findChild<QWidget*>("widget"_s);
    QCOMPARE(bar->styleSheet(), "background-color: rgb(96, 157, 191);color:white;"_s);
    QCOMPARE(int(bar->layout()->alignment()), int(Qt::AlignCenter));
    const auto* shadow = qobject_cast<QGraphicsDropShadowEffect*>(bar->graphicsEffect());
    QVERIFY(shadow);
    QCOMPARE(shadow->offset(), QPointF(0, 0));
    QCOMPARE(shadow->color(), QColor(Qt::black));
    QCOMPARE(shadow->blurRadius(), 5.0);
}

void TestSettings::titleShadow_looksLikeQts_data()
{
    QTest::addColumn<QSize>("size");
    for (const QSize size : {QSize(800, 98), QSize(1024, 98), QSize(1023, 97), QSize(70, 80)}) {
        QTest::addRow("%dx%d", size.width(), size.height()) << size;
    }
}

void TestSettings::titleShadow_looksLikeQts()
{
    QFETCH(QSize, size);
    // A bar with a text on a page, as in the window; the bar stands away from the page's edges,
    // too.
    const auto picture = [size](QGraphicsDropShadowEffect* shadow, QPoint place) {
        QWidget page;
        page.setStyleSheet("background:rgb(163, 198, 218)"_s);
        page.resize(size + QSize(40, 40));
        auto* bar = new QWidget(&page);
        bar->setStyleSheet("background:rgb(96, 157, 191);color:white"_s);
        bar->setGeometry(QRect(place, size));
        auto* text = new QLabel("Title"_s, bar);
        text->move(12, 12); // Qt rounds a letter otherwise that the edge of the screen cuts
        shadow->setOffset(0, 0);
        shadow->setColor(Qt::black);
        shadow->setBlurRadius(5);
        bar->setGraphicsEffect(shadow);
        page.grab();
        text->setText("Another"_s);
        text->adjustSize();
        return page.grab().toImage();
    };
    static int complaints;
    complaints = 0;
    const QtMessageHandler before = qInstallMessageHandler(
        [](QtMsgType /*type*/, const QMessageLogContext& /*context*/, const QString& text) {
            complaints += text.startsWith("QPainter"_s) ? 1 : 0;
        });
    QList<bool> same;
    for (const QPoint place : {QPoint(0, 0), QPoint(20, 15)}) {
        same << (picture(new TitleShadow, place) == picture(new QGraphicsDropShadowEffect, place));
    }
    qInstallMessageHandler(before);
    QCOMPARE(same, QList<bool>({true, true}));
    QCOMPARE(complaints, 0); // the painter is left as it was found
}

namespace {

/// A bar that notes how wide the picture is that it is painted on.
class NotingBar : public QWidget
{
public:
    using QWidget::QWidget;
    int pictureWidth = 0;

protected:
    void paintEvent(QPaintEvent* /*event*/) override
    {
        const QPainter painter(this);
        pictureWidth = painter.paintEngine()->paintDevice()->width();
    }
};

} // namespace

void TestSettings::titleShadow_isBlurredOnceWhereItCan_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<double>("scale");
    QTest::addColumn<double>("pixelRatio");
    QTest::addColumn<bool>("direct");
    QTest::newRow("long") << 200 << 1.0 << 1.0 << true;
    QTest::newRow("its two ends") << 64 << 1.0 << 1.0 << true;
    QTest::newRow("less than that") << 63 << 1.0 << 1.0 << false;
    QTest::newRow("enlarged") << 200 << 2.0 << 1.0 << false;
    QTest::newRow("on small pixels") << 200 << 1.0 << 2.0 << false;
}

/// Qt paints a bar on a picture of its own, to blur that each time.
void TestSettings::titleShadow_isBlurredOnceWhereItCan()
{
    QFETCH(int, width);
    QFETCH(double, scale);
    QFETCH(double, pixelRatio);
    QFETCH(bool, direct);
    QWidget page;
    page.resize(300, 120);
    auto* bar = new NotingBar(&page);
    bar->setGeometry(20, 15, width, 80);
    bar->setGraphicsEffect(new TitleShadow);
    QImage picture(1000, 500, QImage::Format_ARGB32_Premultiplied);
    picture.setDevicePixelRatio(pixelRatio);
    QPainter painter(&picture);
    painter.scale(scale, scale);
    page.render(&painter);
    QVERIFY(bar->pictureWidth > 0);
    QCOMPARE(bar->pictureWidth == picture.width(), direct);
}

void TestSettings::titleShadow_isTheSameAfterARefresh()
{
    const auto dialog = makeDialog();
    const auto* bar = dialog->findChild<QWidget*>("widget"_s);
    const QGraphicsEffect* shadow = bar->graphicsEffect();
    dialog->updateLanguage(Settings::English);
    QCOMPARE(bar->graphicsEffect(), shadow); // or it would be blurred again
}

void TestSettings::titleButtons_standAtTheirPlaces()
{
    const auto dialog = makeDialog();
    QRect place(50, 45, 80, 40);
    for (const char* name : languageButtons) {
        const auto* button = dialog->findChild<QPushButton*>(QString::fromLatin1(name));
        QCOMPARE(button->geometry(), place);
        QCOMPARE(button->iconSize(), QSize(80, 40));
        place.translate(80, 0);
    }

    const int screenWidth = QGuiApplication::primaryScreen()->geometry().width();
    const QPushButton* close = closeButton(*dialog);
    QVERIFY(close);
    QCOMPARE(close->geometry(), QRect(screenWidth - 55, 15, 40, 40));
    QCOMPARE(close->styleSheet(), "QPushButton{border-image: url(:/Resources/close.png); "
                                  "background-color: rgba(255, 255, 255, 0);color:white;}"_s);
}

void TestSettings::languageFaces_followTheLanguage_data()
{
    QTest::addColumn<int>("language");
    QTest::addColumn<QString>("chineseFace");
    QTest::addColumn<QString>("englishFace");
    QTest::newRow("Chinese") << 0 << "left_selected"
                             << "right_unselected";
    QTest::newRow("English") << 1 << "left_unselected"
                             << "right_selected";
    QTest::newRow("another value is English") << 5 << "left_unselected"
                                              << "right_selected";
}

void TestSettings::languageFaces_followTheLanguage()
{
    QFETCH(int, language);
    QFETCH(QString, chineseFace);
    QFETCH(QString, englishFace);
    const auto dialog = makeDialog();
    dialog->updateLanguage(static_cast<Settings::Language>(language));
    const auto face = "QPushButton{border-image: url(:/Resources/%1.png); "
                      "color:white}"_s;
    QCOMPARE(dialog->findChild<QPushButton*>("Chinese"_s)->styleSheet(), face.arg(chineseFace));
    QCOMPARE(dialog->findChild<QPushButton*>("English"_s)->styleSheet(), face.arg(englishFace));
}

void TestSettings::closeButton_isHiddenByTheRecord_data()
{
    QTest::addColumn<int>("recordByte");
    QTest::addColumn<bool>("visible");
    QTest::newRow("zero shows") << 0 << true;
    QTest::newRow("one hides") << 1 << false;
    QTest::newRow("any other value hides") << 0x80 << false;
}

void TestSettings::closeButton_isHiddenByTheRecord()
{
    QFETCH(int, recordByte);
    QFETCH(bool, visible);
    PanelWorld::patchImage(closeHiddenByte, QByteArray(1, char(recordByte)));
    const auto dialog = makeDialog();
    dialog->show();
    const QPushButton* button = closeButton(*dialog);
    QCOMPARE(button->isVisible(), visible);
    dialog->updateLanguage(Settings::English);
    QCOMPARE(button->isVisible(), visible);
    dialog->refresh();
    QCOMPARE(button->isVisible(), visible);
}

void TestSettings::barButtons_haveIconAndCaption_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("picture");
    QTest::addColumn<QString>("caption");
    QTest::addColumn<QString>("englishCaption");
    QTest::addColumn<bool>("selected");
    QTest::newRow("general") << "generalPushButton"
                             << ":/Resources/setting_white.png" << QString::fromUtf8("通用设置")
                             << "General" << true;
    QTest::newRow("network") << "networkPushButton"
                             << ":/Resources/network.png" << QString::fromUtf8("网络设置")
                             << "Network" << false;
    QTest::newRow("restart") << "restartPushButton"
                             << ":/Resources/restart.png" << QString::fromUtf8("重启") << "Restart"
                             << false;
}

void TestSettings::barButtons_haveIconAndCaption()
{
    QFETCH(QString, name);
    QFETCH(QString, picture);
    QFETCH(QString, caption);
    QFETCH(QString, englishCaption);
    QFETCH(bool, selected);
    const auto dialog = makeDialog();
    dialog->show();
    const auto* button = dialog->findChild<QPushButton*>(name);
    QVERIFY(button->isVisible());
    QVERIFY(button->text().isEmpty());
    QVERIFY(button->minimumHeight() >= 70);
    QCOMPARE(button->styleSheet(), selected ? selectedButton : unselectedButton);

    const auto* column = qobject_cast<QVBoxLayout*>(button->layout());
    QVERIFY(column);
    QCOMPARE(column->contentsMargins(), QMargins(0, 10, 0, 10));
    for (int item : {0, 1}) {
        QCOMPARE(column->stretch(item), 1);
        QCOMPARE(int(column->itemAt(item)->alignment()), int(Qt::AlignCenter));
    }
    const QLabel* icon = inside(button, 0);
    QCOMPARE(icon->size(), QSize(27, 27));
    QVERIFY(samePicture(icon, picture.toLatin1().constData()));
    QCOMPARE(inside(button, 1)->text(), caption);

    dialog->updateLanguage(Settings::English);
    QCOMPARE(inside(button, 1)->text(), englishCaption);
}

void TestSettings::barButtons_heightFollowsTheScreen()
{
    const auto dialog = makeDialog();
    dialog->resize(QGuiApplication::primaryScreen()->size());
    dialog->show();
    const bool wide = QGuiApplication::primaryScreen()->geometry().width() == 1920;
    for (const char* name : {"generalPushButton", "networkPushButton", "restartPushButton"}) {
        const auto* button = dialog->findChild<QPushButton*>(QString::fromLatin1(name));
        QCOMPARE(button->maximumHeight(), wide ? 90 : QWIDGETSIZE_MAX);
        QCOMPARE(button->minimumHeight(), wide ? 90 : 70);
        QVERIFY(button->height() >= 70);
    }
}

void TestSettings::barButtons_ofLaterPagesAreHiddenAndDoNothing()
{
    const auto dialog = makeDialog();
    dialog->show();
    const auto* pages = dialog->findChild<QStackedWidget*>();
    PanelWorld::clearCommands();
    setKeyClick("off");
    for (const char* name : {"wifiPushButton", "fileManagerPushButton", "versionPushButton"}) {
        auto* button = dialog->findChild<QPushButton*>(QString::fromLatin1(name));
        QVERIFY(!button->isVisible());
        button->click();
        QCOMPARE(pages->currentIndex(), 0);
    }
    QCOMPARE(PanelWorld::commands(), QStringList());
    // Their slots exist for the pages to come.
    for (const char* slot : {"onWifiSettingsClicked()", "onFileManagerSettingsClicked()",
                             "onVersionSettingsClicked()"}) {
        QVERIFY2(dialog->metaObject()->indexOfSlot(slot) >= 0, slot);
    }
}

void TestSettings::fonts_areThePanelsWithTheirSizes()
{
    const auto dialog = makeDialog();
    const QString family = QFontDatabase::applicationFontFamilies(
                               QFontDatabase::addApplicationFont("/hmi/default.ttf"_s))
                               .value(0);
    QVERIFY(!family.isEmpty());
    const struct
    {
        const char* name;
        int weight;
        int points;
    } rows[] = {
        {"titleobject", 50, 20},      {"generalPushButton", 75, 9}, {"networkPushButton", 75, 9},
        {"restartPushButton", 75, 9}, {"statusText", 75, 10},       {"uDisk1Text", 75, 10},
        {"uDisk2Text", 75, 10},       {"SDText", 75, 10},
    };
    const auto hasFont = [&](const char* name, int weight, int points) {
        const QFont font = dialog->findChild<QWidget*>(QString::fromLatin1(name))->font();
        return font.family() == family && font.weight() == weight && font.pointSize() == points;
    };
    for (const auto& row : rows) {
        QVERIFY2(hasFont(row.name, row.weight, row.points), row.name);
    }
    for (const char* button : languageButtons) {
        QVERIFY2(hasFont(button, 50, 12), button);
    }
}

void TestSettings::pages_switchWithTheBar()
{
    const auto dialog = makeDialog();
    dialog->show();
    const auto* pages = dialog->findChild<QStackedWidget*>();
    auto* general = dialog->findChild<QPushButton*>("generalPushButton"_s);
    auto* network = dialog->findChild<QPushButton*>("networkPushButton"_s);
    QCOMPARE(pages->currentWidget()->objectName(), "generalSettingsPage"_s);
    QCOMPARE(inside(general, 1)->styleSheet(), "color:white;"_s);

    QTest::mouseClick(network, Qt::LeftButton);
    QCOMPARE(pages->currentWidget()->objectName(), "networkPage"_s);
    QCOMPARE(general->styleSheet(), unselectedButton);
    QCOMPARE(network->styleSheet(), selectedButton);
    QCOMPARE(inside(general, 1)->styleSheet(), "color:black;"_s);
    QCOMPARE(inside(network, 1)->styleSheet(), "color:white;"_s);
    QVERIFY(samePicture(inside(general, 0), ":/Resources/setting_blue.png"));
    QVERIFY(samePicture(inside(network, 0), ":/Resources/network1.png"));

    QTest::mouseClick(general, Qt::LeftButton);
    QCOMPARE(pages->currentWidget()->objectName(), "generalSettingsPage"_s);
    QCOMPARE(general->styleSheet(), selectedButton);
    QCOMPARE(network->styleSheet(), unselectedButton);
    QCOMPARE(inside(general, 1)->styleSheet(), "color:white;"_s);
    QCOMPARE(inside(network, 1)->styleSheet(), "color:black;"_s);
    QVERIFY(samePicture(inside(general, 0), ":/Resources/setting_white.png"));
    QVERIFY(samePicture(inside(network, 0), ":/Resources/network.png"));
}

void TestSettings::pages_areLaidOutAndPaintedOnceWhenOpened()
{
    const auto dialog = makeDialog();
    // Large enough for all of a page: what is scrolled away is not painted.
    dialog->resize(QGuiApplication::primaryScreen()->size().expandedTo(QSize(1024, 600)));
    dialog->show();
    QVERIFY(QTest::qWaitForWindowExposed(dialog.get()));
    QCoreApplication::processEvents();
    const QWidget* pane = dialog->findChild<QTabWidget*>()->currentWidget();
    auto* content = pane->findChild<QWidget*>("content"_s);
    PaintCount count;
    content->installEventFilter(&count);
    QTest::mouseClick(dialog->findChild<QPushButton*>("networkPushButton"_s), Qt::LeftButton);
    QTRY_VERIFY(count.paints > 0);
    QCoreApplication::processEvents(); // a second painting would come here
    QCOMPARE(count.paints, 1);
    QCOMPARE(count.resizes, 1);
}

void TestSettings::generalPressedOnGeneral_changesNothingButColours()
{
    const auto dialog = makeDialog();
    dialog->show();
    auto* general = dialog->findChild<QPushButton*>("generalPushButton"_s);
    inside(general, 1)->setStyleSheet("color:red;"_s);
    inside(general, 0)->setPixmap(QPixmap());
    general->setStyleSheet(QString()); // is not drawn again: the page is shown already
    QTest::mouseClick(general, Qt::LeftButton);
    QCOMPARE(inside(general, 1)->styleSheet(), "color:white;"_s);
    QVERIFY(samePicture(inside(general, 0), ":/Resources/setting_white.png"));
    QCOMPARE(general->styleSheet(), QString());
    QCOMPARE(dialog->findChild<QStackedWidget*>()->currentIndex(), 0);
}

void TestSettings::press_beepsByTheSettingsFile_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<QString>("buzzer");
    QTest::addColumn<int>("beeps");
    // The close button has no name.
    QList<const char*> buttons{"generalPushButton", "networkPushButton", "restartPushButton", ""};
    std::copy(std::begin(languageButtons), std::end(languageButtons), std::back_inserter(buttons));
    for (const char* button : qAsConst(buttons)) {
        const QByteArray name(button);
        QTest::newRow(name + " on") << button << "on" << 1;
        QTest::newRow(name + " off") << button << "off" << 0;
        QTest::newRow(name + " absent") << button << "" << 0;
        QTest::newRow(name + " another case") << button << "On" << 0;
    }
}

void TestSettings::press_beepsByTheSettingsFile()
{
    QFETCH(QString, button);
    QFETCH(QString, buzzer);
    QFETCH(int, beeps);
    const auto dialog = makeDialog();
    dialog->show();
    auto* target =
        button.isEmpty() ? closeButton(*dialog) : dialog->findChild<QPushButton*>(button);
    QSettings settings(settingsFile, QSettings::IniFormat);
    if (buzzer.isEmpty()) {
        settings.remove("General/buzzer"_s);
    } else {
        settings.setValue("General/buzzer"_s, buzzer);
    }
    QSignalSpy clicks(target, &QPushButton::clicked);
    PanelWorld::clearCommands();
    QTest::mouseClick(target, Qt::LeftButton);
    QCOMPARE(PanelWorld::commands().count(longBeep), beeps);
    QCOMPARE(clicks.count(), 1);
}

void TestSettings::close_writesRegisterBeforeHiding()
{
    NoticeListener runtime(noticePipe);
    const auto dialog = makeDialog();
    dialog->resize(QGuiApplication::primaryScreen()->size());
    dialog->show();
    PanelWorld::setAreaBit(closeArea, closeBit, true);
    PanelWorld::setAreaBit(closeArea, closeBit + 1, true);
    runtime.takeAll();
    HideWatch watch(runtime);
    dialog->installEventFilter(&watch);

    QTest::mouseClick(closeButton(*dialog), Qt::LeftButton);
    QVERIFY(watch.hidden);
    QCOMPARE(watch.noticesBeforeHiding, QList<quint32>({86}));
    QCOMPARE(PanelWorld::areaBit(closeArea, closeBit), false);
    QCOMPARE(PanelWorld::areaBit(closeArea, closeBit + 1), true);
    QVERIFY(!dialog->isVisible());

    dialog->show(); // the host may show it again
    QVERIFY(dialog->isVisible());
}

void TestSettings::close_withoutRuntime_stillHides()
{
    const auto dialog = makeDialog();
    dialog->show();
    closeButton(*dialog)->click();
    QVERIFY(!dialog->isVisible());
}

void TestSettings::restart_rebootsWithoutAsking()
{
    const auto dialog = makeDialog();
    dialog->show();
    setKeyClick("off");
    PanelWorld::clearCommands();
    QTest::mouseClick(dialog->findChild<QPushButton*>("restartPushButton"_s), Qt::LeftButton);
    QCOMPARE(PanelWorld::commands(), QStringList({"reboot"_s}));
    QVERIFY(!Hands::modal());
}

void TestSettings::connections_areTheDescribedOnes_data()
{
    QTest::addColumn<QByteArray>("sender");
    QTest::addColumn<QByteArray>("signal");
    QTest::addColumn<QByteArray>("receiver");
    QTest::addColumn<QByteArray>("slot");
    const char* const clicked = SIGNAL(clicked());
    const char* const change = SIGNAL(changeLanguage(Settings::Language));
    const char* const follow = SLOT(onChangeLanguage(Settings::Language));
    const char* const update =
        SIGNAL(updateEEData(EEInfoDetail::Flash_WR_1&, Settings::FlashWR1DataType));
    const char* const take =
        SLOT(onUpdateEEData(EEInfoDetail::Flash_WR_1&, Settings::FlashWR1DataType));
    const char* const general = "generalSettingsListWidget";
    const char* const network = "networkSettingsListWidget";
    // An empty name is the window itself.
    const char* const rows[][4] = {
        {"generalPushButton", clicked, "", SLOT(onGeneralSettingsClicked())},
        {"networkPushButton", clicked, "", SLOT(onNetworkSettingsClicked())},
        {"wifiPushButton", clicked, "", SLOT(onWifiSettingsClicked())},
        {"fileManagerPushButton", clicked, "", SLOT(onFileManagerSettingsClicked())},
        {"versionPushButton", clicked, "", SLOT(onVersionSettingsClicked())},
        {"restartPushButton", clicked, "", SLOT(onRestartClicked())},
        {"", change, general, follow},
        {"", change, network, follow},
        {"", SIGNAL(backLightOn()), general, SLOT(onBacklightOn())},
        {general, update, "", take},
        {network, update, "", take},
    };
    const auto add = [](const char* sender, const char* signal, const char* receiver,
                        const char* slot) {
        QTest::addRow("%s %s to %s", sender, signal + 1, slot + 1)
            << QByteArray(sender) << QByteArray(signal) << QByteArray(receiver) << QByteArray(slot);
    };
    for (const auto& row : rows) {
        add(row[0], row[1], row[2], row[3]);
    }
    for (const char* button : languageButtons) {
        add(button, clicked, "", SLOT(onUpdateLanguageClicked()));
    }
}

void TestSettings::connections_areTheDescribedOnes()
{
    QFETCH(QByteArray, sender);
    QFETCH(QByteArray, signal);
    QFETCH(QByteArray, receiver);
    QFETCH(QByteArray, slot);
    const auto dialog = makeDialog();
    const auto named = [&](const QByteArray& name) -> QObject* {
        return name.isEmpty() ? dialog.get()
                              : dialog->findChild<QWidget*>(QString::fromLatin1(name));
    };
    // A connection that can be undone was there; once only.
    QVERIFY(QObject::disconnect(named(sender), signal, named(receiver), slot));
    QVERIFY(!QObject::disconnect(named(sender), signal, named(receiver), slot));
}

void TestSettings::refresh_replacesNothingTwice()
{
    const auto dialog = makeDialog();
    const int objects = dialog->findChildren<QObject*>().size();
    for (int round = 0; round < 10; ++round) {
        dialog->refresh();
    }
    QCOMPARE(dialog->findChildren<QObject*>().size(), objects);
}

void TestSettings::touchEvents_areAccepted()
{
    const Settings dialog(nullptr);
    QVERIFY(dialog.testAttribute(Qt::WA_AcceptTouchEvents));
}

void TestSettings::repaintTimer_repaintsOnceAfterADrag()
{
    const auto dialog = makeDialog();
    dialog->show();
    QVERIFY(QTest::qWaitForWindowExposed(dialog.get()));
    QTest::qWait(200); // the first pictures are drawn
    const auto timers = QAbstractEventDispatcher::instance()->registeredTimers(dialog.get());
    QCOMPARE(timers.size(), 1);
    QCOMPARE(timers.first().interval, 10); // ms
    PaintCount count;
    dialog->installEventFilter(&count);
    QTest::qWait(100);
    QCOMPARE(count.paints, 0);
    InputDialog::p_move = true;
    QTRY_VERIFY(!InputDialog::p_move);
    QCOMPARE(count.paints, 1);

    // Before init() there is no such timer.
    InputDialog::p_move = true;
    dialog->hide();
    Settings notStarted(nullptr);
    QTimerEvent foreign(12345);
    QCoreApplication::sendEvent(&notStarted, &foreign);
    QVERIFY(InputDialog::p_move);
    InputDialog::p_move = false;
}

void TestSettings::statusBar_isBuiltAndTakesNoSpace()
{
    const auto dialog = makeDialog();
    dialog->show();
    const auto* strip = dialog->findChild<QFrame*>("statusBarFrame"_s);
    const auto* bar = dialog->findChild<QFrame*>("buttonBarFrame"_s);
    for (const auto language : {Settings::Chinese, Settings::English}) {
        dialog->updateLanguage(language);
        QVERIFY(!strip->isVisible());
        QCOMPARE(bar->geometry().bottom(), dialog->rect().bottom());
    }
    QCOMPARE(strip->styleSheet(),
             "QFrame#statusBarFrame{border-image:url(:/Resources/background.png);}"_s);
    const char* const order[] = {"statusText", "udisk1Image", "uDisk1Text", "udisk2Image",
                                 "uDisk2Text", "SDImage",     "SDText"};
    for (int item = 0; item < int(std::size(order)); ++item) {
        QCOMPARE(strip->layout()->itemAt(item)->widget()->objectName(),
                 QString::fromLatin1(order[item]));
    }
    const auto label = [&](const char* name) {
        return dialog->findChild<QLabel*>(QString::fromLatin1(name));
    };
    QVERIFY(samePicture(label("udisk1Image"), ":/Resources/udisk.png"));
    QVERIFY(samePicture(label("udisk2Image"), ":/Resources/udisk.png"));
    QVERIFY(samePicture(label("SDImage"), ":/Resources/sd.png"));
    QCOMPARE(label("statusText")->text(), "Status:"_s);
    QCOMPARE(label("uDisk1Text")->text(), "u disk1"_s);
    QCOMPARE(label("uDisk2Text")->text(), "u disk2"_s);
    QCOMPARE(label("SDText")->text(), "SD"_s);
}

namespace {

/// One selector and the image bytes it may change.
struct SelectorRow
{
    const char* name;
    Settings::FlashWR1DataType type;
    QList<QPair<int, int>> ranges; // offset, length
};

const SelectorRow selectorRows[] = {
    {"whole record", Settings::WR1_ALL, {{0, 187}}},
    {"brightness", Settings::WR1_BRIGHTNESS, {{29, 2}}},
    {"addresses of both adapters", Settings::WR1_IP, {{41, 4}, {174, 4}}},
    {"masks of both adapters", Settings::WR1_MASK, {{49, 4}, {182, 4}}},
    {"gateways of both adapters", Settings::WR1_GATEWAY, {{45, 4}, {178, 4}}},
};

EEInfoDetail::Flash_WR_1 recordOf(const QByteArray& bytes)
{
    EEInfoDetail::Flash_WR_1 record;
    memcpy(&record, bytes.constData(), sizeof record);
    return record;
}

} // namespace

void TestSettings::updateEEData_copiesOnlyTheSelectedFields_data()
{
    QTest::addColumn<int>("row");
    int index = 0;
    for (const SelectorRow& row : selectorRows) {
        QTest::newRow(row.name) << index++;
    }
}

void TestSettings::updateEEData_copiesOnlyTheSelectedFields()
{
    QFETCH(int, row);
    const SelectorRow& selector = selectorRows[row];
    const QByteArray original = PanelWorld::image();
    const auto dialog = makeDialog();
    auto* page = dialog->findChild<GeneralSettings*>();
    PanelWorld::clearCommands();

    QByteArray changed(187, '\0');
    for (int at = 0; at < changed.size(); ++at) {
        changed[at] = char(original.at(at) ^ 0x5A);
    }
    auto record = recordOf(changed);
    emit page->updateEEData(record, selector.type);

    QByteArray expected = original;
    for (const auto& range : selector.ranges) {
        expected.replace(range.first, range.second, changed.mid(range.first, range.second));
    }
    QCOMPARE(PanelWorld::image(), expected);
    QCOMPARE(PanelWorld::commands(), QStringList({readImage, writeImage}));
    PanelWorld::setImage(original);
}

void TestSettings::updateEEData_unknownSelector_writesNothing()
{
    const QByteArray original = PanelWorld::image();
    const auto dialog = makeDialog();
    auto* page = dialog->findChild<GeneralSettings*>();
    PanelWorld::clearCommands();
    auto record = recordOf(QByteArray(187, 'x'));
    for (unsigned selector : {5U, 7U, 255U, 0xFFFFFFFFU}) {
        emit page->updateEEData(record, static_cast<Settings::FlashWR1DataType>(selector));
    }
    QMetaObject::invokeMethod(dialog.get(), "onWriteEEData");
    QCOMPARE(PanelWorld::commands(), QStringList());

    // Nothing went into the cache either: a later write shows it.
    emit page->updateEEData(record, Settings::WR1_MASK);
    QByteArray expected = original;
    expected.replace(49, 4, "xxxx").replace(182, 4, "xxxx");
    QCOMPARE(PanelWorld::image(), expected);
    PanelWorld::setImage(original);
}

void TestSettings::updateEEData_comesFromBothPages()
{
    const QByteArray original = PanelWorld::image();
    const auto dialog = makeDialog();
    PanelWorld::clearCommands();
    auto record = recordOf(QByteArray(187, 'y'));
    emit dialog->findChild<NetworkSettings*>()->updateEEData(record, Settings::WR1_IP);
    QCOMPARE(PanelWorld::image().mid(41, 4), QByteArray("yyyy"));
    QCOMPARE(PanelWorld::image().mid(174, 4), QByteArray("yyyy"));
    PanelWorld::setImage(original);
}

void TestSettings::brightness_isWrittenOnceMoreAtTheNextTick()
{
    const auto dialog = makeDialog();
    auto* page = dialog->findChild<GeneralSettings*>();
    PanelWorld::clearCommands();
    auto record = recordOf(PanelWorld::image());
    const auto writes = [] { return PanelWorld::commands().count(writeImage); };
    // No event loop runs here, so the timer cannot tick in between.
    record.brightness = 100;
    emit page->updateEEData(record, Settings::WR1_BRIGHTNESS);
    record.brightness = 104;
    emit page->updateEEData(record, Settings::WR1_BRIGHTNESS);
    QCOMPARE(writes(), 2);
    QMetaObject::invokeMethod(dialog.get(), "onWriteEEData");
    QCOMPARE(writes(), 3);
    QCOMPARE(PanelWorld::image().at(brightnessByte), char(104));
    QMetaObject::invokeMethod(dialog.get(), "onWriteEEData");
    QCOMPARE(writes(), 3);
}

void TestSettings::writeBack_happensByItsTimer()
{
    const auto dialog = makeDialog();
    PanelWorld::clearCommands();
    auto record = recordOf(PanelWorld::image());
    const TimerLog timers;
    emit dialog->findChild<GeneralSettings*>()->updateEEData(record, Settings::WR1_BRIGHTNESS);
    QCOMPARE(PanelWorld::commands().count(writeImage), 1);
    QTRY_COMPARE(PanelWorld::commands().count(writeImage), 2);
    // That of the clock, too. In milliseconds.
    QCOMPARE(timers.fired.count(1000), timers.fired.size());
    // Two more ticks: nothing is pending any more.
    QTest::qWait(2200);
    QCOMPARE(PanelWorld::commands().count(writeImage), 2);
}

void TestSettings::writeBack_runsWhileHidden()
{
    const auto dialog = makeDialog();
    dialog->show();
    dialog->close();
    PanelWorld::clearCommands();
    auto record = recordOf(PanelWorld::image());
    emit dialog->findChild<GeneralSettings*>()->updateEEData(record, Settings::WR1_BRIGHTNESS);
    QTRY_COMPARE(PanelWorld::commands().count(writeImage), 2);
}

void TestSettings::networkFields_areWrittenOnce()
{
    const auto dialog = makeDialog();
    PanelWorld::clearCommands();
    auto record = recordOf(PanelWorld::image());
    for (auto type : {Settings::WR1_IP, Settings::WR1_MASK, Settings::WR1_GATEWAY}) {
        emit dialog->findChild<NetworkSettings*>()->updateEEData(record, type);
    }
    QMetaObject::invokeMethod(dialog.get(), "onWriteEEData");
    QCOMPARE(PanelWorld::commands().count(writeImage), 3);
}

void TestSettings::language_isTakenFromTheRegister_data()
{
    QTest::addColumn<int>("stored");
    QTest::addColumn<QString>("title");
    QTest::newRow("0 is Chinese") << 0 << QString::fromUtf8("系统设置");
    QTest::newRow("1 is English") << 1 << "System Settings";
    QTest::newRow("5 shows English and stays 5") << 5 << "System Settings";
    QTest::newRow("255 shows English and stays 255") << 255 << "System Settings";
}

void TestSettings::language_isTakenFromTheRegister()
{
    QFETCH(int, stored);
    QFETCH(QString, title);
    setLanguageRegister(char(stored));
    const QByteArray neighbours = PanelWorld::fileContent(languageArea);
    NoticeListener runtime(noticePipe);
    const auto dialog = makeDialog();
    QCOMPARE(dialog->findChild<QLabel*>("titleobject"_s)->text(), title);
    QCOMPARE(languageRegister(), stored);
    // Four bytes are passed, the register takes one: what lies behind it stays.
    QCOMPARE(PanelWorld::fileContent(languageArea), neighbours);
    QCOMPARE(runtime.takeNumbers(), QList<quint32>({20}));
}

void TestSettings::language_withoutRegisterFile_isChinese()
{
    QVERIFY(QFile::rename(languageArea, languageArea + ".away"_s));
    const auto dialog = makeDialog();
    QCOMPARE(dialog->findChild<QLabel*>("titleobject"_s)->text(), QString::fromUtf8("系统设置"));
    QVERIFY(!QFile::exists(languageArea));
    QVERIFY(QFile::rename(languageArea + ".away"_s, languageArea));
}

void TestSettings::language_isAnnouncedOnceAtStart()
{
    setLanguageRegister(1);
    Settings dialog(nullptr);
    QList<int> announced;
    connect(&dialog, &Settings::changeLanguage, this,
            [&announced](Settings::Language language) { announced << int(language); });
    dialog.init();
    QCOMPARE(announced, QList<int>({1}));
}

void TestSettings::language_buttonsSwitchAndStore()
{
    const auto dialog = makeDialog();
    dialog->show();
    const auto* title = dialog->findChild<QLabel*>("titleobject"_s);
    QTest::mouseClick(dialog->findChild<QPushButton*>("English"_s), Qt::LeftButton);
    QCOMPARE(title->text(), "System Settings"_s);
    QCOMPARE(languageRegister(), 1);
    QTest::mouseClick(dialog->findChild<QPushButton*>("Chinese"_s), Qt::LeftButton);
    QCOMPARE(title->text(), QString::fromUtf8("系统设置"));
    QCOMPARE(languageRegister(), 0);
}

void TestSettings::language_shownAlready_isSwitchedAgain()
{
    NoticeListener runtime(noticePipe);
    const auto dialog = makeDialog();
    dialog->show();
    runtime.takeAll();
    int announced = 0;
    connect(dialog.get(), &Settings::changeLanguage, this, [&announced] { ++announced; });
    QTest::mouseClick(dialog->findChild<QPushButton*>("Chinese"_s), Qt::LeftButton);
    QCOMPARE(announced, 1);
    QCOMPARE(runtime.takeNumbers(), QList<quint32>({20}));
}

void TestSettings::language_renamedButton_switchesNothing()
{
    const auto dialog = makeDialog();
    dialog->show();
    auto* english = dialog->findChild<QPushButton*>("English"_s);
    for (const char* name : {"english", "Francais", ""}) {
        english->setObjectName(QString::fromLatin1(name));
        QTest::mouseClick(english, Qt::LeftButton);
        QCOMPARE(languageRegister(), 0);
    }
}

void TestSettings::language_lastsForTheNextDialog()
{
    makeDialog()->updateLanguage(Settings::English);
    const auto next = makeDialog();
    QCOMPARE(next->findChild<QLabel*>("titleobject"_s)->text(), "System Settings"_s);
}

void TestSettings::dialogs_areIndependent()
{
    auto first = makeDialog();
    const auto second = makeDialog();
    second->show();
    first.reset();
    QTest::mouseClick(second->findChild<QPushButton*>("networkPushButton"_s), Qt::LeftButton);
    QCOMPARE(second->findChild<QStackedWidget*>()->currentIndex(), 1);
}

void TestSettings::dialogs_leaveNothingBehind()
{
    makeDialog(); // makes what lives as long as the library
    const auto descriptors = [] { return QDir("/proc/self/fd"_s).count(); };
    const int widgets = QApplication::allWidgets().size();
    const uint open = descriptors();
    for (int round = 0; round < 100; ++round) {
        const auto dialog = makeDialog();
        dialog->show();
        QCoreApplication::processEvents();
    }
    QCOMPARE(QApplication::allWidgets().size(), widgets);
    QCOMPARE(descriptors(), open);
    QCOMPARE(QCoreApplication::translate("Settings", "System Settings"), "System Settings"_s);
}

/// Qt knows widgets whose style it has looked up by their place in memory, which others get later.
void TestSettings::dialogs_leaveNoStyleBehind_data()
{
    QTest::addColumn<bool>("areShown");
    QTest::addColumn<QString>("hostsSheet");
    QTest::newRow("never shown") << false << QString();
    QTest::newRow("shown") << true << QString();
    QTest::newRow("deleted at once, with a sheet of the host's")
        << false << "*{background:rgb(3, 2, 1)}"_s;
}

/// Likely to lie where a window has been.
class AsLargeAsTheWindow : public QWidget
{
public:
    using QWidget::QWidget;

    std::array<char, sizeof(Settings) - sizeof(QWidget)> rest{};
};

void TestSettings::dialogs_leaveNoStyleBehind()
{
    constexpr int dialogCount = 12;
    constexpr int widgetCount = 12000;
    QFETCH(bool, areShown);
    QFETCH(QString, hostsSheet);
    std::vector<std::unique_ptr<Settings>> dialogs;
    for (int made = 0; made < dialogCount; ++made) {
        dialogs.push_back(makeDialog());
        dialogs.back()->setVisible(areShown);
        if (hostsSheet.isEmpty()) {
            waitForPause();
        } else {
            dialogs.back()->setStyleSheet(hostsSheet);
        }
    }
    dialogs.clear();
    QWidget page;
    QList<QWidget*> widgets;
    for (int made = 0; made < widgetCount; ++made) {
        widgets << (made < dialogCount ? new AsLargeAsTheWindow(&page) : new QWidget(&page));
        widgets.last()->setStyleSheet("background:rgb(1, 2, 3)"_s);
        widgets.last()->resize(1, 1);
    }
    for (QWidget* widget : qAsConst(widgets)) {
        widget->ensurePolished();
        QCOMPARE(widget->palette().color(QPalette::Window), QColor(1, 2, 3));
    }
}

QTEST_MAIN(TestSettings)
#include "test_settings.moc"
